// SPDX-License-Identifier: Apache-2.0
// From an argument of the command line to what the service is asked to open.
#include "presentation/media_uri.h"

#include "presentation/text.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

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

std::vector<std::string> mediaUris(std::vector<std::string> const& arguments)
{
    std::error_code error;
    std::string const directory = std::filesystem::current_path(error);
    std::vector<std::string> uris;
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(uris),
                   [&](std::string const& argument) { return mediaUri(argument, directory); });
    return uris;
}

std::string localFile(std::string const& uri)
{
    constexpr std::string_view kFileScheme = "file://";
    if (!hasScheme(uri))
    {
        return uri;
    }
    std::size_t const slash = uri.find('/', kFileScheme.size());
    if (uri.compare(0, kFileScheme.size(), kFileScheme) != 0 || slash == std::string::npos)
    {
        return "";
    }
    std::string const path = uri.substr(slash, uri.find_first_of("?#", slash) - slash);
    std::string file;
    for (std::size_t i = 0; i < path.size(); ++i)
    {
        unsigned int code = 0;
        char const* const digits = path.data() + i + 1;
        bool const isEscape =
            path[i] == '%' && i + 2 < path.size() && std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2;
        file += isEscape ? static_cast<char>(code) : path[i];
        i += isEscape ? 2 : 0;
    }
    return file;
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
