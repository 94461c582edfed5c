// SPDX-License-Identifier: Apache-2.0
// Text for people: harmless characters, widths in columns, times.
#include "presentation/text.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>

namespace tz::orvane::tools
{

namespace
{

constexpr char32_t kReplacement = 0xFFFD;
constexpr char kReplacementText[] = "\xEF\xBF\xBD";

struct Character
{
    char32_t code;
    std::size_t length; ///< bytes taken, 1 for a byte that starts no character
    bool valid;
};

Character decode(std::string_view text, std::size_t position)
{
    auto const byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    Character const broken{kReplacement, 1, false};
    unsigned char const first = byteAt(position);
    if (first < 0x80)
    {
        return {first, 1, true};
    }
    std::size_t const length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || position + length > text.size())
    {
        return broken;
    }
    char32_t code = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        unsigned char const next = byteAt(position + i);
        if ((next & 0xC0U) != 0x80U)
        {
            return broken;
        }
        code = (code << 6U) | (next & 0x3FU);
    }
    bool const overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    bool const surrogate = code >= 0xD800 && code <= 0xDFFF;
    return overlong || surrogate || code > 0x10FFFF ? broken : Character{code, length, true};
}

struct Range
{
    char32_t first;
    char32_t last;
};

template <std::size_t N> bool isIn(Range const (&ranges)[N], char32_t code)
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](Range const& range) { return code >= range.first && code <= range.last; });
}

// Control characters, and those that turn the direction of what follows around.
constexpr Range kHarmful[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x200E, 0x200F},  {0x2028, 0x202E},
                              {0x2066, 0x2069}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};
constexpr Range kNoColumn[] = {{0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x064B, 0x065F},
                               {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200D}, {0x20D0, 0x20FF},
                               {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}};
constexpr Range kTwoColumns[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},   {0xAC00, 0xD7A3},
                                 {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
                                 {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

int columnsOfCode(char32_t code)
{
    return isIn(kNoColumn, code) ? 0 : isIn(kTwoColumns, code) ? 2 : 1;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string result;
    for (std::size_t position = 0; position < text.size();)
    {
        Character const character = decode(text, position);
        if (character.code == '\t' || character.code == '\n' || character.code == '\r')
        {
            result += ' ';
        }
        else if (!character.valid || isIn(kHarmful, character.code))
        {
            result += kReplacementText;
        }
        else
        {
            result += text.substr(position, character.length);
        }
        position += character.length;
    }
    return result;
}

int columnsOf(std::string_view text)
{
    int columns = 0;
    for (std::size_t position = 0; position < text.size();)
    {
        Character const character = decode(text, position);
        columns += columnsOfCode(character.code);
        position += character.length;
    }
    return columns;
}

std::string clipped(std::string_view text, int columns)
{
    std::size_t position = 0;
    for (int used = 0; position < text.size();)
    {
        Character const character = decode(text, position);
        used += columnsOfCode(character.code);
        if (used > columns)
        {
            break;
        }
        position += character.length;
    }
    return std::string(text.substr(0, position));
}

std::string timeText(long long milliseconds)
{
    long long const seconds = std::max(milliseconds, 0LL) / 1000;
    char buffer[48];
    if (seconds >= 3600)
    {
        std::snprintf(buffer, sizeof(buffer), "%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60, seconds % 60);
    }
    else
    {
        std::snprintf(buffer, sizeof(buffer), "%lld:%02lld", seconds / 60, seconds % 60);
    }
    return buffer;
}

} // namespace tz::orvane::tools
