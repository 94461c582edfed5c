// SPDX-License-Identifier: Apache-2.0
// What numbers of the API are called when people read them.
#pragma once

#include "orvane/om_records.h"

#include <string>

namespace tz::orvane::tools
{

/// @return the usual name, "unknown" for a value without one
char const* videoCodecLabel(int codec);
char const* audioCodecLabel(int codec);

/// @return a sentence for a value of om_error_e
char const* errorLabel(unsigned int code);

/// @return "1x", "0.5x", "-2x" for a speed in sixteenths
std::string speedLabel(int sixteenths);

/// @return "mono", "stereo", "6 channels"
std::string channelsLabel(int channels);

} // namespace tz::orvane::tools
