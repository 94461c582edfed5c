// SPDX-License-Identifier: Apache-2.0
// What the service manager is told about this process.
#include "activation.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tz::orvane::service
{

void notifyManager(char const* line)
{
    char const* const path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    std::size_t const length = path == nullptr ? 0 : std::strlen(path);
    if (length < 2 || length >= sizeof address.sun_path)
    {
        return;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, length);
    if (address.sun_path[0] == '@')
    {
        address.sun_path[0] = '\0'; // an abstract name
    }
    int const fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
    {
        return;
    }
    sendto(fd, line, std::strlen(line), MSG_NOSIGNAL, reinterpret_cast<sockaddr const*>(&address),
           static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
    close(fd);
}

} // namespace tz::orvane::service
