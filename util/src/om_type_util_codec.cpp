// SPDX-License-Identifier: Apache-2.0
// Display names of the codecs.
#include "orvane/om_type_util.h"

#include "om_type_util_log.h"

#include <cstddef>
#include <iterator>

namespace tz::orvane::om
{

namespace
{

// By value of the codec.
constexpr char const* kVideoNames[] = {
    "unknown",   "MPEG-1",   "MPEG-2",    "MPEG-4", "DivX",         "XviD",         "H263",       "Sorensen H263",
    "H264(AVC)", "VC1/WMV3", "RV30/RV40", "VP8",    "AVS+",         "MotionJPEG",   "H265(HEVC)", "VP9",
    "SHVC",      "AVS2",     "AV1",       "VVC",    "H264 Encoder", "JPEG Encoder",
};
static_assert(std::size(kVideoNames) == OM_VIDEO_CODEC_JPEG_ENCODER + 1);

constexpr char const* kAudioNames[] = {
    "unknown",
    "LPCM",
    "PCM",
    "ALAW",
    "ULAW",
    "ADPCM",
    "MPEG-1 Layer-1/2",
    "MPEG-2 Layer-1/2",
    "MPEG-1 Layer-3",
    "MPEG-2 Layer-3",
    "MPEG-2.5 Layer-3",
    "AAC-LC",
    "HE-AAC",
    "COOK",
    "Dolby-AC3",
    "Dolby-EAC3",
    "WMA1",
    "WMA2",
    "WMA",
    "Vorbis",
    "AMR-NB",
    "AMR-WB",
    "FLAC",
    "DTS",
    "DTS-LBR",
    "DTS-HD",
    "DTS-HD-Master",
    "DTS-HD",
    "unknown",
    "DRA",
    "AVS",
    "SILK",
    "G729",
    "OPUS",
    "APE",
    "AC4",
    "MPEG-H",
    "Dolby-TrueHD",
    "Dolby-MAT",
    "MP3 Encoder",
    "AAC-LC Encoder",
    "AC3 Encoder",
};
static_assert(std::size(kAudioNames) == OM_AUDIO_CODEC_AC3_ENCODER + 1);

template <std::size_t size> char const* nameOf(char const* const (&names)[size], int codec)
{
    return names[codec > 0 && codec < static_cast<int>(size) ? codec : 0];
}

} // namespace

OmString OmTypeUtil::to_string(om_video_codec_e codec)
{
    char const* const name = nameOf(kVideoNames, codec);
    ORVANE_LOG_DEBUG("Called! vcodec=%s", name);
    return name;
}

OmString OmTypeUtil::to_string(om_audio_codec_e codec)
{
    char const* const name = nameOf(kAudioNames, codec);
    ORVANE_LOG_DEBUG("Called! acodec=%s", name);
    return name;
}

} // namespace tz::orvane::om
