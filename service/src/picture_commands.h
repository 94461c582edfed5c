// SPDX-License-Identifier: Apache-2.0
// The messages that say where and how a picture appears.
#pragma once

#include "player_commands.h"

namespace tz::orvane::service
{

/// @return null for what is none of them
PlayerCommand findPictureCommand(int code);

} // namespace tz::orvane::service
