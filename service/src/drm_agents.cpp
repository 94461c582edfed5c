// SPDX-License-Identifier: Apache-2.0
// The DRM agents of one connection, and their messages.
#include "drm_agents.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <sys/resource.h>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kMostAgents = 16;

/// What a crash leaves behind would hold keys. With a limit of 1 the kernel writes neither a file nor to a program;
/// with 0, which a hard limit of 0 leaves, it would still start that.
void forbidCoreDumps()
{
    constexpr rlim_t kNone = 1;
    rlimit limit{};
    if (getrlimit(RLIMIT_CORE, &limit) == 0)
    {
        limit.rlim_cur = std::min(limit.rlim_max, kNone);
        setrlimit(RLIMIT_CORE, &limit);
    }
}

} // namespace

DrmAgents::DrmAgents(mdt::MdtsMessenger& messenger, int cnid, std::function<void()> keysChanged)
    : m_messenger(messenger)
    , m_cnid(cnid)
    , m_keysChanged(std::move(keysChanged))
    , m_next(protocol::kDrmAgentIds.first)
{
}

void DrmAgents::create(Request& request)
{
    if (request.number(0) != om::OM_DRM_TYPE_CLEARKEY)
    {
        request.reply(-EOPNOTSUPP);
        return;
    }
    if (m_agents.size() >= kMostAgents)
    {
        request.reply(-EDQUOT);
        return;
    }
    forbidCoreDumps();
    unsigned int id = 0;
    do
    {
        id = m_next;
        m_next = m_next == protocol::kDrmAgentIds.last ? protocol::kDrmAgentIds.first : m_next + 1;
    } while (m_agents.count(id) != 0);
    m_agents.emplace(id, std::make_unique<DrmAgent>([this, id](DrmEvent const& event) { send(id, event); },
                                                    [this] { m_keysChanged(); }));
    request.reply(std::uint32_t{id});
}

DrmAgent* DrmAgents::find(unsigned int id) const
{
    auto const found = m_agents.find(id);
    return found == m_agents.end() ? nullptr : found->second.get();
}

int DrmAgents::handle(Request& request)
{
    DrmAgent* const agent = find(request.object());
    if (agent == nullptr)
    {
        return -ENOENT;
    }
    if (request.code() == protocol::kCmdDrmExtendCommand)
    {
        return command(*agent, request);
    }
    bool const plain = DrmAgent::isPlain(request.code());
    std::string out;
    int const result = agent->operate(request.code(), plain ? std::string_view() : request.block(0), out);
    if (result < 0)
    {
        return result;
    }
    plain ? request.reply(std::uint32_t{0}) : request.replyBytes(out.data(), static_cast<std::uint16_t>(out.size()));
    return 0;
}

int DrmAgents::command(DrmAgent& agent, Request const& request) const
{
    std::string const group = request.bytes(1);
    protocol::PropertyView const properties(group.data(), static_cast<int>(group.size()));
    if (request.text(0) != om::OM_DRM_COMMAND_RENEW)
    {
        return -EOPNOTSUPP;
    }
    std::string_view const text = properties.get(om::OM_KEY_SESSION);
    std::uint32_t session = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), session);
    bool const whole = read.ec == std::errc() && read.ptr == text.data() + text.size();
    return whole ? agent.renew(session) : -EINVAL;
}

void DrmAgents::send(unsigned int id, DrmEvent const& event) const
{
    constexpr std::int64_t kNever = 0; // the time when the keys expire
    mdt::MsgData message(m_cnid, static_cast<int>(id), protocol::kMsgDrmEvent, protocol::kTypeCommand);
    message.writeUInt32(id);
    message.writeUInt32(event.type);
    message.writeUInt32(event.subType);
    message.writeUInt32(event.session);
    message.writeSInt64(kNever);
    message.writeUInt32(event.count);
    message.writeData(event.payload.data(), static_cast<unsigned short>(event.payload.size()));
    m_messenger.postEvent(message);
}

} // namespace tz::orvane::service
