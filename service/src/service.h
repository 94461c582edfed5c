// SPDX-License-Identifier: Apache-2.0
// The service as a whole: connections come, send messages and go.
#pragma once

#include "deck_yard.h"
#include "frame_courier.h"
#include "job_yard.h"
#include "object_ids.h"
#include "preview_pool.h"
#include "screen.h"
#include "screenshot.h"
#include "session.h"
#include "settings.h"

#include "orvane/platform/mdts_messenger.h"
#include "orvane/platform/om_event_loop.h"

#include <functional>
#include <map>
#include <memory>

namespace tz::orvane::service
{

/// Loop thread, or the thread that owns it while the loop does not run.
class Service final : private mdt::MdtsHandler
{
public:
    Service(platform::EventLoop& loop, Settings const& settings);
    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;
    ~Service();

    /// Takes connections from now on.
    /// @param idle called when no client was connected for as long as the settings say
    /// @return 0, -EADDRINUSE when another service listens, or another negative errno value
    int start(std::function<void()> idle);

    /// Ends all connections and closes what they left.
    /// @param closed called when that is done; what hangs has been given up by then
    void shutDown(std::function<void()> closed);

    /// @return whether something was given up that makes an orderly end of the process impossible
    bool hasAbandoned() const { return m_yard.abandoned() > 0 || m_jobs.left() > 0; }

private:
    int onConnect(mdt::MdtsPeer const& peer) override;
    void onDisconnect(int cnid) override;
    void onMessage(mdt::MsgData& message, mdt::MdtsCall const& call) override;

    void waitForClients();

    platform::EventLoop& m_loop;
    Settings m_settings;
    Screen m_screen;
    Screenshots m_screenshots;
    DeckYard m_yard;
    JobYard m_jobs;
    FrameCourier m_frames;
    ObjectIds m_players;
    ObjectIds m_tools;
    PreviewPool m_previews;
    std::map<int, std::unique_ptr<Session>> m_sessions;
    std::unique_ptr<mdt::MdtsMessenger> m_messenger;
    std::function<void()> m_idle;
    platform::EventLoop::TimerId m_idleTimer = 0;
};

} // namespace tz::orvane::service
