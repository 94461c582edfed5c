// SPDX-License-Identifier: Apache-2.0
// The commands of a player that have a name instead of a number.
#include "extended_commands.h"

#include "info_commands.h"
#include "number_text.h"

#include <cerrno>
#include <string>

namespace tz::orvane::service
{

namespace
{

int answer(Request& request, Properties properties)
{
    om::OmPropertyGroup group;
    addAll(group, properties);
    request.reply(group);
    return 0;
}

int version(Player&, protocol::PropertyView const&, Request& request)
{
    return answer(request, {{om::OM_KEY_VERSION, ORVANE_VERSION},
                            {om::OM_KEY_PROTOCOL, std::to_string(protocol::kProtocolVersion)}});
}

int listCommands(Player& player, protocol::PropertyView const& properties, Request& request);

int pushFrom(Player& player, protocol::PropertyView const& properties, Request&)
{
    auto const offset = toNumber(properties.get(om::OM_KEY_OFFSET), 0, INT64_MAX);
    return offset ? player.pushFrom(*offset) : -EINVAL;
}

int endOfData(Player& player, protocol::PropertyView const&, Request&)
{
    return player.endOfData();
}

void describe(Screenshot const& screenshot, std::int64_t position, Answer& answer)
{
    om::OmPropertyGroup group;
    addAll(group, {{om::OM_KEY_PATH, screenshot.path()},
                   {om::OM_KEY_WIDTH, std::to_string(screenshot.width())},
                   {om::OM_KEY_HEIGHT, std::to_string(screenshot.height())},
                   {om::OM_KEY_POSITION, std::to_string(position)}});
    answer.reply(group);
}

int screenshot(Player& player, protocol::PropertyView const&, Request& request)
{
    player.takeScreenshot(
        [&player, answer = request.postpone()](int status, std::shared_ptr<Screenshot> const& taken) mutable
        {
            if (status < 0)
            {
                answer.reply(status);
                return;
            }
            replyAtPosition(player, answer,
                            [taken](Answer& later, std::int64_t position) { describe(*taken, position, later); });
        });
    return 0;
}

int playTimeInterval(Player& player, protocol::PropertyView const& properties, Request& request)
{
    auto interval = player.playTimeInterval();
    if (!interval)
    {
        return -ENODATA;
    }
    std::string_view const wanted = properties.get(om::OM_KEY_INTERVAL);
    if (!wanted.empty())
    {
        interval = readInterval(wanted);
        if (!interval)
        {
            return -EINVAL;
        }
        player.setPlayTimeInterval(*interval);
    }
    return answer(request, {{om::OM_KEY_INTERVAL, std::to_string(interval->count())}});
}

/// @return with one decimal, whatever the locale
std::string decibels(double level)
{
    char text[G_ASCII_DTOSTR_BUF_SIZE];
    return g_ascii_formatd(text, sizeof text, "%.1f", level);
}

int statistics(Player& player, protocol::PropertyView const&, Request& request)
{
    if (player.gauges() == nullptr)
    {
        return -ENODATA;
    }
    Readings const readings = player.gauges()->read(player.state() == om::OM_STATE_PLAYING);
    return answer(request, {{om::OM_STATISTIC_FRAMES_DECODED, std::to_string(readings.framesDecoded)},
                            {om::OM_STATISTIC_FRAMES_DROPPED, std::to_string(readings.framesDropped)},
                            {om::OM_STATISTIC_BUFFERING, std::to_string(player.bufferingPercent())},
                            {om::OM_STATISTIC_AUDIO_LEVEL, decibels(readings.level)},
                            {om::OM_STATISTIC_AUDIO_LEVEL_LEFT, decibels(readings.levelLeft)},
                            {om::OM_STATISTIC_AUDIO_LEVEL_RIGHT, decibels(readings.levelRight)},
                            {om::OM_STATISTIC_AUDIO_RATE, std::to_string(readings.rate)},
                            {om::OM_STATISTIC_AUDIO_CHANNELS, std::to_string(readings.channels)}});
}

struct Row
{
    char const* name;
    ExtendedCommand command;
};

constexpr Row kRows[] = {
    {om::OM_COMMAND_VERSION, version},
    {om::OM_COMMAND_LIST_COMMANDS, listCommands},
    {om::OM_COMMAND_PUSH_FROM, pushFrom},
    {om::OM_COMMAND_END_OF_DATA, endOfData},
    {om::OM_COMMAND_CHAPTER, chapter},
    {om::OM_COMMAND_SCREENSHOT, screenshot},
    {om::OM_COMMAND_PLAYTIME_INTERVAL, playTimeInterval},
    {om::OM_COMMAND_STATISTICS, statistics},
};

int listCommands(Player&, protocol::PropertyView const&, Request& request)
{
    std::string names;
    for (Row const& row : kRows)
    {
        names += names.empty() ? "" : " ";
        names += row.name;
    }
    return answer(request, {{om::OM_KEY_COMMANDS, names}});
}

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
