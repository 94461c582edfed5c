// SPDX-License-Identifier: Apache-2.0
// The queries of one connection that wait for their replies, and who of them reads the socket.
#include "mdtc_calls.h"

#include "futex.h"

namespace tz::orvane::mdt
{

void CallTable::enter(Call& call)
{
    call.id = ++m_lastId;
    if (m_closedStatus != 0)
    {
        complete(call, m_closedStatus);
        return;
    }
    call.listed = true;
    call.previous = m_last;
    (m_last != nullptr ? m_last->next : m_first) = &call;
    m_last = &call;
    if (!m_led)
    {
        takeLead(call);
    }
}

void CallTable::giveLeadAway(Call& call)
{
    Call* successor = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!call.leads)
        {
            return;
        }
        call.leads = false;
        successor = passLead();
        if (call.currentState() == Call::leading)
        {
            call.change(Call::waiting);
        }
    }
    wakeUp(successor);
}

void CallTable::markSent(Call& call)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    call.sent = true;
    if (!m_led && call.currentState() == Call::waiting)
    {
        takeLead(call);
    }
}

Call* CallTable::leave(Call& call)
{
    unlink(call);
    return call.leads ? passLead() : nullptr;
}

bool CallTable::standIn()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    bool const isFree = !m_led;
    m_led = true;
    return isFree;
}

void CallTable::standDown()
{
    Call* successor = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        successor = passLead();
    }
    wakeUp(successor);
}

bool CallTable::sleepUntil(Call& call, Deadline const& deadline)
{
    while (call.currentState() == Call::waiting)
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
        wakeUp(&call);
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

// Last of all the state: with it the caller may go, and the call with him.
void CallTable::complete(Call& call, int status)
{
    unlink(call);
    call.status = status;
    call.change(Call::done);
}

void CallTable::takeLead(Call& call)
{
    m_led = true;
    call.leads = true;
    call.change(Call::leading);
}

// Only to a caller whose message has left: one that still waits for room could not read.
Call* CallTable::passLead()
{
    m_led = false;
    Call* successor = m_first;
    while (successor != nullptr && !successor->sent)
    {
        successor = successor->next;
    }
    if (successor != nullptr)
    {
        takeLead(*successor);
    }
    return successor;
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

void CallTable::wakeUp(Call* call)
{
    if (call != nullptr)
    {
        futexWake(&call->state, false);
    }
}

} // namespace tz::orvane::mdt
