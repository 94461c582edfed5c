// SPDX-License-Identifier: Apache-2.0
// Where the sockets are and who is at their other ends.
#include "socket_address.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace tz::orvane::mdt
{

std::string socketDirectory()
{
    char const* const own = std::getenv("ORVANE_SOCKET_DIR");
    if (own != nullptr && *own != '\0')
    {
        return own;
    }
    char const* const runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && *runtime != '\0')
    {
        return std::string(runtime) + "/orvane";
    }
    return "/run/orvane";
}

int socketAddress(std::string const& path, sockaddr_un& address)
{
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
    {
        return -ENAMETOOLONG;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return 0;
}

bool isServiceName(char const* name)
{
    return name != nullptr && *name != '\0' && std::strchr(name, '/') == nullptr;
}

int peerOf(int socket, MdtsPeer& peer)
{
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0)
    {
        return -errno;
    }
    peer.pid = credentials.pid;
    peer.uid = credentials.uid;
    peer.gid = credentials.gid;
    return 0;
}

bool isTrustedService(uid_t uid)
{
    if (uid == 0 || uid == ::geteuid())
    {
        return true;
    }
    char const* const named = std::getenv("ORVANE_SERVICE_UID");
    if (named == nullptr || *named == '\0')
    {
        return false;
    }
    char* end = nullptr;
    unsigned long const allowed = std::strtoul(named, &end, 10);
    return *end == '\0' && allowed == uid;
}

} // namespace tz::orvane::mdt
