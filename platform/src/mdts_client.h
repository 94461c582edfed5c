// SPDX-License-Identifier: Apache-2.0
// One client of a service, seen from the service.
#pragma once

#include "frame_reader.h"
#include "frame_writer.h"
#include "orvane/platform/mdts_messenger.h"
#include "shared_ring.h"
#include "unique_fd.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace tz::orvane::mdt
{

/// Frames that a socket had no room for, in order.
class FrameQueue
{
public:
    bool empty() const { return m_frames.empty(); }
    std::size_t bytes() const { return m_bytes; }

    /// @return 0 or a negative errno value
    int push(FrameWriter& frame);

    /// Sends what there is room for. @return 0 or a negative errno value other than -EAGAIN
    int flush(int socket);

private:
    struct Frame
    {
        std::vector<unsigned char> bytes;
        std::vector<platform::UniqueFd> descriptors;
        std::size_t cost; ///< with what is in the descriptors
    };

    std::deque<Frame> m_frames;
    std::size_t m_bytes = 0;
};

/// The sockets, rings and queues of one client. Belongs to the loop's thread.
class ServiceClient
{
public:
    ServiceClient(int socket, MdtsPeer const& peer, std::uint64_t serial, std::size_t queueLimit);

    std::uint64_t serial() const { return m_serial; }
    int commandSocket() const { return m_commands.socket.get(); }
    int eventSocket() const { return m_events.socket.get(); }
    MdtsPeer& peer() { return m_peer; }
    bool introduced() const { return m_introduced; }
    std::size_t queuedBytes() const { return m_commands.queue.bytes() + m_events.queue.bytes(); }
    bool repliesWait() const { return !m_commands.queue.empty(); }
    bool eventsWait() const { return !m_events.queue.empty(); }

    /// @return whether events wait here, or in the socket
    bool eventsUnread() const;

    /// What the loop waits for on the two sockets, besides commands.
    bool repliesArmed = false;
    bool eventsArmed = false;

    FrameReader& reader() { return m_reader; }

    /// Receives a frame and finds what travels outside of it. @return as FrameReader::receive
    ssize_t receive()
    {
        ssize_t const received = m_reader.receive(commandSocket());
        return received > 0 && !m_reader.resolve(ring()) ? -EPROTO : received;
    }
    /// @return whether nothing is in the command socket; what comes from now on the loop tells
    bool isDrained() const { return m_introduced && m_receiveRing.framesSent() == m_reader.frameCount(); }
    SharedRing* ring() { return m_introduced ? &m_receiveRing : nullptr; }

    /// Takes over what the opening frame brings. @param heldIds cnids that the client's process still uses
    /// @return 0 or a negative errno value
    int introduce(std::vector<int>& heldIds);
    int greet(int status);

    // 0, or a negative errno value: the connection is of no use any more.

    int sendReply(FrameHeader const& envelope, MsgData const& arguments);
    int sendEvent(MsgData const& event);
    /// Closes the sockets, whoever still holds this object.
    void hangUp();

    int flushReplies() { return m_commands.queue.flush(m_commands.socket.get()); }
    int flushEvents() { return m_events.queue.flush(m_events.socket.get()); }

private:
    /// One way to the client: its socket, what waits for room there, and how much memory of ours it has not taken yet.
    struct Outlet
    {
        platform::UniqueFd socket;
        FrameQueue queue;
        std::deque<std::size_t> recent; ///< sizes of what was sent last in descriptors, as far as it may be unread
    };

    int send(FrameWriter& frame, Outlet& outlet, SharedRing* ring);
    int place(FrameWriter& frame, FrameWriter::OutOfLine& value, Outlet& outlet, SharedRing* ring) const;
    static std::size_t unreadBytes(Outlet& outlet);

    Outlet m_commands;
    Outlet m_events;
    MdtsPeer m_peer;
    std::uint64_t m_serial;
    std::size_t m_queueLimit;
    bool m_introduced = false;
    bool m_announced = false; ///< that replies may bring descriptors
    std::uint64_t m_sequence = 0;
    FrameReader m_reader;
    SharedRing m_sendRing;
    SharedRing m_receiveRing;
};

} // namespace tz::orvane::mdt
