// SPDX-License-Identifier: Apache-2.0
// From the format that an application states for an elementary stream to GStreamer's capabilities.
#include "es_caps.h"

#include "orvane/om_enums.h"

namespace tz::orvane::service
{

namespace
{

struct NamedCaps
{
    int codec;
    char const* plain;    ///< when the stream describes itself
    char const* withData; ///< when codec data do; null: the same
};

constexpr NamedCaps kVideoCaps[] = {
    {om::OM_VIDEO_CODEC_MPEG1, "video/mpeg,mpegversion=1,systemstream=false", nullptr},
    {om::OM_VIDEO_CODEC_MPEG2, "video/mpeg,mpegversion=2,systemstream=false", nullptr},
    {om::OM_VIDEO_CODEC_MPEG4, "video/mpeg,mpegversion=4,systemstream=false", nullptr},
    {om::OM_VIDEO_CODEC_H263, "video/x-h263,variant=itu", nullptr},
    {om::OM_VIDEO_CODEC_H264, "video/x-h264,stream-format=byte-stream,alignment=au",
     "video/x-h264,stream-format=avc,alignment=au"},
    {om::OM_VIDEO_CODEC_H265, "video/x-h265,stream-format=byte-stream,alignment=au",
     "video/x-h265,stream-format=hvc1,alignment=au"},
    {om::OM_VIDEO_CODEC_VP8, "video/x-vp8", nullptr},
    {om::OM_VIDEO_CODEC_VP9, "video/x-vp9,alignment=super-frame", nullptr},
    {om::OM_VIDEO_CODEC_AV1, "video/x-av1,stream-format=obu-stream,alignment=tu", nullptr},
    {om::OM_VIDEO_CODEC_MJPEG, "image/jpeg", nullptr},
};

constexpr NamedCaps kAudioCaps[] = {
    {om::OM_AUDIO_CODEC_PCM, "audio/x-raw,format=S16LE,layout=interleaved", nullptr},
    {om::OM_AUDIO_CODEC_ALAW, "audio/x-alaw", nullptr},
    {om::OM_AUDIO_CODEC_ULAW, "audio/x-mulaw", nullptr},
    {om::OM_AUDIO_CODEC_MPEG1_LAYER12, "audio/mpeg,mpegversion=1,layer=2", nullptr},
    {om::OM_AUDIO_CODEC_MPEG2_LAYER12, "audio/mpeg,mpegversion=1,layer=2", nullptr},
    {om::OM_AUDIO_CODEC_MPEG1_LAYER3, "audio/mpeg,mpegversion=1,layer=3", nullptr},
    {om::OM_AUDIO_CODEC_MPEG2_LAYER3, "audio/mpeg,mpegversion=1,layer=3", nullptr},
    {om::OM_AUDIO_CODEC_MPEG25_LAYER3, "audio/mpeg,mpegversion=1,layer=3", nullptr},
    {om::OM_AUDIO_CODEC_AAC_LC, "audio/mpeg,mpegversion=4,stream-format=adts",
     "audio/mpeg,mpegversion=4,stream-format=raw"},
    {om::OM_AUDIO_CODEC_HE_AAC, "audio/mpeg,mpegversion=4,stream-format=adts",
     "audio/mpeg,mpegversion=4,stream-format=raw"},
    {om::OM_AUDIO_CODEC_AC3, "audio/x-ac3", nullptr},
    {om::OM_AUDIO_CODEC_EAC3, "audio/x-eac3", nullptr},
    {om::OM_AUDIO_CODEC_FLAC, "audio/x-flac", nullptr},
    {om::OM_AUDIO_CODEC_DTS, "audio/x-dts", nullptr},
    {om::OM_AUDIO_CODEC_OPUS, "audio/x-opus,channel-mapping-family=0", nullptr},
};

template <std::size_t count> CapsPtr capsOf(NamedCaps const (&table)[count], EsFormat const& format)
{
    for (NamedCaps const& entry : table)
    {
        if (entry.codec == format.record.codec)
        {
            bool const described = !format.codecData.empty() && entry.withData != nullptr;
            CapsPtr caps(gst_caps_from_string(described ? entry.withData : entry.plain));
            if (!format.codecData.empty())
            {
                BufferPtr const data(gst_buffer_new_memdup(format.codecData.data(), format.codecData.size()));
                gst_caps_set_simple(caps.get(), "codec_data", GST_TYPE_BUFFER, data.get(), nullptr);
            }
            return caps;
        }
    }
    return nullptr;
}

} // namespace

CapsPtr videoCaps(EsFormat const& format)
{
    CapsPtr caps = capsOf(kVideoCaps, format);
    om::om_es_format_t const& record = format.record;
    if (caps != nullptr && record.width > 0 && record.height > 0)
    {
        gst_caps_set_simple(caps.get(), "width", G_TYPE_INT, record.width, "height", G_TYPE_INT, record.height,
                            nullptr);
    }
    if (caps != nullptr && record.fps_num > 0 && record.fps_den > 0)
    {
        gst_caps_set_simple(caps.get(), "framerate", GST_TYPE_FRACTION, record.fps_num, record.fps_den, nullptr);
    }
    return caps;
}

CapsPtr audioCaps(EsFormat const& format)
{
    CapsPtr caps = capsOf(kAudioCaps, format);
    om::om_es_format_t const& record = format.record;
    if (caps != nullptr && record.sample_rate > 0)
    {
        gst_caps_set_simple(caps.get(), "rate", G_TYPE_INT, record.sample_rate, nullptr);
    }
    if (caps != nullptr && record.channels > 0)
    {
        gst_caps_set_simple(caps.get(), "channels", G_TYPE_INT, record.channels, nullptr);
    }
    return caps;
}

} // namespace tz::orvane::service
