// SPDX-License-Identifier: Apache-2.0
// What the sources of OmTypeUtil log with: the place that their lines name, text with a bound, a record's fields.
#pragma once

#include "orvane/om_records.h"
#include "orvane/platform/om_debug.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tz::orvane::om
{

inline constexpr char kLogFile[] = "om_type_util";
inline constexpr char kLogClass[] = "OmTypeUtil";

/// Text need not end in a NUL, nor be there. @return how many of its characters may be put out
inline int shownLength(char const* text, int size)
{
    return text != nullptr && size > 0 ? static_cast<int>(strnlen(text, static_cast<std::size_t>(size))) : 0;
}

/// Puts out the fields of a record, one a line, in the name of the operation that it was made for.
class FieldLog
{
public:
    explicit FieldLog(platform::LogSite const& site, char const* indent = " ")
        : m_site(site)
        , m_indent(indent)
    {
    }

    void field(char const* name, std::int32_t value) const
    {
        ORVANE_LOG_AT(kLevel, m_site, "%s|- %s=%d", m_indent, name, value);
    }

    void field(char const* name, std::uint32_t value) const
    {
        ORVANE_LOG_AT(kLevel, m_site, "%s|- %s=%u", m_indent, name, value);
    }

    void field(char const* name, std::int64_t value) const
    {
        ORVANE_LOG_AT(kLevel, m_site, "%s|- %s=%lld", m_indent, name, static_cast<long long>(value));
    }

    void field(char const* name, std::uint64_t value) const
    {
        ORVANE_LOG_AT(kLevel, m_site, "%s|- %s=%llu", m_indent, name, static_cast<unsigned long long>(value));
    }

    template <std::size_t size> void field(char const* name, char const (&text)[size]) const
    {
        ORVANE_LOG_AT(kLevel, m_site, "%s|- %s=%.*s", m_indent, name, shownLength(text, size), text);
    }

private:
    static constexpr platform::DebugLevel kLevel = platform::DebugLevel::debug;

    platform::LogSite m_site;
    char const* m_indent;
};

inline void logEdges(FieldLog const& log, om_display_rect_t const& rect)
{
    log.field("px", rect.px);
    log.field("py", rect.py);
    log.field("width", rect.width);
    log.field("height", rect.height);
}

} // namespace tz::orvane::om
