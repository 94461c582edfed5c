// SPDX-License-Identifier: Apache-2.0
// The list of listeners that clients, players, tools and agents keep.
#include "orvane/om_listener_list.h"

#include "made_once.h"
#include "stack_marks.h"

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

/// One pass over a list; lives on the stack of the thread that makes it, and leaves the list also when a listener
/// throws. The lock of the passes guards the lists as well: a forked child could not tell which lists' own locks are
/// held by threads that it does not have.
struct OmListenerListBase::Visit : omc::StackMark<Visit>
{
    using All = omc::StackMarks<Visit>;

    explicit Visit(OmListenerListBase& visited)
        : list(visited)
    {
        std::lock_guard<std::mutex> lock(all().mutex);
        end = list.m_entries.size();
        all().add(*this);
    }
    Visit(Visit const&) = delete;
    Visit& operator=(Visit const&) = delete;

    ~Visit()
    {
        std::lock_guard<std::mutex> lock(all().mutex);
        all().remove(*this);
    }

    /// The call that was running is over. @return the listener whose turn it is, null at the end
    void* advance()
    {
        std::lock_guard<std::mutex> lock(all().mutex);
        running = position < end ? list.m_entries[position++] : nullptr;
        all().wakeWaiting();
        return running;
    }

    static All& all() { return omc::madeOnce<All>(); }

    OmListenerListBase& list;
    std::size_t position = 0; ///< of the listener whose turn is next
    std::size_t end;          ///< listeners added meanwhile are behind it: they hear the next event
    void* running = nullptr;
};

int OmListenerListBase::addEntry(void* listener)
{
    if (listener == nullptr)
    {
        return kNullListener;
    }
    std::lock_guard<std::mutex> lock(Visit::all().mutex);
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
    std::unique_lock<std::mutex> lock(Visit::all().mutex);
    auto const found = std::find(m_entries.begin(), m_entries.end(), listener);
    int const result = found != m_entries.end() ? 0 : kNothingToDo;
    if (result == 0)
    {
        auto const index = static_cast<std::size_t>(found - m_entries.begin());
        m_entries.erase(found);
        for (Visit* visit = Visit::all().first(); visit != nullptr; visit = visit->next)
        {
            if (&visit->list == this)
            {
                visit->position -= index < visit->position ? 1 : 0;
                visit->end -= index < visit->end ? 1 : 0;
            }
        }
    }
    // Also when another thread has removed it: its call may still be running.
    waitForCallsOf(lock, listener);
    return result;
}

void OmListenerListBase::replaceEntries(void* listener)
{
    std::unique_lock<std::mutex> lock(Visit::all().mutex);
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
    std::unique_lock<std::mutex> lock(Visit::all().mutex);
    takeEntries();
    waitForCallsOf(lock, nullptr);
}

/// Empties the list; passes that are under way call nobody any more. Under the lock.
std::vector<void*> OmListenerListBase::takeEntries()
{
    for (Visit* visit = Visit::all().first(); visit != nullptr; visit = visit->next)
    {
        if (&visit->list == this)
        {
            visit->position = 0;
            visit->end = 0;
        }
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
        for (Visit const* visit = Visit::all().first(); visit != nullptr; visit = visit->next)
        {
            if (&visit->list != this)
            {
                continue;
            }
            if (visit->thread == self)
            {
                return true;
            }
            running = running || (visit->running != nullptr && (listener == nullptr || visit->running == listener));
        }
        return !running;
    };
    Visit::all().waitUntil(lock, isOver);
}

} // namespace tz::orvane::om
