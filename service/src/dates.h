// SPDX-License-Identifier: Apache-2.0
// Dates in the form of the records.
#pragma once

#include "orvane/om_records.h"

#include <cstdint>

namespace tz::orvane::service
{

/// What a date does not tell.
constexpr int kUnknownDate = -1;

/// @return a date of which nothing is known
om::om_date_t unknownDate();

/// @return that moment in UTC; nothing known of it when it is out of all reason
om::om_date_t dateOf(std::int64_t secondsSince1970);

/// Finds out the day of the week (0 is Sunday) of a date whose day is known.
void setWeekday(om::om_date_t& date);

} // namespace tz::orvane::service
