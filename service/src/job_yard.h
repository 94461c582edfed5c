// SPDX-License-Identifier: Apache-2.0
// Threads of jobs that may block for good.
#pragma once

#include "worker.h"

#include "orvane/platform/om_event_loop.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace tz::orvane::service
{

/// What one client has of the yard.
struct JobShare
{
    /// Of all that the yard bears, one client may not have them all.
    static constexpr std::size_t kMostLeft = 8;

    std::size_t left = 0; ///< threads that have not come back
};

/// Gives each job a thread of its own, and keeps those that nobody waits for any more until they come back. Loop
/// thread.
///
/// The loop never waits for a job either: its work must own whatever it touches.
class JobYard
{
public:
    using ThreadId = std::uint64_t;

    /// For a job that was asked to end.
    static constexpr std::chrono::milliseconds kGrace{1'000};

    /// Threads that were left and have not come back.
    static constexpr std::size_t kMostLeft = 64;

    explicit JobYard(platform::EventLoop& loop);
    JobYard(JobYard const&) = delete;
    JobYard& operator=(JobYard const&) = delete;

    /// Gives up the threads that have not come back.
    ~JobYard();

    platform::EventLoop& loop() const { return m_loop; }

    /// @param share of whom the job is @param returned called on the loop when the work is done
    /// @param thread gets what leave needs
    /// @return 0, -EDQUOT when too many threads do not come back, or another negative errno value
    int start(std::shared_ptr<JobShare> share, std::function<void()> work, std::function<void()> returned,
              ThreadId& thread);

    /// Nobody waits for a thread any more: `returned` is not called.
    void leave(ThreadId thread);

    /// @return how many threads were left and have not come back; a process that has some cannot end in order
    std::size_t left() const;

    /// Calls back once, when all threads have come back: now, perhaps. After a while without those that have not.
    void whenEmpty(std::function<void()> empty);

private:
    struct Thread
    {
        std::unique_ptr<Worker> worker;
        std::function<void()> returned; ///< null: it was left
        std::shared_ptr<JobShare> share;
    };

    void onReturned(ThreadId id);
    void beEmpty();

    platform::EventLoop& m_loop;
    std::map<ThreadId, Thread> m_threads;
    ThreadId m_last = 0;
    std::function<void()> m_empty;
    platform::EventLoop::TimerId m_patience = 0;
    std::shared_ptr<JobYard*> m_alive; ///< dies with the yard: what is on its way to the loop looks here first
};

} // namespace tz::orvane::service
