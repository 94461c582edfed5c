// SPDX-License-Identifier: Apache-2.0
// Feeds any text to the reader of rectangles; what comes out must be what a scanner of one character at a time says.
#include "orvane/om_type_util.h"
#include "orvane/platform/om_debug.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{

using namespace tz::orvane;

constexpr int kFields = 4;

void require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

/// Reads "{px,py,width,height}" up to where the text is something else.
class Scanner
{
public:
    explicit Scanner(std::string const& text)
        : m_text(text.c_str()) // up to a NUL
    {
    }

    /// @param fields those that the text does not give stay as they are
    /// @return 0, or -1 when the text ends before the first number begins
    int scan(int (&fields)[kFields])
    {
        char before = '{';
        for (int& field : fields)
        {
            if (at() != before)
            {
                return m_text.empty() ? -1 : 0;
            }
            ++m_at;
            skipSpaces();
            if (&field == &fields[0] && at() == '\0')
            {
                return -1;
            }
            if (!number(field))
            {
                return 0;
            }
            before = ',';
        }
        return 0;
    }

private:
    char at() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    bool atDigit() const { return at() >= '0' && at() <= '9'; }

    void skipSpaces()
    {
        while (at() == ' ' || (at() >= '\t' && at() <= '\r'))
        {
            ++m_at;
        }
    }

    /// A number too large for its field is first kept within 64 bits on 64-bit machines; then its lowest bits count.
    bool number(int& field)
    {
        bool const isNegative = at() == '-';
        m_at += isNegative || at() == '+' ? 1 : 0;
        if (!atDigit())
        {
            return false;
        }
        unsigned long const limit = isNegative ? static_cast<unsigned long>(LONG_MAX) + 1 : LONG_MAX;
        unsigned long value = 0;
        for (; atDigit(); ++m_at)
        {
            auto const digit = static_cast<unsigned long>(at() - '0');
            value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
        }
        field = static_cast<int>(static_cast<unsigned int>(isNegative ? 0 - value : value));
        return true;
    }

    std::string const m_text;
    std::size_t m_at = 0;
};

void dropLine(platform::DebugLevel, char const*, void*) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    platform::setDebugSink(&dropLine, nullptr);
    platform::setDebugLevel(platform::DebugLevel::trace);
    std::string const text(reinterpret_cast<char const*>(data), size);
    int fields[kFields] = {-11, -12, -13, -14};
    int const expected = text.empty() ? -1 : Scanner(text).scan(fields);
    om::om_display_rect_t rect{-11, -12, -13, -14, -15};
    require(om::OmTypeUtil::convert(text, rect) == expected);
    int const found[kFields] = {rect.px, rect.py, rect.width, rect.height};
    require(std::equal(found, found + kFields, fields));
    require(rect.zoom == -15);
    return 0;
}
