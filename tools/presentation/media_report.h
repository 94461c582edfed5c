// SPDX-License-Identifier: Apache-2.0
// What is known of a medium, in words.
#pragma once

#include "presentation/medium.h"

#include <string>

namespace tz::orvane::tools
{

/// @return the title tag, or the name of the file when there is none; printable
std::string titleOf(om::om_media_info_t const& info, std::string const& uri);

/// @return one line: "H.264 320x180 25 fps, AAC 48000 Hz stereo"; empty when nothing is known
std::string formatSummary(om::om_media_info_t const& info);

/// @return everything that is known, one fact a line, each line ended
std::string mediaReport(Medium const& medium);

} // namespace tz::orvane::tools
