// SPDX-License-Identifier: Apache-2.0
// Keeps destruction and the delivery of messages apart.
#include "dispatch_gate.h"

#include "made_once.h"

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

namespace tz::orvane::omc
{

struct DispatchGate::State final : StackMarks<Note>
{
    std::uint64_t sequence = 0;

private:
    void enterChild() override
    {
        std::thread::id const self = std::this_thread::get_id();
        for (Note const* note = first(); note != nullptr; note = note->next)
        {
            if (note->m_lock != nullptr && note->thread != self && !isTaken(*note->m_lock, self))
            {
                new (note->m_lock) std::mutex; // nobody is left to give it back
            }
        }
        StackMarks::enterChild();
    }

    bool isTaken(std::mutex const& lock, std::thread::id thread) const
    {
        Note const* note = first();
        while (note != nullptr && (note->thread != thread || note->m_lock != &lock))
        {
            note = note->next;
        }
        return note != nullptr;
    }
};

namespace
{

// The deliveries of a thread, from the inside out.
thread_local DispatchGate::Delivery* t_innermost = nullptr;

} // namespace

DispatchGate::State& DispatchGate::state()
{
    return madeOnce<State>();
}

DispatchGate::Note::Note(om::OmIConnection const* connection, bool hasId, unsigned int id, void const* object,
                         std::mutex* lock)
    : m_connection(connection)
    , m_hasId(hasId)
    , m_id(id)
    , m_object(object)
    , m_lock(lock)
{
    State& gate = state();
    std::lock_guard<std::mutex> guard(gate.mutex);
    m_sequence = ++gate.sequence;
    gate.add(*this);
}

void DispatchGate::Note::leave()
{
    if (std::exchange(m_left, true))
    {
        return;
    }
    State& gate = state();
    std::lock_guard<std::mutex> lock(gate.mutex);
    gate.remove(*this);
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
    : Delivery(nullptr, true, plid, nullptr, nullptr)
{
}

DispatchGate::Delivery::Delivery(om::OmIConnection const* connection, unsigned int plid)
    : Delivery(connection, true, plid, nullptr, nullptr)
{
}

DispatchGate::Delivery::Delivery(void const* object, std::mutex* lock)
    : Delivery(nullptr, false, 0, object, lock)
{
}

DispatchGate::Delivery::Delivery(om::OmIConnection const* connection, bool hasId, unsigned int plid, void const* object,
                                 std::mutex* lock)
    : Note(connection, hasId, plid, object, lock)
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
        for (Note const* note = gate.first(); note != nullptr; note = note->next)
        {
            if (note->m_sequence <= last && note->thread != self && note->concerns(scope))
            {
                return false;
            }
        }
        return true;
    };
    gate.waitUntil(lock, othersAreOut);
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
