// SPDX-License-Identifier: Apache-2.0
// Owner of one descriptor: the messenger's, by the service's name. And writing to one.
#pragma once

#include "platform/src/unique_fd.h"

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <unistd.h>

namespace tz::orvane::service
{

using Descriptor = platform::UniqueFd;

/// @return 0, or a negative errno value
inline int writeAll(int fd, std::string_view bytes)
{
    while (!bytes.empty())
    {
        ssize_t const written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
        {
            return -errno;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return 0;
}

} // namespace tz::orvane::service
