// SPDX-License-Identifier: Apache-2.0
// From an argument of the command line to what the service is asked to open.
#include "presentation/media_uri.h"

#include "presentation/text.h"

#include <algorithm>
#include <cstddef>

namespace tz::orvane::tools
{

namespace
{

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool hasScheme(std::string const& text)
{
    std::size_t const colon = text.find("://");
    return colon != std::string::npos && colon > 0 && isLetter(text[0]) &&
           std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon),
                       [](char c)
                       { return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'; });
}

} // namespace

std::string mediaUri(std::string const& argument, std::string const& directory)
{
    if (hasScheme(argument) || (!argument.empty() && argument[0] == '/'))
    {
        return argument;
    }
    return (directory == "/" ? "/" : directory + "/") + argument;
}

std::string displayName(std::string const& uri)
{
    std::string path = uri;
    if (hasScheme(uri))
    {
        path.erase(std::min(uri.find_first_of("?#"), uri.size()));
        std::size_t const authority = path.find("://") + 3;
        std::size_t const slash = path.find('/', authority);
        path = slash == std::string::npos ? "" : path.substr(slash);
    }
    std::string const name = path.substr(path.rfind('/') + 1);
    return printable(name.empty() ? uri : name);
}

} // namespace tz::orvane::tools
