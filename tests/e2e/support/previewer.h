// SPDX-License-Identifier: Apache-2.0
// An application of a test that asks for previews.
#pragma once

#include "orvane/om_iconnection.h"
#include "orvane/om_ipreview_tool.h"
#include "orvane/om_service.h"
#include "orvane/omc_listeners.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tz::orvane::test
{

/// One call of the listener.
struct PreviewReply
{
    unsigned int id = 0;
    int code = -1;
    std::string path;
    std::map<std::string, std::string> properties;

    std::string at(std::string const& key) const
    {
        auto const found = properties.find(key);
        return found == properties.end() ? "" : found->second;
    }
};

/// A connection with a preview tool; destroys the connection at the end.
class Previewer final : public omc::OmcIPreviewToolListener
{
public:
    using Properties = std::vector<std::pair<std::string, std::string>>;

    Previewer();
    Previewer(Previewer const&) = delete;
    Previewer& operator=(Previewer const&) = delete;
    ~Previewer();

    om::OmIConnection& connection() { return *m_connection; }
    om::OmIPreviewTool& tool() { return *m_tool; }

    /// Fetches an id and sends a request. @return the id
    unsigned int ask(std::string const& uri, long long position = 0, int flags = om::OM_PREVIEW_DEFAULT,
                     Properties const& properties = {}, om::om_location_mode_e mode = om::OM_LOCATION_MODE_TIME);

    /// Sends a request without an id.
    void askPlainly(std::string const& uri, Properties const& properties = {});

    /// Waits for the next reply; fails the test when none comes.
    PreviewReply take();

    /// Asks and waits.
    PreviewReply get(std::string const& uri, long long position = 0, int flags = om::OM_PREVIEW_DEFAULT,
                     Properties const& properties = {}, om::om_location_mode_e mode = om::OM_LOCATION_MODE_TIME);

    /// @return a number that the service tells of this connection's requests, -1 when it does not answer
    int status(std::string const& key);

private:
    void onPreviewInfoReply(om::OmIPreviewTool* tool, unsigned int reqId, int res, om::OmString const& output_path,
                            om::OmPropertyGroup const& props) override;

    om::OmIConnection* m_connection;
    om::OmIPreviewTool* m_tool = nullptr;
    std::mutex m_mutex;
    std::condition_variable m_came;
    std::vector<PreviewReply> m_replies;
    std::size_t m_next = 0;
};

/// A picture as rows of three bytes a pixel.
struct Pixels
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;

    /// @return the three parts of a pixel in one number, 0xRRGGBB
    unsigned int at(int x, int y) const;
};

/// Decodes with another program than the service does. @param input arguments that name what is decoded
Pixels decoded(std::vector<std::string> const& input);
Pixels decoded(std::string const& file);

/// @return the mean difference of all parts of all pixels; 255 for pictures of different extents
double difference(Pixels const& a, Pixels const& b);

/// @return which of red, green, blue, white, yellow or black a colour is like, '?' for none
char colorName(unsigned int color);

/// @return the names of the colours in the middles of the quadrants, top left first, row by row
std::string corners(Pixels const& pixels);

/// @return left edge of the yellow bar in pixels of the original's 320, -1 when there is none
int barPosition(Pixels const& pixels);

} // namespace tz::orvane::test
