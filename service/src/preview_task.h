// SPDX-License-Identifier: Apache-2.0
// What the service tells the process that makes previews, and what that reports.
#pragma once

#include "orvane/om_enums.h"

#include <cstdint>
#include <string>

namespace tz::orvane::service
{

/// One preview to be made. Both ends are the same program, so that the bytes travel as they are.
struct PreviewTask
{
    std::int64_t position = 0;
    om::om_location_mode_e mode = om::OM_LOCATION_MODE_TIME;
    bool exact = false;
    bool picture = true;
    bool png = false;
    std::int32_t width = 320; ///< of the box that a frame fits into
    std::int32_t height = 320;
    std::int32_t frames = 1; ///< above 1: a sheet of so many
    std::int32_t columns = 1;
    std::int32_t timeout = 10'000; ///< milliseconds
};

/// Where a preview comes from and goes to.
struct PreviewPlaces
{
    std::string uri;
    std::string output; ///< file that the client named; empty: a descriptor is given
};

/// To the process. An order to start comes with descriptors, for the result and, unless the client has named a file,
/// for the picture. Behind it stand the URI and, after a NUL, the name of the file.
struct PreviewOrder
{
    enum class Kind : std::uint32_t
    {
        start,
        kill
    };

    Kind kind;
    std::uint32_t number;
    PreviewTask task;
};

/// From the process: an order was carried out, one report for each, or a preview has ended, one for each that was to
/// start.
struct PreviewReport
{
    enum class Kind : std::uint32_t
    {
        obeyed,
        ended
    };

    Kind kind;
    std::uint32_t number;
    std::int32_t status; ///< of an end, as waitpid gives it; -1 for one that could not begin
};

} // namespace tz::orvane::service
