// SPDX-License-Identifier: Apache-2.0
// The messages that a player takes.
#pragma once

#include "player.h"
#include "request.h"

namespace tz::orvane::service
{

/// Handles one message whose arguments fit its row. Loop thread.
using PlayerCommand = void (*)(Player& player, Request& request);

/// @return null for what this service does not do
PlayerCommand findPlayerCommand(int code);

} // namespace tz::orvane::service
