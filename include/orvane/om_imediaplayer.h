// SPDX-License-Identifier: Apache-2.0
// A player in the media service, as applications see it.
#pragma once

#include "orvane/om_enums.h"
#include "orvane/om_export.h"
#include "orvane/om_listener_list.h"
#include "orvane/om_property_group.h"
#include "orvane/om_records.h"
#include "orvane/om_string.h"

namespace tz::orvane::omc
{
class OmcIMediaPlayerListener;
}

namespace tz::orvane::om
{

/// A player. Made and destroyed through OmIConnection, which owns it.
///
/// Any thread may call any operation, also from inside a listener. Commands return as soon as the message is on its
/// way and report what the service makes of it through the listener; queries wait for the answer, 5000 ms at most.
/// Unless something else is said, a command gives the messenger's non-negative result, or -1 when it could not be sent.
/// Positions and durations are milliseconds.
class ORVANE_API OmIMediaPlayer
{
public:
    virtual ~OmIMediaPlayer() = default;

    /// @return the id of this player, 0x2000 to 0x2FFF
    virtual unsigned int getPlayerID() { return m_plid; }

    /// @return the id of its connection, 0x1000 to 0x1FFF
    virtual unsigned int getClientID() { return m_cnid; }

    /// @return 0 always; requests carry no id of their own
    virtual unsigned int getRequestID() = 0;

    /// Opens a medium. The service answers with state changes, media information or an error.
    /// @param uri   a file path or URI, sent unchanged
    /// @param props options for the service, see om_service.h
    /// @param flag  OM_PREPARE_... of om_service.h
    virtual int prepare(OmString const& uri, OmPropertyGroup& props, unsigned int flag) = 0;

    /// Plays from a position; a negative one plays from where the player stands.
    virtual int start(long long const& pos) = 0;

    /// Hands container data to the service; the block may have any size up to 64 MiB.
    /// @return 0, also when the data could not be sent; -2 for null or no bytes
    virtual int pushData(void const* data, unsigned int size) = 0;

    /// Hands one access unit of an elementary stream to the service. The buffers are the access unit, its stream and
    /// timing, its crypto information and extra data; see om_service.h. The last three carry at most 65535 bytes.
    /// @return the messenger's result, negative when it could not be sent
    virtual int pushEsData(void const* d1, unsigned int s1, void const* d2, unsigned int s2, void const* d3,
                           unsigned int s3, void const* d4, unsigned int s4) = 0;

    /// Opens elementary streams that pushEsData will feed. The buffers describe video, audio and extra data; see
    /// om_service.h; each carries at most 65535 bytes. @return 0 always
    virtual int openEsMedia(void const* d1, unsigned int s1, void const* d2, unsigned int s2, void const* d3,
                            unsigned int s3) = 0;

    /// Asks the service to deliver data; neither argument is touched. @return 0, -1 when the request failed
    virtual int pullData(void** data, unsigned int& size) = 0;

    /// Tells the service that delivered data may go; frees nothing here. @return the messenger's result
    virtual int freeDataMem(void* data) = 0;

    virtual int stop() = 0;
    virtual int pause() = 0;
    virtual int resume() = 0;

    /// @return positive when seeking is possible, 0 when not, -1 when the service did not answer
    virtual int isSeekable() = 0;

    /// @param pos   milliseconds
    /// @param flags OM_SEEK_... of om_service.h
    virtual int seek(long long const& pos, int flags) = 0;

    /// @return positive when other speeds are possible, 0 when not, -1 when the service did not answer
    virtual int isSpeedable() = 0;
    virtual int speed(om_play_speed_e speed, int param) = 0;

    // Queries with a result argument give a negative value on failure; the argument is then left as far as the answer
    // was read. getDisplayRect and getZoom report only whether the service answered; getZoom gives zeros when it did
    // not.
    virtual int getSpeed(om_play_speed_e& speed) = 0;
    virtual int rotate(om_display_rotate_e angle) = 0;
    virtual int getRotateAngle(om_display_rotate_e& angle) = 0;
    virtual int setDisplayRect(om_display_rect_t const& rect) = 0;
    virtual int getDisplayRect(om_display_rect_t& rect) = 0;
    virtual int setZoom(om_zoom_mode_e mode, om_zoom_ratio_e ratio) = 0;
    virtual int getZoom(om_zoom_mode_e& mode, om_zoom_ratio_e& ratio) = 0;

