// SPDX-License-Identifier: Apache-2.0
// Numbers of a photo's EXIF data as people and programs use them.
#pragma once

#include "orvane/om_records.h"

#include <optional>

namespace tz::orvane::tools
{

/// A place on earth.
struct Location
{
    double latitude;  ///< degrees, negative in the south
    double longitude; ///< degrees, negative in the west
};

/// @return nothing for a number without a value: its denominator is 0
std::optional<double> valueOf(om::om_rational_t const& number);

/// @return nothing when the photo does not tell where it was taken
std::optional<Location> locationOf(om::om_gps_info_t const& gps);

/// @return metres above sea level
std::optional<double> altitudeOf(om::om_gps_info_t const& gps);

} // namespace tz::orvane::tools
