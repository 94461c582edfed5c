// SPDX-License-Identifier: Apache-2.0
// One client of a service, seen from the service.
#include "mdts_client.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <linux/sockios.h>
#include <numeric>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <utility>

namespace tz::orvane::mdt
{

namespace
{

// What the opening frame brings, in this order.
constexpr std::size_t kEventEnd = 0;
constexpr std::size_t kClientsRing = 1;
constexpr std::size_t kServicesRing = 2;
constexpr std::size_t kHelloDescriptors = 3;
constexpr int kHelloName = 0;
constexpr int kHelloFlags = 1;
constexpr int kHelloHeldIds = 5;
constexpr std::size_t kLongestName = 255;

std::string printable(char const* text)
{
    std::string name(text, ::strnlen(text, kLongestName));
    for (char& character : name)
    {
        if (std::iscntrl(static_cast<unsigned char>(character)) != 0)
        {
            character = '?';
        }
    }
    return name;
}

bool isEventSocket(int fd)
{
    int domain = 0;
    int type = 0;
    socklen_t length = sizeof domain;
    return ::getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &length) == 0 &&
           ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && domain == AF_UNIX && type == SOCK_SEQPACKET;
}

/// The kernel tells how much of its memory is taken by what the peer has not received.
int unreadMemory(int socket)
{
    int unread = 0;
    ::ioctl(socket, SIOCOUTQ, &unread);
    return unread;
}

} // namespace

int FrameQueue::push(FrameWriter& frame)
{
    Frame queued{frame.flatten(), {}, frame.size()};
    for (int i = 0; i < frame.outOfLineCount(); ++i)
    {
        queued.cost += frame.outOfLine(i).length;
    }
    int const result = frame.duplicateDescriptors(queued.descriptors);
    if (result == 0)
    {
        m_bytes += queued.cost;
        m_frames.push_back(std::move(queued));
    }
    return result;
}

int FrameQueue::flush(int socket)
{
    while (!m_frames.empty())
    {
        Frame& frame = m_frames.front();
        int descriptors[kMaxDescriptors];
        int count = 0;
        for (platform::UniqueFd const& descriptor : frame.descriptors)
        {
            descriptors[count++] = descriptor.get();
        }
        iovec part{frame.bytes.data(), frame.bytes.size()};
        ssize_t const sent = sendFrame(socket, &part, 1, descriptors, count, MSG_DONTWAIT);
        if (sent < 0)
        {
            return sent == -EAGAIN ? 0 : static_cast<int>(sent);
        }
        m_bytes -= frame.cost;
        m_frames.pop_front();
    }
    return 0;
}

ServiceClient::ServiceClient(int socket, MdtsPeer const& peer, std::uint64_t serial, std::size_t queueLimit)
    : m_peer(peer)
    , m_serial(serial)
    , m_queueLimit(queueLimit)
{
    m_commands.socket.reset(socket);
}

int ServiceClient::introduce(std::vector<int>& heldIds)
{
    if (m_reader.kind() != FrameKind::hello || m_reader.descriptorCount() != kHelloDescriptors)
    {
        return -EPROTO;
    }
    MsgData hello;
    m_reader.fill(hello, false);
    auto const* const name = static_cast<char const*>(hello.read(kHelloName));
    auto const* const flags = static_cast<std::uint32_t const*>(hello.read(kHelloFlags));
    void* held = nullptr;
    int heldBytes = 0;
    if (name == nullptr || flags == nullptr || hello.argType(kHelloName) != MsgArgType::string ||
        hello.argType(kHelloFlags) != MsgArgType::uint32 || hello.read(kHelloHeldIds, &held, &heldBytes) != 0)
    {
        return -EPROTO;
    }
    m_peer.name = printable(name);
    m_peer.flags = *flags;
    heldIds.resize(static_cast<std::size_t>(heldBytes) / sizeof(int));
    if (!heldIds.empty())
    {
        std::memcpy(heldIds.data(), held, heldIds.size() * sizeof(int));
    }
    platform::UniqueFd event = m_reader.takeDescriptor(kEventEnd);
    if (!isEventSocket(event.get()))
    {
        return -EPROTO;
    }
    int result = m_receiveRing.attach(m_reader.takeDescriptor(kClientsRing).get());
    if (result == 0)
    {
        result = m_sendRing.attach(m_reader.takeDescriptor(kServicesRing).get());
    }
    if (result == 0)
    {
        m_events.socket = std::move(event);
        m_introduced = true;
        m_reader.awaitAnnouncement();
    }
    return result;
}

