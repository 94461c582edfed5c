// SPDX-License-Identifier: Apache-2.0
// Text of files in UTF-8, whatever it was written in.
#pragma once

#include <string>
#include <string_view>

namespace tz::orvane::service
{

/// @param charset null: UTF-16 when it begins with a byte order mark, else UTF-8, else Latin-1
/// @return what can be read of it, up to a NUL
std::string toUtf8(std::string_view bytes, char const* charset = nullptr);

} // namespace tz::orvane::service
