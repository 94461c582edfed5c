// SPDX-License-Identifier: Apache-2.0
// Writing to a descriptor without losing anything.
#pragma once

#include <string_view>

namespace tz::orvane::tools
{

/// @return false when not all could be written; errno says why
bool writeAll(int fd, std::string_view text);

} // namespace tz::orvane::tools
