// SPDX-License-Identifier: Apache-2.0
// Meanings that the reference media service gives to numbers and keys of the API; see docs/service.md.
#pragma once

#include <cstdint>

namespace tz::orvane::om
{

/// Flags of OmIMediaPlayer::prepare.
enum om_prepare_flag_e : unsigned int
{
    OM_PREPARE_DEFAULT = 0,    ///< open and show the first picture
    OM_PREPARE_AUTO_START = 1, ///< play as soon as it is open
    OM_PREPARE_PUSH = 2,       ///< the application feeds container data with pushData; the URI is only a name
};

// Keys of the property group of OmIMediaPlayer::prepare, and of the third buffer of openEsMedia, which is a group's
// image or empty. Numbers are decimal text.
inline constexpr char OM_PREPARE_KEY_PLAYTIME_INTERVAL[] = "playtime-interval-ms"; ///< 0: no reports; default 250
inline constexpr char OM_PREPARE_KEY_TIMEOUT[] = "timeout-ms";     ///< for opening; default 10000, pushed data 30000
inline constexpr char OM_PREPARE_KEY_USER_AGENT[] = "user-agent";  ///< of http requests
inline constexpr char OM_PREPARE_KEY_ANIMATION[] = "animation-ms"; ///< how long a photo takes to appear; default 500
inline constexpr char OM_PREPARE_KEY_SIZE[] = "size"; ///< bytes of the data that will be pushed; makes it seekable

// More keys there: the decoded pictures, for onFrameInfoUpdated. Without the first none are handed over.
inline constexpr char OM_PREPARE_KEY_FRAME_INFO[] = "frame-info";           ///< OM_FRAME_FORMAT_...
inline constexpr char OM_PREPARE_KEY_FRAME_INFO_SIZE[] = "frame-info-size"; ///< "WIDTHxHEIGHT": scaled down to fit
inline constexpr char OM_PREPARE_KEY_FRAME_INFO_INTERVAL[] = "frame-info-interval-ms"; ///< least time between two
inline constexpr char OM_PREPARE_KEY_FRAME_INFO_ON_DEMAND[] = "frame-info-on-demand";  ///< "1": one for each pullData

inline constexpr char OM_FRAME_FORMAT_RGB[] = "rgb";   ///< 3 bytes a pixel
inline constexpr char OM_FRAME_FORMAT_RGBA[] = "rgba"; ///< 4 bytes a pixel
inline constexpr char OM_FRAME_FORMAT_I420[] = "i420"; ///< planes of Y, U and V, the latter two halved both ways

// Properties of onFrameInfoUpdated.
inline constexpr char OM_FRAME_KEY_FORMAT[] = "format";           ///< OM_FRAME_FORMAT_...
inline constexpr char OM_FRAME_KEY_WIDTH[] = "width";             ///< pixels
inline constexpr char OM_FRAME_KEY_HEIGHT[] = "height";           ///< pixels
inline constexpr char OM_FRAME_KEY_STRIDE[] = "stride";           ///< bytes from row to row; U and V: half of it
inline constexpr char OM_FRAME_KEY_PAR[] = "par";                 ///< shape of a pixel, "16:11" for instance
inline constexpr char OM_FRAME_KEY_COLORIMETRY[] = "colorimetry"; ///< GStreamer's name; missing when it has none
inline constexpr char OM_FRAME_KEY_PTS[] = "pts";                 ///< milliseconds, -1 when not known
inline constexpr char OM_FRAME_KEY_SEQUENCE[] = "sequence";       ///< 1 for the first after the opening, then 2, 3 ...
inline constexpr char OM_FRAME_KEY_DROPPED[] = "dropped"; ///< since the opening: left out, the application being slow

/// Active-state flags of onStateChanged.
enum om_act_state_e : int
{
    OM_ACT_OPENING = 1,
    OM_ACT_BUFFERING = 2, ///< playing is wanted and waits for data
    OM_ACT_SEEKING = 4,
    OM_ACT_LIVE = 8,
    OM_ACT_ENDED = 16, ///< all was played
};

/// Flags of OmIMediaPlayer::seek, numbered as GStreamer numbers its seek flags.
enum om_seek_flag_e : int
{
    OM_SEEK_DEFAULT = 0,      ///< accurate
    OM_SEEK_ACCURATE = 2,     ///< exactly there
    OM_SEEK_KEY_UNIT = 4,     ///< at a key frame, faster
    OM_SEEK_SNAP_BEFORE = 32, ///< with OM_SEEK_KEY_UNIT: the key frame before
    OM_SEEK_SNAP_AFTER = 64,  ///< with OM_SEEK_KEY_UNIT: the key frame behind
};

/// Attributes of OmIMediaPlayer::setExtraAudioAttribute. They belong to the player and outlive its media.
enum om_audio_attribute_e : int
{
    OM_AUDIO_ATTRIBUTE_BALANCE = 1,      ///< -100: left side only, 0: both, 100: right side only
    OM_AUDIO_ATTRIBUTE_CHANNEL_MODE = 2, ///< om_channel_mode_e
    OM_AUDIO_ATTRIBUTE_DELAY = 3,        ///< milliseconds that the sound comes after the picture, -2000 to 2000
};

/// Values of OM_AUDIO_ATTRIBUTE_CHANNEL_MODE.
enum om_channel_mode_e : int
{
    OM_CHANNEL_MODE_STEREO = 0, ///< as the medium has it
    OM_CHANNEL_MODE_LEFT = 1,   ///< the left channel on both sides
    OM_CHANNEL_MODE_RIGHT = 2,  ///< the right channel on both sides
    OM_CHANNEL_MODE_MONO = 3,   ///< both channels mixed, on both sides
};

/// Event codes of OmcIMediaPlayerListener::onEvent; the properties are OM_KEY_...
enum om_event_e : unsigned int
{
    OM_EVENT_END_OF_STREAM = 1, ///< all was played
    OM_EVENT_SEEK_DONE = 2,     ///< "position"
    OM_EVENT_BUFFERING = 3,     ///< "percent"
    OM_EVENT_NEED_DATA = 4,     ///< the application may push: "offset" or "stream" and "position"; -1 is "go on"
    OM_EVENT_ENOUGH_DATA = 5,   ///< the application should wait with pushing; "stream" for elementary streams
    OM_EVENT_WARNING = 6,       ///< playing goes on: "code" (om_error_e), "text"
    OM_EVENT_SPEED_CHANGED = 7, ///< "speed"
    OM_EVENT_KEY_NEEDED = 8,    ///< playing waits for a key: "stream", "agent", "key-id"
};

/// Event codes of OmcIConnectionListener::onEvent.
enum om_client_event_e : unsigned int
{
    OM_CLIENT_EVENT_REFUSED = 1, ///< a command that no object of the connection could take: "code", "command", "text"
};

// Keys of the properties that events and errors carry.
inline constexpr char OM_KEY_TEXT[] = "text";         ///< what happened, for a person
inline constexpr char OM_KEY_COMMAND[] = "command";   ///< name of the operation that was refused
inline constexpr char OM_KEY_CODE[] = "code";         ///< om_error_e
inline constexpr char OM_KEY_CODEC[] = "codec";       ///< name of a codec that is missing
inline constexpr char OM_KEY_POSITION[] = "position"; ///< milliseconds
inline constexpr char OM_KEY_OFFSET[] = "offset";     ///< bytes
inline constexpr char OM_KEY_STREAM[] = "stream";     ///< om_stream_type_e
inline constexpr char OM_KEY_PERCENT[] = "percent";   ///< 0 to 100
inline constexpr char OM_KEY_SPEED[] = "speed";       ///< om_play_speed_e
inline constexpr char OM_KEY_AGENT[] = "agent";       ///< id of a DRM agent
inline constexpr char OM_KEY_KEY_ID[] = "key-id";     ///< 32 hexadecimal digits

inline constexpr char OM_KEY_PATH[] = "path";     ///< of a file
inline constexpr char OM_KEY_WIDTH[] = "width";   ///< pixels
inline constexpr char OM_KEY_HEIGHT[] = "height"; ///< pixels

// Commands of OmIMediaPlayer::doExtendCommand.

/// What is pushed from now on begins at the byte that "offset" names: the answer to OM_EVENT_NEED_DATA with an offset.
inline constexpr char OM_COMMAND_PUSH_FROM[] = "push-from";

/// All data were pushed. Not needed where "size" was given.
inline constexpr char OM_COMMAND_END_OF_DATA[] = "end-of-data";

/// Tells of the chapter that "index" names, or without it of the one being played: "count", and "index", "start", "end"
/// (milliseconds), "title", "lang" when there is such a chapter.
inline constexpr char OM_COMMAND_CHAPTER[] = "chapter";
inline constexpr char OM_KEY_INDEX[] = "index"; ///< from 0
inline constexpr char OM_KEY_COUNT[] = "count"; ///< how many there are
inline constexpr char OM_KEY_START[] = "start"; ///< milliseconds
inline constexpr char OM_KEY_END[] = "end";     ///< milliseconds
inline constexpr char OM_KEY_TITLE[] = "title"; ///< text
inline constexpr char OM_KEY_LANG[] = "lang";   ///< ISO 639-2, three letters

/// Tells what serves: "version" of the service and "protocol", the version of what it speaks.
inline constexpr char OM_COMMAND_VERSION[] = "version";
inline constexpr char OM_KEY_VERSION[] = "version";   ///< as text: "1.0.0"
inline constexpr char OM_KEY_PROTOCOL[] = "protocol"; ///< a number

/// Tells the names of all these commands: "commands", separated by blanks.
inline constexpr char OM_COMMAND_LIST_COMMANDS[] = "list-commands";
inline constexpr char OM_KEY_COMMANDS[] = "commands"; ///< separated by blanks

/// Changes the time between play-time reports of the medium at hand to "interval-ms", bounded as in prepare; without
/// it nothing changes. Tells the "interval-ms" that holds.
inline constexpr char OM_COMMAND_PLAYTIME_INTERVAL[] = "playtime-interval";
inline constexpr char OM_KEY_INTERVAL[] = "interval-ms"; ///< milliseconds, 0: no reports

/// Tells how playing goes: OM_STATISTIC_...
inline constexpr char OM_COMMAND_STATISTICS[] = "statistics";
inline constexpr char OM_STATISTIC_FRAMES_DECODED[] = "frames-decoded"; ///< pictures since the medium was opened
inline constexpr char OM_STATISTIC_FRAMES_DROPPED[] = "frames-dropped"; ///< of them, or before them: too late to show
inline constexpr char OM_STATISTIC_BUFFERING[] = "buffering-percent";   ///< 100: enough is there
inline constexpr char OM_STATISTIC_AUDIO_LEVEL[] = "audio-level-db";    ///< what is heard, "-700.0": nothing
inline constexpr char OM_STATISTIC_AUDIO_LEVEL_LEFT[] = "audio-level-left-db";   ///< the same of the left side
inline constexpr char OM_STATISTIC_AUDIO_LEVEL_RIGHT[] = "audio-level-right-db"; ///< and of the right side
inline constexpr char OM_STATISTIC_AUDIO_RATE[] = "audio-rate";                  ///< Hz at the output, 0 without sound
inline constexpr char OM_STATISTIC_AUDIO_CHANNELS[] = "audio-channels";          ///< at the output, 0 without sound

/// Takes a picture of the whole screen. The group is replaced by "path" of a PNG file, "width", "height", and
/// "position" of the player. The file lasts until the player's next screenshot or its destruction.
inline constexpr char OM_COMMAND_SCREENSHOT[] = "screenshot";

/// Error codes of OmcIMediaPlayerListener::onError; the property "text" says more.
///
/// With "command" the error refuses that operation and all else stays as it was; without it the medium is closed and
/// the state OM_STATE_NULL follows.
enum om_error_e : unsigned int
{
    OM_ERROR_NONE = 0,
    OM_ERROR_INTERNAL = 1,           ///< the service's own fault
    OM_ERROR_NOT_FOUND = 2,          ///< no such file, or the server says 404
    OM_ERROR_FORBIDDEN = 3,          ///< no permission, or the server says 401 or 403
    OM_ERROR_CONNECT_FAILED = 4,     ///< no connection to the server: refused, unknown name, TLS
    OM_ERROR_CONNECTION_LOST = 5,    ///< the connection broke while playing
    OM_ERROR_SERVER = 6,             ///< the server answered with another error
    OM_ERROR_TIMED_OUT = 7,          ///< nothing came in time
    OM_ERROR_UNKNOWN_SCHEME = 8,     ///< nothing plays URIs of this kind
    OM_ERROR_UNSUPPORTED_FORMAT = 9, ///< not a medium that can be played
    OM_ERROR_UNSUPPORTED_CODEC = 10, ///< property "codec" names it
    OM_ERROR_BROKEN_FILE = 11,       ///< damaged or cut off
    OM_ERROR_KEY_MISSING = 12,       ///< protected, and there is no key
    OM_ERROR_NOT_SUPPORTED = 13,     ///< this medium or this service cannot do that
    OM_ERROR_BAD_STATE = 14,         ///< not now: nothing is open, for instance
    OM_ERROR_BAD_ARGUMENT = 15,
    OM_ERROR_LIMIT = 16,     ///< too many players, too much data
    OM_ERROR_WRONG_KEY = 17, ///< what the key of a protected stream gives makes no sense
    OM_ERROR_STOPPED = 18,   ///< a preview request that was stopped
};

// Previews: requests of OmIPreviewTool and their results. The result code of a request is om_error_e; on
// OM_ERROR_NONE the output path names the picture, or is empty where there is none.

/// Flags of OmIPreviewTool::requestPreviewInfo.
enum om_preview_flag_e : int
{
    OM_PREVIEW_DEFAULT = 0,    ///< the key frame nearest to the position
    OM_PREVIEW_EXACT = 1,      ///< the frame at the position, slower
    OM_PREVIEW_NO_PICTURE = 2, ///< only tell what the medium is
};

// Keys of the property group of requestPreviewInfo. Numbers are decimal text.
inline constexpr char OM_PREVIEW_KEY_SIZE[] = "size";             ///< "WxH" that the picture fits into; default 320x320
inline constexpr char OM_PREVIEW_KEY_FORMAT[] = "format";         ///< "jpeg" (default) or "png"
inline constexpr char OM_PREVIEW_KEY_OUTPUT[] = "output-path";    ///< absolute path of a file that does not exist yet
inline constexpr char OM_PREVIEW_KEY_REQUEST_ID[] = "request-id"; ///< one that getRequestID gave, instead of the next
inline constexpr char OM_PREVIEW_KEY_TIMEOUT[] = "timeout-ms";    ///< 100 to 120000; default 10000
inline constexpr char OM_PREVIEW_KEY_FRAMES[] = "frames";   ///< 1 to 100: so many frames of a video in one picture
inline constexpr char OM_PREVIEW_KEY_COLUMNS[] = "columns"; ///< with "frames": how many stand side by side

// Keys of the property group of a result. What is not known is left out.
inline constexpr char OM_PREVIEW_KEY_MEDIA_TYPE[] = "media-type";   ///< om_media_type_e
inline constexpr char OM_PREVIEW_KEY_MIME_TYPE[] = "mime-type";     ///< of the container
inline constexpr char OM_PREVIEW_KEY_TITLE[] = "title";             ///< tag
inline constexpr char OM_PREVIEW_KEY_ARTIST[] = "artist";           ///< tag
inline constexpr char OM_PREVIEW_KEY_ALBUM[] = "album";             ///< tag
inline constexpr char OM_PREVIEW_KEY_DURATION[] = "duration";       ///< milliseconds
inline constexpr char OM_PREVIEW_KEY_FILE_SIZE[] = "file-size";     ///< bytes
inline constexpr char OM_PREVIEW_KEY_RESOLUTION[] = "resolution";   ///< "WxH" in pixels as they are stored
inline constexpr char OM_PREVIEW_KEY_ROTATION[] = "rotation";       ///< degrees clockwise that turn it upright
inline constexpr char OM_PREVIEW_KEY_VIDEO_CODEC[] = "video-codec"; ///< om_video_codec_e
inline constexpr char OM_PREVIEW_KEY_AUDIO_CODEC[] = "audio-codec"; ///< om_audio_codec_e
inline constexpr char OM_PREVIEW_KEY_DATE[] = "date"; ///< of creation: "2024-02-03T04:05:06" or its beginning
inline constexpr char OM_PREVIEW_KEY_PICTURE_SIZE[] = "picture-size"; ///< "WxH" of the picture that was written
inline constexpr char OM_PREVIEW_KEY_POSITION[] = "position"; ///< milliseconds, of the (first) frame in the picture

/// Command of OmIPreviewTool::doExtendCommand: how many requests of the connection are "waiting" and "running", and how
/// many of all run at once ("slots").
inline constexpr char OM_PREVIEW_COMMAND_STATUS[] = "status";
inline constexpr char OM_PREVIEW_KEY_WAITING[] = "waiting"; ///< requests that have not begun
inline constexpr char OM_PREVIEW_KEY_RUNNING[] = "running"; ///< requests under way
inline constexpr char OM_PREVIEW_KEY_SLOTS[] = "slots";     ///< requests at once, of all connections

/// Values of om_media_info_t::media_type.
enum om_media_type_e : std::int32_t
{
    OM_MEDIA_TYPE_UNKNOWN = 0,
    OM_MEDIA_TYPE_VIDEO = 1,
    OM_MEDIA_TYPE_AUDIO = 2,
    OM_MEDIA_TYPE_PHOTO = 3,
};

/// Values of om_stream_info_t::stream_type and om_track_detail_t::track_type.
enum om_stream_type_e : std::int32_t
{
    OM_STREAM_TYPE_UNKNOWN = 0,
    OM_STREAM_TYPE_VIDEO = 1,
    OM_STREAM_TYPE_AUDIO = 2,
    OM_STREAM_TYPE_SUBTITLE = 3,
};

/// Bits of om_media_info_t::cap_flags.
enum om_cap_flag_e : std::int32_t
{
    OM_CAP_SEEKABLE = 1,
    OM_CAP_SPEEDABLE = 2,
    OM_CAP_LIVE = 4,
};

/// Values of om_media_info_t::hdr_type.
enum om_hdr_type_e : std::int32_t
{
    OM_HDR_TYPE_NONE = 0,
    OM_HDR_TYPE_PQ = 1, ///< perceptual quantizer: HDR10 and its relatives
    OM_HDR_TYPE_HLG = 2,
};

/// Values of om_audio_stream_detail_t::audio_format: the samples as they leave the decoder.
enum om_audio_format_e : std::int32_t
{
    OM_AUDIO_FORMAT_UNKNOWN = 0,
    OM_AUDIO_FORMAT_8 = 1, ///< integers of so many bits
    OM_AUDIO_FORMAT_16 = 2,
    OM_AUDIO_FORMAT_24 = 3,
    OM_AUDIO_FORMAT_32 = 4,
    OM_AUDIO_FORMAT_F32 = 5, ///< floating point of so many bits
    OM_AUDIO_FORMAT_F64 = 6,
};

/// Values of om_subtitle_stream_detail_t::drawtype.
enum om_subtitle_draw_type_e : std::int32_t
{
    OM_SUBTITLE_DRAW_TEXT = 0,
    OM_SUBTITLE_DRAW_PICTURE = 1,
};

/// Values of om_subtitle_stream_detail_t::embtype.
enum om_subtitle_source_e : std::int32_t
{
    OM_SUBTITLE_EMBEDDED = 0, ///< a track of the medium
    OM_SUBTITLE_EXTERNAL = 1, ///< a file of its own
};

/// Values of om_exif_info_t::color_space.
enum om_exif_color_space_e : std::int32_t
{
    OM_EXIF_COLOR_SPACE_UNKNOWN = 0,
    OM_EXIF_COLOR_SPACE_SRGB = 1,
    OM_EXIF_COLOR_SPACE_UNCALIBRATED = 65535, ///< one that the picture brings with it
};

/// Number of a subtitle track that stands for none, in setSubtitleTrackNo and getSubtitleTrackNo.
inline constexpr std::uint32_t OM_TRACK_NONE = 0xFFFFFFFF;

// Values of om_subtiltile_style_t that leave the choice to the service. Other colours are 0xAARRGGBB (AA is opacity);
// position and size are thousandths of the picture; a font size is relative to the usual one.
inline constexpr std::int32_t OM_SUBTITLE_PLACE_DEFAULT = -1;      ///< where the service puts it
inline constexpr std::uint32_t OM_SUBTITLE_COLOR_DEFAULT = 256;    ///< white text; no background
inline constexpr std::int32_t OM_SUBTITLE_FONT_SIZE_DEFAULT = 200; ///< the usual size
inline constexpr std::int32_t OM_SUBTITLE_PLACE_WHOLE = 1000;      ///< the whole width or height
inline constexpr std::int32_t OM_SUBTITLE_FONT_SIZE_LEAST = 50;    ///< smaller ones are refused
inline constexpr std::int32_t OM_SUBTITLE_FONT_SIZE_MOST = 1000;   ///< larger ones are refused

/// Values of om_subtiltile_style_t::subtitle_charset: how files are read that are neither UTF-8 nor marked as Unicode.
enum om_subtitle_charset_e : std::int32_t
{
    OM_SUBTITLE_CHARSET_AUTO = -1, ///< as OM_SUBTITLE_CHARSET_WESTERN
    OM_SUBTITLE_CHARSET_UTF_8 = 0,
    OM_SUBTITLE_CHARSET_WESTERN = 1,              ///< Windows 1252, which holds ISO 8859-1
    OM_SUBTITLE_CHARSET_CENTRAL_EUROPEAN = 2,     ///< Windows 1250
    OM_SUBTITLE_CHARSET_CYRILLIC = 3,             ///< Windows 1251
    OM_SUBTITLE_CHARSET_GREEK = 4,                ///< Windows 1253
    OM_SUBTITLE_CHARSET_TURKISH = 5,              ///< Windows 1254
    OM_SUBTITLE_CHARSET_HEBREW = 6,               ///< Windows 1255
    OM_SUBTITLE_CHARSET_ARABIC = 7,               ///< Windows 1256
    OM_SUBTITLE_CHARSET_BALTIC = 8,               ///< Windows 1257
    OM_SUBTITLE_CHARSET_VIETNAMESE = 9,           ///< Windows 1258
    OM_SUBTITLE_CHARSET_THAI = 10,                ///< TIS-620
    OM_SUBTITLE_CHARSET_KOREAN = 11,              ///< code page 949, which holds EUC-KR
    OM_SUBTITLE_CHARSET_JAPANESE = 12,            ///< code page 932, which holds Shift JIS
    OM_SUBTITLE_CHARSET_SIMPLIFIED_CHINESE = 13,  ///< GB 18030
    OM_SUBTITLE_CHARSET_TRADITIONAL_CHINESE = 14, ///< Big5
    OM_SUBTITLE_CHARSET_UTF_16_LE = 15,
    OM_SUBTITLE_CHARSET_UTF_16_BE = 16,
    OM_SUBTITLE_CHARSET_KOI8_R = 17,
};

/// First two buffers of openEsMedia: the video and the audio stream that will be pushed. A buffer without bytes says
/// that there is no such stream. Numbers are little-endian.
struct om_es_format_t
{
    std::int32_t codec;       ///< om_video_codec_e or om_audio_codec_e
    std::int32_t width;       ///< video: pixels, 0 when the stream says it
    std::int32_t height;      ///< video: pixels, 0 when the stream says it
    std::int32_t fps_num;     ///< video: frame rate, 0 when not known
    std::int32_t fps_den;     ///< its denominator
    std::int32_t sample_rate; ///< audio: Hz, 0 when the stream says it
    std::int32_t channels;    ///< audio: 0 when the stream says it
    std::int32_t reserved;    ///< zero; codec data of the stream, if it has some, follow the record
};
static_assert(sizeof(om_es_format_t) == 32);

/// Second buffer of pushEsData. An access unit of 0 bytes with OM_ES_END_OF_STREAM ends its stream. The third buffer is
/// empty, or an om_drm_crypto_t with its subsamples where the unit is protected; the fourth is empty.
struct om_es_unit_t
{
    std::int32_t stream_type;    ///< OM_STREAM_TYPE_VIDEO or OM_STREAM_TYPE_AUDIO
    std::int32_t flags;          ///< OM_ES_...
    alignas(8) std::int64_t pts; ///< microseconds
    std::int64_t dts;            ///< microseconds, -1 when not known
    std::int64_t duration;       ///< microseconds, -1 when not known
};
static_assert(sizeof(om_es_unit_t) == 32);

/// Flags of om_es_unit_t.
enum om_es_flag_e : std::int32_t
{
    OM_ES_KEY_FRAME = 1,
    OM_ES_DISCONTINUITY =
        2, ///< first unit after a seek, which OM_EVENT_NEED_DATA asked for: without it units are dropped
    OM_ES_END_OF_STREAM = 4,
};

// DRM agents; docs/drm.md has the bytes of every buffer. Numbers are little-endian.

/// Key systems: the argument of OmIConnection::createDrmAgent.
enum om_drm_type_e : unsigned int
{
    OM_DRM_TYPE_CLEARKEY = 1, ///< OM_DRM_CLEARKEY
};
inline constexpr char OM_DRM_CLEARKEY[] = "org.w3.clearkey"; ///< W3C Clear Key

/// How the key ids that generateKeyRequest asks for are written.
enum om_drm_init_data_e : std::uint32_t
{
    OM_DRM_INIT_DATA_KEYIDS = 1, ///< JSON: {"kids":[...]}
    OM_DRM_INIT_DATA_CENC = 2,   ///< pssh boxes
    OM_DRM_INIT_DATA_WEBM = 3,   ///< the id itself
};

/// Input of openSession, updateSession, closeSession, getKeyStatuses and licenseQuery begins with this. In openSession
/// the number is an om_drm_session_type_e; its answer is this record as well.
struct om_drm_session_t
{
    std::uint32_t session; ///< its number, never 0
};
static_assert(sizeof(om_drm_session_t) == 4);

/// Kinds of sessions.
enum om_drm_session_type_e : std::uint32_t
{
    OM_DRM_SESSION_TEMPORARY = 0, ///< forgets its keys when it is closed; others are not supported
};

/// Input of generateKeyRequest begins with this; the initialization data follow.
struct om_drm_key_request_t
{
    std::uint32_t session;   ///< its number
    std::uint32_t init_data; ///< om_drm_init_data_e
};
static_assert(sizeof(om_drm_key_request_t) == 8);

/// The answer of getKeyStatuses, and the payload of OM_DRM_EVENT_KEY_STATUS, is a row of these.
struct om_drm_key_status_t
{
    std::uint8_t key_id[16]; ///< of the key
    std::uint32_t status;    ///< om_drm_key_status_e
};
static_assert(sizeof(om_drm_key_status_t) == 20);

/// What is known of a key.
enum om_drm_key_status_e : std::uint32_t
{
    OM_DRM_KEY_USABLE = 0,  ///< it is there
    OM_DRM_KEY_PENDING = 1, ///< asked for, and no license has brought it
};

/// Answer of licenseQuery.
struct om_drm_license_t
{
    std::uint32_t session;      ///< its number
    std::uint32_t session_type; ///< om_drm_session_type_e
    std::uint32_t usable;       ///< keys
    std::uint32_t pending;      ///< keys
};
static_assert(sizeof(om_drm_license_t) == 16);

/// Answer of getMetrics: what the agent has done since it was made.
struct om_drm_metrics_t
{
    std::uint32_t sessions;            ///< open ones
    std::uint32_t keys;                ///< usable ones
    alignas(8) std::uint64_t requests; ///< license requests
    std::uint64_t licenses;            ///< those that were taken
    std::uint64_t decrypted_units;     ///< by decrypt and for players
    std::uint64_t decrypted_bytes;     ///< of these
    std::uint64_t missing_keys;        ///< how often a key was looked for in vain
};
static_assert(sizeof(om_drm_metrics_t) == 48);

/// Input of decrypt begins with this, and the third buffer of pushEsData is this; the subsamples follow.
struct om_drm_crypto_t
{
    std::uint32_t agent;        ///< whose keys; decrypt uses its own
    std::uint32_t scheme;       ///< om_drm_scheme_e
    std::uint8_t key_id[16];    ///< of the key
    std::uint8_t iv[16];        ///< initialization vector; a short one comes first
    std::uint32_t iv_size;      ///< 8 or 16
    std::uint32_t crypt_blocks; ///< of OM_DRM_SCHEME_CBCS: so many blocks of 16 bytes are encrypted,
    std::uint32_t skip_blocks;  ///< and so many behind them are not; 0: all are
    std::uint32_t subsamples;   ///< how many om_drm_subsample_t follow; 0: the whole unit is protected
};
static_assert(sizeof(om_drm_crypto_t) == 56);

/// A part of a unit.
struct om_drm_subsample_t
{
    std::uint32_t clear_bytes;     ///< in front
    std::uint32_t protected_bytes; ///< behind the clear ones
};
static_assert(sizeof(om_drm_subsample_t) == 8);

/// Ways to encrypt.
enum om_drm_scheme_e : std::uint32_t
{
    OM_DRM_SCHEME_CENC = 1, ///< AES-CTR
    OM_DRM_SCHEME_CBCS = 2, ///< AES-CBC with a pattern
};

/// `msgType` of OmcIDrmAgentListener::onReceivedEvent; `arg3` is the session.
enum om_drm_event_e : unsigned int
{
    OM_DRM_EVENT_MESSAGE = 1,    ///< the payload is for a license server; `msgSubType` is an om_drm_message_e
    OM_DRM_EVENT_KEY_STATUS = 2, ///< the keys of the session are others now: om_drm_key_status_t, `arg5` of them
};

/// What a license server is asked for.
enum om_drm_message_e : unsigned int
{
    OM_DRM_MESSAGE_LICENSE_REQUEST = 0,
    OM_DRM_MESSAGE_LICENSE_RENEWAL = 1, ///< the answer to OM_DRM_COMMAND_RENEW
};

/// Command of OmIDrmAgent::doExtendCommand: asks again for the keys of "session" that are still missing.
inline constexpr char OM_DRM_COMMAND_RENEW[] = "renew";
inline constexpr char OM_KEY_SESSION[] = "session"; ///< its number

} // namespace tz::orvane::om
