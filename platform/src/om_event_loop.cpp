// SPDX-License-Identifier: Apache-2.0
// The one thread of a service, on epoll, a timer descriptor and an event descriptor.
#include "orvane/platform/om_event_loop.h"

#include "unique_fd.h"

#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tz::orvane::platform
{

namespace
{

constexpr int kEventsPerWait = 16;

struct Watch
{
    int fd;
    std::function<void(std::uint32_t)> ready;
    bool active = true;
};

UniqueFd opened(int fd)
{
    if (fd < 0)
    {
        throw std::system_error(errno, std::generic_category(), "event loop");
    }
    return UniqueFd(fd);
}

} // namespace

struct EventLoop::State
{
    UniqueFd epoll = opened(epoll_create1(EPOLL_CLOEXEC));
    UniqueFd wake = opened(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    UniqueFd timer = opened(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    std::unordered_map<int, std::unique_ptr<Watch>> watches;
    std::vector<std::unique_ptr<Watch>> retired; // may still be named by the events at hand

    std::map<std::pair<Clock::time_point, TimerId>, std::function<void()>> timers;
    std::unordered_map<TimerId, Clock::time_point> deadlines;
    TimerId lastTimer = 0;

    std::mutex workMutex;
    std::vector<std::function<void()>> work;
    bool open = true;
    std::atomic<bool> stopping{false};

    void wakeUp() const
    {
        std::uint64_t const one = 1;
        [[maybe_unused]] auto const ignored = ::write(wake.get(), &one, sizeof one);
    }

    void armTimer()
    {
        itimerspec next{};
        if (!timers.empty())
        {
            auto const at = timers.begin()->first.first.time_since_epoch();
            auto const nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(at).count();
            next.it_value.tv_sec = static_cast<time_t>(nanoseconds / 1'000'000'000);
            next.it_value.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);
        }
        timerfd_settime(timer.get(), TFD_TIMER_ABSTIME, &next, nullptr);
    }

    void runTimers()
    {
        std::uint64_t expirations = 0;
        [[maybe_unused]] auto const ignored = ::read(timer.get(), &expirations, sizeof expirations);
        auto const now = Clock::now();
        while (!timers.empty() && timers.begin()->first.first <= now)
        {
            auto node = timers.extract(timers.begin());
            deadlines.erase(node.key().second);
            node.mapped()();
        }
        armTimer();
    }

    void runWork()
    {
        std::uint64_t count = 0;
        [[maybe_unused]] auto const ignored = ::read(wake.get(), &count, sizeof count);
        std::vector<std::function<void()>> batch;
        {
            std::lock_guard<std::mutex> lock(workMutex);
            batch.swap(work);
        }
        for (auto& item : batch)
        {
            item();
        }
    }
};

EventLoop::EventLoop()
    : m_state(std::make_unique<State>())
{
    watch(m_state->wake.get(), EPOLLIN, [this](std::uint32_t) { m_state->runWork(); });
    watch(m_state->timer.get(), EPOLLIN, [this](std::uint32_t) { m_state->runTimers(); });
}

EventLoop::~EventLoop()
{
    // Work that was never done may own things that post once more while they go.
    std::vector<std::function<void()>> dropped;
    std::lock_guard<std::mutex> lock(m_state->workMutex);
    m_state->open = false;
    dropped.swap(m_state->work);
}

int EventLoop::watch(int fd, std::uint32_t events, std::function<void(std::uint32_t)> ready)
{
    auto entry = std::make_unique<Watch>(Watch{fd, std::move(ready)});
    epoll_event event{};
    event.events = events;
    event.data.ptr = entry.get();
    if (epoll_ctl(m_state->epoll.get(), EPOLL_CTL_ADD, fd, &event) != 0)
    {
        return -errno;
    }
    m_state->watches[fd] = std::move(entry);
    return 0;
}

int EventLoop::change(int fd, std::uint32_t events)
{
    auto const found = m_state->watches.find(fd);
    if (found == m_state->watches.end())
    {
        return -ENOENT;
    }
    epoll_event event{};
    event.events = events;
    event.data.ptr = found->second.get();
    return epoll_ctl(m_state->epoll.get(), EPOLL_CTL_MOD, fd, &event) == 0 ? 0 : -errno;
}

void EventLoop::unwatch(int fd)
{
    auto const found = m_state->watches.find(fd);
    if (found == m_state->watches.end())
    {
        return;
    }
    epoll_ctl(m_state->epoll.get(), EPOLL_CTL_DEL, fd, nullptr);
    found->second->active = false;
    m_state->retired.push_back(std::move(found->second));
    m_state->watches.erase(found);
}

EventLoop::TimerId EventLoop::addTimer(std::chrono::milliseconds delay, std::function<void()> expired)
{
    TimerId const id = ++m_state->lastTimer;
    auto const deadline = Clock::now() + delay;
    m_state->timers.emplace(std::make_pair(deadline, id), std::move(expired));
    m_state->deadlines.emplace(id, deadline);
    if (m_state->timers.begin()->first.second == id)
    {
        m_state->armTimer();
    }
    return id;
}

void EventLoop::cancelTimer(TimerId id)
{
    auto const found = m_state->deadlines.find(id);
    if (found != m_state->deadlines.end())
    {
        m_state->timers.erase(std::make_pair(found->second, id));
        m_state->deadlines.erase(found);
    }
}

void EventLoop::post(std::function<void()> work)
{
    std::lock_guard<std::mutex> lock(m_state->workMutex);
    if (m_state->open)
    {
        m_state->work.push_back(std::move(work));
        m_state->wakeUp();
    }
}

void EventLoop::run()
{
    epoll_event events[kEventsPerWait];
    while (!m_state->stopping)
    {
        int const count = epoll_wait(m_state->epoll.get(), events, kEventsPerWait, -1);
        for (int i = 0; i < count; ++i)
        {
            auto* const entry = static_cast<Watch*>(events[i].data.ptr);
            if (entry->active)
            {
                entry->ready(events[i].events);
            }
        }
        m_state->retired.clear();
    }
    m_state->stopping = false;
}

void EventLoop::stop()
{
    m_state->stopping = true;
    m_state->wakeUp();
}

} // namespace tz::orvane::platform
