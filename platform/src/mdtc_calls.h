// SPDX-License-Identifier: Apache-2.0
// The queries of one connection that wait for their replies, and who of them reads the socket.
#pragma once

#include "deadline.h"
#include "orvane/platform/mdt_msg_data.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace tz::orvane::mdt
{

/// A waiting query, on its caller's stack.
struct Call
{
    enum State : std::uint32_t
    {
        waiting,
        leading, ///< its caller is to read the socket
        done,
    };

    explicit Call(MsgData& replyTo)
        : reply(replyTo)
    {
    }

    // Whoever sees a state sees what was done before it: the reply stored, the socket left by its former reader.

    State currentState() const { return static_cast<State>(state.load(std::memory_order_acquire)); }
    void change(State to) { state.store(to, std::memory_order_release); }

    std::uint64_t id = 0;
    MsgData& reply;
    int status = 0; ///< when done: the reply's, or a negative errno value
    bool sent = false;
    bool listed = false;
    bool leads = false; ///< has the lead, also when it is done already: hands it on when it leaves
    std::atomic<std::uint32_t> state{waiting};
    Call* next = nullptr;
    Call* previous = nullptr;
};

/// One of the callers leads: it reads the socket, stores the replies of the others and wakes them. All others sleep on
/// their own state word. Everything is changed under one mutex; the futex is only a hint.
///
/// The mutex is that of the table of connections, so that a query which nobody disturbs takes it twice: once to find
/// its connection, hold it and enter the call, and once to leave again.
class CallTable
{
public:
    explicit CallTable(std::mutex& mutex)
        : m_mutex(mutex)
    {
    }

    /// Enters a call before it is sent, so that its reply cannot come too early. Who finds nobody leading has the lead
    /// at once: it sends without waiting for room, or gives the lead away first. Under the mutex.
    void enter(Call& call);

    /// Removes a call whatever became of it and hands the lead on if it had it. Under the mutex.
    /// @return who is to be woken once the mutex is free; may be null
    Call* leave(Call& call);

    /// Gives the lead away, because the caller is going to wait for something else than replies.
    void giveLeadAway(Call& call);

    /// The call's message has left: from now on it may be given the lead. Takes the lead if nobody has it.
    void markSent(Call& call);

    /// Leads for no call of its own, if nobody leads. @return whether it does now
    bool standIn();

    /// Hands on the lead that `standIn` took.
    void standDown();

    /// Waits until the call leads or is done. @return false when the deadline passed first
    bool sleep(Call& call, Deadline const& deadline)
    {
        return call.currentState() != Call::waiting || sleepUntil(call, deadline);
    }

    /// Finishes another's call, the one with this id: `store(reply)`, which gives the status, runs under the mutex, so
    /// that its caller cannot leave meanwhile. @return false when nobody waits for it any more
    template <class Store> bool finish(std::uint64_t id, Store&& store)
    {
        Call* call = nullptr;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            call = find(id);
            if (call == nullptr)
            {
                return false;
            }
            complete(*call, store(call->reply));
        }
        wakeUp(call);
        return true;
    }

    /// Finishes all calls, and all that will be entered, with this negative status.
    void finishAll(int status);

    /// Forgets calls whose callers a fork has left behind. Under the mutex.
    void abandon()
    {
        m_first = nullptr;
        m_last = nullptr;
    }

    static void wakeUp(Call* call);

private:
    Call* find(std::uint64_t id);
    Call* passLead();
    void takeLead(Call& call);
    void complete(Call& call, int status);
    void unlink(Call& call);
    static bool sleepUntil(Call& call, Deadline const& deadline);

    std::mutex& m_mutex;
    Call* m_first = nullptr;
    Call* m_last = nullptr;
    std::uint64_t m_lastId = 0; ///< never reused: a late reply finds nobody
    bool m_led = false;
    int m_closedStatus = 0;
};

/// The lead of a post that waits for the service, while no query leads. A service whose replies nobody reads does not
/// read either: without it both would wait for each other.
class StandIn
{
public:
    explicit StandIn(CallTable& calls)
        : m_calls(calls)
    {
    }

    StandIn(StandIn const&) = delete;
    StandIn& operator=(StandIn const&) = delete;

    ~StandIn()
    {
        if (m_leads)
        {
            m_calls.standDown();
        }
    }

    /// Takes the lead if it is free. @return whether the post leads
    bool leads()
    {
        m_leads = m_leads || m_calls.standIn();
        return m_leads;
    }

private:
    CallTable& m_calls;
    bool m_leads = false;
};

} // namespace tz::orvane::mdt
