// SPDX-License-Identifier: Apache-2.0
// The messages that a player takes.
#include "player_commands.h"

#include "extended_commands.h"
#include "info_commands.h"
#include "picture_commands.h"
#include "sound_commands.h"
#include "subtitle_commands.h"

#include <cerrno>
#include <cstring>

namespace tz::orvane::service
{

namespace
{

void announce(Player&, Request&) {}

void prepare(Player& player, Request& request)
{
    std::string const group = request.bytes(1);
    protocol::PropertyView const properties(group.data(), static_cast<int>(group.size()));
    std::string reason;
    auto medium = readPrepare(request.text(0), properties, request.number(2), reason);
    if (medium)
    {
        player.prepare(std::move(*medium));
    }
    else
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "prepare", reason);
    }
}

void openEsMedia(Player& player, Request& request)
{
    std::string reason;
    auto medium = readStreams(request.bytes(0), request.bytes(1), request.bytes(2), reason);
    if (medium)
    {
        player.prepare(std::move(*medium));
    }
    else
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "openEsMedia", reason);
    }
}

void start(Player& player, Request& request)
{
    player.start(request.longNumber(0));
}

void stop(Player& player, Request&)
{
    player.stop();
}

void pause(Player& player, Request&)
{
    player.pause();
}

void resume(Player& player, Request&)
{
    player.resume();
}

void seek(Player& player, Request& request)
{
    player.seek(request.longNumber(0), static_cast<int>(request.number(1)));
}

void pushData(Player& player, Request& request)
{
    std::string_view const data = request.block(0);
    player.push(data.data(), data.size());
}

void pullData(Player& player, Request& request)
{
    request.reply(player.pullFrame());
}

void freeDataMem(Player& player, Request&)
{
    player.freeFrame();
}

/// @param[out] crypto nothing for a unit that is not protected @return 0 or a negative errno value
int readCrypto(Request const& request, std::optional<DrmCryptoInfo>& crypto)
{
    if (request.block(3).empty())
    {
        return 0;
    }
    if (request.block(3).size() > kMostCryptoBytes)
    {
        return -EINVAL;
    }
    std::string const bytes = request.bytes(3);
    std::string_view rest;
    int const result = readCryptoInfo(bytes, crypto.emplace(), rest);
    return result == 0 && !rest.empty() ? -EINVAL : result;
}

void pushEsData(Player& player, Request& request)
{
    std::string const unit = request.bytes(2);
    std::string_view const data = request.block(1);
    std::uint32_t const size = request.number(0);
    om::om_es_unit_t record{};
    if (unit.size() != sizeof record || size > data.size())
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "pushEsData", "sizes do not fit");
        return;
    }
    std::optional<DrmCryptoInfo> crypto;
    if (int const result = readCrypto(request, crypto); result < 0)
    {
        player.events().refusal(result == -EOPNOTSUPP ? om::OM_ERROR_NOT_SUPPORTED : om::OM_ERROR_BAD_ARGUMENT,
                                "pushEsData", "the crypto information cannot be read");
        return;
    }
    if (!request.block(4).empty())
    {
        player.events().refusal(om::OM_ERROR_NOT_SUPPORTED, "pushEsData", "extra data have no meaning");
        return;
    }
    std::memcpy(&record, unit.data(), sizeof record);
    player.push(record, std::move(crypto), data.data(), size);
}

void setSpeed(Player& player, Request& request)
{
    if (request.number(1) != 0)
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "speed", "the second number has no meaning but 0");
        return;
    }
    player.setSpeed(static_cast<int>(request.number(0)));
}

void getSpeed(Player& player, Request& request)
{
    request.reply(static_cast<std::uint32_t>(player.speed()));
}

void isSeekable(Player& player, Request& request)
{
    request.reply(std::uint32_t{player.info() != nullptr && player.info()->seekable});
}

void getState(Player& player, Request& request)
{
    request.reply(static_cast<std::uint32_t>(player.state()));
}

void getCurPosition(Player& player, Request& request)
{
    replyAtPosition(player, request.postpone(), [](Answer& answer, std::int64_t position) { answer.reply(position); });
}

void getMediaInfo(Player& player, Request& request)
{
    player.info() == nullptr ? request.reply(-ENODATA) : request.replyRecord(player.info()->media);
}

void getContainerInfo(Player& player, Request& request)
{
    player.info() == nullptr ? request.reply(-ENODATA) : request.replyRecord(player.tracks());
}

template <StreamPad::Kind kind> void getTrackInfo(Player& player, Request& request)
{
    player.info() == nullptr ? request.reply(-ENODATA)
                             : request.replyRecord(trackGroup(player.info()->container, kind));
}

constexpr PlayerCommandRow kRows[] = {
    {protocol::kCmdInitMediaPlayer, announce},
    {protocol::kCmdPrepare, prepare},
    {protocol::kCmdOpenEsMedia, openEsMedia},
    {protocol::kCmdStart, start},
    {protocol::kCmdStop, stop},
    {protocol::kCmdPause, pause},
    {protocol::kCmdResume, resume},
    {protocol::kCmdSeek, seek},
    {protocol::kCmdPushData, pushData},
    {protocol::kCmdPullData, pullData},
    {protocol::kCmdFreeDataMem, freeDataMem},
    {protocol::kCmdPushEsData, pushEsData},
    {protocol::kCmdSpeed, setSpeed},
    {protocol::kCmdGetSpeed, getSpeed},
    {protocol::kCmdIsSeekable, isSeekable},
    {protocol::kCmdIsSpeedable, isSeekable},
    {protocol::kCmdGetState, getState},
    {protocol::kCmdGetCurPosition, getCurPosition},
    {protocol::kCmdGetMediaInfo, getMediaInfo},
    {protocol::kCmdGetContainerInfo, getContainerInfo},
    {protocol::kCmdGetVideoTrackInfo, getTrackInfo<StreamPad::Kind::video>},
    {protocol::kCmdGetAudioTrackInfo, getTrackInfo<StreamPad::Kind::audio>},
    {protocol::kCmdGetSubtitleTrackInfo, getTrackInfo<StreamPad::Kind::text>},
    {protocol::kCmdPlayerExtendCommand, extendCommand},
};

PlayerCommand findOwnCommand(int code)
{
    return findIn(kRows, code);
}

} // namespace

PlayerCommand findPlayerCommand(int code)
{
    for (auto const find : {findOwnCommand, findInfoCommand, findPictureCommand, findSoundCommand, findSubtitleCommand})
    {
        if (PlayerCommand const command = find(code))
        {
            return command;
        }
    }
    return nullptr;
}

} // namespace tz::orvane::service
