// SPDX-License-Identifier: Apache-2.0
// Numbers of a photo's EXIF data as people and programs use them.
#include "presentation/exif_values.h"

namespace tz::orvane::tools
{

namespace
{

/// Degrees from degrees, minutes and seconds; the last two may be missing.
std::optional<double> degreesOf(om::om_rational_t const (&parts)[3])
{
    auto const degrees = valueOf(parts[0]);
    if (!degrees)
    {
        return std::nullopt;
    }
    return *degrees + valueOf(parts[1]).value_or(0) / 60 + valueOf(parts[2]).value_or(0) / 3600;
}

} // namespace

std::optional<double> valueOf(om::om_rational_t const& number)
{
    if (number.den == 0)
    {
        return std::nullopt;
    }
    return static_cast<double>(number.num) / number.den;
}

std::optional<Location> locationOf(om::om_gps_info_t const& gps)
{
    auto const latitude = degreesOf(gps.latitude);
    auto const longitude = degreesOf(gps.longitude);
    if (!latitude || !longitude)
    {
        return std::nullopt;
    }
    return Location{gps.latitude_ref[0] == 'S' ? -*latitude : *latitude,
                    gps.longitude_ref[0] == 'W' ? -*longitude : *longitude};
}

std::optional<double> altitudeOf(om::om_gps_info_t const& gps)
{
    auto const altitude = valueOf(gps.altitude);
    return altitude && gps.altitude_ref == 1 ? -*altitude : altitude;
}

} // namespace tz::orvane::tools
