// SPDX-License-Identifier: Apache-2.0
// Hands what the library calls back over to the main thread.
#pragma once

#include "orvane/omc_listeners.h"
#include "platform/src/unique_fd.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tz::orvane::tools
{

struct Reply
{
    unsigned int id = 0;
    int code = 0;
    std::string path;
    std::map<std::string, std::string> properties;
};

class Replies final : public omc::OmcIPreviewToolListener, public omc::OmcIConnectionListener
{
public:
    Replies();

    /// @return what came since the last call, in order
    std::vector<Reply> take();

    bool isServiceGone();

    /// Readable when something has come.
    int descriptor() const { return m_wake.get(); }

private:
    void onPreviewInfoReply(om::OmIPreviewTool* tool, unsigned int reqId, int res, om::OmString const& output_path,
                            om::OmPropertyGroup const& props) override;
    void onConnectionChanged(om::OmIConnection* connection, int status) override;
    void onEvent(om::OmIConnection* connection, int event, om::OmPropertyGroup& properties) override;

    platform::UniqueFd m_wake;
    std::mutex m_mutex;
    std::vector<Reply> m_replies;
    bool m_serviceGone = false;
};

} // namespace tz::orvane::tools
