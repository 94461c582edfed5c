// SPDX-License-Identifier: Apache-2.0
// The socket calls that every message makes.
#pragma once

#include <cerrno>
#include <cstddef>
#include <sys/socket.h>

namespace tz::orvane::mdt
{

// Each gives bytes or a negative errno value. What sends goes on after a signal and never raises SIGPIPE; what receives
// leaves both to its caller, and gives the whole length of a frame that was cut.

inline ssize_t sendBytes(int socket, void const* bytes, std::size_t size, int flags)
{
    ssize_t sent = 0;
    do
    {
        sent = ::send(socket, bytes, size, flags | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? -errno : sent;
}

inline ssize_t sendParts(int socket, msghdr const& message, int flags)
{
    ssize_t sent = 0;
    do
    {
        sent = ::sendmsg(socket, &message, flags | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? -errno : sent;
}

inline ssize_t receiveBytes(int socket, void* bytes, std::size_t size, int flags)
{
    ssize_t const received = ::recv(socket, bytes, size, flags | MSG_TRUNC);
    return received < 0 ? -errno : received;
}

inline ssize_t receiveParts(int socket, msghdr& message, int flags)
{
    ssize_t const received = ::recvmsg(socket, &message, flags | MSG_TRUNC | MSG_CMSG_CLOEXEC);
    return received < 0 ? -errno : received;
}

} // namespace tz::orvane::mdt
