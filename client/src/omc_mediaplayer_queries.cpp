// SPDX-License-Identifier: Apache-2.0
// The player's getters: questions that wait for the service's answer, one row each.
#include "om_protocol.h"
#include "omc_mediaplayer_messages.h"

namespace tz::orvane::omc
{

namespace
{

int answerFlag(platform::LogSite const& site, unsigned int value)
{
    ORVANE_LOG_AT(platform::DebugLevel::info, site, "msgDataOut (%s=%d).", site.function, static_cast<int>(value));
    return static_cast<int>(value);
}

// An answer without a value means that the medium cannot.
int askAbility(OmcMediaPlayer& player, platform::LogSite const& site, int code)
{
    PlayerQuery query(player, site, code);
    if (query.ask() < 0)
    {
        return -1;
    }
    unsigned int able = 0;
    query.read(able);
    return answerFlag(site, able);
}

// An answer without a value is an error of its own.
int askMute(OmcMediaPlayer& player, platform::LogSite const& site, int code)
{
    PlayerQuery query(player, site, code);
    if (query.ask() < 0)
    {
        return -1;
    }
    unsigned int muted = 0;
    int const result = query.read(muted);
    return result < 0 ? result : answerFlag(site, muted);
}

} // namespace

int OmcMediaPlayer::isSeekable()
{
    return askAbility(*this, ORVANE_LOG_SITE, protocol::kCmdIsSeekable);
}

int OmcMediaPlayer::isSpeedable()
{
    return askAbility(*this, ORVANE_LOG_SITE, protocol::kCmdIsSpeedable);
}

int OmcMediaPlayer::getSpeed(om::om_play_speed_e& speed)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetSpeed).value(speed);
}

int OmcMediaPlayer::getRotateAngle(om::om_display_rotate_e& angle)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetRotateAngle).value(angle);
}

int OmcMediaPlayer::getDisplayRect(om::om_display_rect_t& rect)
{
    PlayerQuery query(*this, ORVANE_LOG_SITE, protocol::kCmdGetDisplayRect);
    int const result = query.ask();
    if (result >= 0)
    {
        // Whether the answer held a rectangle is told by the log alone.
        query.readRecord(rect);
        ORVANE_LOG_INFO("msgDataOut (rect: px=%d, py=%d, width=%d, height=%d).", rect.px, rect.py, rect.width,
                        rect.height);
    }
    return result;
}

int OmcMediaPlayer::getZoom(om::om_zoom_mode_e& mode, om::om_zoom_ratio_e& ratio)
{
    PlayerQuery query(*this, ORVANE_LOG_SITE, protocol::kCmdGetZoom);
    // Also without an answer both have a value.
    mode = static_cast<om::om_zoom_mode_e>(0);
    ratio = static_cast<om::om_zoom_ratio_e>(0);
    int const result = query.ask();
    if (result >= 0)
    {
        mode = static_cast<om::om_zoom_mode_e>(query.readAt(0));
        ratio = static_cast<om::om_zoom_ratio_e>(query.readAt(1));
    }
    return result;
}

int OmcMediaPlayer::isAudioMute()
{
    return askMute(*this, ORVANE_LOG_SITE, protocol::kCmdIsAudioMute);
}

int OmcMediaPlayer::isVideoMute()
{
    return askMute(*this, ORVANE_LOG_SITE, protocol::kCmdIsVideoMute);
}

int OmcMediaPlayer::getState(om::om_state_e& state)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetState).value(state);
}

int OmcMediaPlayer::getCurPosition(long long& pos)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetCurPosition).value(pos);
}

int OmcMediaPlayer::getMediaInfo(om::om_media_info_t& info)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetMediaInfo).carry(info).record(info);
}

int OmcMediaPlayer::getContainerInfo(om::om_container_info_t& info)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetContainerInfo).carry(info).record(info);
}

int OmcMediaPlayer::getExifInfo(om::om_exif_info_t& info)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetExifInfo).record(info);
}

int OmcMediaPlayer::getCharpterInfo(om::om_chapter_info_t& info)
{
    int const result = PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetChapterInfo).record(info);
    if (result >= 0)
    {
        // The texts need not end in a NUL.
        ORVANE_LOG_INFO("msgDataOut (chapter: start_pos=%lld, end_pos=%lld, name=%.*s, lang=%.*s).",
                        static_cast<long long>(info.start_pos), static_cast<long long>(info.end_pos),
                        static_cast<int>(sizeof info.name), info.name, static_cast<int>(sizeof info.lang), info.lang);
    }
    return result;
}

int OmcMediaPlayer::getVideoTrackInfo(om::om_stream_info_group_t& info)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetVideoTrackInfo).record(info);
}

int OmcMediaPlayer::getAudioTrackInfo(om::om_stream_info_group_t& info)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetAudioTrackInfo).record(info);
}

int OmcMediaPlayer::getAudioTrackNo(unsigned int& no)
{
    int const result = PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetAudioTrackNo).value(no);
    if (result >= 0)
    {
        ORVANE_LOG_INFO("msgDataOut (output AudioTrackNo=%d.).", static_cast<int>(no));
    }
    return result;
}

int OmcMediaPlayer::getSubtitleTrackInfo(om::om_stream_info_group_t& info)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetSubtitleTrackInfo).record(info);
}

int OmcMediaPlayer::getSubtitleTrackNo(unsigned int& no)
{
    return PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdGetSubtitleTrackNo).value(no);
}

int OmcMediaPlayer::isSubtitleVisible()
{
    unsigned int visible = 0;
    int const result = PlayerQuery(*this, ORVANE_LOG_SITE, protocol::kCmdIsSubtitleVisible).value(visible);
    return result < 0 ? -1 : static_cast<int>(visible);
}

} // namespace tz::orvane::omc
