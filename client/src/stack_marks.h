// SPDX-License-Identifier: Apache-2.0
// Marks that threads leave on their stacks for others to wait for.
#pragma once

#include "fork_guard.h"

#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

namespace tz::orvane::omc
{

/// What a mark of the kind `Mark` derives from.
template <class Mark> struct StackMark
{
    std::thread::id const thread = std::this_thread::get_id(); ///< whose stack it is on
    Mark* previous = nullptr;
    Mark* next = nullptr;
};

/// All marks of one kind, the newest first. Everything is done under `mutex`.
///
/// Nothing is allocated. A forked child keeps the marks of the thread that forked: the other threads never take theirs
/// away, and their stacks will be used for something else.
template <class Mark> class StackMarks : public ForkGuard::Module
{
public:
    Mark* first() const { return m_first; }

    void add(Mark& mark)
    {
        mark.next = m_first;
        if (m_first != nullptr)
        {
            m_first->previous = &mark;
        }
        m_first = &mark;
    }

    void remove(Mark& mark)
    {
        (mark.previous != nullptr ? mark.previous->next : m_first) = mark.next;
        if (mark.next != nullptr)
        {
            mark.next->previous = mark.previous;
        }
        wakeWaiting();
    }

    /// A mark has changed.
    void wakeWaiting()
    {
        if (m_waiting > 0)
        {
            m_changed.notify_all();
        }
    }

    /// Waits for changes until `condition()` holds. @param lock on `mutex`
    template <class Condition> void waitUntil(std::unique_lock<std::mutex>& lock, Condition condition)
    {
        ++m_waiting;
        m_changed.wait(lock, condition);
        --m_waiting;
    }

protected:
    void enterChild() override
    {
        m_waiting = 0;
        std::thread::id const self = std::this_thread::get_id();
        for (Mark* mark = m_first; mark != nullptr;)
        {
            Mark* const next = mark->next;
            if (mark->thread != self)
            {
                remove(*mark);
            }
            mark = next;
        }
        // A new one, since the old one waits for its waiters to leave it.
        new (&m_changed) std::condition_variable;
    }

private:
    std::condition_variable m_changed;
    int m_waiting = 0;
    Mark* m_first = nullptr;
};

} // namespace tz::orvane::omc
