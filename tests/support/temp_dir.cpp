// SPDX-License-Identifier: Apache-2.0
// A directory of a test's own, named to the messenger as the place of its sockets.
#include "support/temp_dir.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace tz::orvane::test
{

TempDir::TempDir()
    : m_path((std::filesystem::temp_directory_path() / "orvane-XXXXXX").string())
{
    if (mkdtemp(m_path.data()) == nullptr)
    {
        throw std::system_error(errno, std::generic_category(), m_path);
    }
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::vector<std::string> TempDir::names() const
{
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(m_path))
    {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

SocketDir::SocketDir()
{
    setenv("ORVANE_SOCKET_DIR", path().c_str(), 1);
}

SocketDir::~SocketDir()
{
    unsetenv("ORVANE_SOCKET_DIR");
}

} // namespace tz::orvane::test
