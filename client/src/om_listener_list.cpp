// SPDX-License-Identifier: Apache-2.0
// The list of listeners that clients, players, tools and agents keep.
#include "orvane/om_listener_list.h"

#include <algorithm>
#include <cstddef>
#include <thread>
#include <utility>

namespace tz::orvane::om
{

namespace
{

constexpr int kNullListener = -2;
constexpr int kNothingToDo = 1;

} // namespace

/// One pass over the list; lives on the stack of the thread that makes it, and leaves the list also when a listener
/// throws.
struct OmListenerListBase::Visit
{
    explicit Visit(OmListenerListBase& visited)
        : list(visited)
    {
        std::lock_guard<std::mutex> lock(list.m_mutex);
        end = list.m_entries.size();
        outer = std::exchange(list.m_visits, this);
    }
    Visit(Visit const&) = delete;
    Visit& operator=(Visit const&) = delete;

    ~Visit()
    {
        std::lock_guard<std::mutex> lock(list.m_mutex);
        Visit** link = &list.m_visits;
        while (*link != this)
        {
            link = &(*link)->outer;
        }
        *link = outer;
        list.m_callEnded.notify_all();
    }

    /// The call that was running is over. @return the listener whose turn it is, null at the end
    void* advance()
    {
        std::lock_guard<std::mutex> lock(list.m_mutex);
        if (running != nullptr)
        {
            list.m_callEnded.notify_all();
        }
        running = next < end ? list.m_entries[next++] : nullptr;
        return running;
    }

    OmListenerListBase& list;
    std::thread::id const thread = std::this_thread::get_id();
    std::size_t next = 0;
    std::size_t end; ///< listeners added meanwhile are behind it: they hear the next event
    void* running = nullptr;
    Visit* outer;
};

int OmListenerListBase::addEntry(void* listener)
{
    if (listener == nullptr)
    {
        return kNullListener;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    if (std::find(m_entries.begin(), m_entries.end(), listener) != m_entries.end())
    {
        return kNothingToDo;
    }
    m_entries.push_back(listener);
    return 0;
}

int OmListenerListBase::removeEntry(void* listener)
{
    if (listener == nullptr)
    {
        return kNullListener;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    auto const found = std::find(m_entries.begin(), m_entries.end(), listener);
    int const result = found != m_entries.end() ? 0 : kNothingToDo;
    if (result == 0)
    {
        auto const index = static_cast<std::size_t>(found - m_entries.begin());
        m_entries.erase(found);
        for (Visit* visit = m_visits; visit != nullptr; visit = visit->outer)
        {
            visit->next -= index < visit->next ? 1 : 0;
            visit->end -= index < visit->end ? 1 : 0;
        }
    }
    // Also when another thread has removed it: its call may still be running.
    waitForCallsOf(lock, listener);
    return result;
}

void OmListenerListBase::replaceEntries(void* listener)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_entries.size() == 1 && m_entries.front() == listener)
    {
        return;
    }
    std::vector<void*> const former = takeEntries();
    if (listener != nullptr)
    {
        m_entries.push_back(listener);
    }
    for (void* entry : former)
    {
        if (entry != listener)
        {
            waitForCallsOf(lock, entry);
        }
    }
}

void OmListenerListBase::clearEntries()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    takeEntries();
    waitForCallsOf(lock, nullptr);
}

/// Empties the list; passes that are under way call nobody any more. Under the lock.
std::vector<void*> OmListenerListBase::takeEntries()
{
    for (Visit* visit = m_visits; visit != nullptr; visit = visit->outer)
    {
        visit->next = 0;
        visit->end = 0;
    }
    return std::exchange(m_entries, {});
}

void OmListenerListBase::visit(void (*call)(void* listener, void* context), void* context)
{
    Visit visit(*this);
    while (void* const listener = visit.advance())
    {
        call(listener, context);
    }
}

/// Waits until no other thread is inside a call of this listener (null: of any). Whoever is inside a call himself does
/// not wait: two listeners that remove each other must not wait for each other.
void OmListenerListBase::waitForCallsOf(std::unique_lock<std::mutex>& lock, void* listener)
{
    std::thread::id const self = std::this_thread::get_id();
    auto const isOver = [&]
    {
        bool running = false;
        for (Visit const* visit = m_visits; visit != nullptr; visit = visit->outer)
        {
            if (visit->thread == self)
            {
                return true;
            }
            running = running || (visit->running != nullptr && (listener == nullptr || visit->running == listener));
        }
        return !running;
    };
    m_callEnded.wait(lock, isOver);
}

} // namespace tz::orvane::om
