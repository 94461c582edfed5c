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

    /// Plays from a position. @param pos milliseconds; a negative one is where the player stands
    virtual int start(long long const& pos) = 0;

    /// Hands container data to the service.
    /// @param data read before this returns @param size bytes, up to 64 MiB
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

    /// Closes the medium; start opens it again.
    virtual int stop() = 0;

    /// Holds time still.
    virtual int pause() = 0;

    /// Lets time run again.
    virtual int resume() = 0;

    /// @return positive when seeking is possible, 0 when not, -1 when the service did not answer
    virtual int isSeekable() = 0;

    /// Goes to another position.
    /// @param pos   milliseconds
    /// @param flags OM_SEEK_... of om_service.h
    virtual int seek(long long const& pos, int flags) = 0;

    /// @return positive when other speeds are possible, 0 when not, -1 when the service did not answer
    virtual int isSpeedable() = 0;

    /// Plays faster, slower or backwards.
    /// @param speed sixteenths of the normal speed, negative backwards
    /// @param param sent unchanged
    virtual int speed(om_play_speed_e speed, int param) = 0;

    /// @param[out] speed sixteenths of the normal speed @return negative when there was no answer
    virtual int getSpeed(om_play_speed_e& speed) = 0;

    /// Turns the picture. @param angle clockwise degrees
    virtual int rotate(om_display_rotate_e angle) = 0;

    /// @param[out] angle clockwise degrees @return negative when there was no answer
    virtual int getRotateAngle(om_display_rotate_e& angle) = 0;

    /// Places the picture. @param rect pixels of the screen
    virtual int setDisplayRect(om_display_rect_t const& rect) = 0;

    /// @param[out] rect pixels of the screen, left as it is when the answer held none
    /// @return negative when there was no answer
    virtual int getDisplayRect(om_display_rect_t& rect) = 0;

    /// Fits the picture into its rectangle. @param mode how @param ratio percent
    virtual int setZoom(om_zoom_mode_e mode, om_zoom_ratio_e ratio) = 0;

    /// @param[out] mode  0 when there was no answer
    /// @param[out] ratio percent, 0 when there was no answer
    /// @return negative when there was no answer
    virtual int getZoom(om_zoom_mode_e& mode, om_zoom_ratio_e& ratio) = 0;

    /// Moves a magnified photo. @param direct where to @param distance pixels of the screen
    virtual int moveTo(om_photo_move_direction_e direct, int distance) = 0;

    /// Chooses how photos appear. @param anim the animation
    virtual int setAnimation(om_image_animation_e anim) = 0;

    /// @param volume 0 to 100
    virtual int setVolume(int volume) = 0;

    /// Switches the sound. @param mute 0: on, else off
    virtual int setAudioMute(int mute) = 0;

    /// @return positive when muted, 0 when not, negative when the service did not answer
    virtual int isAudioMute() = 0;

    /// Hides the picture. @param mute 0: shown, else hidden
    virtual int setVideoMute(int mute) = 0;

    /// @return positive when hidden, 0 when not, negative when the service did not answer
    virtual int isVideoMute() = 0;

    // The following queries leave their argument as far as the answer was read.

    /// @param[out] state what onStateChanged told last @return negative when there was no answer
    virtual int getState(om_state_e& state) = 0;

    /// @return 0 always, the argument is left alone; the flags arrive with onStateChanged
    virtual int getActStateFlags(int& flags) = 0;

    /// @param[out] pos milliseconds @return negative when there was no answer
    virtual int getCurPosition(long long& pos) = 0;

    /// @param[out] info what is known of the medium; sent with the question @return negative when there was no answer
    virtual int getMediaInfo(om_media_info_t& info) = 0;

    /// @param[out] info all tracks; sent with the question @return negative when there was no answer
    virtual int getContainerInfo(om_container_info_t& info) = 0;

    /// @param[out] info what a photo tells of itself @return negative when there was no answer
    virtual int getExifInfo(om_exif_info_t& info) = 0;

    /// @param[out] info the chapter that plays @return negative when there was no answer
    virtual int getCharpterInfo(om_chapter_info_t& info) = 0;

    /// @param[out] info the video tracks @return negative when there was no answer
    virtual int getVideoTrackInfo(om_stream_info_group_t& info) = 0;

    /// @param[out] info the audio tracks @return negative when there was no answer
    virtual int getAudioTrackInfo(om_stream_info_group_t& info) = 0;

    /// Chooses what is heard. @param no a number of the list of audio tracks, from 0
    virtual int setAudioTrackNo(unsigned int no) = 0;

    /// @param[out] no the audio track that is heard @return negative when there was no answer
    virtual int getAudioTrackNo(unsigned int& no) = 0;

    /// @param[out] info the subtitle tracks @return negative when there was no answer
    virtual int getSubtitleTrackInfo(om_stream_info_group_t& info) = 0;

    /// Chooses the subtitles. @param no a number of the list of subtitle tracks, from 0; OM_TRACK_NONE for none
    virtual int setSubtitleTrackNo(unsigned int no) = 0;

    /// @param[out] no the subtitle track that is shown, or OM_TRACK_NONE @return negative when there was no answer
    virtual int getSubtitleTrackNo(unsigned int& no) = 0;

    /// Shows or hides subtitles. @param visible 0: hidden, else shown
    virtual int setSubtitleVisible(int visible) = 0;

    /// @return positive when shown, 0 when not, -1 when the service did not answer
    virtual int isSubtitleVisible() = 0;

    /// Chooses the font of subtitles. @param path sent unchanged, also when empty
    virtual int setSubtitleFontPath(OmString const& path) = 0;

    /// Takes subtitles from a file of their own. @param uri a path or URI, sent unchanged, also when empty
    virtual int setSubtitleUri(OmString const& uri) = 0;

    /// Places and colours subtitles. @param style the whole style
    virtual int setSubtitleStyle(om_subtiltile_style_t style) = 0;

    /// @param delay milliseconds; positive shows subtitles later
    virtual int setSubtitleDelay(long long delay) = 0;

    /// Changes something more about the sound. @param audioAttribute what, see om_service.h @param value of it
    virtual int setExtraAudioAttribute(int audioAttribute, int value) = 0;

    /// Sends a named command of the service and waits for its answer.
    /// @param command its name
    /// @param props   arguments; replaced by the answer, kept when it is empty
    /// @return 0 or positive; -1 when the command could not be sent or its answer not be read
    virtual int doExtendCommand(OmString const& command, OmPropertyGroup& props) = 0;

    /// Keeps a slot for what may come. @return -4
    virtual int reserved1() { return -4; }

    /// Keeps a slot for what may come. @return -4
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
    /// Takes the ids that the service gave.
    OmIMediaPlayer(unsigned int cnid, unsigned int plid)
        : m_cnid(cnid)
        , m_plid(plid)
    {
    }

    unsigned int m_cnid;                                      ///< of the connection
    unsigned int m_plid;                                      ///< of this object
    unsigned int m_reserved = 0;                              ///< not used
    OmListenerList<omc::OmcIMediaPlayerListener> m_listeners; ///< guarded by itself
};

} // namespace tz::orvane::om
