// SPDX-License-Identifier: Apache-2.0
// Records that cross the protocol as raw images: sizes, order and offsets of their fields are binding.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tz::orvane::om
{

/// A ratio, printed as numerator, colon, denominator.
struct om_rational_t
{
    int32_t num;
    int32_t den;
};

/// Picture size in pixels.
struct om_resolution_t
{
    int32_t width;
    int32_t height;
};

/// A rectangle on the screen in pixels.
struct om_display_rect_t
{
    int32_t px;
    int32_t py;
    int32_t width;
    int32_t height;
    int32_t zoom;
};

/// A chapter of a medium; positions in milliseconds.
struct om_chapter_info_t
{
    alignas(8) int64_t start_pos;
    alignas(8) int64_t end_pos;
    char name[256];
    char lang[16];
};

struct om_time_t
{
    int32_t hour;
    int32_t minute;
    int32_t second;
};

struct om_date_t
{
    int32_t year;
    int32_t month;
    int32_t day;
    int32_t wday;
    om_time_t time;
};

/// Details of a video stream.
struct om_video_stream_detail_t
{
    int32_t width;
    int32_t height;
    int32_t fps;
};

/// Details of an audio stream.
struct om_audio_stream_detail_t
{
    char lang[16];
    int32_t codec; ///< om_audio_codec_e
    int32_t samplerate;
    int32_t ch;
    int32_t audio_format;
};

/// Details of a subtitle stream.
struct om_subtitle_stream_detail_t
{
    char title[64];
    char lang[16];
    int32_t drawtype;
    int32_t embtype;
};

/// One elementary stream; the list that holds it tells which detail is meant.
struct om_stream_info_t
{
    int32_t id;
    int32_t stream_type;
    char mime_type[32];
    char reserved[68];
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
    static constexpr int kCapacity = 24;

    int32_t count; ///< -1 when not known
    om_stream_info_t streams[kCapacity];
    char reserved[8];
};

/// All tracks of the opened medium.
struct om_container_info_t
{
    static constexpr int kVideoCapacity = 2;
    static constexpr int kAudioCapacity = 18;
    static constexpr int kTextCapacity = 20;

    om_stream_info_t videos_detail[kVideoCapacity];
    int32_t video_count;
    int32_t video_selected;
    int32_t video_muted;
    om_stream_info_t audios_detail[kAudioCapacity];
    int32_t audio_count;
    int32_t audio_selected;
    int32_t audio_muted;
    om_stream_info_t subtitle_detail[kTextCapacity];
    int32_t text_count;
    int32_t text_selected;
    int32_t text_muted;
};

/// Descriptive tags of a medium.
struct alignas(4) om_tag_info_t
{
    char title[256];
    char artist[256];
    char album[256];
    char year[16];
    char genre[16];
};

/// What is known of an opened medium; -1 stands for "unknown" where a field starts with it.
struct om_media_info_t
{
    int32_t media_type;
    int32_t reserved;
    alignas(8) uint64_t file_size; ///< bytes
    alignas(8) int64_t duration;   ///< milliseconds
    char mime_type[64];
    om_resolution_t resolution;
    int32_t frame_rate; ///< frames a second, rounded
    int32_t hdr_type;
    int32_t color_depth; ///< bits of a sample
    int32_t bit_rate;    ///< bits a second
    int32_t audio_codec; ///< om_audio_codec_e
    int32_t video_codec; ///< om_video_codec_e
    int32_t audio_track_num;
    int32_t video_track_num;
    int32_t text_track_num;
    int32_t disp_rotation; ///< degrees
    om_rational_t par;     ///< pixel aspect ratio
    int32_t audio_channel;
    int32_t sample_rate; ///< Hz
    om_date_t create_date;
    int32_t cap_flags;
    om_tag_info_t tag;
};

/// Look of subtitles; -1 leaves the service's default.
struct om_subtiltile_style_t
{
    int32_t subtitle_x;
    int32_t subtitle_y;
    int32_t subtitle_width;
    int32_t subtitle_height;
    int32_t reserved;
    uint32_t subtitle_color;
    uint32_t subtitle_BGcolor;
    int32_t subtitle_fontsize;
    int32_t subtitle_charset;
};

/// A track that was switched to.
struct alignas(8) om_track_detail_t
{
    om_stream_info_t stream;
    int32_t track_type; ///< offset 472: kind of the track
    int32_t track_no;   ///< offset 476: its number in the list of its kind
};

/// One 8-byte pair of an EXIF record: a ratio.
struct om_exif_rational_t
{
    int32_t num;
    int32_t den;
};

/// Where a photo was taken.
struct om_gps_info_t
{
    om_exif_rational_t latitude[3];  ///< offset 0: degrees, minutes, seconds
    om_exif_rational_t longitude[3]; ///< offset 24: degrees, minutes, seconds
    om_exif_rational_t altitude;     ///< offset 48: metres
    char latitude_ref[2];            ///< offset 56: "N" or "S"
    char longitude_ref[2];           ///< offset 58: "E" or "W"
    int32_t altitude_ref;            ///< offset 60: 0 above, 1 below sea level
};

/// What a photo's EXIF data tell.
struct om_exif_info_t
{
    int32_t rotation;                 ///< degrees clockwise
    int32_t mirror;                   ///< 1 when the picture is mirrored
    om_exif_rational_t exposure_time; ///< offset 8: seconds
    om_exif_rational_t f_number;      ///< offset 16
    om_exif_rational_t focal_length;  ///< offset 24: millimetres
    char camera_model[64];
    char camera_maker[64]; ///< offset 96
    int32_t color_space;
    om_date_t date_taken;
    om_gps_info_t gps;
    int32_t iso;
};

/// The parts of a media URI, NUL-terminated.
struct alignas(4) om_uri_info_t
{
    char orign_uri[2048];
    char pure_uri[2048]; ///< without the known parameters
    char file_name[64];
    char header[64]; ///< scheme and slashes
};

// A record that changes its layout no longer reads what the service writes.
static_assert(sizeof(om_rational_t) == 8 && alignof(om_rational_t) == 4);
static_assert(sizeof(om_resolution_t) == 8 && alignof(om_resolution_t) == 4);
static_assert(sizeof(om_display_rect_t) == 20 && alignof(om_display_rect_t) == 4);
static_assert(sizeof(om_chapter_info_t) == 288 && alignof(om_chapter_info_t) == 8);
static_assert(offsetof(om_chapter_info_t, name) == 16 && offsetof(om_chapter_info_t, lang) == 272);
static_assert(sizeof(om_time_t) == 12 && alignof(om_time_t) == 4);
static_assert(sizeof(om_date_t) == 28 && alignof(om_date_t) == 4 && offsetof(om_date_t, time) == 16);
static_assert(sizeof(om_stream_info_t) == 472 && alignof(om_stream_info_t) == 4);
static_assert(offsetof(om_stream_info_t, mime_type) == 8 && offsetof(om_stream_info_t, reserved) == 40);
static_assert(offsetof(om_stream_info_t, detail) == 108 && offsetof(om_stream_info_t, video.fps) == 116);
static_assert(offsetof(om_stream_info_t, audio.codec) == 124 && offsetof(om_stream_info_t, audio.audio_format) == 136);
static_assert(offsetof(om_stream_info_t, subtitle.lang) == 172 &&
              offsetof(om_stream_info_t, subtitle.drawtype) == 188 &&
              offsetof(om_stream_info_t, subtitle.embtype) == 192);
static_assert(sizeof(om_stream_info_group_t) == 11340 && offsetof(om_stream_info_group_t, streams) == 4);
static_assert(offsetof(om_stream_info_group_t, reserved) == 11332);
static_assert(sizeof(om_container_info_t) == 18916 && alignof(om_container_info_t) == 4);
static_assert(offsetof(om_container_info_t, video_count) == 944 &&
              offsetof(om_container_info_t, audios_detail) == 956 &&
              offsetof(om_container_info_t, audio_count) == 9452);
static_assert(offsetof(om_container_info_t, subtitle_detail) == 9464 &&
              offsetof(om_container_info_t, text_count) == 18904 && offsetof(om_container_info_t, text_muted) == 18912);
static_assert(sizeof(om_tag_info_t) == 800 && alignof(om_tag_info_t) == 4 && offsetof(om_tag_info_t, year) == 768);
static_assert(sizeof(om_media_info_t) == 984 && alignof(om_media_info_t) == 8);
static_assert(offsetof(om_media_info_t, file_size) == 8 && offsetof(om_media_info_t, mime_type) == 24 &&
              offsetof(om_media_info_t, resolution) == 88 && offsetof(om_media_info_t, frame_rate) == 96);
static_assert(offsetof(om_media_info_t, audio_codec) == 112 && offsetof(om_media_info_t, disp_rotation) == 132 &&
              offsetof(om_media_info_t, par) == 136 && offsetof(om_media_info_t, create_date) == 152);
static_assert(offsetof(om_media_info_t, cap_flags) == 180 && offsetof(om_media_info_t, tag) == 184);
static_assert(sizeof(om_subtiltile_style_t) == 36 && offsetof(om_subtiltile_style_t, subtitle_color) == 20);
static_assert(sizeof(om_track_detail_t) == 480 && alignof(om_track_detail_t) == 8);
static_assert(offsetof(om_track_detail_t, track_type) == 472);
static_assert(sizeof(om_gps_info_t) == 64 && alignof(om_gps_info_t) == 4);
static_assert(sizeof(om_exif_info_t) == 260 && alignof(om_exif_info_t) == 4);
static_assert(offsetof(om_exif_info_t, camera_model) == 32 && offsetof(om_exif_info_t, color_space) == 160 &&
              offsetof(om_exif_info_t, date_taken) == 164 && offsetof(om_exif_info_t, gps) == 192 &&
              offsetof(om_exif_info_t, iso) == 256);
static_assert(sizeof(om_uri_info_t) == 4224 && alignof(om_uri_info_t) == 4);
static_assert(offsetof(om_uri_info_t, pure_uri) == 2048 && offsetof(om_uri_info_t, file_name) == 4096 &&
              offsetof(om_uri_info_t, header) == 4160);

} // namespace tz::orvane::om
