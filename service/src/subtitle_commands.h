// SPDX-License-Identifier: Apache-2.0
// The messages that a player takes about its tracks and subtitles.
#pragma once

#include "player_commands.h"

namespace tz::orvane::service
{

/// @return null for a code of something else
PlayerCommand findSubtitleCommand(int code);

} // namespace tz::orvane::service
