// SPDX-License-Identifier: Apache-2.0
// Writing to a descriptor without losing anything.
#pragma once

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <unistd.h>

namespace tz::orvane::platform
{

/// @return 0, or the negative errno value of what kept a part from being written
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

} // namespace tz::orvane::platform
