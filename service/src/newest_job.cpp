// SPDX-License-Identifier: Apache-2.0
// Work that takes its time, of which only the newest counts.
#include "newest_job.h"

#include <utility>

namespace tz::orvane::service
{

int NewestJob::run(Work work)
{
    cancel();
    if (m_worker == nullptr)
    {
        auto worker = std::make_unique<Worker>();
        if (int const result = worker->start("job"); result < 0)
        {
            return result;
        }
        m_worker = std::move(worker);
    }
    m_current = std::make_shared<Job>();
    m_current->work = std::move(work);
    m_worker->run(
        [weak = std::weak_ptr<Job>(m_current), loop = &m_loop]
        {
            auto const job = weak.lock();
            if (job == nullptr)
            {
                return; // a newer one came before this had begun
            }
            auto result = job->work(job->cancelled);
            loop->post(
                [weak, result = std::move(result)]
                {
                    auto const done = weak.lock();
                    if (done != nullptr && !done->cancelled)
                    {
                        result();
                    }
                });
        });
    return 0;
}

void NewestJob::cancel()
{
    if (m_current != nullptr)
    {
        m_current->cancelled = true;
        m_current.reset();
    }
}

} // namespace tz::orvane::service
