// SPDX-License-Identifier: Apache-2.0
// The messages that say where and how a picture appears.
#include "picture_commands.h"

#include <cstring>

namespace tz::orvane::service
{

namespace
{

void refuseUnless(bool accepted, Player const& player, char const* command, char const* reason)
{
    if (!accepted)
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, command, reason);
    }
}

void rotate(Player& player, Request& request)
{
    refuseUnless(player.picture().rotate(static_cast<int>(request.number(0))), player, "rotate",
                 "not 0, 90, 180 or 270");
}

void getRotateAngle(Player& player, Request& request)
{
    request.reply(static_cast<std::uint32_t>(player.picture().rotation()));
}

void setDisplayRect(Player& player, Request& request)
{
    std::string const bytes = request.bytes(0);
    om::om_display_rect_t rect{};
    bool const whole = bytes.size() == sizeof rect;
    if (whole)
    {
        std::memcpy(&rect, bytes.data(), sizeof rect);
    }
    refuseUnless(whole && player.picture().setRect(rect), player, "setDisplayRect", "no such rectangle");
}

void getDisplayRect(Player& player, Request& request)
{
    request.replyRecord(player.picture().rect());
}

void setZoom(Player& player, Request& request)
{
    refuseUnless(player.picture().setZoom(static_cast<int>(request.number(0)), static_cast<int>(request.number(1))),
                 player, "setZoom", "no such mode, or a ratio that is not 100 to 400");
}

void getZoom(Player& player, Request& request)
{
    request.reply(static_cast<std::uint32_t>(player.picture().mode()),
                  static_cast<std::uint32_t>(player.picture().ratio()));
}

void moveTo(Player& player, Request& request)
{
    int const distance = static_cast<int>(request.number(1));
    if (distance < 0)
    {
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "moveTo", "a negative distance");
        return;
    }
    switch (request.number(0))
    {
    case om::OM_PHOTO_MOVE_UP:
        player.movePhoto(0, -distance);
        break;
    case om::OM_PHOTO_MOVE_DOWN:
        player.movePhoto(0, distance);
        break;
    case om::OM_PHOTO_MOVE_LEFT:
        player.movePhoto(-distance, 0);
        break;
    case om::OM_PHOTO_MOVE_RIGHT:
        player.movePhoto(distance, 0);
        break;
    default:
        player.events().refusal(om::OM_ERROR_BAD_ARGUMENT, "moveTo", "no such direction");
        break;
    }
}

void setAnimation(Player& player, Request& request)
{
    refuseUnless(player.picture().setAnimation(static_cast<int>(request.number(0))), player, "setAnimation",
                 "no such animation");
}

void setVideoMute(Player& player, Request& request)
{
    player.picture().mute(request.number(0) != 0);
}

void isVideoMute(Player& player, Request& request)
{
    request.reply(std::uint32_t{player.picture().muted()});
}

constexpr PlayerCommandRow kRows[] = {
    {protocol::kCmdRotate, rotate},
    {protocol::kCmdGetRotateAngle, getRotateAngle},
    {protocol::kCmdSetDisplayRect, setDisplayRect},
    {protocol::kCmdGetDisplayRect, getDisplayRect},
    {protocol::kCmdSetZoom, setZoom},
    {protocol::kCmdGetZoom, getZoom},
    {protocol::kCmdMoveTo, moveTo},
    {protocol::kCmdSetAnimation, setAnimation},
    {protocol::kCmdSetVideoMute, setVideoMute},
    {protocol::kCmdIsVideoMute, isVideoMute},
};

} // namespace

PlayerCommand findPictureCommand(int code)
{
    return findIn(kRows, code);
}

} // namespace tz::orvane::service
