// SPDX-License-Identifier: Apache-2.0
// A preview's file of the service's own.
#include "preview_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tz::orvane::service
{

PreviewFile::~PreviewFile()
{
    if (m_created)
    {
        unlink(m_path.c_str());
    }
}

int PreviewFile::create()
{
    int const fd = open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    m_created = fd >= 0;
    return fd < 0 ? -errno : fd;
}

std::optional<std::uint64_t> PreviewFile::size() const
{
    struct stat status
    {
    };
    bool const isThere = lstat(m_path.c_str(), &status) == 0;
    return isThere ? std::optional<std::uint64_t>(status.st_size) : std::nullopt;
}

std::string ownPreviewPath(std::string const& folder, int cnid, std::uint32_t request, bool png)
{
    return folder + "/preview-" + std::to_string(getpid()) + "-" + std::to_string(cnid) + "-" +
           std::to_string(request) + (png ? ".png" : ".jpg");
}

} // namespace tz::orvane::service
