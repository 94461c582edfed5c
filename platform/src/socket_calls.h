// SPDX-License-Identifier: Apache-2.0
// The socket calls that every message makes.
#pragma once

#include <cerrno>
#include <sys/socket.h>

namespace tz::orvane::mdt
{

// Each gives bytes or a negative errno value, is not restarted after a signal, and never raises SIGPIPE.

inline ssize_t sendBytes(int socket, void const* bytes, std::size_t size, int flags)
{
    ssize_t const sent = ::send(socket, bytes, size, flags | MSG_NOSIGNAL);
    return sent < 0 ? -errno : sent;
}

inline ssize_t sendParts(int socket, msghdr const& message, int flags)
{
    ssize_t const sent = ::sendmsg(socket, &message, flags | MSG_NOSIGNAL);
    return sent < 0 ? -errno : sent;
}

inline ssize_t receiveParts(int socket, msghdr& message, int flags)
{
    ssize_t const received = ::recvmsg(socket, &message, flags | MSG_CMSG_CLOEXEC);
    return received < 0 ? -errno : received;
}

} // namespace tz::orvane::mdt
