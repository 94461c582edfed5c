// SPDX-License-Identifier: Apache-2.0
// The list of listeners that clients, players, tools and agents keep.
#pragma once

#include "orvane/om_export.h"

#include <condition_variable>
#include <mutex>
#include <type_traits>
#include <vector>

namespace tz::orvane::om
{

/// Untyped part of OmListenerList: keeps the order, guards the list and knows which listener runs on which thread.
class ORVANE_API OmListenerListBase
{
public:
    OmListenerListBase() = default;
    OmListenerListBase(OmListenerListBase const&) = delete;
    OmListenerListBase& operator=(OmListenerListBase const&) = delete;

protected:
    ~OmListenerListBase() = default;

    /// Puts a listener at the end. @return 0, -2 for null, 1 when present
    int addEntry(void* listener);

    /// Takes a listener out and waits for a call of it on another thread. @return 0, -2 for null, 1 when absent
    int removeEntry(void* listener);

    /// Makes a listener the only one, null leaves none; waits for calls of the others on other threads.
    void replaceEntries(void* listener);

    /// Empties the list and waits for calls on other threads.
    void clearEntries();

    /// Calls `call(listener, context)` for every listener in list order, without a lock; lets exceptions out.
    void visit(void (*call)(void* listener, void* context), void* context);

private:
    struct Visit;

    std::vector<void*> takeEntries();
    void waitForCallsOf(std::unique_lock<std::mutex>& lock, void* listener);

    std::vector<void*> m_entries;

    // These only keep their places: all lists share one lock, which a forked child can rely on.
    [[maybe_unused]] Visit* m_visits = nullptr;
    [[maybe_unused]] std::mutex m_mutex;
    [[maybe_unused]] std::condition_variable m_callEnded;
};

/// Listeners in the order of their insertion, never owned.
///
/// No lock is held while a listener runs. A listener may remove itself or another while it runs; a removed one is not
/// called any more, one that was added meanwhile hears the next event first. A removal by another thread waits for a
/// running call of that listener, so that it may be deleted afterwards: hold no lock over a removal that the listener
/// takes. What a listener throws ends the pass and comes out of it.
template <class Listener> class OmListenerList : private OmListenerListBase
{
public:
    /// @return 0, -2 for null, 1 when it is in the list already
    int add(Listener* listener) { return addEntry(listener); }

    /// @return 0, -2 for null, 1 when it is not in the list
    int remove(Listener* listener) { return removeEntry(listener); }

    /// Makes `listener` the only one; null empties the list.
    void replace(Listener* listener) { replaceEntries(listener); }

    /// Empties the list; waits for running calls as a removal does.
    void clear() { clearEntries(); }

    /// Calls `call(*listener)` for every listener in list order.
    template <class Call> void forEach(Call&& call)
    {
        using Function = std::remove_reference_t<Call>;
        visit([](void* listener, void* context)
              { (*static_cast<Function*>(context))(*static_cast<Listener*>(listener)); },
              &call);
    }
};

} // namespace tz::orvane::om
