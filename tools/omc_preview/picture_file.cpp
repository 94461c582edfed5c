// SPDX-License-Identifier: Apache-2.0
// A picture's way from the service's file to the user's.
#include "omc_preview/picture_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace tz::orvane::tools
{

std::string deliverPicture(std::string const& from, std::string const& to, Output& output)
{
    std::ifstream source(from, std::ios::binary);
    std::ostringstream content;
    content << source.rdbuf();
    std::string const bytes = content.str();
    if (bytes.empty())
    {
        return "the service's picture cannot be read: " + from;
    }
    if (to == "-")
    {
        output.write(bytes);
        return "";
    }
    std::string const partial = to + ".part-" + std::to_string(::getpid());
    std::ofstream target(partial, std::ios::binary | std::ios::trunc);
    target << bytes;
    target.close();
    if (!target || std::rename(partial.c_str(), to.c_str()) != 0)
    {
        std::string const reason = std::strerror(errno);
        std::remove(partial.c_str());
        return to + " cannot be written: " + reason;
    }
    return "";
}

} // namespace tz::orvane::tools