int ServiceClient::greet(int status)
{
    MsgData const greeting(m_peer.cnid, 0, 0, 0);
    FrameWriter frame(FrameKind::helloReply, greeting);
    frame.header().status = status;
    return send(frame, m_commands, nullptr);
}

int ServiceClient::sendReply(FrameHeader const& envelope, MsgData const& arguments)
{
    FrameWriter frame(FrameKind::reply, arguments);
    FrameHeader& header = frame.header();
    header.pid = envelope.pid;
    header.uid = envelope.uid;
    header.msg = envelope.msg;
    header.type = envelope.type;
    header.status = envelope.status;
    header.call = envelope.call;
    header.sequence = ++m_sequence;
    return send(frame, m_commands, nullptr);
}

int ServiceClient::sendEvent(MsgData const& event)
{
    FrameWriter frame(FrameKind::event, event);
    frame.header().sequence = ++m_sequence;
    return send(frame, m_events, &m_sendRing);
}

void ServiceClient::hangUp()
{
    m_commands.socket.reset();
    m_events.socket.reset();
}

bool ServiceClient::eventsUnread() const
{
    return eventsWait() || unreadMemory(m_events.socket.get()) > 0;
}

// No frame takes less of the socket's memory than this: so many frames may be unread, and of those the last ones.
std::size_t ServiceClient::unreadBytes(Outlet& outlet)
{
    constexpr std::size_t kSmallestFrame = 512;
    int const unread = unreadMemory(outlet.socket.get());
    std::size_t const frames = static_cast<std::size_t>(unread) / kSmallestFrame + 1;
    while (unread == 0 ? !outlet.recent.empty() : outlet.recent.size() > frames)
    {
        outlet.recent.pop_front();
    }
    return std::accumulate(outlet.recent.begin(), outlet.recent.end(), std::size_t{0});
}

int ServiceClient::place(FrameWriter& frame, FrameWriter::OutOfLine& value, Outlet& outlet, SharedRing* ring) const
{
    std::uint32_t position = 0;
    if (ring != nullptr && value.length <= SharedRing::kLargestBlock && ring->reserve(value.length, position))
    {
        ring->write(position, value.data, value.length);
        ring->commit(position, value.length);
        value.storage = Storage::ring;
        value.place = position;
        return 0;
    }
    // A single large value may pass, but a client that reads nothing must not pile them up.
    std::size_t const unread = unreadBytes(outlet);
    if (unread > 0 && unread + value.length > m_queueLimit)
    {
        return -ENOBUFS;
    }
    outlet.recent.push_back(value.length);
    return frame.placeInDescriptor(value);
}

int ServiceClient::send(FrameWriter& frame, Outlet& outlet, SharedRing* ring)
{
    int result = frame.plan();
    for (int i = 0; i < frame.outOfLineCount() && result == 0; ++i)
    {
        result = place(frame, frame.outOfLine(i), outlet, ring);
    }
    if (result != 0)
    {
        return result;
    }
    if (frame.header().descriptorCount > 0 && &outlet == &m_commands && !m_announced)
    {
        MsgData const nothing;
        FrameWriter announcement(FrameKind::descriptorsFollow, nothing);
        result = send(announcement, outlet, nullptr);
        if (result != 0)
        {
            return result;
        }
        m_announced = true;
    }
    if (outlet.queue.empty())
    {
        ssize_t const sent = frame.send(outlet.socket.get(), MSG_DONTWAIT);
        if (sent != -EAGAIN)
        {
            return sent < 0 ? static_cast<int>(sent) : 0;
        }
    }
    result = outlet.queue.push(frame);
    return result == 0 && outlet.queue.bytes() > m_queueLimit ? -ENOBUFS : result;
}

} // namespace tz::orvane::mdt
