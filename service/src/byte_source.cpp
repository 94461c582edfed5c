// SPDX-License-Identifier: Apache-2.0
// Bytes of a file that is looked into here and there, not read as a whole.
#include "byte_source.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tz::orvane::service
{

FileBytes::FileBytes(std::string const& path)
    : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) // a pipe would wait for its other end
{
    struct stat status
    {
    };
    if (m_fd >= 0 && fstat(m_fd, &status) == 0 && S_ISREG(status.st_mode))
    {
        m_size = static_cast<std::uint64_t>(status.st_size);
    }
}

FileBytes::~FileBytes()
{
    if (m_fd >= 0)
    {
        close(m_fd);
    }
}

std::string FileBytes::read(std::uint64_t offset, std::size_t count) const
{
    if (offset >= m_size)
    {
        return {};
    }
    std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(count, m_size - offset)), '\0');
    std::size_t filled = 0;
    while (filled < bytes.size())
    {
        ssize_t const got = pread(m_fd, &bytes[filled], bytes.size() - filled, static_cast<off_t>(offset + filled));
        if (got <= 0)
        {
            break; // cut off meanwhile
        }
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return bytes;
}

} // namespace tz::orvane::service
