// SPDX-License-Identifier: Apache-2.0
// The one thread of a service: descriptors, timers and work that other threads hand over.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace tz::orvane::platform
{

/// A loop over epoll. All members but post and stop belong to the thread that runs it (or to none before it runs).
class EventLoop
{
public:
    using Clock = std::chrono::steady_clock;
    using TimerId = std::uint64_t;

    EventLoop();
    EventLoop(EventLoop const&) = delete;
    EventLoop& operator=(EventLoop const&) = delete;
    ~EventLoop();

    /// Calls `ready(events)` whenever a descriptor is ready (level-triggered).
    /// @param fd     stays the caller's; unwatch it before it is closed
    /// @param events EPOLLIN, EPOLLOUT ...
    /// @return 0, or a negative errno value
    int watch(int fd, std::uint32_t events, std::function<void(std::uint32_t)> ready);

    /// Changes what is waited for. @return 0, -ENOENT when not watched
    int change(int fd, std::uint32_t events);

    /// Forgets a descriptor; its function is not called any more, also when called from inside one. A function that is
    /// running is destroyed after it has returned.
    void unwatch(int fd);

    /// Calls `expired` once after a delay. @return an id for cancelTimer, never 0
    TimerId addTimer(std::chrono::milliseconds delay, std::function<void()> expired);
    void cancelTimer(TimerId id);

    /// Hands work to the loop, to be done in order. Any thread; work handed over after the end is dropped.
    void post(std::function<void()> work);

    /// Runs until stop.
    void run();

    /// Makes run return after the work at hand. Any thread and any signal handler.
    void stop();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace tz::orvane::platform
