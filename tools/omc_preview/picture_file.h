// SPDX-License-Identifier: Apache-2.0
// A picture's way from the service's file to the user's.
#pragma once

#include <string>
#include <string_view>

namespace tz::orvane::tools
{

/// @return what a file holds, empty when it cannot be read
std::string contentOfFile(std::string const& file);

/// Writes a file as `umask` has it. One of that name is replaced as a whole or not at all; a symbolic link is replaced
/// itself. What is there and is no file stays.
/// @return empty, or why it failed
std::string replaceFile(std::string const& file, std::string_view content);

} // namespace tz::orvane::tools
