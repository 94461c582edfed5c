// SPDX-License-Identifier: Apache-2.0
// What numbers of the API are called when people read them.
#pragma once

#include "orvane/om_records.h"

#include <string>
#include <vector>

namespace tz::orvane::tools
{

/// @return the usual name, "unknown" for a value without one
char const* videoCodecLabel(int codec);
char const* audioCodecLabel(int codec);

/// @return a sentence for a value of om_error_e
char const* errorLabel(unsigned int code);

/// @return "video", "audio", "photo"; empty for a value without a name
char const* mediaTypeLabel(int type);

/// @return "PQ", "HLG"; empty for pictures of ordinary range
char const* hdrLabel(int type);

/// @return a word for each bit of om_cap_flag_e: "seek", "speed", "live"
std::vector<std::string> capabilityLabels(int flags);

/// @return "2024-02-03 04:05:06", as much of it as is known; empty without a year
std::string dateLabel(om::om_date_t const& date);

/// @return "1x", "0.5x", "-2x" for a speed in sixteenths
std::string speedLabel(int sixteenths);

/// @return "mono", "stereo", "6 channels"
std::string channelsLabel(int channels);

} // namespace tz::orvane::tools
