// SPDX-License-Identifier: Apache-2.0
// Writing to a descriptor without losing anything.
#include "common/write_all.h"

#include <cerrno>
#include <cstddef>
#include <unistd.h>

namespace tz::orvane::tools
{

bool writeAll(int fd, std::string_view text)
{
    while (!text.empty())
    {
        ssize_t const written = ::write(fd, text.data(), text.size());
        if (written < 0 && errno != EINTR)
        {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace tz::orvane::tools
