// SPDX-License-Identifier: Apache-2.0
// The three socket calls that every message makes, without the C library's care for thread cancellation.
#pragma once

#include <cerrno>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tz::orvane::mdt
{

// The library's threads are never cancelled and applications have no business to cancel theirs in here; the wrappers'
// bookkeeping for it costs as much as all locks of a query together. Each gives bytes or a negative errno value, is not
// restarted after a signal, and never raises SIGPIPE.

inline ssize_t socketResult(long result)
{
    return result < 0 ? -errno : static_cast<ssize_t>(result);
}

inline ssize_t sendBytes(int socket, void const* bytes, std::size_t size, int flags)
{
    return socketResult(::syscall(SYS_sendto, socket, bytes, size, flags | MSG_NOSIGNAL, nullptr, 0));
}

inline ssize_t sendParts(int socket, msghdr const& message, int flags)
{
    return socketResult(::syscall(SYS_sendmsg, socket, &message, flags | MSG_NOSIGNAL));
}

inline ssize_t receiveParts(int socket, msghdr& message, int flags)
{
    return socketResult(::syscall(SYS_recvmsg, socket, &message, flags | MSG_CMSG_CLOEXEC));
}

} // namespace tz::orvane::mdt
