// SPDX-License-Identifier: Apache-2.0
// The messages that a player takes about its tracks and subtitles.
#include "subtitle_commands.h"

#include "medium.h"
#include "subtitle_text.h"

#include <cerrno>
#include <cstring>

namespace tz::orvane::service
{

namespace
{

constexpr std::int64_t kLongestDelay = 24LL * 3600 * 1000;
constexpr std::size_t kLongestFont = 4096;

void setAudioTrackNo(Player& player, Request& request)
{
    player.setAudioTrack(request.number(0));
}

void getAudioTrackNo(Player& player, Request& request)
{
    int const selected = player.info() == nullptr ? -1 : player.info()->container.audio_selected;
    selected < 0 ? request.reply(-ENODATA) : request.reply(static_cast<std::uint32_t>(selected));
}

void setSubtitleTrackNo(Player& player, Request& request)
{
    player.setSubtitleTrack(request.number(0));
}

void getSubtitleTrackNo(Player& player, Request& request)
{
    if (player.info() == nullptr)
    {
        request.reply(-ENODATA);
        return;
    }
    int const selected = player.info()->container.text_selected;
    request.reply(selected < 0 ? om::OM_TRACK_NONE : static_cast<std::uint32_t>(selected));
}

void setSubtitleVisible(Player& player, Request& request)
{
    player.subtitles().setVisible(request.number(0) != 0);
}

void isSubtitleVisible(Player& player, Request& request)
{
    request.reply(std::uint32_t{player.subtitles().visible()});
}

void setSubtitleFontPath(Player& player, Request& request)
{
    std::string const font = request.text(0);
    if (font.size() > kLongestFont)
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "setSubtitleFontPath", "too long");
        return;
    }
    player.subtitles().setFont(font);
}

void setSubtitleUri(Player& player, Request& request)
{
    std::string const name = request.text(0);
    std::string const uri = normalizedUri(name);
    if (uri.empty() && !name.empty())
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "setSubtitleUri", "neither an absolute path nor a URI");
        return;
    }
    player.setSubtitleUri(uri);
}

void setSubtitleStyle(Player& player, Request& request)
{
    std::string const bytes = request.bytes(0);
    om::om_subtiltile_style_t style{};
    char const* fault = bytes.size() == sizeof style ? nullptr : "size";
    if (fault == nullptr)
    {
        std::memcpy(&style, bytes.data(), sizeof style);
        fault = encodingName(style.subtitle_charset) == nullptr ? "charset" : faultOf(style);
    }
    if (fault != nullptr)
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "setSubtitleStyle", fault);
        return;
    }
    player.subtitles().setStyle(style);
}

void setSubtitleDelay(Player& player, Request& request)
{
    std::int64_t const delay = request.longNumber(0);
    if (delay < -kLongestDelay || delay > kLongestDelay)
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "setSubtitleDelay", "more than a day");
        return;
    }
    player.subtitles().setDelay(delay);
}

constexpr PlayerCommandRow kRows[] = {
    {protocol::kCmdSetAudioTrackNo, setAudioTrackNo},         {protocol::kCmdGetAudioTrackNo, getAudioTrackNo},
    {protocol::kCmdSetSubtitleTrackNo, setSubtitleTrackNo},   {protocol::kCmdGetSubtitleTrackNo, getSubtitleTrackNo},
    {protocol::kCmdSetSubtitleVisible, setSubtitleVisible},   {protocol::kCmdIsSubtitleVisible, isSubtitleVisible},
    {protocol::kCmdSetSubtitleFontPath, setSubtitleFontPath}, {protocol::kCmdSetSubtitleUri, setSubtitleUri},
    {protocol::kCmdSetSubtitleStyle, setSubtitleStyle},       {protocol::kCmdSetSubtitleDelay, setSubtitleDelay},
};

} // namespace

PlayerCommand findSubtitleCommand(int code)
{
    return findIn(kRows, code);
}

} // namespace tz::orvane::service
