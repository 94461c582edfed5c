// SPDX-License-Identifier: Apache-2.0
// Which directory the media service is met in.
#include "common/socket_directory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tz::orvane::tools
{

namespace
{

constexpr char kSystemDirectory[] = "/run/orvane";
constexpr char kSocketName[] = "Orvane.MediaPlayer.Server";
constexpr char kVariable[] = "ORVANE_SOCKET_DIR";

bool isWritable(std::string const& path)
{
    return ::access(path.c_str(), W_OK | X_OK) == 0;
}

/// @return why neither a service can be reached below `path` nor one be started there; empty when it can
std::string faultOf(std::string const& path)
{
    if (isWritable(path) || ::access((path + "/" + kSocketName).c_str(), W_OK) == 0)
    {
        return "";
    }
    if (errno != ENOENT || ::access(path.c_str(), F_OK) == 0)
    {
        return std::strerror(EACCES);
    }
    // The service makes the last directory itself, not those above.
    std::string const parent = std::filesystem::path(path).parent_path();
    return isWritable(parent) ? "" : parent + ": " + std::strerror(errno);
}

SocketDirectory fromVariable(char const* variable, std::string const& value, char const* below)
{
    std::error_code error;
    std::string const path = std::filesystem::absolute(value + below, error);
    std::string const fault = faultOf(path);
    return {path, fault.empty() ? "" : path + " (from " + variable + ") is not usable: " + fault};
}

SocketDirectory privateDirectory()
{
    std::string const path = "/tmp/orvane-" + std::to_string(::geteuid());
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
    {
        return {path, path + " cannot be made: " + std::strerror(errno)};
    }
    // Others can write to /tmp: what is there must be a directory that only we can use.
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != ::geteuid() ||
        (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
    {
        return {path, path + " is not a private directory of this user; set " + kVariable + " to another one"};
    }
    ::setenv(kVariable, path.c_str(), 1);
    return {path, ""};
}

} // namespace

SocketDirectory findSocketDirectory()
{
    if (char const* value = std::getenv(kVariable); value != nullptr && *value != '\0')
    {
        return fromVariable(kVariable, value, "");
    }
    if (char const* value = std::getenv("XDG_RUNTIME_DIR"); value != nullptr && *value != '\0')
    {
        return fromVariable("XDG_RUNTIME_DIR", value, "/orvane");
    }
    return faultOf(kSystemDirectory).empty() ? SocketDirectory{kSystemDirectory, ""} : privateDirectory();
}

} // namespace tz::orvane::tools
