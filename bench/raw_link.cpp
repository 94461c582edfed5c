// SPDX-License-Identifier: Apache-2.0
// The floor: the same work on bare sockets.
#include "bench/raw_link.h"

#include "bench/stopwatch.h"

#include <algorithm>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace tz::orvane::bench
{

namespace
{

void sendMessage(int socket, RawKind kind, std::size_t bytes, std::uint32_t count = 0)
{
    RawMessage message{};
    message.kind = kind;
    message.count = count;
    requireRaw(::send(socket, &message, bytes, 0) == static_cast<ssize_t>(bytes), "send");
}

std::int64_t receiveMessage(int socket)
{
    RawMessage message;
    requireRaw(::recv(socket, &message, sizeof message, 0) == sizeof message, "recv");
    return message.sent;
}

void ping(int socket, std::size_t bytes)
{
    sendMessage(socket, RawKind::ping, bytes);
    receiveMessage(socket);
}

} // namespace

RawLink::RawLink()
    : m_block(new char[kLargestBlock])
{
    std::memset(m_block.get(), 'b', kLargestBlock);
    RawSockets theirs;
    for (std::size_t thread = 0; thread < kThreads; ++thread)
    {
        int pair[2];
        requireRaw(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) == 0, "socketpair");
        m_sockets.packets[thread] = pair[0];
        theirs.packets[thread] = pair[1];
        requireRaw(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) == 0, "socketpair");
        m_sockets.streams[thread] = pair[0];
        theirs.streams[thread] = pair[1];
    }
    m_peer = std::make_unique<ChildProcess>(
        [&]
        {
            m_sockets.closeAll();
            return serveRaw(theirs);
        });
    theirs.closeAll();
}

RawLink::~RawLink()
{
    m_sockets.closeAll();
}

double RawLink::query(int thread) const
{
    int const socket = m_sockets.packets[static_cast<std::size_t>(thread)];
    return timed(1, [&] { ping(socket, kQueryBytes); });
}

double RawLink::post(int thread) const
{
    int const socket = m_sockets.packets[static_cast<std::size_t>(thread)];
    return timed(kBurst,
                 [&]
                 {
                     for (int i = 0; i < kBurst; ++i)
                     {
                         sendMessage(socket, RawKind::nothing, kNumberBytes);
                     }
                     ping(socket, kQueryBytes);
                 });
}

double RawLink::events(int thread) const
{
    int const socket = m_sockets.packets[static_cast<std::size_t>(thread)];
    return timed(kBurst,
                 [&]
                 {
                     sendMessage(socket, RawKind::events, kNumberBytes, kBurst);
                     for (int i = 0; i < kBurst; ++i)
                     {
                         receiveMessage(socket);
                     }
                 });
}

double RawLink::eventLatency(int thread) const
{
    int const socket = m_sockets.packets[static_cast<std::size_t>(thread)];
    sendMessage(socket, RawKind::events, kNumberBytes, 1);
    std::int64_t const sent = receiveMessage(socket);
    return static_cast<double>(now() - sent) / 1000.0;
}

double RawLink::push(int thread, Block const& block, Bulk bulk) const
{
    auto const& sockets = bulk == Bulk::packets ? m_sockets.packets : m_sockets.streams;
    int const socket = sockets[static_cast<std::size_t>(thread)];
    int const count = blocksPerBurst(block);
    return timed(count,
                 [&]
                 {
                     for (int i = 0; i < count; ++i)
                     {
                         postBlock(socket, block, bulk);
                     }
                     ping(socket, kNumberBytes);
                 });
}

void RawLink::postBlock(int socket, Block const& block, Bulk bulk) const
{
    std::size_t const piece = bulk == Bulk::packets ? kFrameBytes - kNumberBytes : block.bytes;
    for (std::size_t sent = 0; sent < block.bytes;)
    {
        std::size_t const length = std::min(piece, block.bytes - sent);
        RawMessage message{};
        message.kind = block.looksAtIt ? RawKind::blockToLookAt : RawKind::block;
        message.count = static_cast<std::uint32_t>(length);
        iovec parts[] = {{&message, sizeof message}, {m_block.get() + sent, length}};
        ssize_t const result = ::writev(socket, parts, 2);
        requireRaw(result == static_cast<ssize_t>(sizeof message + length), "writev");
        sent += length;
    }
}

void RawLink::pushUntil(std::atomic<bool> const& stop, Block const& block) const
{
    while (!stop)
    {
        postBlock(m_sockets.packets[0], block, Bulk::packets);
    }
}

} // namespace tz::orvane::bench
