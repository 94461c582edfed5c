// SPDX-License-Identifier: Apache-2.0
// The file that a client named for its preview.
#include "preview_output.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr mode_t kOursAlone = 0600;

/// @param path absolute
std::string folderOf(std::string const& path)
{
    return path.substr(0, path.rfind('/') + 1);
}

} // namespace

PreviewOutput::PreviewOutput(std::string path, Kind kind)
    : m_path(std::move(path))
    , m_kind(kind)
{
}

PreviewOutput::~PreviewOutput()
{
    if (m_kind == Kind::named && m_file && !m_published)
    {
        removeOurs();
    }
}

int PreviewOutput::open()
{
    struct stat existing
    {
    };
    if (lstat(m_path.c_str(), &existing) == 0)
    {
        return -EEXIST;
    }
    if (m_kind == Kind::named)
    {
        return 0;
    }
    m_file = Descriptor(::open(folderOf(m_path).c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, kOursAlone));
    if (!m_file && (errno == EOPNOTSUPP || errno == EISDIR))
    {
        m_kind = Kind::named;
        return 0;
    }
    return m_file ? 0 : -errno;
}

int PreviewOutput::write(std::string_view bytes)
{
    if (m_kind == Kind::named)
    {
        int const flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        m_file = Descriptor(::open(m_path.c_str(), flags, kOursAlone));
        if (!m_file)
        {
            return -errno;
        }
    }
    return writeAll(m_file.get(), bytes);
}

int PreviewOutput::publish()
{
    if (m_kind == Kind::unnamed)
    {
        std::string const file = "/proc/self/fd/" + std::to_string(m_file.get());
        if (linkat(AT_FDCWD, file.c_str(), AT_FDCWD, m_path.c_str(), AT_SYMLINK_FOLLOW) != 0)
        {
            return -errno;
        }
    }
    m_published = true;
    return 0;
}

/// Somebody may have put a file of their own there meanwhile.
void PreviewOutput::removeOurs() const
{
    struct stat ours
    {
    };
    struct stat found
    {
    };
    if (fstat(m_file.get(), &ours) == 0 && lstat(m_path.c_str(), &found) == 0 && ours.st_dev == found.st_dev &&
        ours.st_ino == found.st_ino)
    {
        unlink(m_path.c_str());
    }
}

om::om_error_e outputError(int error)
{
    switch (error)
    {
    case EACCES:
    case EPERM:
    case EROFS:
    case EEXIST:
        return om::OM_ERROR_FORBIDDEN;
    case ENOENT:
    case ENOTDIR:
        return om::OM_ERROR_NOT_FOUND;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
    case EMFILE:
    case ENFILE:
        return om::OM_ERROR_LIMIT;
    case EIO:
        return om::OM_ERROR_INTERNAL;
    default:
        return om::OM_ERROR_BAD_ARGUMENT;
    }
}

} // namespace tz::orvane::service
