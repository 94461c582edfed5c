// SPDX-License-Identifier: Apache-2.0
// The messages that a player takes.
#pragma once

#include "player.h"
#include "request.h"

#include <cerrno>
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

/// Answers with what `reply(answer, position)` makes of the position, or with -EBUSY when too many wait for it.
template <class Reply> void replyAtPosition(Player& player, Answer answer, Reply reply)
{
    bool const asked = player.askPosition([answer, reply](std::int64_t position) mutable { reply(answer, position); });
    if (!asked)
    {
        answer.reply(-EBUSY);
    }
}

/// @return null for what this service does not do
PlayerCommand findPlayerCommand(int code);

} // namespace tz::orvane::service
