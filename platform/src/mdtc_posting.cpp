// SPDX-License-Identifier: Apache-2.0
// One connection to a service: commands, queries and their replies.
#include "mdtc_connection.h"
#include "om_protocol.h"
#include "orvane/platform/om_debug.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>

namespace tz::orvane::mdt
{

namespace
{

constexpr char kLogFile[] = "mdtc_posting";
constexpr char kLogClass[] = "Connection";

/// Longest sleep of a post that waits for the service without leading, in milliseconds: when it wakes it sees whether
/// the service has ended, or nobody leads any more.
constexpr int kWaitForService = 20;

} // namespace

int Connection::post(MsgData const& msg, int timeout)
{
    if (m_dead)
    {
        return endStatus();
    }
    FrameWriter frame(FrameKind::command, msg);
    return send(frame, Deadline(timeout));
}

int Connection::query(MsgData const& msg, Call& call, int timeout)
{
    if (m_dead)
    {
        return endStatus();
    }
    Deadline const deadline(timeout);
    FrameWriter frame(FrameKind::query, msg);
    frame.header().call = call.id;
    int const sent = sendQuery(frame, call, deadline);
    if (sent < 0)
    {
        return sent;
    }
    // Who leads from the beginning has the whole time ahead: when it is the usual one, which is the socket's own, the
    // receive itself waits, and a system call is saved.
    bool const wholeTime = !call.sent && timeout == protocol::kPostTimeout;
    if (!m_calls.sleep(call, deadline))
    {
        return -ETIMEDOUT;
    }
    int const status = call.currentState() == Call::leading ? lead(call, deadline, wholeTime) : call.status;
    return status < 0 ? status : sent;
}

// Most queries find nobody leading and room in the socket: they keep the lead that they have entered with.
int Connection::sendQuery(FrameWriter& frame, Call& call, Deadline const& deadline)
{
    int result = frame.plan();
    if (result != 0)
    {
        return result;
    }
    if (call.currentState() == Call::leading && frame.outOfLineCount() == 0)
    {
        ssize_t const sent = trySend(frame);
        if (sent >= 0)
        {
            return static_cast<int>(sent);
        }
    }
    m_calls.giveLeadAway(call);
    result = sendPlanned(frame, deadline);
    if (result >= 0)
    {
        m_calls.markSent(call);
    }
    return result;
}

// The caller that leads reads until its own reply has come; it hands the lead on when it leaves.
// @return the status of the reply, or a negative errno value
int Connection::lead(Call& call, Deadline const& deadline, bool wait)
{
    while (call.currentState() == Call::leading)
    {
        if (!wait)
        {
            pollfd ready{m_command.get(), POLLIN, 0};
            timespec const left = deadline.left();
            if (deadline.passed() || ::ppoll(&ready, 1, &left, nullptr) == 0)
            {
                return -ETIMEDOUT;
            }
        }
        std::optional<int> const result = takeReply(&call, wait);
        if (result.has_value())
        {
            return *result;
        }
        wait = false;
    }
    return call.status;
}

// @param own query of the caller, null when it stands in
// @return what becomes of that query, nothing when the caller has to go on reading
std::optional<int> Connection::takeReply(Call* own, bool wait)
{
    ssize_t const received = m_replyReader.receive(m_command.get(), wait);
    if (received == -EAGAIN || received == -EINTR)
    {
        return std::nullopt;
    }
    bool const sound = received > 0 && m_replyReader.kind() == FrameKind::reply &&
                       (m_replyReader.resolve(nullptr) || m_replyReader.lacksMemory());
    if (!sound)
    {
        m_replyReader.finish(nullptr);
        die(received == 0 ? "the service has closed it" : m_replyReader.reason());
        return own != nullptr && own->status < 0 ? own->status : -EPIPE;
    }
    FrameHeader const& header = m_replyReader.header();
    auto const store = [this](MsgData& reply)
    {
        int const stored = m_replyReader.lacksMemory() ? -ENOMEM : m_replyReader.fill(reply, true);
        m_replyReader.finish(nullptr);
        return stored < 0 ? stored : m_replyReader.header().status;
    };
    if (own != nullptr && header.call == own->id)
    {
        return store(own->reply); // which nobody else touches while this caller leads
    }
    if (!m_calls.finish(header.call, store))
    {
        unsigned const count = ++m_lateReplies;
        ORVANE_LOG_WARNING("A reply to 0x%04X came too late and is dropped; %u of this connection so far.",
                           static_cast<unsigned>(header.msg), count);
        m_replyReader.finish(nullptr);
    }
    return std::nullopt;
}

int Connection::send(FrameWriter& frame, Deadline const& deadline)
{
    int const result = frame.plan();
    return result != 0 ? result : sendPlanned(frame, deadline);
}

int Connection::sendPlanned(FrameWriter& frame, Deadline const& deadline)
{
    return frame.outOfLineCount() == 0 ? transmit(frame, deadline) : sendOutOfLine(frame, deadline);
}

// One post at a time writes into the ring, so that what it holds lies in the order of the frames.
int Connection::sendOutOfLine(FrameWriter& frame, Deadline const& deadline)
{
    {
        std::unique_lock<std::mutex> lock(m_bulkMutex);
        if (!m_bulkFree.wait_until(lock, deadline.at(), [this] { return !m_bulkBusy || m_dead; }))
        {
            return -ETIMEDOUT;
        }
        if (m_bulkBusy)
        {
            return endStatus();
        }
        m_bulkBusy = true;
    }
    std::uint32_t const head = m_sendRing.head();
    std::uint32_t inRing = 0;
    int result = 0;
    for (int i = 0; i < frame.outOfLineCount() && result >= 0; ++i)
    {
        FrameWriter::OutOfLine& value = frame.outOfLine(i);
        bool const fits = value.length <= SharedRing::kLargestBlock - inRing;
        inRing += fits ? static_cast<std::uint32_t>(padded(value.length)) : 0;
        result = fits ? placeInRing(value, deadline) : frame.placeInDescriptor(value);
    }
    if (result >= 0 && frame.header().descriptorCount > 0)
    {
        result = announceDescriptors(deadline);
    }
    if (result >= 0)
    {
        result = transmit(frame, deadline);
    }
    if (result < 0)
    {
        m_sendRing.rewind(head);
    }
    {
        std::lock_guard<std::mutex> lock(m_bulkMutex);
        m_bulkBusy = false;
    }
    m_bulkFree.notify_one();
    return result;
}

int Connection::announceDescriptors(Deadline const& deadline)
{
    if (m_announced)
    {
        return 0;
    }
    MsgData const nothing;
    FrameWriter announcement(FrameKind::descriptorsFollow, nothing);
    int const result = send(announcement, deadline);
    m_announced = result >= 0;
    return result;
}

int Connection::placeInRing(FrameWriter::OutOfLine& value, Deadline const& deadline)
{
    std::uint32_t position = 0;
    while (!m_sendRing.reserve(value.length, position))
    {
        if (m_dead)
        {
            return endStatus();
        }
        int const left = deadline.milliseconds();
        if (left == 0)
        {
            return -ETIMEDOUT;
        }
        m_sendRing.waitForRoom(value.length, std::min(left, kWaitForService));
        readReplies();
    }
    m_sendRing.write(position, value.data, value.length);
    m_sendRing.commit(position, value.length);
    value.storage = Storage::ring;
    value.place = position;
    return 0;
}

// The service compares the count with what it has received: behind a query it looks into the socket only if they
// differ.
ssize_t Connection::trySend(FrameWriter& frame)
{
    m_sendRing.frameGoesOut();
    ssize_t const sent = frame.send(m_command.get(), MSG_DONTWAIT);
    if (sent < 0)
    {
        m_sendRing.frameStays();
    }
    return sent;
}

int Connection::transmit(FrameWriter& frame, Deadline const& deadline)
{
    StandIn standIn(m_calls);
    for (;;)
    {
        ssize_t const sent = trySend(frame);
        if (sent >= 0)
        {
            return static_cast<int>(sent);
        }
        if (sent == -EPIPE || sent == -ECONNRESET || sent == -ENOTCONN)
        {
            die("the service has closed it");
            return endStatus();
        }
        if (sent != -EAGAIN)
        {
            return static_cast<int>(sent);
        }
        int const left = deadline.milliseconds();
        if (left == 0)
        {
            return -ETIMEDOUT;
        }
        waitForRoom(standIn, left);
    }
}

// Returns also for a reply, which it has taken, and now and then while it does not lead.
void Connection::waitForRoom(StandIn& standIn, int milliseconds)
{
    bool const leads = standIn.leads();
    pollfd socket{m_command.get(), static_cast<short>(leads ? POLLIN | POLLOUT : POLLOUT), 0};
    ::poll(&socket, 1, leads ? milliseconds : std::min(milliseconds, kWaitForService));
    if (leads && (socket.revents & POLLIN) != 0)
    {
        takeReply(nullptr, false);
    }
}

// Takes the replies that are there, unless somebody leads.
void Connection::readReplies()
{
    StandIn standIn(m_calls);
    pollfd socket{m_command.get(), POLLIN, 0};
    while (!m_dead && standIn.leads() && ::poll(&socket, 1, 0) > 0)
    {
        takeReply(nullptr, false);
    }
}

} // namespace tz::orvane::mdt
