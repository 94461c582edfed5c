// SPDX-License-Identifier: Apache-2.0
// Feeds any text to the reader of rectangles: it fails on empty text and where the text ends too early, and never
// touches what the text does not give.
#include "orvane/om_type_util.h"
#include "orvane/platform/om_debug.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

using namespace tz::orvane;

void require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// @return whether the text ends before the first number could begin
bool endsTooEarly(std::string const& text)
{
    std::string const seen = text.c_str(); // up to a NUL
    std::size_t at = 1;
    if (seen.empty() || seen[0] != '{')
    {
        return seen.empty();
    }
    while (at < seen.size() && isSpace(seen[at]))
    {
        ++at;
    }
    return at == seen.size();
}

void dropLine(platform::DebugLevel, char const*, void*) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    platform::setDebugSink(&dropLine, nullptr);
    platform::setDebugLevel(platform::DebugLevel::trace);
    std::string const text(reinterpret_cast<char const*>(data), size);
    om::om_display_rect_t rect{-11, -12, -13, -14, -15};
    int const result = om::OmTypeUtil::convert(text, rect);
    require(result == (endsTooEarly(text) ? -1 : 0));
    require(rect.zoom == -15);
    if (result != 0 || text[0] != '{')
    {
        require(rect.px == -11 && rect.py == -12 && rect.width == -13 && rect.height == -14);
        return 0;
    }

    // What was read is read again from its own text.
    char again[80];
    std::snprintf(again, sizeof again, "{%d,%d,%d,%d}", rect.px, rect.py, rect.width, rect.height);
    om::om_display_rect_t second{};
    require(om::OmTypeUtil::convert(again, second) == 0);
    require(second.px == rect.px && second.py == rect.py && second.width == rect.width && second.height == rect.height);
    return 0;
}
