// SPDX-License-Identifier: Apache-2.0
// Keeps destruction and the delivery of messages apart.
#include "dispatch_gate.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace tz::orvane::omc
{

struct DispatchGate::State
{
    std::mutex mutex;
    std::condition_variable changed;
    Note* first = nullptr;
    std::uint64_t sequence = 0;
    int waiting = 0;

    void wakeWaiting()
    {
        if (waiting > 0)
        {
            changed.notify_all();
        }
    }
};

namespace
{

// The deliveries of a thread, from the inside out.
thread_local DispatchGate::Delivery* t_innermost = nullptr;

} // namespace

// Never destroyed: messages may still arrive while the process ends.
DispatchGate::State& DispatchGate::state()
{
    static State& instance = *new State;
    return instance;
}

DispatchGate::Note::Note(om::OmIConnection const* connection, bool hasId, unsigned int id, void const* object)
    : m_connection(connection)
    , m_hasId(hasId)
    , m_id(id)
    , m_object(object)
    , m_thread(std::this_thread::get_id())
{
    State& gate = state();
    std::lock_guard<std::mutex> lock(gate.mutex);
    m_sequence = ++gate.sequence;
    m_next = gate.first;
    if (m_next != nullptr)
    {
        m_next->m_previous = this;
    }
    gate.first = this;
}

void DispatchGate::Note::leave()
{
    if (std::exchange(m_left, true))
    {
        return;
    }
    State& gate = state();
    std::lock_guard<std::mutex> lock(gate.mutex);
    (m_previous != nullptr ? m_previous->m_next : gate.first) = m_next;
    if (m_next != nullptr)
    {
        m_next->m_previous = m_previous;
    }
    gate.wakeWaiting();
}

void DispatchGate::Note::resolve(om::OmIConnection const* connection)
{
    State& gate = state();
    std::lock_guard<std::mutex> lock(gate.mutex);
    m_connection = connection;
    gate.wakeWaiting();
}

bool DispatchGate::Note::concerns(DispatchScope const& scope) const
{
    if (m_object != nullptr)
    {
        return m_object == scope.object;
    }
    if (m_connection == nullptr)
    {
        return true;
    }
    return m_connection == scope.connection &&
           (scope.isWhole() || (m_hasId && m_id >= scope.firstId && m_id <= scope.lastId));
}

DispatchGate::Delivery::Delivery(unsigned int plid)
    : Delivery(nullptr, true, plid, nullptr)
{
}

DispatchGate::Delivery::Delivery(om::OmIConnection const* connection, unsigned int plid)
    : Delivery(connection, true, plid, nullptr)
{
}

DispatchGate::Delivery::Delivery(void const* object)
    : Delivery(nullptr, false, 0, object)
{
}

DispatchGate::Delivery::Delivery(om::OmIConnection const* connection, bool hasId, unsigned int plid, void const* object)
    : Note(connection, hasId, plid, object)
    , m_outer(std::exchange(t_innermost, this))
{
}

DispatchGate::Delivery::~Delivery()
{
    leave();
    t_innermost = m_outer;
    std::stable_sort(m_deferred.begin(), m_deferred.end(),
                     [](Deferred const& left, Deferred const& right)
                     { return !left.scope.isWhole() && right.scope.isWhole(); });
    for (Deferred const& deferred : m_deferred)
    {
        waitForOthers(deferred.scope);
        deferred.destroy();
    }
}

bool DispatchGate::isInside(DispatchScope const& scope)
{
    for (Delivery const* delivery = t_innermost; delivery != nullptr; delivery = delivery->m_outer)
    {
        bool const resolved = delivery->m_connection != nullptr || delivery->m_object != nullptr;
        if (resolved && delivery->concerns(scope))
        {
            return true;
        }
    }
    return false;
}

void DispatchGate::waitForOthers(DispatchScope const& scope)
{
    State& gate = state();
    std::unique_lock<std::mutex> lock(gate.mutex);
    std::uint64_t const last = gate.sequence;
    std::thread::id const self = std::this_thread::get_id();
    auto const othersAreOut = [&]
    {
        for (Note const* note = gate.first; note != nullptr; note = note->m_next)
        {
            if (note->m_sequence <= last && note->m_thread != self && note->concerns(scope))
            {
                return false;
            }
        }
        return true;
    };
    ++gate.waiting;
    gate.changed.wait(lock, othersAreOut);
    --gate.waiting;
}

void DispatchGate::defer(DispatchScope const& scope, std::function<void()> destroy)
{
    Delivery* outermost = t_innermost;
    while (outermost->m_outer != nullptr)
    {
        outermost = outermost->m_outer;
    }
    outermost->m_deferred.push_back({scope, std::move(destroy)});
}

} // namespace tz::orvane::omc
