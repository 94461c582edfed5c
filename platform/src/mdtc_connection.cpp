// SPDX-License-Identifier: Apache-2.0
// One connection to a service: opening, events, end.
#include "mdtc_connection.h"

#include "om_protocol.h"
#include "orvane/platform/om_debug.h"
#include "socket_address.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace tz::orvane::mdt
{

namespace
{

constexpr char kLogFile[] = "mdtc_connection";
constexpr char kLogClass[] = "Connection";

/// Events handed over before other connections get their turn.
constexpr int kEventsPerTurn = 16;

// While a service takes no more connections for the moment, connecting waits as long as sending may on this socket. A
// signal begins it anew.
int connectTo(int socket, sockaddr_un const& address, Deadline const& deadline)
{
    for (;;)
    {
        int const left = deadline.milliseconds();
        if (left == 0)
        {
            return -ETIMEDOUT;
        }
        timeval const patience{left / 1000, static_cast<suseconds_t>(left % 1000) * 1000};
        if (::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience) != 0)
        {
            return -errno;
        }
        if (::connect(socket, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0)
        {
            return 0;
        }
        if (errno != EINTR)
        {
            return errno == EAGAIN ? -ETIMEDOUT : -errno;
        }
    }
}

bool isDeath(MsgData const& msg)
{
    return msg.readUid() == 0 &&
           (msg.readMsg() == protocol::kMsgConnectionDied || msg.readMsg() == protocol::kMsgConnectionDiedOld);
}

} // namespace

int Connection::open(std::string const& path, _MdtInitParCfg_t const& cfg, std::vector<int> const& heldIds)
{
    sockaddr_un address;
    int result = socketAddress(path, address);
    if (result != 0)
    {
        return result;
    }
    m_callback = cfg.callback;
    Deadline const deadline(protocol::kPostTimeout);
    // Blocking, for the moment of connecting when many do so at once, and for a query that waits the usual time for its
    // reply; everything else is done with MSG_DONTWAIT.
    m_command.reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    timeval const patience{protocol::kPostTimeout / 1000, 0};
    if (!m_command || ::setsockopt(m_command.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0)
    {
        return -errno;
    }
    result = connectTo(m_command.get(), address, deadline);
    MdtsPeer service{};
    if (result == 0)
    {
        result = peerOf(m_command.get(), service);
    }
    if (result != 0)
    {
        return result;
    }
    if (!isTrustedService(service.uid))
    {
        ORVANE_LOG_ERROR("%s is held by user %u, who is not trusted.", path.c_str(), service.uid);
        return -EACCES;
    }
    int events[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, events) != 0)
    {
        return -errno;
    }
    m_event.reset(events[0]);
    platform::UniqueFd const eventEnd(events[1]);
    platform::UniqueFd sendRing;
    platform::UniqueFd receiveRing;
    for (platform::UniqueFd* ring : {&sendRing, &receiveRing})
    {
        result = SharedRing::create(*ring);
        if (result != 0)
        {
            return result;
        }
    }
    result = m_sendRing.attach(sendRing.get());
    if (result == 0)
    {
        result = m_receiveRing.attach(receiveRing.get());
    }
    return result != 0 ? result
                       : introduce(cfg, heldIds, {eventEnd.get(), sendRing.get(), receiveRing.get()}, deadline);
}

// @param descriptors the service's end of the event socket, the ring to it, the ring from it
int Connection::introduce(_MdtInitParCfg_t const& cfg, std::vector<int> const& heldIds,
                          std::array<int, 3> const& descriptors, Deadline const& deadline)
{
    MsgData hello(0, 0, 0, 0);
    hello.writeString(cfg.name);
    hello.writeUInt32(cfg.flags);
    hello.writeUInt32(cfg.send_capacity);
    hello.writeUInt32(cfg.receive_capacity);
    hello.writeUInt32(cfg.event_capacity);
    hello.writeData(reinterpret_cast<char const*>(heldIds.data()),
                    static_cast<unsigned short>(heldIds.size() * sizeof(int)));
    FrameWriter frame(FrameKind::hello, hello);
    int result = frame.plan();
    if (result != 0 || frame.outOfLineCount() != 0)
    {
        return result != 0 ? result : -EMSGSIZE;
    }
    for (int fd : descriptors)
    {
        frame.addDescriptor(fd);
    }
    result = transmit(frame, deadline);
    while (result > 0)
    {
        pollfd ready{m_command.get(), POLLIN, 0};
        timespec const left = deadline.left();
        int const count = ::ppoll(&ready, 1, &left, nullptr);
        if (count == 0)
        {
            return -ETIMEDOUT;
        }
        ssize_t const received = count < 0 ? -errno : m_replyReader.receive(m_command.get());
        if (received == -EINTR || received == -EAGAIN)
        {
            continue;
        }
        if (received <= 0)
        {
            return received < 0 ? static_cast<int>(received) : -EPIPE;
        }
        FrameHeader const& header = m_replyReader.header();
        if (m_replyReader.kind() != FrameKind::helloReply)
        {
            return -EPROTO;
        }
        m_cnid = header.pid;
        m_replyReader.awaitAnnouncement();
        return header.status < 0 ? header.status : 0;
    }
    return result;
}

bool Connection::readEvents(FrameReader& reader)
{
    for (int i = 0; i < kEventsPerTurn && !m_closed; ++i)
    {
        ssize_t const received = reader.receive(m_event.get());
        if (received == -EAGAIN)
        {
            return true;
        }
        bool const sound = received > 0 && reader.kind() == FrameKind::event &&
                           (reader.resolve(&m_receiveRing) || reader.lacksMemory());
        if (!sound)
        {
            reader.finish(&m_receiveRing);
            die(received == 0 ? "the service has closed it" : reader.reason());
            if (!m_closed && !m_deathDelivered)
            {
                MsgData died(m_cnid, 0, protocol::kMsgConnectionDied, protocol::kTypeCommand);
                deliver(died);
            }
            return false;
        }
        if (reader.lacksMemory())
        {
            ORVANE_LOG_ERROR("There is no memory for message 0x%04X, which is dropped.",
                             static_cast<unsigned>(reader.header().msg));
        }
        else
        {
            MsgData event;
            reader.fill(event, false);
            if (!isDeath(event) || !m_deathDelivered)
            {
                deliver(event);
            }
        }
        reader.finish(&m_receiveRing);
    }
    return !m_closed;
}

void Connection::deliver(MsgData& msg)
{
    m_deathDelivered = m_deathDelivered || isDeath(msg);
    if (m_closed || m_callback == nullptr)
    {
        return;
    }
    try
    {
        m_callback(&msg);
    }
    catch (std::bad_alloc const&)
    {
        ORVANE_LOG_ERROR("There was no memory to deal with message 0x%04X.", static_cast<unsigned>(msg.readMsg()));
    }
}

void Connection::die(char const* reason)
{
    if (!m_dead.exchange(true))
    {
        if (!m_closed)
        {
            ORVANE_LOG_WARNING("The connection 0x%04X has ended: %s.", static_cast<unsigned>(m_cnid), reason);
        }
        // Whoever still waits at one of the sockets returns, and the receive thread learns of it.
        ::shutdown(m_command.get(), SHUT_RDWR);
        ::shutdown(m_event.get(), SHUT_RDWR);
    }
    m_calls.finishAll(endStatus());
    m_bulkFree.notify_all();
}

void Connection::close()
{
    m_closed = true;
    die("closed here");
}

void Connection::abandon()
{
    m_closed = true;
    m_dead = true;
    m_calls.abandon();
    m_command.reset();
    m_event.reset();
}

} // namespace tz::orvane::mdt
