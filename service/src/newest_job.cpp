// SPDX-License-Identifier: Apache-2.0
// Work that takes its time, of which only the newest counts.
#include "newest_job.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace tz::orvane::service
{

NewestJob::NewestJob(JobYard& yard, std::optional<std::chrono::milliseconds> deadline, std::shared_ptr<JobShare> share)
    : m_yard(yard)
    , m_deadline(deadline)
    , m_share(std::move(share))
{
}

NewestJob::~NewestJob()
{
    cancel();
    leave();
}

void NewestJob::run(Work work, Failed failed)
{
    cancel();
    m_newest = std::make_shared<Job>();
    m_newest->work = std::move(work);
    m_newest->failed = std::move(failed);
    if (m_running == nullptr)
    {
        begin();
    }
}

void NewestJob::cancel()
{
    m_newest.reset();
    if (m_running != nullptr && !m_running->cancelled.exchange(true))
    {
        m_yard.loop().cancelTimer(m_patience);
        m_patience = m_yard.loop().addTimer(JobYard::kGrace, [this] { expire(); });
    }
}

void NewestJob::begin()
{
    m_running = m_newest;
    int const status = m_yard.start(
        m_share, [job = m_running] { job->result = job->work(job->cancelled); }, [this] { onReturned(); }, m_thread);
    if (status < 0)
    {
        m_running.reset();
        auto const job = std::exchange(m_newest, nullptr);
        job->failed(
            {om::OM_ERROR_LIMIT, status == -EDQUOT ? "too many files do not answer" : std::strerror(-status), {}});
    }
    else if (m_deadline)
    {
        m_patience = m_yard.loop().addTimer(*m_deadline, [this] { expire(); });
    }
}

void NewestJob::onReturned()
{
    m_yard.loop().cancelTimer(m_patience);
    auto const job = std::exchange(m_running, nullptr);
    if (job == m_newest)
    {
        m_newest.reset();
        job->result();
    }
    else if (m_newest != nullptr)
    {
        begin();
    }
}

/// Gives up the thread.
void NewestJob::leave()
{
    m_yard.loop().cancelTimer(m_patience);
    if (m_running != nullptr)
    {
        m_running->cancelled = true;
        m_running.reset();
        m_yard.leave(m_thread);
    }
}

void NewestJob::expire()
{
    bool const late = m_running == m_newest;
    leave();
    if (late)
    {
        auto const job = std::exchange(m_newest, nullptr);
        job->failed({om::OM_ERROR_TIMED_OUT, "the file does not answer in time", {}});
    }
    else if (m_newest != nullptr)
    {
        begin();
    }
}

} // namespace tz::orvane::service
