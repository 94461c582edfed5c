// SPDX-License-Identifier: Apache-2.0
// A directory of a test's own, named to the messenger as the place of its sockets.
#pragma once

#include <string>
#include <vector>

namespace tz::orvane::test
{

/// Made 0700 at the beginning, removed with all that is in it at the end.
class TempDir
{
public:
    TempDir();
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;
    ~TempDir();

    std::string const& path() const { return m_path; }

    /// @return the names of what is in it, in order
    std::vector<std::string> names() const;

private:
    std::string m_path;
};

/// A TempDir that ORVANE_SOCKET_DIR names while it lives.
class SocketDir : public TempDir
{
public:
    SocketDir();
    ~SocketDir();
};

} // namespace tz::orvane::test
