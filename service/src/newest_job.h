// SPDX-License-Identifier: Apache-2.0
// Work that takes its time, of which only the newest counts.
#pragma once

#include "worker.h"

#include "orvane/platform/om_event_loop.h"

#include <atomic>
#include <functional>
#include <memory>

namespace tz::orvane::service
{

/// Does one job at a time on a thread of its own, which exists only once there was one. A new job takes the place of
/// those before it: what runs is asked to end, what waits is forgotten, and nobody hears of either. Loop thread.
class NewestJob
{
public:
    using Cancelled = std::atomic<bool>;

    /// Runs on the thread and looks at its argument from time to time. @return what is then done on the loop
    using Work = std::function<std::function<void()>(Cancelled const&)>;

    explicit NewestJob(platform::EventLoop& loop)
        : m_loop(loop)
    {
    }
    NewestJob(NewestJob const&) = delete;
    NewestJob& operator=(NewestJob const&) = delete;

    /// Waits for a job that runs, which was asked to end.
    ~NewestJob() { cancel(); }

    /// @return 0, or the negative errno value of a thread that cannot be made
    int run(Work work);
    void cancel();

private:
    struct Job
    {
        Work work;
        Cancelled cancelled{false};
    };

    platform::EventLoop& m_loop;
    std::shared_ptr<Job> m_current;
    std::unique_ptr<Worker> m_worker;
};

} // namespace tz::orvane::service
