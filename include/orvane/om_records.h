// SPDX-License-Identifier: Apache-2.0
// Records that cross the protocol as raw images: sizes, order and offsets of their fields are binding.
// Text ends in a NUL unless it fills its field. 64-bit numbers are aligned to 8 bytes on every target.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tz::orvane::om
{

/// A ratio, printed as numerator, colon, denominator.
struct om_rational_t
{
    int32_t num; ///< numerator
    int32_t den; ///< denominator, 0 when the ratio is not known
};

/// Picture size in pixels.
struct om_resolution_t
{
    int32_t width;  ///< pixels, -1 when not known
    int32_t height; ///< pixels, -1 when not known
};

/// A rectangle on the screen in pixels.
struct om_display_rect_t
{
    int32_t px;     ///< left edge
    int32_t py;     ///< top edge
    int32_t width;  ///< to the right
    int32_t height; ///< downwards
    int32_t zoom;   ///< magnification in percent, 0 leaves it
};

/// A chapter of a medium; positions in milliseconds.
struct om_chapter_info_t
{
    alignas(8) int64_t start_pos; ///< where it begins
    alignas(8) int64_t end_pos;   ///< where the next one begins
    char name[256];               ///< its title
    char lang[16];                ///< ISO 639-2, three letters
};

/// A time of day; -1 in each part when not known.
struct om_time_t
{
    int32_t hour;   ///< 0 to 23
    int32_t minute; ///< 0 to 59
    int32_t second; ///< 0 to 59
};

/// A day and a time of it; -1 in each part when not known.
struct om_date_t
{
    int32_t year;   ///< all four digits
    int32_t month;  ///< 1 to 12
    int32_t day;    ///< 1 to 31
    int32_t wday;   ///< day of the week, 0 is Sunday
    om_time_t time; ///< the time of that day
};

/// Details of a video stream.
struct om_video_stream_detail_t
{
    int32_t width;  ///< pixels
    int32_t height; ///< pixels
    int32_t fps;    ///< frames a second, rounded
};

/// Details of an audio stream.
struct om_audio_stream_detail_t
{
    char lang[16];        ///< ISO 639-2, three letters
    int32_t codec;        ///< om_audio_codec_e
    int32_t samplerate;   ///< Hz
    int32_t ch;           ///< number of channels
    int32_t audio_format; ///< om_audio_format_e of om_service.h
};

/// Details of a subtitle stream.
struct om_subtitle_stream_detail_t
{
    char title[64];   ///< the name that the medium gives it
    char lang[16];    ///< ISO 639-2, three letters
    int32_t drawtype; ///< om_subtitle_draw_type_e of om_service.h
    int32_t embtype;  ///< om_subtitle_source_e of om_service.h
};

/// One elementary stream; the list that holds it tells which detail is meant.
struct om_stream_info_t
{
    int32_t id;          ///< number in its list from 0, -1 in an unused entry
    int32_t stream_type; ///< om_stream_type_e of om_service.h
    char mime_type[32];  ///< of the stream
    char reserved[68];   ///< not used
    union
    {
        om_video_stream_detail_t video;
        om_audio_stream_detail_t audio;
        om_subtitle_stream_detail_t subtitle;
        char detail[364];
    };
};

/// All tracks of one kind.
struct om_stream_info_group_t
{
    static constexpr int kCapacity = 24; ///< entries that the record has

    int32_t count;                       ///< -1 when not known
    om_stream_info_t streams[kCapacity]; ///< the first `count` are in use
    char reserved[8];                    ///< not used
};

/// All tracks of the opened medium.
struct om_container_info_t
{
    static constexpr int kVideoCapacity = 2;  ///< video entries that the record has
    static constexpr int kAudioCapacity = 18; ///< audio entries that the record has
    static constexpr int kTextCapacity = 20;  ///< subtitle entries that the record has

    om_stream_info_t videos_detail[kVideoCapacity];  ///< the first `video_count` are in use
    int32_t video_count;                             ///< -1 when not known
    int32_t video_selected;                          ///< number of the one that is shown, -1 for none
    int32_t video_muted;                             ///< 1 when the picture is hidden
    om_stream_info_t audios_detail[kAudioCapacity];  ///< the first `audio_count` are in use
    int32_t audio_count;                             ///< -1 when not known
    int32_t audio_selected;                          ///< number of the one that is heard, -1 for none
    int32_t audio_muted;                             ///< 1 when the sound is off
    om_stream_info_t subtitle_detail[kTextCapacity]; ///< the first `text_count` are in use
    int32_t text_count;                              ///< -1 when not known
    int32_t text_selected;                           ///< number of the one that is chosen, -1 for none
    int32_t text_muted;                              ///< 1 when subtitles are hidden
};

/// Descriptive tags of a medium.
struct alignas(4) om_tag_info_t
{
    char title[256];  ///< of the whole medium
    char artist[256]; ///< who performs
    char album[256];  ///< what it was published on
    char year[16];    ///< of publication, as text
    char genre[16];   ///< as text
};

/// What is known of an opened medium; -1 stands for "unknown" where a field starts with it.
struct om_media_info_t
{
    int32_t media_type;            ///< om_media_type_e of om_service.h
    int32_t reserved;              ///< not used
    alignas(8) uint64_t file_size; ///< bytes
    alignas(8) int64_t duration;   ///< milliseconds
    char mime_type[64];            ///< of the container
    om_resolution_t resolution;    ///< as it is coded, not turned and not stretched
    int32_t frame_rate;            ///< frames a second, rounded
    int32_t hdr_type;              ///< om_hdr_type_e of om_service.h
    int32_t color_depth;           ///< bits of a sample
    int32_t bit_rate;              ///< bits a second
    int32_t audio_codec;           ///< om_audio_codec_e
    int32_t video_codec;           ///< om_video_codec_e
    int32_t audio_track_num;       ///< how many there are
    int32_t video_track_num;       ///< how many there are
    int32_t text_track_num;        ///< how many there are
    int32_t disp_rotation;         ///< degrees
    om_rational_t par;             ///< pixel aspect ratio
    int32_t audio_channel;         ///< number of channels
    int32_t sample_rate;           ///< Hz
    om_date_t create_date;         ///< when it was recorded
    int32_t cap_flags;             ///< om_cap_flag_e of om_service.h
    om_tag_info_t tag;             ///< descriptive texts
};

/// The parts of a media URI, NUL-terminated.
struct alignas(4) om_uri_info_t
{
    char orign_uri[2048]; ///< as it was given
    char pure_uri[2048];  ///< without the known parameters
    char file_name[64];   ///< the last part of the path
    char header[64];      ///< scheme and slashes
};

/// How a medium is shown and heard.
struct om_setting_info_t
{
    om_display_rect_t disp_rect; ///< where it is shown
    int32_t disp_rotate;         ///< om_display_rotate_e
    int32_t zoom_mode;           ///< om_zoom_mode_e
    int32_t zoom_ratio;          ///< om_zoom_ratio_e
    int32_t play_speed;          ///< om_play_speed_e
    int32_t volume;              ///< 0 to 100
};

/// A request to play a medium, and how far it has come.
struct om_request_info_t
{
    int32_t req_id;                  ///< offset 0
    om_uri_info_t uri;               ///< offset 4: the medium
    int32_t stage;                   ///< offset 4228: how far the request has come
    int32_t result;                  ///< offset 4232: what became of it, 0 while nothing went wrong
    int32_t err_detail;              ///< offset 4236: the service's reason for `result`
    char reserved[4];                ///< offset 4240
    om_uri_info_t subtitle_uri;      ///< offset 4244: subtitles from elsewhere
    int32_t app_type;                ///< offset 8468: kind of the asking application
    int32_t auto_start;              ///< offset 8472: 1 plays as soon as the medium is open
    int32_t play_scene;              ///< offset 8476: what it is played for
    int32_t video_play_mode;         ///< offset 8480
    om_display_rect_t disp_rect;     ///< offset 8484
    alignas(8) int64_t start_pos;    ///< offset 8504: milliseconds
    alignas(8) int64_t end_pos;      ///< offset 8512: milliseconds, -1 for the end of the medium
    int32_t bg_music;                ///< offset 8520: how music goes on behind other applications
    int32_t m_smallWindowMode;       ///< offset 8524: 1 plays in a small window
    alignas(8) int64_t request_time; ///< offset 8528: milliseconds since 1970
};

/// All that is known of a medium that is being played.
struct om_contents_info_t
{
    om_request_info_t request;       ///< offset 0
    om_media_info_t media;           ///< offset 8536
    om_container_info_t container;   ///< offset 9520
    char reserved[260];              ///< offset 28436
    om_setting_info_t setting;       ///< offset 28696
    alignas(8) int64_t curr_pos;     ///< offset 28736: milliseconds
    alignas(8) int64_t buffered_pos; ///< offset 28744: milliseconds up to which the data have come
};

/// A subtitle track to choose.
struct om_subtiltile_info_t
{
    int32_t index;  ///< offset 0: number of the track, -1 when none is chosen
    char name[256]; ///< offset 4
    int32_t type;   ///< offset 260: 0 from the medium itself, 1 from a file of its own
};

/// Look of subtitles; -1 leaves the service's default.
struct om_subtiltile_style_t
{
    int32_t subtitle_x;        ///< left edge of their area
    int32_t subtitle_y;        ///< top edge of their area
    int32_t subtitle_width;    ///< of their area
    int32_t subtitle_height;   ///< of their area
    int32_t reserved;          ///< not used
    uint32_t subtitle_color;   ///< of the text; 256 leaves the default
    uint32_t subtitle_BGcolor; ///< behind the text; 256 leaves the default
    int32_t subtitle_fontsize; ///< size of the letters; reset to 200
    int32_t subtitle_charset;  ///< how files are read that do not say it
};

/// Where subtitles stand.
struct om_subtiltile_layout_t
{
    int32_t horizontal;   ///< offset 0: 0 left, 1 middle, 2 right
    int32_t vertical;     ///< offset 4: 0 top, 1 bottom
    int32_t line_spacing; ///< offset 8: pixels, -1 leaves the service's default
};

/// A request for one picture of a medium.
struct om_thumbnail_request_info_t
{
    char path[2048];                   ///< offset 0: path or URI that the picture goes to
    int32_t time_mode;                 ///< offset 2048: om_location_mode_e, the unit of `target_pos`
    alignas(8) int64_t target_pos;     ///< offset 2056: -1 leaves the choice to the service
    om_resolution_t target_resolution; ///< offset 2064: -1 keeps the medium's size
    int32_t color_space;               ///< offset 2072
    int32_t format;                    ///< offset 2076: file format of the picture
    int32_t flags;                     ///< offset 2080: as requestPreviewInfo takes them
};

/// The picture that was made.
struct om_thumbnail_data_info_t
{
    char path[2048];            ///< offset 0: path or URI that it went to
    alignas(8) int64_t pos;     ///< offset 2048: its position in milliseconds, -1 when not known
    om_resolution_t resolution; ///< offset 2056
    int32_t color_space;        ///< offset 2064
    int32_t format;             ///< offset 2068: its file format
};

/// A request for a preview of a medium.
struct om_preview_request_info_t
{
    int32_t req_id;                        ///< offset 0
    int32_t media_type;                    ///< offset 4: om_media_type_e of om_service.h
    int32_t reserved;                      ///< offset 8
    om_uri_info_t uri;                     ///< offset 12: the medium
    int32_t scale;                         ///< offset 4236: how the picture is fitted into its size
    om_thumbnail_request_info_t thumbnail; ///< offset 4240
    int32_t stage;                         ///< offset 6328: how far the request has come
    char app_name[28];                     ///< offset 6332: who asks
};

/// What a preview tells of a medium.
struct om_preview_constents_info_t
{
    om_preview_request_info_t request;  ///< offset 0: what was asked for
    om_thumbnail_data_info_t thumbnail; ///< offset 6360
    alignas(8) int64_t duration;        ///< offset 8432: milliseconds, -1 when not known
    alignas(8) uint64_t file_size;      ///< offset 8440: bytes
    om_date_t create_time;              ///< offset 8448
    om_resolution_t resolution;         ///< offset 8476
    char artist[256];                   ///< offset 8484
    char album[256];                    ///< offset 8740
};

/// Why something failed.
struct om_error_detail_t
{
    int32_t err_code;  ///< OM_ERROR_... of om_service.h
    char err_str[256]; ///< the same for a person
};

/// How opening a medium ended.
struct om_open_detail_t
{
    om_error_detail_t error;       ///< offset 0
    om_media_info_t media;         ///< offset 264
    om_container_info_t container; ///< offset 1248
};

/// How a seek ended; positions in milliseconds.
struct om_seek_detail_t
{
    om_error_detail_t error;       ///< offset 0
    alignas(8) int64_t start_pos;  ///< offset 264: where it began
    alignas(8) int64_t target_pos; ///< offset 272: where it was to go
    alignas(8) int64_t result_pos; ///< offset 280: where it ended
};

/// A change of state.
struct om_state_detail_t
{
    int32_t old_state; ///< offset 0: om_state_e
    int32_t new_state; ///< offset 4: om_state_e
    int32_t act_flags; ///< offset 8: OM_ACT_... of om_service.h
};

/// A track that was switched to.
struct alignas(8) om_track_detail_t
{
    om_stream_info_t stream; ///< the track itself
    int32_t track_type;      ///< offset 472: kind of the track
    int32_t track_no;        ///< offset 476: its number in the list of its kind
};

/// A picture in memory. It holds an address: it has its 284 bytes where addresses have 4, and never crosses the
/// process border.
struct om_thumbnail_detail_t
{
    om_error_detail_t error;    ///< offset 0
    int32_t color_space;        ///< offset 260
    int32_t format;             ///< offset 264
    om_resolution_t resolution; ///< offset 268: -1 when not known
    char* data;                 ///< offset 276: a block that the caller owns
    int32_t size;               ///< offset 280: bytes in it
};

/// Where a photo was taken.
struct om_gps_info_t
{
    om_rational_t latitude[3];  ///< offset 0: degrees, minutes, seconds
    om_rational_t longitude[3]; ///< offset 24: degrees, minutes, seconds
    om_rational_t altitude;     ///< offset 48: metres
    char latitude_ref[2];       ///< offset 56: "N" or "S"
    char longitude_ref[2];      ///< offset 58: "E" or "W"
    int32_t altitude_ref;       ///< offset 60: 0 above, 1 below sea level
};

/// What a photo's EXIF data tell.
struct om_exif_info_t
{
    int32_t rotation;            ///< degrees clockwise
    int32_t mirror;              ///< 1 when the picture is mirrored
    om_rational_t exposure_time; ///< offset 8: seconds
    om_rational_t f_number;      ///< offset 16
    om_rational_t focal_length;  ///< offset 24: millimetres
    char camera_model[64];       ///< empty when not known
    char camera_maker[64];       ///< offset 96
    int32_t color_space;         ///< om_exif_color_space_e of om_service.h
    om_date_t date_taken;        ///< in the time of the camera
    om_gps_info_t gps;           ///< where it was taken
    int32_t iso;                 ///< speed of the sensor
};

/// What a player holds of one kind of resource.
struct om_resrc_entry_t
{
    int32_t type;      ///< kind of the resource
    int32_t limit_num; ///< how many it may hold
    int32_t req_num;   ///< how many it asked for
    int32_t curr_num;  ///< how many it has
};

/// The resources of a player.
struct om_resrc_info_t
{
    static constexpr int kCapacity = 3; ///< kinds that the record has room for

    int32_t enable;                        ///< offset 0: 1 when resources are managed for this player
    uint32_t appId;                        ///< offset 4
    uint32_t cnid;                         ///< offset 8
    uint32_t plid;                         ///< offset 12
    uint32_t msgId;                        ///< offset 16: message that the resources were last asked for with
    int32_t priority;                      ///< offset 20
    int32_t state;                         ///< offset 24
    int32_t count;                         ///< offset 28: entries in use
    om_resrc_entry_t resources[kCapacity]; ///< offset 32
    char reserved[8];                      ///< offset 80
};

/// How many of one kind of resource the players of each priority may hold.
struct om_resrc_cfg_info_t
{
    static constexpr int kCapacity = 3; ///< priorities that the record has room for

    int32_t type;           ///< offset 0
    int32_t count;          ///< offset 4: entries in use
    int32_t num[kCapacity]; ///< offset 8: highest priority first
};

} // namespace tz::orvane::om
