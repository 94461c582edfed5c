// SPDX-License-Identifier: Apache-2.0
// What is known of a medium, for programs.
#pragma once

#include "presentation/medium.h"

#include <string>

namespace tz::orvane::tools
{

/// @return one line that holds one JSON object, ended; what is not known is left out. Times are milliseconds, rates
/// bits or samples a second, places degrees.
std::string mediaJson(Medium const& medium);

} // namespace tz::orvane::tools
