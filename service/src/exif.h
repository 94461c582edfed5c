// SPDX-License-Identifier: Apache-2.0
// What a camera wrote into its picture.
#pragma once

#include "orvane/om_records.h"

#include <optional>
#include <string_view>

namespace tz::orvane::service
{

/// Looks for EXIF data among the first bytes of a JPEG or PNG picture; they may hold anything.
/// @return nothing when there are none
std::optional<om::om_exif_info_t> readExif(std::string_view image);

} // namespace tz::orvane::service
