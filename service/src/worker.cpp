// SPDX-License-Identifier: Apache-2.0
// A thread for calls that may block, which can be given up.
#include "worker.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace tz::orvane::service
{

struct Worker::Queue
{
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> work;
    bool ended = false;

    void serve()
    {
        std::unique_lock<std::mutex> lock(mutex);
        while (true)
        {
            changed.wait(lock, [this] { return ended || !work.empty(); });
            if (work.empty())
            {
                return;
            }
            auto item = std::move(work.front());
            work.pop_front();
            lock.unlock();
            item();
            item = nullptr; // what it held goes before the lock is taken
            lock.lock();
        }
    }

    void end()
    {
        std::lock_guard<std::mutex> lock(mutex);
        ended = true;
        changed.notify_one();
    }
};

Worker::Worker()
    : m_queue(std::make_shared<Queue>())
{
}

Worker::~Worker()
{
    m_queue->end();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

int Worker::start(char const* name)
{
    return m_thread.start(name, [queue = m_queue] { queue->serve(); });
}

void Worker::run(std::function<void()> work)
{
    std::lock_guard<std::mutex> lock(m_queue->mutex);
    if (!m_queue->ended)
    {
        m_queue->work.push_back(std::move(work));
        m_queue->changed.notify_one();
    }
}

void Worker::abandon()
{
    m_queue->end();
    m_thread.detach();
}

} // namespace tz::orvane::service
