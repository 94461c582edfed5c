// SPDX-License-Identifier: Apache-2.0
// The receive thread of a process.
#include "mdtc_receiver.h"

#include "orvane/platform/om_thread.h"

#include <algorithm>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <utility>

namespace tz::orvane::mdt
{

namespace
{

constexpr std::uint64_t kWakeSerial = 0;
constexpr int kEventsPerWait = 8;

} // namespace

int Receiver::start(std::shared_ptr<Receiver> previous)
{
    m_epoll.reset(epoll_create1(EPOLL_CLOEXEC));
    m_wake.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = kWakeSerial;
    if (!m_epoll || !m_wake || epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, m_wake.get(), &event) != 0)
    {
        return -errno;
    }
    platform::Thread thread;
    int const result = thread.start("orvane-receive",
                                    [self = shared_from_this(), before = std::move(previous)]() mutable
                                    {
                                        if (before != nullptr)
                                        {
                                            std::unique_lock<std::mutex> lock(before->m_mutex);
                                            before->m_finishedChanged.wait(lock, [&] { return before->m_finished; });
                                        }
                                        before.reset();
                                        self->run();
                                    });
    thread.detach();
    return result;
}

int Receiver::add(std::shared_ptr<Connection> connection)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = ++m_lastSerial;
    if (epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, connection->eventSocket(), &event) != 0)
    {
        return -errno;
    }
    m_connections.emplace(m_lastSerial, std::move(connection));
    return 0;
}

bool Receiver::remove(Connection const& connection)
{
    std::shared_ptr<Connection> removed; // goes after the mutex
    std::lock_guard<std::mutex> lock(m_mutex);
    auto const found = std::find_if(m_connections.begin(), m_connections.end(),
                                    [&](auto const& entry) { return entry.second.get() == &connection; });
    if (found != m_connections.end())
    {
        epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, connection.eventSocket(), nullptr);
        removed = std::move(found->second);
        m_connections.erase(found);
    }
    if (!m_connections.empty())
    {
        return true;
    }
    m_ending = true;
    // The thread is still there: it ends under this mutex and only once it has seen the word.
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const ignored = ::write(m_wake.get(), &one, sizeof one);
    return false;
}

void Receiver::abandon()
{
    m_epoll.reset();
    m_wake.reset();
}

bool Receiver::ended()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ending;
}

std::shared_ptr<Connection> Receiver::find(std::uint64_t serial)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto const found = m_connections.find(serial);
    return found != m_connections.end() ? found->second : nullptr;
}

void Receiver::run()
{
    FrameReader reader;
    epoll_event events[kEventsPerWait];
    while (!ended())
    {
        int const count = epoll_wait(m_epoll.get(), events, kEventsPerWait, -1);
        for (int i = 0; i < count; ++i)
        {
            std::shared_ptr<Connection> const connection = find(events[i].data.u64);
            if (connection != nullptr && !connection->readEvents(reader))
            {
                epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, connection->eventSocket(), nullptr);
            }
        }
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    abandon(); // whoever waits for the end may hold this object for long
    m_finished = true;
    m_finishedChanged.notify_all();
}

} // namespace tz::orvane::mdt
