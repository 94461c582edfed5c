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

int Receiver::start()
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
    int const result =
        thread.start("orvane-receive",
                     [self = shared_from_this(), reader = std::make_shared<FrameReader>()] { self->run(*reader); });
    thread.detach();
    return result;
}

int Receiver::add(std::shared_ptr<Connection> connection)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ended)
    {
        return -ESRCH;
    }
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = ++m_lastSerial;
    auto const entry = m_connections.emplace(m_lastSerial, std::move(connection)).first;
    if (epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, entry->second->eventSocket(), &event) != 0)
    {
        int const result = -errno;
        m_connections.erase(entry);
        return result;
    }
    if (m_ending)
    {
        m_ending = false;
        std::uint64_t wakes = 0;
        [[maybe_unused]] auto const ignored = ::read(m_wake.get(), &wakes, sizeof wakes);
    }
    return 0;
}

void Receiver::remove(Connection const& connection)
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
    if (m_connections.empty() && !m_ended)
    {
        m_ending = true;
        // The thread is still there: it ends under this mutex and only once it has seen the word.
        std::uint64_t const one = 1;
        [[maybe_unused]] auto const ignored = ::write(m_wake.get(), &one, sizeof one);
    }
}

void Receiver::abandon()
{
    m_ending = true; // in a copy as well, which a fork inside a callback has left with a thread
    m_epoll.reset();
    m_wake.reset();
}

bool Receiver::goesOn()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ending)
    {
        abandon(); // whoever adds connections may hold this object for long
        m_ended = true;
    }
    return !m_ended;
}

std::shared_ptr<Connection> Receiver::find(std::uint64_t serial)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto const found = m_connections.find(serial);
    return found != m_connections.end() ? found->second : nullptr;
}

void Receiver::run(FrameReader& reader)
{
    epoll_event events[kEventsPerWait];
    while (goesOn())
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
}

} // namespace tz::orvane::mdt
