// SPDX-License-Identifier: Apache-2.0
// The commands of a player that have a name instead of a number.
#pragma once

#include "player.h"
#include "request.h"

namespace tz::orvane::service
{

/// Carries out one named command. Answers with a property group of its own, or leaves that to later, or to
/// extendCommand.
/// @return 0, or the negative errno value that is the answer
using ExtendedCommand = int (*)(Player& player, protocol::PropertyView const& properties, Request& request);

/// Carries out the command that the first argument names, with the property group of the second, and answers with the
/// group that takes the place of the caller's. Loop thread.
void extendCommand(Player& player, Request& request);

} // namespace tz::orvane::service
