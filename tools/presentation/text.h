// SPDX-License-Identifier: Apache-2.0
// Text for people: harmless characters, widths in columns, times.
#pragma once

#include <string>
#include <string_view>

namespace tz::orvane::tools
{

/// @return `text` as valid UTF-8 that cannot steer a terminal: blanks for white space, U+FFFD for what is not
/// printable or not UTF-8
std::string printable(std::string_view text);

/// @return the terminal columns that printable text takes
int columnsOf(std::string_view text);

/// @return the longest beginning of printable text that fits into `columns`
std::string clipped(std::string_view text, int columns);

/// @return "1:02:03", or "2:03" below an hour; negative times count as 0
std::string timeText(long long milliseconds);

} // namespace tz::orvane::tools
