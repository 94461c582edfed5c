// SPDX-License-Identifier: Apache-2.0
// The preview requests of all connections: who is next, and how long it may take.
#pragma once

#include "preview_link.h"
#include "preview_result.h"
#include "preview_task.h"

#include "orvane/platform/om_event_loop.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <set>
#include <string>

namespace tz::orvane::service
{

struct PreviewJob
{
    int owner = 0; ///< connection
    PreviewTask task;
    PreviewPlaces places;
    std::function<int()> openPicture; ///< called when it starts, unless the client has named a file: a descriptor,
                                      ///< given up to the pool, or a negative errno
    std::function<void(PreviewResult const&)> done; ///< called once, unless it is cancelled
};

/// Runs as many previews side by side as there are cores. Connections take turns: the next preview is the oldest of the
/// connection that has the fewest running, of several the one whose turn was longest ago. When all places are taken, a
/// connection that has none gets one besides, until twice as many run. While as many again were ended and have not
/// gone, nothing starts. Loop thread.
class PreviewPool
{
public:
    explicit PreviewPool(platform::EventLoop& loop);
    PreviewPool(PreviewPool const&) = delete;
    PreviewPool& operator=(PreviewPool const&) = delete;
    ~PreviewPool();

    /// Starts what previews need, so that the first one need not wait for it.
    void prepare();

    /// @return a number, 0 when too many wait. `done` is not called before this returns.
    std::uint32_t add(PreviewJob job);

    /// Ends it at once, without a result.
    void cancel(std::uint32_t number);

    /// Forgets a connection, of which nothing runs or waits any more.
    void leave(int owner);

    std::size_t slots() const { return m_slots; }
    std::size_t waiting(int owner) const;
    std::size_t running(int owner) const;

private:
    using Waiting = std::map<std::uint32_t, PreviewJob>; ///< by number, the oldest first

    struct Running
    {
        std::uint32_t number = 0;
        int owner = 0;
        std::function<void(PreviewResult const&)> done;
        Descriptor result;
        std::chrono::milliseconds timeout{0};
        platform::EventLoop::TimerId deadline = 0; ///< once it has a worker
    };

    void schedule();
    void startMore();
    Waiting::iterator next();
    void start(std::uint32_t number, PreviewJob job);
    void kill(Running const& job);
    void refuseAll();
    bool openLink();
    bool hasRoom();
    void onRoom();
    void awaitRoom();
    void readLink();
    void onOrder();
    void awaitAnswer();
    void onObeyed(std::uint32_t number);
    void onEnd(PreviewReport const& end);
    void onStuck();
    void onGone();
    void expire(std::uint32_t number);
    std::list<Running>::iterator find(std::uint32_t number);
    bool drop(std::uint32_t number, Running& dropped);

    platform::EventLoop& m_loop;
    std::size_t m_slots;
    PreviewLink m_link;
    Waiting m_waiting;
    std::list<Running> m_running;
    std::set<std::uint32_t> m_ending;     ///< were to be killed, and have not ended
    std::size_t m_unanswered = 0;         ///< orders
    std::map<int, std::uint64_t> m_turns; ///< when a connection had its last one
    std::uint64_t m_lastTurn = 0;
    std::uint32_t m_last = 0;
    platform::EventLoop::TimerId m_wake = 0;
    platform::EventLoop::TimerId m_patience = 0; ///< while an answer is awaited
    platform::EventLoop::TimerId m_refusal = 0;  ///< while too many have not ended
};

} // namespace tz::orvane::service
