// SPDX-License-Identifier: Apache-2.0
// A picture's way from the service's file to the user's.
#include "omc_preview/picture_file.h"

#include "platform/src/unique_fd.h"
#include "platform/src/write_all.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tz::orvane::tools
{

namespace
{

mode_t usualMode()
{
    mode_t const mask = ::umask(0); // there is no other way to ask for it
    ::umask(mask);
    return (S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH) & ~mask;
}

} // namespace

std::string contentOfFile(std::string const& file)
{
    std::ostringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    return content.str();
}

std::string replaceFile(std::string const& file, std::string_view content)
{
    namespace fs = std::filesystem;
    std::error_code error;
    fs::file_status const old = fs::status(file, error);
    if (fs::exists(old) && !fs::is_regular_file(old))
    {
        return file + " is no file that can be replaced";
    }
    // Beside it, so that renaming it is one step; others may write to the folder and must not know the name before.
    std::string partial = (fs::path(file).parent_path() / ".omc-preview-XXXXXX").string();
    platform::UniqueFd const target(::mkostemp(partial.data(), O_CLOEXEC));
    bool const made = target.get() >= 0;
    if (made && platform::writeAll(target.get(), content) == 0 && ::fchmod(target.get(), usualMode()) == 0 &&
        std::rename(partial.c_str(), file.c_str()) == 0)
    {
        return "";
    }
    std::string const reason = std::strerror(errno);
    if (made)
    {
        ::unlink(partial.c_str());
    }
    return file + " cannot be written: " + reason;
}

} // namespace tz::orvane::tools
