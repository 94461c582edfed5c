// SPDX-License-Identifier: Apache-2.0
// Messages that ask what is told of a medium beyond its records.
#pragma once

#include "player_commands.h"

namespace tz::orvane::service
{

/// @return null for what this file does not do
PlayerCommand findInfoCommand(int code);

/// The extended command of that name. @return 0, or the negative errno value that is the answer
int chapter(Player& player, protocol::PropertyView const& properties, Request& request);

} // namespace tz::orvane::service
