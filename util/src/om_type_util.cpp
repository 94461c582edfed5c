// SPDX-License-Identifier: Apache-2.0
// Helpers for text: bounded copy, rectangles from text, printable bytes.
#include "orvane/om_type_util.h"

#include "om_type_util_log.h"

#include <algorithm>
#include <cstdio>

namespace tz::orvane::om
{

namespace
{

constexpr int kFailed = -1;
constexpr int kBadArgument = -2;

constexpr char kWhiteSpace[] = " \t\n\v\f\r";

} // namespace

int OmTypeUtil::copy(char const* from, int fsize, char* to, int tsize)
{
    ORVANE_LOG_DEBUG("Called! from=%.*s, fsize=%d, to=%.*s, tsize=%d", shownLength(from, fsize), from, fsize,
                     shownLength(to, tsize), to, tsize);
    if (fsize <= 0 || tsize <= 0)
    {
        ORVANE_LOG_ERROR("Invalid! fsize=%d, tsize=%d.", fsize, tsize);
        return kBadArgument;
    }
    int const size = std::min(fsize, tsize);
    std::copy_n(from, size, to);
    ORVANE_LOG_INFO("from=%.*s, fsize=%d, to=%.*s, tsize=%d, min_size=%d", shownLength(from, fsize), from, fsize,
                    shownLength(to, tsize), to, tsize, size);
    return 0;
}

int OmTypeUtil::convert(OmString const& from, om_display_rect_t& rect)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" OmDisplayRect_t-Convert: from=%s", from.c_str());
    if (from.empty())
    {
        return kFailed;
    }
    if (std::sscanf(from.c_str(), "{%d,%d,%d,%d}", &rect.px, &rect.py, &rect.width, &rect.height) < 0)
    {
        ORVANE_LOG_ERROR("string[%s] format output fail.", from.c_str());
        return kFailed;
    }
    logEdges(FieldLog(ORVANE_LOG_SITE), rect);
    return 0;
}

OmString serializeChar(char const* data, int len)
{
    if (len <= 0)
    {
        return {};
    }
    OmString text(data, static_cast<std::size_t>(len));
    std::replace(text.begin(), text.end(), '\0', '*');
    text.erase(0, text.find_first_not_of(kWhiteSpace));
    text.erase(std::min(text.find_first_of(kWhiteSpace), text.size()));
    return text;
}

} // namespace tz::orvane::om
