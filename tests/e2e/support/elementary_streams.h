// SPDX-License-Identifier: Apache-2.0
// Cuts elementary streams into access units, as an application with a demuxer of its own would have them.
#pragma once

#include "orvane/om_service.h"

#include <string>
#include <vector>

namespace tz::orvane::test
{

struct AccessUnit
{
    om::om_es_unit_t unit;
    std::string bytes;
};

/// @param file H.264 byte stream, 25 pictures a second, shown in the order in which they are decoded
std::vector<AccessUnit> readH264(std::string const& file);

/// @param file AAC with ADTS headers, 48 kHz
std::vector<AccessUnit> readAdts(std::string const& file);

} // namespace tz::orvane::test
