// SPDX-License-Identifier: Apache-2.0
// The floor's other end.
#include "bench/raw_peer.h"

#include "bench/stopwatch.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tz::orvane::bench
{

namespace
{

constexpr std::size_t kStreamRead = 1u << 20;

void answer(int socket, RawMessage const& request)
{
    RawMessage message{};
    if (request.kind == RawKind::ping)
    {
        ::send(socket, &message, sizeof message, 0);
    }
    else if (request.kind == RawKind::events)
    {
        for (std::uint32_t i = 0; i < request.count; ++i)
        {
            message.sent = now();
            ::send(socket, &message, sizeof message, 0);
        }
    }
}

void servePackets(int socket)
{
    std::vector<unsigned char> buffer(kFrameBytes);
    for (;;)
    {
        ssize_t const received = ::recv(socket, buffer.data(), buffer.size(), 0);
        if (received <= 0)
        {
            return;
        }
        RawMessage request;
        std::memcpy(&request, buffer.data(), sizeof request);
        if (request.kind == RawKind::blockToLookAt)
        {
            lookAt(buffer.data(), static_cast<std::size_t>(received));
        }
        else
        {
            answer(socket, request);
        }
    }
}

void serveStream(int socket)
{
    std::vector<unsigned char> buffer(kStreamRead);
    for (;;)
    {
        RawMessage request;
        if (::recv(socket, &request, sizeof request, MSG_WAITALL) != sizeof request)
        {
            return;
        }
        answer(socket, request);
        bool const looksAtIt = request.kind == RawKind::blockToLookAt;
        std::size_t left = looksAtIt || request.kind == RawKind::block ? request.count : 0;
        while (left > 0)
        {
            ssize_t const received = ::recv(socket, buffer.data(), std::min(left, buffer.size()), 0);
            if (received <= 0)
            {
                return;
            }
            if (looksAtIt)
            {
                lookAt(buffer.data(), static_cast<std::size_t>(received));
            }
            left -= static_cast<std::size_t>(received);
        }
    }
}

} // namespace

void RawSockets::closeAll() const
{
    for (int thread = 0; thread < kThreads; ++thread)
    {
        ::close(packets[static_cast<std::size_t>(thread)]);
        ::close(streams[static_cast<std::size_t>(thread)]);
    }
}

int serveRaw(RawSockets const& sockets)
{
    std::vector<std::thread> threads;
    for (int const socket : sockets.packets)
    {
        threads.emplace_back([socket] { servePackets(socket); });
    }
    for (int const socket : sockets.streams)
    {
        threads.emplace_back([socket] { serveStream(socket); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    return 0;
}

void requireRaw(bool sound, char const* what)
{
    if (!sound)
    {
        std::perror(what);
        std::exit(1);
    }
}

} // namespace tz::orvane::bench
