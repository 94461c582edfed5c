// SPDX-License-Identifier: Apache-2.0
// The preview tool of one connection: its requests, their ids and their files.
#include "preview_desk.h"

#include "medium.h"
#include "player_events.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kMostIds = 4096;
constexpr std::size_t kMostFiles = 4096;
constexpr std::uint64_t kMostBytes = std::uint64_t{64} << 20u;

constexpr char kTooManyPictures[] = "too many pictures are kept for this tool";

std::uint64_t uncompressedBytes(PreviewTask const& task)
{
    constexpr std::uint64_t kPixel = 3;
    return kPixel * static_cast<std::uint64_t>(task.frames) * static_cast<std::uint64_t>(task.width) *
           static_cast<std::uint64_t>(task.height);
}

} // namespace

PreviewDesk::PreviewDesk(PreviewHost const& host, mdt::MdtsMessenger& messenger, int cnid, bool mayName)
    : m_host(host)
    , m_messenger(messenger)
    , m_cnid(cnid)
    , m_mayName(mayName)
    , m_shelf(kMostFiles, kMostBytes)
{
}

PreviewDesk::~PreviewDesk()
{
    destroyTool();
}

unsigned int PreviewDesk::createTool()
{
    if (m_tool == 0)
    {
        m_tool = m_host.tools.take();
        m_host.pool.prepare();
    }
    return m_tool;
}

void PreviewDesk::destroyTool()
{
    if (m_tool == 0)
    {
        return;
    }
    for (Entry const& entry : m_entries)
    {
        m_host.pool.cancel(entry.job);
    }
    m_host.pool.leave(m_cnid);
    m_entries.clear();
    m_shelf.clear();
    m_ids.clear();
    m_host.tools.giveBack(m_tool);
    m_tool = 0;
}

std::optional<Refusal> PreviewDesk::handle(Request& request)
{
    bool const isOurs = m_tool != 0 && (request.object() == m_tool || request.object() == 0);
    if (!isOurs)
    {
        return Refusal{-ENOENT, om::OM_ERROR_BAD_STATE, "no such preview tool"};
    }
    switch (request.code())
    {
    case protocol::kCmdGetPreviewRequestId:
        return giveId(request);
    case protocol::kCmdRequestPreviewInfo:
        add(request);
        return std::nullopt;
    case protocol::kCmdStopPreview:
        stop([uri = normalizedUri(request.text(0))](Entry const& entry) { return entry.uri == uri; });
        return std::nullopt;
    case protocol::kCmdStopPreviewAll:
    {
        stop([](Entry const&) { return true; });
        std::string const group = request.bytes(0);
        return protocol::PropertyView(group.data(), static_cast<int>(group.size())).count() == 0
                   ? std::nullopt
                   : std::optional<Refusal>({-EINVAL, om::OM_ERROR_NOT_SUPPORTED, "all were stopped; no key is known"});
    }
    default:
        return extend(request);
    }
}

std::optional<Refusal> PreviewDesk::giveId(Request& request)
{
    if (m_ids.size() >= kMostIds)
    {
        return Refusal{-EDQUOT, om::OM_ERROR_LIMIT, "too many request ids without a request"};
    }
    m_ids.push_back(++m_lastId);
    request.reply(m_lastId);
    return std::nullopt;
}

/// @return the named id, else the oldest one that was given out, else a fresh one; nothing for one that is not known
std::optional<std::uint32_t> PreviewDesk::takeId(std::uint32_t named)
{
    auto const found = named == 0 ? m_ids.begin() : std::find(m_ids.begin(), m_ids.end(), named);
    if (found == m_ids.end())
    {
        return named == 0 ? std::optional<std::uint32_t>(++m_lastId) : std::nullopt;
    }
    std::uint32_t const id = *found;
    m_ids.erase(found);
    return id;
}

