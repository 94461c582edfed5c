// SPDX-License-Identifier: Apache-2.0
// What numbers of the API are called when people read them.
#include "presentation/labels.h"

#include "orvane/om_enums.h"
#include "orvane/om_service.h"

#include <cstddef>
#include <cstdio>

namespace tz::orvane::tools
{

namespace
{

struct Label
{
    int value;
    char const* text;
};

constexpr Label kVideoCodecs[] = {
    {om::OM_VIDEO_CODEC_MPEG1, "MPEG-1"},
    {om::OM_VIDEO_CODEC_MPEG2, "MPEG-2"},
    {om::OM_VIDEO_CODEC_MPEG4, "MPEG-4"},
    {om::OM_VIDEO_CODEC_DIVX, "DivX"},
    {om::OM_VIDEO_CODEC_XVID, "Xvid"},
    {om::OM_VIDEO_CODEC_H263, "H.263"},
    {om::OM_VIDEO_CODEC_SORENSON_H263, "Sorenson H.263"},
    {om::OM_VIDEO_CODEC_H264, "H.264"},
    {om::OM_VIDEO_CODEC_VC1, "VC-1"},
    {om::OM_VIDEO_CODEC_RV, "RealVideo"},
    {om::OM_VIDEO_CODEC_VP8, "VP8"},
    {om::OM_VIDEO_CODEC_AVS, "AVS"},
    {om::OM_VIDEO_CODEC_MJPEG, "Motion JPEG"},
    {om::OM_VIDEO_CODEC_H265, "H.265"},
    {om::OM_VIDEO_CODEC_VP9, "VP9"},
    {om::OM_VIDEO_CODEC_SHVC, "SHVC"},
    {om::OM_VIDEO_CODEC_AVS2, "AVS2"},
    {om::OM_VIDEO_CODEC_AV1, "AV1"},
    {om::OM_VIDEO_CODEC_VVC, "H.266"},
};

constexpr Label kAudioCodecs[] = {
    {om::OM_AUDIO_CODEC_LPCM, "PCM"},
    {om::OM_AUDIO_CODEC_PCM, "PCM"},
    {om::OM_AUDIO_CODEC_ALAW, "A-law"},
    {om::OM_AUDIO_CODEC_ULAW, "mu-law"},
    {om::OM_AUDIO_CODEC_ADPCM, "ADPCM"},
    {om::OM_AUDIO_CODEC_MPEG1_LAYER12, "MPEG audio"},
    {om::OM_AUDIO_CODEC_MPEG2_LAYER12, "MPEG audio"},
    {om::OM_AUDIO_CODEC_MPEG1_LAYER3, "MP3"},
    {om::OM_AUDIO_CODEC_MPEG2_LAYER3, "MP3"},
    {om::OM_AUDIO_CODEC_MPEG25_LAYER3, "MP3"},
    {om::OM_AUDIO_CODEC_AAC_LC, "AAC"},
    {om::OM_AUDIO_CODEC_HE_AAC, "HE-AAC"},
    {om::OM_AUDIO_CODEC_COOK, "Cook"},
    {om::OM_AUDIO_CODEC_AC3, "AC-3"},
    {om::OM_AUDIO_CODEC_EAC3, "E-AC-3"},
    {om::OM_AUDIO_CODEC_WMA1, "WMA 1"},
    {om::OM_AUDIO_CODEC_WMA2, "WMA 2"},
    {om::OM_AUDIO_CODEC_WMA, "WMA"},
    {om::OM_AUDIO_CODEC_VORBIS, "Vorbis"},
    {om::OM_AUDIO_CODEC_AMR_NB, "AMR-NB"},
    {om::OM_AUDIO_CODEC_AMR_WB, "AMR-WB"},
    {om::OM_AUDIO_CODEC_FLAC, "FLAC"},
    {om::OM_AUDIO_CODEC_DTS, "DTS"},
    {om::OM_AUDIO_CODEC_DTS_LBR, "DTS Express"},
    {om::OM_AUDIO_CODEC_DTS_HD, "DTS-HD"},
    {om::OM_AUDIO_CODEC_DTS_HD_MASTER, "DTS-HD MA"},
    {om::OM_AUDIO_CODEC_DTS_HD_ALT, "DTS-HD"},
    {om::OM_AUDIO_CODEC_DRA, "DRA"},
    {om::OM_AUDIO_CODEC_AVS, "AVS audio"},
    {om::OM_AUDIO_CODEC_SILK, "SILK"},
    {om::OM_AUDIO_CODEC_G729, "G.729"},
    {om::OM_AUDIO_CODEC_OPUS, "Opus"},
    {om::OM_AUDIO_CODEC_APE, "Monkey's Audio"},
    {om::OM_AUDIO_CODEC_AC4, "AC-4"},
    {om::OM_AUDIO_CODEC_MPEGH, "MPEG-H"},
    {om::OM_AUDIO_CODEC_TRUEHD, "TrueHD"},
    {om::OM_AUDIO_CODEC_MAT, "MAT"},
};

constexpr Label kErrors[] = {
    {om::OM_ERROR_INTERNAL, "the media service failed"},
    {om::OM_ERROR_NOT_FOUND, "not found"},
    {om::OM_ERROR_FORBIDDEN, "no permission to read it"},
    {om::OM_ERROR_CONNECT_FAILED, "no connection to the server"},
    {om::OM_ERROR_CONNECTION_LOST, "the connection to the server was lost"},
    {om::OM_ERROR_SERVER, "the server reported an error"},
    {om::OM_ERROR_TIMED_OUT, "nothing came in time"},
    {om::OM_ERROR_UNKNOWN_SCHEME, "nothing plays addresses of this kind"},
    {om::OM_ERROR_UNSUPPORTED_FORMAT, "not a medium that can be played"},
    {om::OM_ERROR_UNSUPPORTED_CODEC, "the codec is not supported"},
    {om::OM_ERROR_BROKEN_FILE, "damaged or cut off"},
    {om::OM_ERROR_KEY_MISSING, "protected, and there is no key"},
    {om::OM_ERROR_NOT_SUPPORTED, "this medium cannot do that"},
    {om::OM_ERROR_BAD_STATE, "not possible now"},
    {om::OM_ERROR_BAD_ARGUMENT, "the media service rejects the value"},
    {om::OM_ERROR_LIMIT, "the media service has reached its limit"},
    {om::OM_ERROR_WRONG_KEY, "its key is wrong"},
    {om::OM_ERROR_STOPPED, "stopped"},
};

constexpr Label kMediaTypes[] = {
    {om::OM_MEDIA_TYPE_VIDEO, "video"},
    {om::OM_MEDIA_TYPE_AUDIO, "audio"},
    {om::OM_MEDIA_TYPE_PHOTO, "photo"},
};

constexpr Label kHdrTypes[] = {
    {om::OM_HDR_TYPE_PQ, "PQ"},
    {om::OM_HDR_TYPE_HLG, "HLG"},
};

constexpr Label kCapabilities[] = {
    {om::OM_CAP_SEEKABLE, "seek"},
    {om::OM_CAP_SPEEDABLE, "speed"},
    {om::OM_CAP_LIVE, "live"},
};

template <std::size_t N> char const* labelOf(Label const (&labels)[N], int value, char const* otherwise)
{
    for (Label const& label : labels)
    {
        if (label.value == value)
        {
            return label.text;
        }
    }
    return otherwise;
}

} // namespace

char const* videoCodecLabel(int codec)
{
    return labelOf(kVideoCodecs, codec, "unknown");
}

char const* audioCodecLabel(int codec)
{
    return labelOf(kAudioCodecs, codec, "unknown");
}

char const* errorLabel(unsigned int code)
{
    return labelOf(kErrors, static_cast<int>(code), "failed for an unknown reason");
}

char const* mediaTypeLabel(int type)
{
    return labelOf(kMediaTypes, type, "");
}

char const* hdrLabel(int type)
{
    return labelOf(kHdrTypes, type, "");
}

std::vector<std::string> capabilityLabels(int flags)
{
    std::vector<std::string> labels;
    for (Label const& capability : kCapabilities)
    {
        if ((flags & capability.value) != 0)
        {
            labels.emplace_back(capability.text);
        }
    }
    return labels;
}

std::string dateLabel(om::om_date_t const& date)
{
    char buffer[64];
    std::string label;
    if (date.year <= 0)
    {
        return label;
    }
    std::snprintf(buffer, sizeof(buffer), "%04d", date.year);
    label += buffer;
    if (date.month > 0 && date.day > 0)
    {
        std::snprintf(buffer, sizeof(buffer), "-%02d-%02d", date.month, date.day);
        label += buffer;
        if (date.time.hour >= 0)
        {
            std::snprintf(buffer, sizeof(buffer), " %02d:%02d:%02d", date.time.hour, date.time.minute,
                          date.time.second);
            label += buffer;
        }
    }
    return label;
}

std::string speedLabel(int sixteenths)
{
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%gx", sixteenths / 16.0);
    return buffer;
}

std::string channelsLabel(int channels)
{
    return channels == 1 ? "mono" : channels == 2 ? "stereo" : std::to_string(channels) + " channels";
}

} // namespace tz::orvane::tools
