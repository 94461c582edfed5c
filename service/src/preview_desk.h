// SPDX-License-Identifier: Apache-2.0
// The preview tool of one connection: its requests, their ids and their files.
#pragma once

#include "object_ids.h"
#include "preview_pool.h"
#include "preview_request.h"
#include "preview_shelf.h"
#include "request.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::service
{

/// What previews of all connections share.
struct PreviewHost
{
    PreviewPool& pool;
    ObjectIds& tools;
};

/// Why a message was not taken.
struct Refusal
{
    int status; ///< of the answer, a negative errno value
    om::om_error_e code;
    char const* text;
};

/// Ends its requests and removes the service's own files when it goes. Loop thread.
class PreviewDesk
{
public:
    /// @param mayName whether the client has the rights of the service, so that it may name files to be written
    PreviewDesk(PreviewHost const& host, mdt::MdtsMessenger& messenger, int cnid, bool mayName);
    PreviewDesk(PreviewDesk const&) = delete;
    PreviewDesk& operator=(PreviewDesk const&) = delete;
    ~PreviewDesk();

    /// @return the id of the tool, of which there is one; 0 when there cannot be one
    unsigned int createTool();
    void destroyTool();

    /// Takes a message to the tool, or the question for a request id. @return nothing when it was taken
    std::optional<Refusal> handle(Request& request);

private:
    struct Entry
    {
        std::uint32_t id;
        std::uint32_t job;
        std::string uri;
        std::string path;
        std::unique_ptr<PreviewFile> file; ///< none where none is kept
    };

    std::optional<Refusal> giveId(Request& request);
    void add(Request& request);
    std::optional<Refusal> extend(Request& request);
    template <class Matches> void stop(Matches matches);
    std::optional<std::uint32_t> takeId(std::uint32_t named);
    void finish(std::uint32_t id, PreviewResult const& result);
    void tell(std::uint32_t id, PreviewResult const& result, std::string const& path);

    PreviewHost m_host;
    mdt::MdtsMessenger& m_messenger;
    int m_cnid;
    bool m_mayName;
    unsigned int m_tool = 0;
    std::uint32_t m_lastId = 0;
    std::deque<std::uint32_t> m_ids; ///< given out and not used yet
    std::vector<Entry> m_entries;    ///< on their way
    PreviewShelf m_shelf;
};

} // namespace tz::orvane::service
