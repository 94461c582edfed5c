// SPDX-License-Identifier: Apache-2.0
// The messages of a player that concern its sound.
#include "sound_commands.h"

namespace tz::orvane::service
{

namespace
{

constexpr int kLoudest = 100;

void setVolume(Player& player, Request& request)
{
    int const volume = static_cast<int>(request.number(0));
    if (volume < 0 || volume > kLoudest)
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "setVolume", "not 0 to 100");
        return;
    }
    player.setVolume(volume);
}

void setAudioMute(Player& player, Request& request)
{
    player.setAudioMute(request.number(0) != 0);
}

void isAudioMute(Player& player, Request& request)
{
    request.reply(std::uint32_t{player.audioMuted()});
}

void setExtraAudioAttribute(Player& player, Request& request)
{
    if (!player.setAudioAttribute(static_cast<int>(request.number(0)), static_cast<int>(request.number(1))))
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "setExtraAudioAttribute", "no such attribute or value");
    }
}

constexpr PlayerCommandRow kRows[] = {
    {protocol::kCmdSetVolume, setVolume},
    {protocol::kCmdSetAudioMute, setAudioMute},
    {protocol::kCmdIsAudioMute, isAudioMute},
    {protocol::kCmdSetExtraAudioAttribute, setExtraAudioAttribute},
};

} // namespace

PlayerCommand findSoundCommand(int code)
{
    return findIn(kRows, code);
}

} // namespace tz::orvane::service
