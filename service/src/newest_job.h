// SPDX-License-Identifier: Apache-2.0
// Work that takes its time, of which only the newest counts.
#pragma once

#include "error_map.h"
#include "job_yard.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace tz::orvane::service
{

/// Does one job at a time on a thread of its own. A new job takes the place of those before it: what runs is asked to
/// end, what waits is forgotten, and nobody hears of either. Loop thread.
///
/// A job that blocks holds up nobody: one that was asked to end is given a moment only, then its thread is left to the
/// yard.
class NewestJob
{
public:
    using Cancelled = std::atomic<bool>;

    /// Runs on the thread and looks at its argument from time to time. Owns whatever it touches there.
    /// @return what is then done on the loop
    using Work = std::function<std::function<void()>(Cancelled const&)>;
    using Failed = std::function<void(Fault const&)>;

    /// @param deadline for a job; nothing: it may take as long as it likes @param share of whom the jobs are
    explicit NewestJob(JobYard& yard, std::optional<std::chrono::milliseconds> deadline = std::nullopt,
                       std::shared_ptr<JobShare> share = std::make_shared<JobShare>());
    NewestJob(NewestJob const&) = delete;
    NewestJob& operator=(NewestJob const&) = delete;
    ~NewestJob();

    /// @param failed called, now or later, when the job is not begun or does not end within its deadline
    void run(Work work, Failed failed);
    void cancel();

private:
    struct Job
    {
        Work work;
        Failed failed;
        Cancelled cancelled{false};
        std::function<void()> result;
    };

    void begin();
    void onReturned();
    void leave();
    void expire();

    JobYard& m_yard;
    std::optional<std::chrono::milliseconds> m_deadline;
    std::shared_ptr<JobShare> m_share;
    std::shared_ptr<Job> m_newest;  ///< null when it is done or cancelled
    std::shared_ptr<Job> m_running; ///< what the thread does: the newest, or one that was asked to end
    JobYard::ThreadId m_thread = 0;
    platform::EventLoop::TimerId m_patience = 0;
};

} // namespace tz::orvane::service
