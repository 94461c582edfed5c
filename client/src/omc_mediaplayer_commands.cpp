// SPDX-License-Identifier: Apache-2.0
// The player's settings and actions: one-way commands, one row each.
#include "om_protocol.h"
#include "omc_mediaplayer_messages.h"

namespace tz::orvane::omc
{

int OmcMediaPlayer::seek(long long const& pos, int flags)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSeek);
    ORVANE_LOG_DEBUG("Input parameters (pos = %lld, flags = %d).", pos, flags);
    return request.sint64(pos).sint32(flags).send();
}

int OmcMediaPlayer::speed(om::om_play_speed_e speed, int param)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSpeed);
    ORVANE_LOG_DEBUG("Input parameters (speed = %d).", speed);
    return request.uint32(static_cast<unsigned int>(speed)).uint32(static_cast<unsigned int>(param)).send();
}

int OmcMediaPlayer::rotate(om::om_display_rotate_e angle)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdRotate);
    ORVANE_LOG_DEBUG("Input parameters (rotate angle = %d).", angle);
    return request.uint32(static_cast<unsigned int>(angle)).send();
}

int OmcMediaPlayer::setDisplayRect(om::om_display_rect_t const& rect)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetDisplayRect);
    ORVANE_LOG_DEBUG("Input parameters (rect: px=%d, py=%d, width=%d, height=%d).", rect.px, rect.py, rect.width,
                     rect.height);
    return request.data(&rect, sizeof rect).send();
}

int OmcMediaPlayer::setZoom(om::om_zoom_mode_e mode, om::om_zoom_ratio_e ratio)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetZoom);
    ORVANE_LOG_DEBUG("Input parameters (zoom = %d, ratio = %d).", mode, ratio);
    return request.uint32(static_cast<unsigned int>(mode)).uint32(static_cast<unsigned int>(ratio)).send();
}

// Photo operations log an entry and an end of their own.

int OmcMediaPlayer::moveTo(om::om_photo_move_direction_e direct, int distance)
{
    unsigned int const cnid = getClientID();
    unsigned int const plid = getPlayerID();
    ORVANE_LOG_DEBUG("Called. cnid=0x%04x, plid=0x%04x, direct=%d, distance=%d.", cnid, plid, direct, distance);
    Request request(ORVANE_LOG_SITE, cnid, plid, protocol::kCmdMoveTo, protocol::kTypeCommand);
    return request.sint32(direct).sint32(distance).send("Complete!");
}

int OmcMediaPlayer::setAnimation(om::om_image_animation_e anim)
{
    unsigned int const cnid = getClientID();
    unsigned int const plid = getPlayerID();
    ORVANE_LOG_DEBUG("Called. cnid=0x%04x, plid=0x%04x, animation=%d.", cnid, plid, anim);
    Request request(ORVANE_LOG_SITE, cnid, plid, protocol::kCmdSetAnimation, protocol::kTypeCommand);
    return request.sint32(anim).send("Complete!");
}

int OmcMediaPlayer::setVolume(int volume)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetVolume);
    ORVANE_LOG_DEBUG("Input parameters (volume = %d).", volume);
    return request.sint32(volume).send();
}

int OmcMediaPlayer::setAudioMute(int mute)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetAudioMute);
    ORVANE_LOG_DEBUG("Input parameters (the setting mute value= %d).", mute);
    return request.uint32(static_cast<unsigned int>(mute)).send();
}

int OmcMediaPlayer::setVideoMute(int mute)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetVideoMute);
    ORVANE_LOG_DEBUG("Input parameters (the setting mute value= %d).", mute);
    return request.uint32(static_cast<unsigned int>(mute)).send();
}

int OmcMediaPlayer::setAudioTrackNo(unsigned int no)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetAudioTrackNo);
    ORVANE_LOG_DEBUG("Input parameters (TrackNumber =%d.).", static_cast<int>(no));
    return request.uint32(no).send();
}

int OmcMediaPlayer::setSubtitleTrackNo(unsigned int no)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetSubtitleTrackNo);
    ORVANE_LOG_DEBUG("Input parameters (TrackNumber =%d.).", static_cast<int>(no));
    return request.uint32(no).send();
}

int OmcMediaPlayer::setSubtitleVisible(int visible)
{
    return command(*this, ORVANE_LOG_SITE, protocol::kCmdSetSubtitleVisible)
        .uint32(static_cast<unsigned int>(visible))
        .send();
}

int OmcMediaPlayer::setSubtitleFontPath(om::OmString const& path)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetSubtitleFontPath);
    ORVANE_LOG_DEBUG("Input parameters (SubtitleFontPath=%s.).", path.c_str());
    return request.string(path).send();
}

int OmcMediaPlayer::setSubtitleUri(om::OmString const& uri)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetSubtitleUri);
    ORVANE_LOG_DEBUG("Input parameters (uri=%s.).", uri.c_str());
    return request.string(uri).send();
}

int OmcMediaPlayer::setSubtitleStyle(om::om_subtiltile_style_t style)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetSubtitleStyle);
    ORVANE_LOG_DEBUG("Input parameters (style: sub_charset = %d, sub_font_size = %d.).", style.subtitle_charset,
                     style.subtitle_fontsize);
    ORVANE_LOG_DEBUG("Input parameters (style: sub_colo r= %d,  sub_bg_color = %d.).",
                     static_cast<int>(style.subtitle_color), static_cast<int>(style.subtitle_BGcolor));
    ORVANE_LOG_DEBUG("Input parameters (style: sub_rect px py width height = %d %d %d %d.).", style.subtitle_x,
                     style.subtitle_y, style.subtitle_width, style.subtitle_height);
    return request.data(&style, sizeof style).send();
}

int OmcMediaPlayer::setSubtitleDelay(long long delay)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetSubtitleDelay);
    ORVANE_LOG_DEBUG("Input parameters (delay=%lld.).", delay);
    return request.sint64(delay).send();
}

int OmcMediaPlayer::setExtraAudioAttribute(int audioAttribute, int value)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdSetExtraAudioAttribute);
    ORVANE_LOG_DEBUG("Input parameters (the setting audioAttribute=%d, value=%d).", audioAttribute, value);
    return request.sint32(audioAttribute).sint32(value).send();
}

} // namespace tz::orvane::omc
