// SPDX-License-Identifier: Apache-2.0
// Dates in the form of the records.
#include "dates.h"

#include <ctime>

namespace tz::orvane::service
{

namespace
{

constexpr int kFirstYear = 1900; ///< that the C library counts from
constexpr int kLastYear = 9999;

} // namespace

om::om_date_t unknownDate()
{
    constexpr int kNone = kUnknownDate;
    return {kNone, kNone, kNone, kNone, {kNone, kNone, kNone}};
}

om::om_date_t dateOf(std::int64_t secondsSince1970)
{
    auto const seconds = static_cast<std::time_t>(secondsSince1970);
    std::tm parts{};
    if (gmtime_r(&seconds, &parts) == nullptr || parts.tm_year > kLastYear - kFirstYear)
    {
        return unknownDate();
    }
    return {parts.tm_year + kFirstYear,
            parts.tm_mon + 1,
            parts.tm_mday,
            parts.tm_wday,
            {parts.tm_hour, parts.tm_min, parts.tm_sec}};
}

void setWeekday(om::om_date_t& date)
{
    date.wday = kUnknownDate;
    if (date.year < 1 || date.year > kLastYear || date.month < 1 || date.day < 1)
    {
        return;
    }
    std::tm parts{};
    parts.tm_year = date.year - kFirstYear;
    parts.tm_mon = date.month - 1;
    parts.tm_mday = date.day;
    timegm(&parts); // moves what is no day of that month into the next
    if (parts.tm_mday == date.day && parts.tm_mon == date.month - 1)
    {
        date.wday = parts.tm_wday;
    }
}

} // namespace tz::orvane::service
