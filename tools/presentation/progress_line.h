// SPDX-License-Identifier: Apache-2.0
// The one line that shows how far playing has come.
#pragma once

#include <string>

namespace tz::orvane::tools
{

struct Progress
{
    std::string state;
    long long position = 0; ///< milliseconds
    long long duration = 0; ///< milliseconds, below 1 when not known
    int speed = 16;         ///< sixteenths of the normal one
    int volume = 100;       ///< 0 to 100
    bool muted = false;
    std::string note; ///< what the user has changed last, perhaps empty
};

/// @return "0:03 / 0:10", without the duration when it is not known
std::string timesText(Progress const& progress);

/// @return state, times, bar, speed, volume and note in at most `columns`; the least important goes first where room
/// lacks
std::string progressLine(Progress const& progress, int columns);

} // namespace tz::orvane::tools
