// SPDX-License-Identifier: Apache-2.0
// Text of files in UTF-8, whatever it was written in.
#include "foreign_text.h"

#include <glib.h>

#include <memory>

namespace tz::orvane::service
{

namespace
{

bool isMarked(std::string_view bytes)
{
    return bytes.substr(0, 2) == "\xFE\xFF" || bytes.substr(0, 2) == "\xFF\xFE";
}

char const* charsetOf(std::string_view text)
{
    if (isMarked(text))
    {
        return "UTF-16";
    }
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != FALSE ? "UTF-8" : "ISO-8859-1";
}

} // namespace

std::string toUtf8(std::string_view bytes, char const* charset)
{
    bool const isWide = charset == nullptr ? isMarked(bytes) : std::string_view(charset).substr(0, 6) == "UTF-16";
    std::string_view const text = isWide ? bytes : bytes.substr(0, bytes.find('\0'));
    if (text.empty())
    {
        return {};
    }
    std::unique_ptr<char, decltype(&g_free)> const converted(
        g_convert(text.data(), static_cast<gssize>(text.size()), "UTF-8",
                  charset == nullptr ? charsetOf(text) : charset, nullptr, nullptr, nullptr),
        &g_free);
    return converted == nullptr ? std::string() : std::string(converted.get());
}

} // namespace tz::orvane::service
