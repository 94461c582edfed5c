// SPDX-License-Identifier: Apache-2.0
// The messages of a player that concern its sound.
#pragma once

#include "player_commands.h"

namespace tz::orvane::service
{

/// @return null for what is none of them
PlayerCommand findSoundCommand(int code);

} // namespace tz::orvane::service
