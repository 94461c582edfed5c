// SPDX-License-Identifier: Apache-2.0
// Text of subtitles: out of any encoding, without any markup.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tz::orvane::service
{

/// @return the name of an encoding, null for a number that stands for none
/// @param charset om_subtitle_charset_e
char const* encodingName(std::int32_t charset);

/// What begins with a mark of Unicode, or is UTF-8, is read so; anything else as the encoding says.
/// What cannot be read becomes a replacement character.
/// @param encoding as encodingName gives it
/// @return UTF-8 without a mark
std::string decodeText(std::string_view bytes, char const* encoding);

/// Takes away tags and reads character references.
std::string stripTags(std::string_view markup);

/// Ready to be shown: lines without blanks around them, no empty ones, no control characters, and only so much.
/// @param text UTF-8, invalid bytes allowed
std::string tidy(std::string_view text);

} // namespace tz::orvane::service
