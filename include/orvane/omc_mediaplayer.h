// SPDX-License-Identifier: Apache-2.0
// The client side of a player in the media service.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_imediaplayer.h"

#include <atomic>
#include <mutex>

namespace tz::orvane::omc
{

/// Turns every operation into a message to the service and every message of the service into a listener call.
///
/// Made by OmcClient, which owns it and hands it its messages on the receive thread. Operations take no lock. One mutex
/// keeps destruction and `dispatch` apart; it is held while listeners of `dispatch` run.
class ORVANE_API OmcMediaPlayer : public om::OmIMediaPlayer
{
public:
    /// Announces the player to the service; a failure is logged only.
    OmcMediaPlayer(unsigned int cnid, unsigned int plid);
    OmcMediaPlayer(OmcMediaPlayer const&) = delete;
    OmcMediaPlayer& operator=(OmcMediaPlayer const&) = delete;

    /// Releases the player, unless that was done before. Not from inside one of its own callbacks.
    ~OmcMediaPlayer() override;

    unsigned int getRequestID() override;
    int prepare(om::OmString const& uri, om::OmPropertyGroup& props, unsigned int flag) override;
    int start(long long const& pos) override;
    int pushData(void const* data, unsigned int size) override;
    int pushEsData(void const* d1, unsigned int s1, void const* d2, unsigned int s2, void const* d3, unsigned int s3,
                   void const* d4, unsigned int s4) override;
    int openEsMedia(void const* d1, unsigned int s1, void const* d2, unsigned int s2, void const* d3,
                    unsigned int s3) override;
    int pullData(void** data, unsigned int& size) override;
    int freeDataMem(void* data) override;
    int stop() override;
    int pause() override;
    int resume() override;
    int isSeekable() override;
    int seek(long long const& pos, int flags) override;
    int isSpeedable() override;
    int speed(om::om_play_speed_e speed, int param) override;
    int getSpeed(om::om_play_speed_e& speed) override;
    int rotate(om::om_display_rotate_e angle) override;
    int getRotateAngle(om::om_display_rotate_e& angle) override;
    int setDisplayRect(om::om_display_rect_t const& rect) override;
    int getDisplayRect(om::om_display_rect_t& rect) override;
    int setZoom(om::om_zoom_mode_e mode, om::om_zoom_ratio_e ratio) override;
    int getZoom(om::om_zoom_mode_e& mode, om::om_zoom_ratio_e& ratio) override;
    int moveTo(om::om_photo_move_direction_e direct, int distance) override;
    int setAnimation(om::om_image_animation_e anim) override;
    int setVolume(int volume) override;
    int setAudioMute(int mute) override;
    int isAudioMute() override;
    int setVideoMute(int mute) override;
    int isVideoMute() override;
    int getState(om::om_state_e& state) override;
    int getActStateFlags(int& flags) override;
    int getCurPosition(long long& pos) override;
    int getMediaInfo(om::om_media_info_t& info) override;
    int getContainerInfo(om::om_container_info_t& info) override;
    int getExifInfo(om::om_exif_info_t& info) override;
    int getCharpterInfo(om::om_chapter_info_t& info) override;
    int getVideoTrackInfo(om::om_stream_info_group_t& info) override;
    int getAudioTrackInfo(om::om_stream_info_group_t& info) override;
    int setAudioTrackNo(unsigned int no) override;
    int getAudioTrackNo(unsigned int& no) override;
    int getSubtitleTrackInfo(om::om_stream_info_group_t& info) override;
    int setSubtitleTrackNo(unsigned int no) override;
    int getSubtitleTrackNo(unsigned int& no) override;
    int setSubtitleVisible(int visible) override;
    int isSubtitleVisible() override;
    int setSubtitleFontPath(om::OmString const& path) override;
    int setSubtitleUri(om::OmString const& uri) override;
    int setSubtitleStyle(om::om_subtiltile_style_t style) override;
    int setSubtitleDelay(long long delay) override;
    int setExtraAudioAttribute(int audioAttribute, int value) override;
    int doExtendCommand(om::OmString const& command, om::OmPropertyGroup& props) override;
    int isSmallWindowMode() override;
    int init() override;
    int deinit() override;

    /// Takes a message for this player, all but frame information; called on the receive thread.
    /// @return 0, -1 when a part of it is missing or it is for another player, -2 for null
    int dispatch(void* event);

    /// Takes a message with frame information; called on the receive thread. Takes no lock.
    /// @return as dispatch
    int dispatchEx(void* event);

    /// Does what is seen of the destruction, once: forgets the listeners and tells the service.
    /// @param insideDispatch called from inside a callback of this player, whose mutex is taken then
    void release(bool insideDispatch);

private:
    std::mutex m_mutex;
    std::atomic<bool> m_released{false};
};

} // namespace tz::orvane::omc
