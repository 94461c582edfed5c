// SPDX-License-Identifier: Apache-2.0
// The service as a whole: connections come, send messages and go.
#include "service.h"

#include "left_pictures.h"

#include "om_protocol.h"

#include "orvane/platform/om_debug.h"

#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr char kLogFile[] = "service";
constexpr char kLogClass[] = "Service";

constexpr std::size_t kMostPlayers = 32;

} // namespace

Service::Service(platform::EventLoop& loop, Settings const& settings)
    : m_loop(loop)
    , m_settings(settings)
    , m_screen(loop, m_settings)
    , m_screenshots(loop, m_screen)
    , m_jobs(loop)
    , m_frames(loop)
    , m_players(protocol::kPlayerIds, kMostPlayers)
    , m_tools(protocol::kPreviewToolIds, protocol::kPreviewToolIds.last - protocol::kPreviewToolIds.first + 1)
    , m_previews(loop)
{
}

Service::~Service()
{
    m_loop.cancelTimer(m_idleTimer);
}

int Service::start(std::function<void()> idle)
{
    m_idle = std::move(idle);
    if (int const result = m_screen.start(); result < 0)
    {
        return result;
    }
    if (int const result = m_screenshots.start(mdt::socketDirectory()); result < 0)
    {
        return result;
    }
    if (int const result = m_frames.start(); result < 0)
    {
        return result;
    }
    mdt::MdtsHandler& handler = *this;
    m_messenger = std::make_unique<mdt::MdtsMessenger>(m_loop, handler);
    if (int const result = m_messenger->listen(protocol::kServiceName); result < 0)
    {
        return result;
    }
    removeLeftPictures(mdt::socketDirectory());
    waitForClients();
    return 0;
}

void Service::shutDown(std::function<void()> closed)
{
    m_loop.cancelTimer(m_idleTimer);
    m_idleTimer = 0;
    m_sessions.clear();
    m_messenger.reset();
    m_yard.whenEmpty([this, closed = std::move(closed)] { m_jobs.whenEmpty(closed); });
}

int Service::onConnect(mdt::MdtsPeer const& peer)
{
    ORVANE_LOG_INFO("0x%04X: %s, process %d", static_cast<unsigned int>(peer.cnid), peer.name.c_str(), peer.pid);
    m_loop.cancelTimer(m_idleTimer);
    m_idleTimer = 0;
    PlayerHost const host{m_loop,   m_screen,  m_screenshots, m_yard, m_jobs, std::make_shared<JobShare>(),
                          m_frames, m_settings};
    PreviewHost const previews{m_previews, m_tools};
    m_sessions[peer.cnid] = std::make_unique<Session>(host, previews, *m_messenger, m_players, peer);
    return 0;
}

void Service::onDisconnect(int cnid)
{
    ORVANE_LOG_INFO("0x%04X is gone", static_cast<unsigned int>(cnid));
    m_sessions.erase(cnid);
    waitForClients();
}

void Service::onMessage(mdt::MsgData& message, mdt::MdtsCall const& call)
{
    auto const session = m_sessions.find(call.cnid());
    if (session != m_sessions.end())
    {
        session->second->handle(message, call);
    }
}

void Service::waitForClients()
{
    if (m_sessions.empty() && m_settings.idleExit.count() > 0)
    {
        m_loop.cancelTimer(m_idleTimer);
        m_idleTimer = m_loop.addTimer(m_settings.idleExit, [this] { m_idle(); });
    }
}

} // namespace tz::orvane::service
