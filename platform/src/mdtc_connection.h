// SPDX-License-Identifier: Apache-2.0
// One connection to a service, seen from the client.
#pragma once

#include "frame_reader.h"
#include "frame_writer.h"
#include "mdtc_calls.h"
#include "orvane/platform/mdtc_messenger.h"
#include "shared_ring.h"
#include "unique_fd.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::mdt
{

/// Two sockets and two rings. Posts come from any thread; `readEvents` belongs to the receive thread.
///
/// Replies are read by the callers that wait for them, so that no reply waits for a listener; the receive thread reads
/// the event socket only.
class Connection
{
public:
    /// @param mutex of the table of connections
    explicit Connection(std::mutex& mutex)
        : m_calls(mutex)
    {
    }

    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;

    /// Connects to the socket file and introduces the application.
    /// @param heldIds cnids that this process still holds, so that the service gives another one
    /// @return 0 or a negative errno value
    int open(std::string const& path, _MdtInitParCfg_t const& cfg, std::vector<int> const& heldIds);

    int cnid() const { return m_cnid; }
    bool alive() const { return !m_dead; }
    int eventSocket() const { return m_event.get(); }

    // Around each post, under the mutex: whoever is inside keeps the connection from being destroyed.

    /// @param call of a query, else null
    void enter(Call* call)
    {
        ++m_users;
        if (call != nullptr && !m_dead)
        {
            m_calls.enter(*call);
        }
    }

    /// @return who is to be woken once the mutex is free; may be null
    Call* leave(Call* call)
    {
        --m_users;
        return call != nullptr ? m_calls.leave(*call) : nullptr;
    }

    bool inUse() const { return m_users > 0; }

    int post(MsgData const& msg, int timeout);
    int query(MsgData const& msg, Call& call, int timeout);

    /// Hands what the event socket holds to the callback. @return false when there will be no more
    bool readEvents(FrameReader& reader);

    /// Ends the connection for good; called by the application's disConnect. Nothing is delivered any more.
    void close();

    /// Closes the sockets of a copy that a fork made, without a word to the service. Under the mutex.
    void abandon();

private:
    int introduce(_MdtInitParCfg_t const& cfg, std::vector<int> const& heldIds, std::array<int, 3> const& descriptors,
                  Deadline const& deadline);
    int send(FrameWriter& frame, Deadline const& deadline);
    int sendPlanned(FrameWriter& frame, Deadline const& deadline);
    int sendOutOfLine(FrameWriter& frame, Deadline const& deadline);
    int announceDescriptors(Deadline const& deadline);
    int placeInRing(FrameWriter::OutOfLine& value, Deadline const& deadline);
    int transmit(FrameWriter& frame, Deadline const& deadline);
    ssize_t trySend(FrameWriter& frame);
    int sendQuery(FrameWriter& frame, Call& call, Deadline const& deadline);
    int lead(Call& call, Deadline const& deadline, bool wait);
    std::optional<int> takeReply(Call* own, bool wait);
    void waitForRoom(StandIn& standIn, int milliseconds);
    void readReplies();
    void die(char const* reason);

    /// What posts give once the connection has ended.
    int endStatus() const { return m_closed ? -ENOTCONN : -EPIPE; }
    void deliver(MsgData& msg);

    platform::UniqueFd m_command;
    platform::UniqueFd m_event;
    int (*m_callback)(void*) = nullptr;
    int m_cnid = 0;
    int m_users = 0; ///< posts that are under way
    std::atomic<bool> m_dead{false};
    std::atomic<bool> m_closed{false};
    bool m_deathDelivered = false; ///< receive thread

    CallTable m_calls;
    FrameReader m_replyReader; ///< of the caller that leads
    std::atomic<unsigned> m_lateReplies{0};

    SharedRing m_sendRing;
    std::mutex m_bulkMutex;
    std::condition_variable m_bulkFree;
    bool m_bulkBusy = false;  ///< someone writes into m_sendRing
    bool m_announced = false; ///< that frames may bring descriptors; of who is busy

    SharedRing m_receiveRing; ///< receive thread
};

} // namespace tz::orvane::mdt