void PreviewDesk::add(Request& request)
{
    std::string const group = request.bytes(4);
    PreviewRequest wanted;
    std::string wrong =
        readPreviewRequest(request.text(0), static_cast<int>(request.number(1)), request.longNumber(2),
                           static_cast<int>(request.number(3)),
                           protocol::PropertyView(group.data(), static_cast<int>(group.size())), wanted);
    auto const id = takeId(wanted.named);
    if (!id)
    {
        tell(wanted.named, failedPreview(om::OM_ERROR_BAD_ARGUMENT, "no such request id"), "");
        return;
    }
    if (!wrong.empty())
    {
        tell(*id, failedPreview(om::OM_ERROR_BAD_ARGUMENT, wrong), "");
        return;
    }
    if (!isKnownScheme(wanted.uri))
    {
        tell(*id, failedPreview(om::OM_ERROR_UNKNOWN_SCHEME, "nothing reads URIs of this kind"), "");
        return;
    }
    bool const named = !wanted.outputPath.empty();
    if (named && !m_mayName)
    {
        tell(*id, failedPreview(om::OM_ERROR_FORBIDDEN, "the service runs as another user"), "");
        return;
    }
    bool const isKept = wanted.task.picture && !named;
    auto const comes = [](Entry const& entry) { return entry.file != nullptr; };
    auto const coming = std::count_if(m_entries.begin(), m_entries.end(), comes);
    if (isKept && !m_shelf.hasPlace(static_cast<std::size_t>(coming), uncompressedBytes(wanted.task)))
    {
        tell(*id, failedPreview(om::OM_ERROR_LIMIT, kTooManyPictures), "");
        return;
    }
    std::string const path =
        named ? wanted.outputPath : ownPreviewPath(mdt::socketDirectory(), m_cnid, *id, wanted.task.png);
    auto file = isKept ? std::make_unique<PreviewFile>(path) : nullptr;
    PreviewJob job;
    job.owner = m_cnid;
    job.task = wanted.task;
    job.places = {wanted.uri, wanted.outputPath};
    job.openPicture = [opened = file.get()] { return opened->create(); };
    job.done = [this, number = *id](PreviewResult const& result) { finish(number, result); };
    std::uint32_t const number = m_host.pool.add(std::move(job));
    if (number == 0)
    {
        tell(*id, failedPreview(om::OM_ERROR_LIMIT, "too many requests wait"), "");
        return;
    }
    m_entries.push_back({*id, number, wanted.uri, path, std::move(file)});
}

template <class Matches> void PreviewDesk::stop(Matches matches)
{
    auto const first =
        std::stable_partition(m_entries.begin(), m_entries.end(), [&](Entry const& entry) { return !matches(entry); });
    std::vector<Entry> const stopped(std::make_move_iterator(first), std::make_move_iterator(m_entries.end()));
    m_entries.erase(first, m_entries.end());
    for (Entry const& entry : stopped)
    {
        m_host.pool.cancel(entry.job);
        tell(entry.id, failedPreview(om::OM_ERROR_STOPPED, "stopped"), "");
    }
}

std::optional<Refusal> PreviewDesk::extend(Request& request)
{
    if (request.text(0) != om::OM_PREVIEW_COMMAND_STATUS)
    {
        return Refusal{-EOPNOTSUPP, om::OM_ERROR_NOT_SUPPORTED, "unknown extended command"};
    }
    om::OmPropertyGroup group;
    group.add(om::OM_PREVIEW_KEY_WAITING, std::to_string(m_host.pool.waiting(m_cnid)));
    group.add(om::OM_PREVIEW_KEY_RUNNING, std::to_string(m_host.pool.running(m_cnid)));
    group.add(om::OM_PREVIEW_KEY_SLOTS, std::to_string(m_host.pool.slots()));
    request.reply(group);
    return std::nullopt;
}

void PreviewDesk::finish(std::uint32_t id, PreviewResult const& result)
{
    auto const entry =
        std::find_if(m_entries.begin(), m_entries.end(), [id](Entry const& candidate) { return candidate.id == id; });
    if (entry == m_entries.end())
    {
        return;
    }
    Entry done = std::move(*entry);
    m_entries.erase(entry);
    bool const hasPicture = result.code == om::OM_ERROR_NONE && result.has(om::OM_PREVIEW_KEY_PICTURE_SIZE);
    if (hasPicture && done.file != nullptr && !m_shelf.keep(std::move(done.file)))
    {
        tell(id, failedPreview(om::OM_ERROR_LIMIT, kTooManyPictures), "");
        return;
    }
    done.file.reset(); // before the client hears of it
    tell(id, result, hasPicture ? done.path : "");
}

void PreviewDesk::tell(std::uint32_t id, PreviewResult const& result, std::string const& path)
{
    om::OmPropertyGroup group;
    result.fillGroup(group);
    mdt::MsgData event(m_cnid, static_cast<int>(m_tool), protocol::kMsgPreviewInfo, protocol::kTypeCommand);
    event.writeUInt32(m_tool);
    event.writeUInt32(id);
    event.writeSInt32(static_cast<std::int32_t>(result.code));
    event.writeString(path);
    writeGroup(event, group);
    m_messenger.postEvent(event);
}

} // namespace tz::orvane::service
