// SPDX-License-Identifier: Apache-2.0
// The commands of a player that have a name instead of a number.
#include "extended_commands.h"

#include "info_commands.h"

#include <cerrno>
#include <charconv>
#include <string>
#include <string_view>

namespace tz::orvane::service
{

namespace
{

/// Answers, or leaves it to later. @return 0, or the negative errno value that is the answer
using ExtendedCommand = int (*)(Player& player, protocol::PropertyView const& properties, Request& request);

int pushFrom(Player& player, protocol::PropertyView const& properties, Request&)
{
    std::string_view const text = properties.get(om::OM_KEY_OFFSET);
    std::int64_t offset = -1;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), offset);
    bool const whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return whole ? player.pushFrom(offset) : -EINVAL;
}

int endOfData(Player& player, protocol::PropertyView const&, Request&)
{
    return player.endOfData();
}

struct Row
{
    char const* name;
    ExtendedCommand command;
};

constexpr Row kRows[] = {
    {om::OM_COMMAND_PUSH_FROM, pushFrom},
    {om::OM_COMMAND_END_OF_DATA, endOfData},
    {om::OM_COMMAND_CHAPTER, chapter},
};

} // namespace

void extendCommand(Player& player, Request& request)
{
    std::string const name = request.text(0);
    std::string const group = request.bytes(1);
    int result = -EOPNOTSUPP;
    for (Row const& row : kRows)
    {
        if (name == row.name)
        {
            result = row.command(player, protocol::PropertyView(group.data(), static_cast<int>(group.size())), request);
            break;
        }
    }
    if (result < 0)
    {
        request.reply(result);
    }
    else if (request.wantsReply())
    {
        request.replyBytes(group.data(), static_cast<std::uint16_t>(group.size())); // the caller's group stays
    }
}

} // namespace tz::orvane::service
