// SPDX-License-Identifier: Apache-2.0
// What om_service.h promises to programs that were built before: values of its enumerations and constants, its texts,
// the layout of its records.
#include "orvane/om_service.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using Values = std::vector<long long>;
using Texts = std::vector<std::string>;
using Offsets = std::vector<std::size_t>;

TEST(ServiceNumbers, stayAsTheyAre)
{
    EXPECT_EQ((Values{OM_PREPARE_DEFAULT, OM_PREPARE_AUTO_START, OM_PREPARE_PUSH}), (Values{0, 1, 2}));
    EXPECT_EQ((Values{OM_ACT_OPENING, OM_ACT_BUFFERING, OM_ACT_SEEKING, OM_ACT_LIVE, OM_ACT_ENDED}),
              (Values{1, 2, 4, 8, 16}));
    EXPECT_EQ((Values{OM_SEEK_DEFAULT, OM_SEEK_ACCURATE, OM_SEEK_KEY_UNIT, OM_SEEK_SNAP_BEFORE, OM_SEEK_SNAP_AFTER}),
              (Values{0, 2, 4, 32, 64}));
    EXPECT_EQ((Values{OM_AUDIO_ATTRIBUTE_BALANCE, OM_AUDIO_ATTRIBUTE_CHANNEL_MODE, OM_AUDIO_ATTRIBUTE_DELAY}),
              (Values{1, 2, 3}));
    EXPECT_EQ((Values{OM_CHANNEL_MODE_STEREO, OM_CHANNEL_MODE_LEFT, OM_CHANNEL_MODE_RIGHT, OM_CHANNEL_MODE_MONO}),
              (Values{0, 1, 2, 3}));
    EXPECT_EQ((Values{OM_EVENT_END_OF_STREAM, OM_EVENT_SEEK_DONE, OM_EVENT_BUFFERING, OM_EVENT_NEED_DATA,
                      OM_EVENT_ENOUGH_DATA, OM_EVENT_WARNING, OM_EVENT_SPEED_CHANGED, OM_EVENT_KEY_NEEDED}),
              (Values{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ((Values{OM_CLIENT_EVENT_REFUSED}), (Values{1}));
    EXPECT_EQ((Values{OM_ERROR_NONE, OM_ERROR_INTERNAL, OM_ERROR_NOT_FOUND, OM_ERROR_FORBIDDEN, OM_ERROR_CONNECT_FAILED,
                      OM_ERROR_CONNECTION_LOST, OM_ERROR_SERVER, OM_ERROR_TIMED_OUT, OM_ERROR_UNKNOWN_SCHEME,
                      OM_ERROR_UNSUPPORTED_FORMAT, OM_ERROR_UNSUPPORTED_CODEC, OM_ERROR_BROKEN_FILE,
                      OM_ERROR_KEY_MISSING, OM_ERROR_NOT_SUPPORTED, OM_ERROR_BAD_STATE, OM_ERROR_BAD_ARGUMENT,
                      OM_ERROR_LIMIT, OM_ERROR_WRONG_KEY, OM_ERROR_STOPPED}),
              (Values{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}));
    EXPECT_EQ((Values{OM_PREVIEW_DEFAULT, OM_PREVIEW_EXACT, OM_PREVIEW_NO_PICTURE}), (Values{0, 1, 2}));
    EXPECT_EQ((Values{OM_MEDIA_TYPE_UNKNOWN, OM_MEDIA_TYPE_VIDEO, OM_MEDIA_TYPE_AUDIO, OM_MEDIA_TYPE_PHOTO}),
              (Values{0, 1, 2, 3}));
    EXPECT_EQ((Values{OM_STREAM_TYPE_UNKNOWN, OM_STREAM_TYPE_VIDEO, OM_STREAM_TYPE_AUDIO, OM_STREAM_TYPE_SUBTITLE}),
              (Values{0, 1, 2, 3}));
    EXPECT_EQ((Values{OM_CAP_SEEKABLE, OM_CAP_SPEEDABLE, OM_CAP_LIVE}), (Values{1, 2, 4}));
    EXPECT_EQ((Values{OM_HDR_TYPE_NONE, OM_HDR_TYPE_PQ, OM_HDR_TYPE_HLG}), (Values{0, 1, 2}));
    EXPECT_EQ((Values{OM_AUDIO_FORMAT_UNKNOWN, OM_AUDIO_FORMAT_8, OM_AUDIO_FORMAT_16, OM_AUDIO_FORMAT_24,
                      OM_AUDIO_FORMAT_32, OM_AUDIO_FORMAT_F32, OM_AUDIO_FORMAT_F64}),
              (Values{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ((Values{OM_SUBTITLE_DRAW_TEXT, OM_SUBTITLE_DRAW_PICTURE}), (Values{0, 1}));
    EXPECT_EQ((Values{OM_SUBTITLE_EMBEDDED, OM_SUBTITLE_EXTERNAL}), (Values{0, 1}));
    EXPECT_EQ((Values{OM_EXIF_COLOR_SPACE_UNKNOWN, OM_EXIF_COLOR_SPACE_SRGB, OM_EXIF_COLOR_SPACE_UNCALIBRATED}),
              (Values{0, 1, 65535}));
    EXPECT_EQ((Values{OM_SUBTITLE_CHARSET_AUTO, OM_SUBTITLE_CHARSET_UTF_8, OM_SUBTITLE_CHARSET_WESTERN,
                      OM_SUBTITLE_CHARSET_CENTRAL_EUROPEAN, OM_SUBTITLE_CHARSET_CYRILLIC, OM_SUBTITLE_CHARSET_GREEK,
                      OM_SUBTITLE_CHARSET_TURKISH, OM_SUBTITLE_CHARSET_HEBREW, OM_SUBTITLE_CHARSET_ARABIC,
                      OM_SUBTITLE_CHARSET_BALTIC, OM_SUBTITLE_CHARSET_VIETNAMESE, OM_SUBTITLE_CHARSET_THAI,
                      OM_SUBTITLE_CHARSET_KOREAN, OM_SUBTITLE_CHARSET_JAPANESE, OM_SUBTITLE_CHARSET_SIMPLIFIED_CHINESE,
                      OM_SUBTITLE_CHARSET_TRADITIONAL_CHINESE, OM_SUBTITLE_CHARSET_UTF_16_LE,
                      OM_SUBTITLE_CHARSET_UTF_16_BE, OM_SUBTITLE_CHARSET_KOI8_R}),
              (Values{-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}));
    EXPECT_EQ((Values{OM_ES_KEY_FRAME, OM_ES_DISCONTINUITY, OM_ES_END_OF_STREAM}), (Values{1, 2, 4}));
    EXPECT_EQ((Values{OM_DRM_TYPE_CLEARKEY}), (Values{1}));
    EXPECT_EQ((Values{OM_DRM_INIT_DATA_KEYIDS, OM_DRM_INIT_DATA_CENC, OM_DRM_INIT_DATA_WEBM}), (Values{1, 2, 3}));
    EXPECT_EQ((Values{OM_DRM_SESSION_TEMPORARY}), (Values{0}));
    EXPECT_EQ((Values{OM_DRM_KEY_USABLE, OM_DRM_KEY_PENDING}), (Values{0, 1}));
    EXPECT_EQ((Values{OM_DRM_SCHEME_CENC, OM_DRM_SCHEME_CBCS}), (Values{1, 2}));
    EXPECT_EQ((Values{OM_DRM_EVENT_MESSAGE, OM_DRM_EVENT_KEY_STATUS}), (Values{1, 2}));
    EXPECT_EQ((Values{OM_DRM_MESSAGE_LICENSE_REQUEST, OM_DRM_MESSAGE_LICENSE_RENEWAL}), (Values{0, 1}));
    EXPECT_EQ(
        (Values{OM_TRACK_NONE, OM_SUBTITLE_PLACE_DEFAULT, OM_SUBTITLE_COLOR_DEFAULT, OM_SUBTITLE_FONT_SIZE_DEFAULT,
                OM_SUBTITLE_PLACE_WHOLE, OM_SUBTITLE_FONT_SIZE_LEAST, OM_SUBTITLE_FONT_SIZE_MOST}),
        (Values{0xFFFFFFFF, -1, 256, 200, 1000, 50, 1000}));
}

TEST(ServiceTexts, stayAsTheyAre)
{
    EXPECT_EQ(
        (Texts{OM_PREPARE_KEY_PLAYTIME_INTERVAL, OM_PREPARE_KEY_TIMEOUT, OM_PREPARE_KEY_USER_AGENT,
               OM_PREPARE_KEY_ANIMATION, OM_PREPARE_KEY_SIZE, OM_PREPARE_KEY_FRAME_INFO, OM_PREPARE_KEY_FRAME_INFO_SIZE,
               OM_PREPARE_KEY_FRAME_INFO_INTERVAL, OM_PREPARE_KEY_FRAME_INFO_ON_DEMAND}),
        (Texts{"playtime-interval-ms", "timeout-ms", "user-agent", "animation-ms", "size", "frame-info",
               "frame-info-size", "frame-info-interval-ms", "frame-info-on-demand"}));
    EXPECT_EQ((Texts{OM_FRAME_FORMAT_RGB, OM_FRAME_FORMAT_RGBA, OM_FRAME_FORMAT_I420, OM_FRAME_KEY_FORMAT,
                     OM_FRAME_KEY_WIDTH, OM_FRAME_KEY_HEIGHT, OM_FRAME_KEY_STRIDE, OM_FRAME_KEY_PAR,
                     OM_FRAME_KEY_COLORIMETRY, OM_FRAME_KEY_PTS, OM_FRAME_KEY_SEQUENCE, OM_FRAME_KEY_DROPPED}),
              (Texts{"rgb", "rgba", "i420", "format", "width", "height", "stride", "par", "colorimetry", "pts",
                     "sequence", "dropped"}));
    EXPECT_EQ((Texts{OM_KEY_TEXT,    OM_KEY_COMMAND,  OM_KEY_CODE,     OM_KEY_CODEC,    OM_KEY_POSITION,
                     OM_KEY_OFFSET,  OM_KEY_STREAM,   OM_KEY_PERCENT,  OM_KEY_SPEED,    OM_KEY_AGENT,
                     OM_KEY_KEY_ID,  OM_KEY_PATH,     OM_KEY_WIDTH,    OM_KEY_HEIGHT,   OM_KEY_INDEX,
                     OM_KEY_COUNT,   OM_KEY_START,    OM_KEY_END,      OM_KEY_TITLE,    OM_KEY_LANG,
                     OM_KEY_VERSION, OM_KEY_PROTOCOL, OM_KEY_COMMANDS, OM_KEY_INTERVAL, OM_KEY_SESSION}),
              (Texts{"text",  "command", "code",    "codec",    "position", "offset",      "stream", "percent", "speed",
                     "agent", "key-id",  "path",    "width",    "height",   "index",       "count",  "start",   "end",
                     "title", "lang",    "version", "protocol", "commands", "interval-ms", "session"}));
    EXPECT_EQ(
        (Texts{OM_COMMAND_PUSH_FROM, OM_COMMAND_END_OF_DATA, OM_COMMAND_CHAPTER, OM_COMMAND_VERSION,
               OM_COMMAND_LIST_COMMANDS, OM_COMMAND_PLAYTIME_INTERVAL, OM_COMMAND_STATISTICS, OM_COMMAND_SCREENSHOT}),
        (Texts{"push-from", "end-of-data", "chapter", "version", "list-commands", "playtime-interval", "statistics",
               "screenshot"}));
    EXPECT_EQ((Texts{OM_STATISTIC_FRAMES_DECODED, OM_STATISTIC_FRAMES_DROPPED, OM_STATISTIC_BUFFERING,
                     OM_STATISTIC_AUDIO_LEVEL, OM_STATISTIC_AUDIO_LEVEL_LEFT, OM_STATISTIC_AUDIO_LEVEL_RIGHT,
                     OM_STATISTIC_AUDIO_RATE, OM_STATISTIC_AUDIO_CHANNELS}),
              (Texts{"frames-decoded", "frames-dropped", "buffering-percent", "audio-level-db", "audio-level-left-db",
                     "audio-level-right-db", "audio-rate", "audio-channels"}));
    EXPECT_EQ((Texts{OM_PREVIEW_KEY_SIZE,       OM_PREVIEW_KEY_FORMAT,       OM_PREVIEW_KEY_OUTPUT,
                     OM_PREVIEW_KEY_REQUEST_ID, OM_PREVIEW_KEY_TIMEOUT,      OM_PREVIEW_KEY_FRAMES,
                     OM_PREVIEW_KEY_COLUMNS,    OM_PREVIEW_KEY_MEDIA_TYPE,   OM_PREVIEW_KEY_MIME_TYPE,
                     OM_PREVIEW_KEY_TITLE,      OM_PREVIEW_KEY_ARTIST,       OM_PREVIEW_KEY_ALBUM,
                     OM_PREVIEW_KEY_DURATION,   OM_PREVIEW_KEY_FILE_SIZE,    OM_PREVIEW_KEY_RESOLUTION,
                     OM_PREVIEW_KEY_ROTATION,   OM_PREVIEW_KEY_VIDEO_CODEC,  OM_PREVIEW_KEY_AUDIO_CODEC,
                     OM_PREVIEW_KEY_DATE,       OM_PREVIEW_KEY_PICTURE_SIZE, OM_PREVIEW_KEY_POSITION,
                     OM_PREVIEW_COMMAND_STATUS, OM_PREVIEW_KEY_WAITING,      OM_PREVIEW_KEY_RUNNING,
                     OM_PREVIEW_KEY_SLOTS}),
              (Texts{"size",       "format",    "output-path", "request-id",  "timeout-ms", "frames",       "columns",
                     "media-type", "mime-type", "title",       "artist",      "album",      "duration",     "file-size",
                     "resolution", "rotation",  "video-codec", "audio-codec", "date",       "picture-size", "position",
                     "status",     "waiting",   "running",     "slots"}));
    EXPECT_EQ((Texts{OM_DRM_CLEARKEY, OM_DRM_COMMAND_RENEW}), (Texts{"org.w3.clearkey", "renew"}));
}

/// Size, alignment, and the place of each field.
TEST(ServiceRecords, haveTheirFieldsInPlace)
{
    EXPECT_EQ(
        (Offsets{sizeof(om_es_format_t), alignof(om_es_format_t), offsetof(om_es_format_t, codec),
                 offsetof(om_es_format_t, width), offsetof(om_es_format_t, height), offsetof(om_es_format_t, fps_num),
                 offsetof(om_es_format_t, fps_den), offsetof(om_es_format_t, sample_rate),
                 offsetof(om_es_format_t, channels), offsetof(om_es_format_t, reserved)}),
        (Offsets{32, 4, 0, 4, 8, 12, 16, 20, 24, 28}));
    EXPECT_EQ((Offsets{sizeof(om_es_unit_t), alignof(om_es_unit_t), offsetof(om_es_unit_t, stream_type),
                       offsetof(om_es_unit_t, flags), offsetof(om_es_unit_t, pts), offsetof(om_es_unit_t, dts),
                       offsetof(om_es_unit_t, duration)}),
              (Offsets{32, 8, 0, 4, 8, 16, 24}));
    EXPECT_EQ((Offsets{sizeof(om_drm_session_t), alignof(om_drm_session_t), offsetof(om_drm_session_t, session)}),
              (Offsets{4, 4, 0}));
    EXPECT_EQ((Offsets{sizeof(om_drm_key_request_t), alignof(om_drm_key_request_t),
                       offsetof(om_drm_key_request_t, session), offsetof(om_drm_key_request_t, init_data)}),
              (Offsets{8, 4, 0, 4}));
    EXPECT_EQ((Offsets{sizeof(om_drm_key_status_t), alignof(om_drm_key_status_t), offsetof(om_drm_key_status_t, key_id),
                       offsetof(om_drm_key_status_t, status)}),
              (Offsets{20, 4, 0, 16}));
    EXPECT_EQ((Offsets{sizeof(om_drm_license_t), alignof(om_drm_license_t), offsetof(om_drm_license_t, session),
                       offsetof(om_drm_license_t, session_type), offsetof(om_drm_license_t, usable),
                       offsetof(om_drm_license_t, pending)}),
              (Offsets{16, 4, 0, 4, 8, 12}));
    EXPECT_EQ((Offsets{sizeof(om_drm_metrics_t), alignof(om_drm_metrics_t), offsetof(om_drm_metrics_t, sessions),
                       offsetof(om_drm_metrics_t, keys), offsetof(om_drm_metrics_t, requests),
                       offsetof(om_drm_metrics_t, licenses), offsetof(om_drm_metrics_t, decrypted_units),
                       offsetof(om_drm_metrics_t, decrypted_bytes), offsetof(om_drm_metrics_t, missing_keys)}),
              (Offsets{48, 8, 0, 4, 8, 16, 24, 32, 40}));
    EXPECT_EQ(
        (Offsets{sizeof(om_drm_crypto_t), alignof(om_drm_crypto_t), offsetof(om_drm_crypto_t, agent),
                 offsetof(om_drm_crypto_t, scheme), offsetof(om_drm_crypto_t, key_id), offsetof(om_drm_crypto_t, iv),
                 offsetof(om_drm_crypto_t, iv_size), offsetof(om_drm_crypto_t, crypt_blocks),
                 offsetof(om_drm_crypto_t, skip_blocks), offsetof(om_drm_crypto_t, subsamples)}),
        (Offsets{56, 4, 0, 4, 8, 24, 40, 44, 48, 52}));
    EXPECT_EQ((Offsets{sizeof(om_drm_subsample_t), alignof(om_drm_subsample_t),
                       offsetof(om_drm_subsample_t, clear_bytes), offsetof(om_drm_subsample_t, protected_bytes)}),
              (Offsets{8, 4, 0, 4}));
}

} // namespace

} // namespace tz::orvane::om
