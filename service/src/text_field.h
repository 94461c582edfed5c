// SPDX-License-Identifier: Apache-2.0
// Text in the fixed fields of records.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace tz::orvane::service
{

/// Copies what fits, never half a UTF-8 character, and ends it with a NUL.
inline void setText(char* field, std::size_t size, std::string_view text)
{
    std::size_t length = std::min(text.size(), size - 1);
    auto const continues = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U; };
    while (length > 0 && length < text.size() && continues(length))
    {
        --length;
    }
    if (length > 0)
    {
        std::memcpy(field, text.data(), length);
    }
    field[length] = '\0';
}

template <std::size_t size> void setText(char (&field)[size], std::string_view text)
{
    setText(field, size, text);
}

} // namespace tz::orvane::service
