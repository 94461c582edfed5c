// SPDX-License-Identifier: Apache-2.0
// Pictures that a service has left which was killed.
#include "left_pictures.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>
#include <unistd.h>

namespace tz::orvane::service
{

namespace
{

/// @return the process that has made a picture; nothing for what has another name
std::optional<pid_t> makerOf(std::string const& name)
{
    char process[10] = {};
    int end = 0;
    char const* const text = name.c_str();
    bool const isPreview = std::sscanf(text, "preview-%9[0-9]-%*9[0-9]-%*10[0-9]%n", process, &end) == 1 && end > 0;
    bool const isScreenshot =
        !isPreview && std::sscanf(text, "screenshot-%9[0-9]-%*10[0-9]%n", process, &end) == 1 && end > 0;
    std::string const ending = name.substr(static_cast<std::size_t>(end));
    bool const isOurs = (isPreview && ending == ".jpg") || ((isPreview || isScreenshot) && ending == ".png");
    return isOurs ? std::optional<pid_t>(std::stoi(process)) : std::nullopt;
}

/// A number of ours was somebody else's before: in a container services often get the same.
bool isGone(pid_t process)
{
    return process == getpid() || (kill(process, 0) != 0 && errno == ESRCH);
}

} // namespace

void removeLeftPictures(std::string const& folder)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
    {
        auto const maker = makerOf(entry->path().filename().string());
        if (maker && isGone(*maker))
        {
            unlink(entry->path().c_str());
        }
    }
}

} // namespace tz::orvane::service
