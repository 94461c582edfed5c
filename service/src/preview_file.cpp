// SPDX-License-Identifier: Apache-2.0
// A preview's file of the service's own.
#include "preview_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tz::orvane::service
{

namespace
{

bool isOwnPreview(std::string const& name)
{
    int end = 0;
    int const numbers = std::sscanf(name.c_str(), "preview-%*9[0-9]-%*9[0-9]-%*10[0-9]%n", &end);
    std::string const rest = numbers == EOF ? std::string() : name.substr(static_cast<std::size_t>(end));
    return end > 0 && (rest == ".jpg" || rest == ".png");
}

} // namespace

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

void removeLeftPreviews(std::string const& folder)
{
    std::error_code ignored;
    for (auto const& entry : std::filesystem::directory_iterator(folder, ignored))
    {
        if (isOwnPreview(entry.path().filename().string()))
        {
            unlink(entry.path().c_str());
        }
    }
}

} // namespace tz::orvane::service
