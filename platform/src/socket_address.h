// SPDX-License-Identifier: Apache-2.0
// Where the sockets are and who is at their other ends.
#pragma once

#include "orvane/platform/mdts_messenger.h"

#include <string>
#include <sys/un.h>

namespace tz::orvane::mdt
{

/// @return 0, or -ENAMETOOLONG when a path is longer than a socket's address can be
int socketAddress(std::string const& path, sockaddr_un& address);

/// @return whether a service name can be the name of a file
bool isServiceName(char const* name);

/// Fills pid, uid and gid of the other end. @return 0 or a negative errno value
int peerOf(int socket, MdtsPeer& peer);

/// @return whether a service that runs under this user may be talked to
bool isTrustedService(uid_t uid);

} // namespace tz::orvane::mdt