    /// @param distance pixels of the screen
    virtual int moveTo(om_photo_move_direction_e direct, int distance) = 0;
    virtual int setAnimation(om_image_animation_e anim) = 0;

    /// @param volume 0 to 100
    virtual int setVolume(int volume) = 0;
    virtual int setAudioMute(int mute) = 0;

    /// @return positive when muted, 0 when not, negative when the service did not answer
    virtual int isAudioMute() = 0;
    virtual int setVideoMute(int mute) = 0;
    virtual int isVideoMute() = 0;
    virtual int getState(om_state_e& state) = 0;

    /// @return 0 always, the argument is left alone; the flags arrive with onStateChanged
    virtual int getActStateFlags(int& flags) = 0;
    virtual int getCurPosition(long long& pos) = 0;
    virtual int getMediaInfo(om_media_info_t& info) = 0;
    virtual int getContainerInfo(om_container_info_t& info) = 0;
    virtual int getExifInfo(om_exif_info_t& info) = 0;
    virtual int getCharpterInfo(om_chapter_info_t& info) = 0;
    virtual int getVideoTrackInfo(om_stream_info_group_t& info) = 0;
    virtual int getAudioTrackInfo(om_stream_info_group_t& info) = 0;
    virtual int setAudioTrackNo(unsigned int no) = 0;
    virtual int getAudioTrackNo(unsigned int& no) = 0;
    virtual int getSubtitleTrackInfo(om_stream_info_group_t& info) = 0;
    virtual int setSubtitleTrackNo(unsigned int no) = 0;
    virtual int getSubtitleTrackNo(unsigned int& no) = 0;
    virtual int setSubtitleVisible(int visible) = 0;

    /// @return positive when shown, 0 when not, -1 when the service did not answer
    virtual int isSubtitleVisible() = 0;
    virtual int setSubtitleFontPath(OmString const& path) = 0;
    virtual int setSubtitleUri(OmString const& uri) = 0;
    virtual int setSubtitleStyle(om_subtiltile_style_t style) = 0;

    /// @param delay milliseconds; positive shows subtitles later
    virtual int setSubtitleDelay(long long delay) = 0;
    virtual int setExtraAudioAttribute(int audioAttribute, int value) = 0;

    /// Sends a named command of the service and waits for its answer.
    /// @param props arguments; replaced by the answer, kept when it is empty
    /// @return 0 or positive; -1 when the command could not be sent or its answer not be read
    virtual int doExtendCommand(OmString const& command, OmPropertyGroup& props) = 0;

    virtual int reserved1() { return -4; }
    virtual int reserved2() { return -4; }

    /// @return -1 always
    virtual int isSmallWindowMode() = 0;

    /// Announces this player to the service; its constructor does so already.
    virtual int init() = 0;

    /// Empties the listener list and waits until calls of these listeners on other threads have ended: hold no lock
    /// that a listener takes. @return 0
    virtual int deinit() = 0;

    /// Adds a listener, called in the order of adding on the receive thread. @return 0, -2 for null, 1 when present
    int addListener(omc::OmcIMediaPlayerListener* listener) { return m_listeners.add(listener); }

    /// Removes a listener; see OmListenerList for what may run meanwhile. @return 0, -2 for null, 1 when absent
    int removeListener(omc::OmcIMediaPlayerListener* listener) { return m_listeners.remove(listener); }

protected:
    OmIMediaPlayer(unsigned int cnid, unsigned int plid)
        : m_cnid(cnid)
        , m_plid(plid)
    {
    }

    unsigned int m_cnid;
    unsigned int m_plid;
    unsigned int m_reserved = 0;
    OmListenerList<omc::OmcIMediaPlayerListener> m_listeners;
};

} // namespace tz::orvane::om
