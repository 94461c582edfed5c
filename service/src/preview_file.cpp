// SPDX-License-Identifier: Apache-2.0
// A preview's file of the service's own.
#include "preview_file.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tz::orvane::service
{

int PreviewFile::create()
{
    int const fd = open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    m_created = fd >= 0;
    return fd < 0 ? -errno : fd;
}

void PreviewFile::remove()
{
    if (m_created)
    {
        unlink(m_path.c_str());
        m_created = false;
    }
}

} // namespace tz::orvane::service
