// SPDX-License-Identifier: Apache-2.0
// Threads of jobs that may block for good.
#include "job_yard.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace tz::orvane::service
{

JobYard::JobYard(platform::EventLoop& loop)
    : m_loop(loop)
    , m_alive(std::make_shared<JobYard*>(this))
{
}

JobYard::~JobYard()
{
    m_loop.cancelTimer(m_patience);
    for (auto const& entry : m_threads)
    {
        entry.second.worker->abandon();
    }
}

int JobYard::start(std::shared_ptr<JobShare> share, std::function<void()> work, std::function<void()> returned,
                   ThreadId& thread)
{
    if (left() >= kMostLeft || share->left >= JobShare::kMostLeft)
    {
        return -EDQUOT;
    }
    auto worker = std::make_unique<Worker>();
    if (int const result = worker->start("job"); result < 0)
    {
        return result;
    }
    thread = ++m_last;
    worker->run(
        [work = std::move(work), loop = &m_loop, alive = std::weak_ptr<JobYard*>(m_alive), id = thread]
        {
            work();
            loop->post(
                [alive, id]
                {
                    if (auto const self = alive.lock())
                    {
                        (*self)->onReturned(id);
                    }
                });
        });
    m_threads[thread] = {std::move(worker), std::move(returned), std::move(share)};
    return 0;
}

void JobYard::leave(ThreadId thread)
{
    Thread& left = m_threads.at(thread);
    left.returned = nullptr;
    ++left.share->left;
}

std::size_t JobYard::left() const
{
    auto const wasLeft = [](auto const& entry) { return entry.second.returned == nullptr; };
    return static_cast<std::size_t>(std::count_if(m_threads.begin(), m_threads.end(), wasLeft));
}

void JobYard::whenEmpty(std::function<void()> empty)
{
    m_empty = std::move(empty);
    if (m_threads.empty())
    {
        beEmpty();
        return;
    }
    m_patience = m_loop.addTimer(kGrace, [this] { beEmpty(); });
}

void JobYard::onReturned(ThreadId id)
{
    auto const found = m_threads.find(id);
    auto const returned = std::move(found->second.returned);
    found->second.share->left -= returned ? 0 : 1;
    m_threads.erase(found);
    if (m_threads.empty() && m_empty)
    {
        beEmpty();
    }
    if (returned)
    {
        returned();
    }
}

void JobYard::beEmpty()
{
    m_loop.cancelTimer(m_patience);
    m_patience = 0;
    std::exchange(m_empty, nullptr)();
}

} // namespace tz::orvane::service
