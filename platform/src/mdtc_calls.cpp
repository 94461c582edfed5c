// SPDX-License-Identifier: Apache-2.0
// The queries of one connection that wait for their replies, and who of them reads the socket.
#include "mdtc_calls.h"

#include "futex.h"

namespace tz::orvane::mdt
{

namespace
{

// Never reused, also not by another connection: a late reply finds nobody.
std::atomic<std::uint64_t> s_lastId{0};

} // namespace

std::uint64_t CallTable::enter(Call& call)
{
    call.id = s_lastId.fetch_add(1, std::memory_order_relaxed) + 1;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closedStatus != 0)
    {
        call.status = m_closedStatus;
        call.state = Call::done;
        return call.id;
    }
    call.listed = true;
    call.previous = m_last;
    (m_last != nullptr ? m_last->next : m_first) = &call;
    m_last = &call;
    return call.id;
}

void CallTable::leave(Call& call)
{
    Call* successor = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        unlink(call);
        if (m_leader != &call)
        {
            return;
        }
        for (successor = m_first; successor != nullptr && !successor->sent; successor = successor->next)
        {
        }
        m_leader = successor;
        if (successor == nullptr)
        {
            return;
        }
        successor->state = Call::leading;
    }
    futexWake(&successor->state, false);
}

void CallTable::markSent(Call& call)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    call.sent = true;
    if (m_leader == nullptr && call.state == Call::waiting)
    {
        m_leader = &call;
        call.state = Call::leading;
    }
}

bool CallTable::sleep(Call& call, Deadline const& deadline)
{
    while (call.state.load() == Call::waiting)
    {
        int const milliseconds = deadline.milliseconds();
        if (milliseconds == 0)
        {
            return false;
        }
        futexWait(call.state, Call::waiting, milliseconds, false);
    }
    return true;
}

void CallTable::finishAll(int status)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_closedStatus = status;
    while (m_first != nullptr)
    {
        Call& call = *m_first;
        complete(call, status);
        futexWake(&call.state, false);
    }
}

Call* CallTable::find(std::uint64_t id)
{
    Call* call = m_first;
    while (call != nullptr && call->id != id)
    {
        call = call->next;
    }
    return call;
}

void CallTable::complete(Call& call, int status)
{
    unlink(call);
    call.status = status;
    call.state = Call::done; // who led keeps the lead until it leaves
}

void CallTable::unlink(Call& call)
{
    if (!call.listed)
    {
        return;
    }
    (call.previous != nullptr ? call.previous->next : m_first) = call.next;
    (call.next != nullptr ? call.next->previous : m_last) = call.previous;
    call.next = nullptr;
    call.previous = nullptr;
    call.listed = false;
}

} // namespace tz::orvane::mdt
