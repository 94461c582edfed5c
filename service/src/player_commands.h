// SPDX-License-Identifier: Apache-2.0
// The messages that a player takes.
#pragma once

#include "player.h"
#include "request.h"

#include <cstddef>

namespace tz::orvane::service
{

/// Handles one message whose arguments fit its row. Loop thread.
using PlayerCommand = void (*)(Player& player, Request& request);

struct PlayerCommandRow
{
    int code;
    PlayerCommand command;
};

template <std::size_t count> PlayerCommand findIn(PlayerCommandRow const (&rows)[count], int code)
{
    for (PlayerCommandRow const& row : rows)
    {
        if (row.code == code)
        {
            return row.command;
        }
    }
    return nullptr;
}

/// @return null for what this service does not do
PlayerCommand findPlayerCommand(int code);

} // namespace tz::orvane::service
