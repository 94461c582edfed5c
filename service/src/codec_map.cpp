// SPDX-License-Identifier: Apache-2.0
// Names of formats: from capabilities of a stream to codec numbers and MIME types.
#include "codec_map.h"

#include <gst/audio/audio.h>
#include <gst/video/video.h>

#include <string_view>

namespace tz::orvane::service
{

namespace
{

GstStructure const* firstOf(GstCaps const* caps)
{
    return caps == nullptr || gst_caps_is_empty(caps) || gst_caps_is_any(caps) ? nullptr
                                                                               : gst_caps_get_structure(caps, 0);
}

int number(GstStructure const* structure, char const* field)
{
    int value = 0;
    gst_structure_get_int(structure, field, &value);
    return value;
}

std::string_view text(GstStructure const* structure, char const* field)
{
    char const* const value = gst_structure_get_string(structure, field);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

template <class Codec> struct NamedCodec
{
    std::string_view name;
    Codec codec;
};

constexpr NamedCodec<om::om_video_codec_e> kVideoCodecs[] = {
    {"video/x-h264", om::OM_VIDEO_CODEC_H264}, {"video/x-h265", om::OM_VIDEO_CODEC_H265},
    {"video/x-vp8", om::OM_VIDEO_CODEC_VP8},   {"video/x-vp9", om::OM_VIDEO_CODEC_VP9},
    {"video/x-av1", om::OM_VIDEO_CODEC_AV1},   {"video/x-h263", om::OM_VIDEO_CODEC_H263},
    {"video/x-divx", om::OM_VIDEO_CODEC_DIVX}, {"video/x-xvid", om::OM_VIDEO_CODEC_XVID},
    {"video/x-cavs", om::OM_VIDEO_CODEC_AVS},  {"image/jpeg", om::OM_VIDEO_CODEC_MJPEG},
    {"video/x-wmv", om::OM_VIDEO_CODEC_VC1},   {"video/x-pn-realvideo", om::OM_VIDEO_CODEC_RV},
};

constexpr NamedCodec<om::om_audio_codec_e> kAudioCodecs[] = {
    {"audio/x-raw", om::OM_AUDIO_CODEC_PCM},        {"audio/x-alaw", om::OM_AUDIO_CODEC_ALAW},
    {"audio/x-mulaw", om::OM_AUDIO_CODEC_ULAW},     {"audio/x-adpcm", om::OM_AUDIO_CODEC_ADPCM},
    {"audio/x-ac3", om::OM_AUDIO_CODEC_AC3},        {"audio/x-eac3", om::OM_AUDIO_CODEC_EAC3},
    {"audio/x-vorbis", om::OM_AUDIO_CODEC_VORBIS},  {"audio/AMR", om::OM_AUDIO_CODEC_AMR_NB},
    {"audio/AMR-WB", om::OM_AUDIO_CODEC_AMR_WB},    {"audio/x-flac", om::OM_AUDIO_CODEC_FLAC},
    {"audio/x-dts", om::OM_AUDIO_CODEC_DTS},        {"audio/x-opus", om::OM_AUDIO_CODEC_OPUS},
    {"audio/x-ape", om::OM_AUDIO_CODEC_APE},        {"audio/x-ffmpeg-parsed-ape", om::OM_AUDIO_CODEC_APE},
    {"audio/x-true-hd", om::OM_AUDIO_CODEC_TRUEHD}, {"audio/x-private-ts-lpcm", om::OM_AUDIO_CODEC_LPCM},
};

template <class Codec, std::size_t count>
Codec lookUp(NamedCodec<Codec> const (&table)[count], std::string_view name, Codec otherwise)
{
    for (auto const& entry : table)
    {
        if (entry.name == name)
        {
            return entry.codec;
        }
    }
    return otherwise;
}

om::om_audio_codec_e mpegAudio(GstStructure const* structure)
{
    int const version = number(structure, "mpegversion");
    if (version == 2 || version == 4)
    {
        std::string_view const profile = text(structure, "profile");
        return profile.substr(0, 3) == "he-" ? om::OM_AUDIO_CODEC_HE_AAC : om::OM_AUDIO_CODEC_AAC_LC;
    }
    if (version != 1)
    {
        return om::OM_AUDIO_CODEC_UNKNOWN;
    }

    // GStreamer counts all of MPEG-1, 2 and 2.5 as mpegversion 1 and tells them apart by mpegaudioversion.
    bool const layer3 = number(structure, "layer") == 3;
    switch (number(structure, "mpegaudioversion"))
    {
    case 2:
        return layer3 ? om::OM_AUDIO_CODEC_MPEG2_LAYER3 : om::OM_AUDIO_CODEC_MPEG2_LAYER12;
    case 3:
        return layer3 ? om::OM_AUDIO_CODEC_MPEG25_LAYER3 : om::OM_AUDIO_CODEC_MPEG2_LAYER12;
    default:
        return layer3 ? om::OM_AUDIO_CODEC_MPEG1_LAYER3 : om::OM_AUDIO_CODEC_MPEG1_LAYER12;
    }
}

struct NamedType
{
    std::string_view name;
    std::string_view mime;
};

constexpr NamedType kMimeTypes[] = {
    {"video/quicktime", "video/mp4"},       {"video/mpegts", "video/mp2t"},
    {"audio/x-m4a", "audio/mp4"},           {"application/x-3gp", "video/3gpp"},
    {"audio/x-wav", "audio/wav"},           {"audio/x-flac", "audio/flac"},
    {"application/x-id3", "audio/mpeg"},    {"application/x-hls", "application/vnd.apple.mpegurl"},
    {"video/x-msvideo", "video/x-msvideo"}, {"video/x-h264", "video/avc"},
    {"video/x-h265", "video/hevc"},         {"audio/x-opus", "audio/opus"},
    {"audio/x-vorbis", "audio/vorbis"},     {"audio/x-ac3", "audio/ac3"},
    {"audio/x-eac3", "audio/eac3"},         {"application/x-subtitle-vtt", "text/vtt"},
    {"subpicture/x-dvd", "video/vobsub"},   {"subpicture/x-pgs", "video/pgs"},
    {"subpicture/x-dvb", "video/dvbsub"},   {"subpicture/x-xsub", "video/xsub"},
};

constexpr std::string_view kPictures = "subpicture/";

} // namespace

om::om_video_codec_e videoCodecOf(GstCaps const* caps)
{
    GstStructure const* const structure = firstOf(caps);
    if (structure == nullptr)
    {
        return om::OM_VIDEO_CODEC_UNKNOWN;
    }
    std::string_view const name = gst_structure_get_name(structure);
    if (name == "video/mpeg")
    {
        switch (number(structure, "mpegversion"))
        {
        case 1:
            return om::OM_VIDEO_CODEC_MPEG1;
        case 2:
            return om::OM_VIDEO_CODEC_MPEG2;
        case 4:
            return om::OM_VIDEO_CODEC_MPEG4;
        default:
            return om::OM_VIDEO_CODEC_UNKNOWN;
        }
    }
    if (name == "video/x-flash-video")
    {
        return om::OM_VIDEO_CODEC_SORENSON_H263;
    }
    return lookUp(kVideoCodecs, name, om::OM_VIDEO_CODEC_UNKNOWN);
}

om::om_audio_codec_e audioCodecOf(GstCaps const* caps)
{
    GstStructure const* const structure = firstOf(caps);
    if (structure == nullptr)
    {
        return om::OM_AUDIO_CODEC_UNKNOWN;
    }
    std::string_view const name = gst_structure_get_name(structure);
    if (name == "audio/mpeg")
    {
        return mpegAudio(structure);
    }
    if (name == "audio/x-wma")
    {
        int const version = number(structure, "wmaversion");
        return version == 1 ? om::OM_AUDIO_CODEC_WMA1 : version == 2 ? om::OM_AUDIO_CODEC_WMA2 : om::OM_AUDIO_CODEC_WMA;
    }
    return lookUp(kAudioCodecs, name, om::OM_AUDIO_CODEC_UNKNOWN);
}

std::string mimeTypeOf(GstCaps const* caps)
{
    GstStructure const* const structure = firstOf(caps);
    if (structure == nullptr)
    {
        return {};
    }
    std::string_view const name = gst_structure_get_name(structure);
    if (name == "audio/mpeg" && number(structure, "mpegversion") != 1)
    {
        return "audio/aac";
    }
    for (NamedType const& entry : kMimeTypes)
    {
        if (entry.name == name)
        {
            return std::string(entry.mime);
        }
    }
    return std::string(name);
}

std::string subtitleTypeOf(GstCaps const* caps, std::string const& codec)
{
    std::string type = mimeTypeOf(caps);
    if (type != "text/x-raw")
    {
        return type;
    }
    if (codec == "3GPP timed text")
    {
        return "text/3gpp-tt";
    }

    // Markup is what remains of the only other kind that files keep as plain texts.
    return text(firstOf(caps), "format") == "pango-markup" ? "application/x-subrip" : "text/plain";
}

om::om_subtitle_draw_type_e drawTypeOf(GstCaps const* caps)
{
    GstStructure const* const structure = firstOf(caps);
    bool const isPicture = structure != nullptr &&
                           std::string_view(gst_structure_get_name(structure)).substr(0, kPictures.size()) == kPictures;
    return isPicture ? om::OM_SUBTITLE_DRAW_PICTURE : om::OM_SUBTITLE_DRAW_TEXT;
}

om::om_audio_format_e audioFormatOf(GstCaps const* caps)
{
    GstAudioInfo sound;
    if (caps == nullptr || gst_audio_info_from_caps(&sound, caps) == FALSE)
    {
        return om::OM_AUDIO_FORMAT_UNKNOWN;
    }
    int const depth = GST_AUDIO_INFO_DEPTH(&sound);
    if (GST_AUDIO_INFO_IS_FLOAT(&sound))
    {
        return depth == 64 ? om::OM_AUDIO_FORMAT_F64 : om::OM_AUDIO_FORMAT_F32;
    }
    switch (depth)
    {
    case 8:
        return om::OM_AUDIO_FORMAT_8;
    case 16:
        return om::OM_AUDIO_FORMAT_16;
    case 24:
        return om::OM_AUDIO_FORMAT_24;
    case 32:
        return om::OM_AUDIO_FORMAT_32;
    default:
        return om::OM_AUDIO_FORMAT_UNKNOWN;
    }
}

om::om_hdr_type_e hdrTypeOf(GstCaps const* caps)
{
    GstStructure const* const structure = firstOf(caps);
    GstVideoColorimetry colorimetry{};
    if (structure == nullptr ||
        gst_video_colorimetry_from_string(&colorimetry, gst_structure_get_string(structure, "colorimetry")) == FALSE)
    {
        return om::OM_HDR_TYPE_NONE;
    }
    switch (colorimetry.transfer)
    {
    case GST_VIDEO_TRANSFER_SMPTE2084:
        return om::OM_HDR_TYPE_PQ;
    case GST_VIDEO_TRANSFER_ARIB_STD_B67:
        return om::OM_HDR_TYPE_HLG;
    default:
        return om::OM_HDR_TYPE_NONE;
    }
}

} // namespace tz::orvane::service
