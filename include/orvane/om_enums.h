// SPDX-License-Identifier: Apache-2.0
// Enumerations of the API; records and messages carry them as 32-bit numbers.
#pragma once

namespace tz::orvane::om
{

/// Status of onConnectionChanged; other values are the service's own.
enum om_connection_status_e : int
{
    OM_CONNECTION_STATUS_DIED = 0xA004, ///< the service is gone; players and tools of the connection are of no use
};

/// State of a player, numbered as GStreamer numbers the states of a pipeline.
enum om_state_e : int
{
    OM_STATE_VOID = 0,    ///< no state reported yet
    OM_STATE_NULL = 1,    ///< created, or failed: nothing is open
    OM_STATE_READY = 2,   ///< opening, or stopped: `start` plays from the beginning
    OM_STATE_PAUSED = 3,  ///< a picture is there and time stands still
    OM_STATE_PLAYING = 4, ///< time runs
};

/// Playing speed in sixteenths of the normal one; negative values play backwards.
enum om_play_speed_e : int
{
    OM_PLAY_SPEED_BACKWARD_8X = -128,
    OM_PLAY_SPEED_BACKWARD_4X = -64,
    OM_PLAY_SPEED_BACKWARD_2X = -32,
    OM_PLAY_SPEED_BACKWARD_1X = -16,
    OM_PLAY_SPEED_HALF = 8,
    OM_PLAY_SPEED_NORMAL = 16,
    OM_PLAY_SPEED_2X = 32,
    OM_PLAY_SPEED_4X = 64,
    OM_PLAY_SPEED_8X = 128,
};

/// Clockwise rotation of the picture in degrees.
enum om_display_rotate_e : int
{
    OM_DISPLAY_ROTATE_0 = 0,
    OM_DISPLAY_ROTATE_90 = 90,
    OM_DISPLAY_ROTATE_180 = 180,
    OM_DISPLAY_ROTATE_270 = 270,
};

/// How the picture is fitted into its rectangle.
enum om_zoom_mode_e : int
{
    OM_ZOOM_MODE_FIT = 0,     ///< whole picture, bars where the aspect differs
    OM_ZOOM_MODE_STRETCH = 1, ///< fills the rectangle, aspect ignored
    OM_ZOOM_MODE_CROP = 2,    ///< fills the rectangle, aspect kept, overhang cut off
};

/// Magnification of the middle of the picture in percent; every number between these is one as well.
enum om_zoom_ratio_e : int
{
    OM_ZOOM_RATIO_100 = 100,
    OM_ZOOM_RATIO_150 = 150,
    OM_ZOOM_RATIO_200 = 200,
    OM_ZOOM_RATIO_300 = 300,
    OM_ZOOM_RATIO_400 = 400,
};

/// Direction in which a magnified photo is moved.
enum om_photo_move_direction_e : int
{
    OM_PHOTO_MOVE_UP = 0,
    OM_PHOTO_MOVE_DOWN = 1,
    OM_PHOTO_MOVE_LEFT = 2,
    OM_PHOTO_MOVE_RIGHT = 3,
};

/// How a photo appears.
enum om_image_animation_e : int
{
    OM_IMAGE_ANIMATION_NONE = 0,
    OM_IMAGE_ANIMATION_FADE = 1,
    OM_IMAGE_ANIMATION_SLIDE_LEFT = 2,
    OM_IMAGE_ANIMATION_SLIDE_RIGHT = 3,
    OM_IMAGE_ANIMATION_ZOOM_IN = 4,
};

/// Unit of the position in a preview request.
enum om_location_mode_e : int
{
    OM_LOCATION_MODE_TIME = 0,    ///< milliseconds from the beginning
    OM_LOCATION_MODE_PERCENT = 1, ///< hundredths of the duration
};

/// Video codec of a stream; the values are part of the protocol.
enum om_video_codec_e : int
{
    OM_VIDEO_CODEC_UNKNOWN = 0,
    OM_VIDEO_CODEC_MPEG1 = 1,
    OM_VIDEO_CODEC_MPEG2 = 2,
    OM_VIDEO_CODEC_MPEG4 = 3,
    OM_VIDEO_CODEC_DIVX = 4,
    OM_VIDEO_CODEC_XVID = 5,
    OM_VIDEO_CODEC_H263 = 6,
    OM_VIDEO_CODEC_SORENSON_H263 = 7,
    OM_VIDEO_CODEC_H264 = 8,
    OM_VIDEO_CODEC_VC1 = 9,
    OM_VIDEO_CODEC_RV = 10,
    OM_VIDEO_CODEC_VP8 = 11,
    OM_VIDEO_CODEC_AVS = 12,
    OM_VIDEO_CODEC_MJPEG = 13,
    OM_VIDEO_CODEC_H265 = 14,
    OM_VIDEO_CODEC_VP9 = 15,
    OM_VIDEO_CODEC_SHVC = 16,
    OM_VIDEO_CODEC_AVS2 = 17,
    OM_VIDEO_CODEC_AV1 = 18,
    OM_VIDEO_CODEC_VVC = 19,
    OM_VIDEO_CODEC_H264_ENCODER = 20,
    OM_VIDEO_CODEC_JPEG_ENCODER = 21,
};

/// Audio codec of a stream; the values are part of the protocol.
enum om_audio_codec_e : int
{
    OM_AUDIO_CODEC_UNKNOWN = 0,
    OM_AUDIO_CODEC_LPCM = 1,
    OM_AUDIO_CODEC_PCM = 2,
    OM_AUDIO_CODEC_ALAW = 3,
    OM_AUDIO_CODEC_ULAW = 4,
    OM_AUDIO_CODEC_ADPCM = 5,
    OM_AUDIO_CODEC_MPEG1_LAYER12 = 6,
    OM_AUDIO_CODEC_MPEG2_LAYER12 = 7,
    OM_AUDIO_CODEC_MPEG1_LAYER3 = 8,
    OM_AUDIO_CODEC_MPEG2_LAYER3 = 9,
    OM_AUDIO_CODEC_MPEG25_LAYER3 = 10,
    OM_AUDIO_CODEC_AAC_LC = 11,
    OM_AUDIO_CODEC_HE_AAC = 12,
    OM_AUDIO_CODEC_COOK = 13,
    OM_AUDIO_CODEC_AC3 = 14,
    OM_AUDIO_CODEC_EAC3 = 15,
    OM_AUDIO_CODEC_WMA1 = 16,
    OM_AUDIO_CODEC_WMA2 = 17,
    OM_AUDIO_CODEC_WMA = 18,
    OM_AUDIO_CODEC_VORBIS = 19,
    OM_AUDIO_CODEC_AMR_NB = 20,
    OM_AUDIO_CODEC_AMR_WB = 21,
    OM_AUDIO_CODEC_FLAC = 22,
    OM_AUDIO_CODEC_DTS = 23,
    OM_AUDIO_CODEC_DTS_LBR = 24,
    OM_AUDIO_CODEC_DTS_HD = 25,
    OM_AUDIO_CODEC_DTS_HD_MASTER = 26,
    OM_AUDIO_CODEC_DTS_HD_ALT = 27,
    OM_AUDIO_CODEC_UNNAMED_28 = 28,
    OM_AUDIO_CODEC_DRA = 29,
    OM_AUDIO_CODEC_AVS = 30,
    OM_AUDIO_CODEC_SILK = 31,
    OM_AUDIO_CODEC_G729 = 32,
    OM_AUDIO_CODEC_OPUS = 33,
    OM_AUDIO_CODEC_APE = 34,
    OM_AUDIO_CODEC_AC4 = 35,
    OM_AUDIO_CODEC_MPEGH = 36,
    OM_AUDIO_CODEC_TRUEHD = 37,
    OM_AUDIO_CODEC_MAT = 38,
    OM_AUDIO_CODEC_MP3_ENCODER = 39,
    OM_AUDIO_CODEC_AAC_LC_ENCODER = 40,
    OM_AUDIO_CODEC_AC3_ENCODER = 41,
};

} // namespace tz::orvane::om
