// SPDX-License-Identifier: Apache-2.0
// Capabilities of streams and the codec numbers and types that become of them.
#include "codec_map.h"
#include "es_caps.h"
#include "gst_ptr.h"

#include <gtest/gtest.h>

namespace tz::orvane::service
{
namespace
{

class CodecMap : public testing::Test
{
protected:
    CodecMap() { gst_init(nullptr, nullptr); }

    static CapsPtr caps(char const* text) { return CapsPtr(gst_caps_from_string(text)); }
};

TEST_F(CodecMap, videoCodecsAreTold)
{
    EXPECT_EQ(videoCodecOf(nullptr), om::OM_VIDEO_CODEC_UNKNOWN);
    EXPECT_EQ(videoCodecOf(caps("ANY").get()), om::OM_VIDEO_CODEC_UNKNOWN);
    EXPECT_EQ(videoCodecOf(caps("video/x-h264").get()), om::OM_VIDEO_CODEC_H264);
    EXPECT_EQ(videoCodecOf(caps("video/mpeg,mpegversion=2").get()), om::OM_VIDEO_CODEC_MPEG2);
    EXPECT_EQ(videoCodecOf(caps("video/mpeg,mpegversion=4").get()), om::OM_VIDEO_CODEC_MPEG4);
    EXPECT_EQ(videoCodecOf(caps("video/mpeg").get()), om::OM_VIDEO_CODEC_UNKNOWN);
    EXPECT_EQ(videoCodecOf(caps("video/x-made-up").get()), om::OM_VIDEO_CODEC_UNKNOWN);
}

TEST_F(CodecMap, audioCodecsAreTold)
{
    EXPECT_EQ(audioCodecOf(nullptr), om::OM_AUDIO_CODEC_UNKNOWN);
    EXPECT_EQ(audioCodecOf(caps("audio/mpeg,mpegversion=4").get()), om::OM_AUDIO_CODEC_AAC_LC);
    EXPECT_EQ(audioCodecOf(caps("audio/mpeg,mpegversion=4,profile=he-aac-v1").get()), om::OM_AUDIO_CODEC_HE_AAC);
    EXPECT_EQ(audioCodecOf(caps("audio/mpeg,mpegversion=1,layer=3").get()), om::OM_AUDIO_CODEC_MPEG1_LAYER3);
    EXPECT_EQ(audioCodecOf(caps("audio/mpeg,mpegversion=1,layer=3,mpegaudioversion=2").get()),
              om::OM_AUDIO_CODEC_MPEG2_LAYER3);
    EXPECT_EQ(audioCodecOf(caps("audio/mpeg,mpegversion=1,layer=2").get()), om::OM_AUDIO_CODEC_MPEG1_LAYER12);
    EXPECT_EQ(audioCodecOf(caps("audio/x-wma,wmaversion=2").get()), om::OM_AUDIO_CODEC_WMA2);
    EXPECT_EQ(audioCodecOf(caps("audio/x-raw").get()), om::OM_AUDIO_CODEC_PCM);
}

TEST_F(CodecMap, typesAreThoseInCommonUse)
{
    EXPECT_EQ(mimeTypeOf(nullptr), "");
    EXPECT_EQ(mimeTypeOf(caps("video/quicktime,variant=iso").get()), "video/mp4");
    EXPECT_EQ(mimeTypeOf(caps("video/webm").get()), "video/webm");
    EXPECT_EQ(mimeTypeOf(caps("audio/mpeg,mpegversion=1,layer=3").get()), "audio/mpeg");
    EXPECT_EQ(mimeTypeOf(caps("audio/mpeg,mpegversion=4").get()), "audio/aac");
}

TEST_F(CodecMap, highDynamicRangeIsToldFromTheColours)
{
    EXPECT_EQ(hdrTypeOf(caps("video/x-raw,colorimetry=bt709").get()), om::OM_HDR_TYPE_NONE);
    EXPECT_EQ(hdrTypeOf(caps("video/x-raw,colorimetry=bt2100-pq").get()), om::OM_HDR_TYPE_PQ);
    EXPECT_EQ(hdrTypeOf(caps("video/x-raw,colorimetry=bt2100-hlg").get()), om::OM_HDR_TYPE_HLG);
    EXPECT_EQ(hdrTypeOf(caps("video/x-raw").get()), om::OM_HDR_TYPE_NONE);
}

TEST_F(CodecMap, subtitlesAreTextsOrPicturesOfAKind)
{
    EXPECT_EQ(subtitleTypeOf(nullptr, ""), "");
    EXPECT_EQ(subtitleTypeOf(caps("text/x-raw,format=utf8").get(), "3GPP timed text"), "text/3gpp-tt");
    EXPECT_EQ(subtitleTypeOf(caps("text/x-raw,format=pango-markup").get(), ""), "application/x-subrip");
    EXPECT_EQ(subtitleTypeOf(caps("text/x-raw,format=utf8").get(), ""), "text/plain");
    EXPECT_EQ(subtitleTypeOf(caps("application/x-ass").get(), ""), "application/x-ass");
    EXPECT_EQ(drawTypeOf(nullptr), om::OM_SUBTITLE_DRAW_TEXT);
    EXPECT_EQ(drawTypeOf(caps("application/x-ass").get()), om::OM_SUBTITLE_DRAW_TEXT);
    EXPECT_EQ(drawTypeOf(caps("subpicture/x-dvd").get()), om::OM_SUBTITLE_DRAW_PICTURE);
}

TEST_F(CodecMap, theFormOfSamplesIsTold)
{
    auto const formatOf = [](char const* format)
    {
        std::string const text = "audio/x-raw,layout=interleaved,rate=48000,channels=1,format=" + std::string(format);
        return audioFormatOf(caps(text.c_str()).get());
    };
    EXPECT_EQ(audioFormatOf(nullptr), om::OM_AUDIO_FORMAT_UNKNOWN);
    EXPECT_EQ(audioFormatOf(caps("audio/mpeg").get()), om::OM_AUDIO_FORMAT_UNKNOWN);
    EXPECT_EQ(formatOf("U8"), om::OM_AUDIO_FORMAT_8);
    EXPECT_EQ(formatOf("S16LE"), om::OM_AUDIO_FORMAT_16);
    EXPECT_EQ(formatOf("S24_32LE"), om::OM_AUDIO_FORMAT_24);
    EXPECT_EQ(formatOf("S32LE"), om::OM_AUDIO_FORMAT_32);
    EXPECT_EQ(formatOf("F32LE"), om::OM_AUDIO_FORMAT_F32);
    EXPECT_EQ(formatOf("F64LE"), om::OM_AUDIO_FORMAT_F64);
}

TEST_F(CodecMap, aPushedStreamIsDescribedByItsRecord)
{
    EsFormat format;
    format.record.codec = om::OM_VIDEO_CODEC_H264;
    EXPECT_EQ(videoCodecOf(videoCaps(format).get()), om::OM_VIDEO_CODEC_H264);
    EXPECT_EQ(gst_structure_has_field(gst_caps_get_structure(videoCaps(format).get(), 0), "width"), FALSE);
    format.codecData = "data";
    CapsPtr const described = videoCaps(format);
    EXPECT_STREQ(gst_structure_get_string(gst_caps_get_structure(described.get(), 0), "stream-format"), "avc");
    EXPECT_NE(gst_structure_has_field(gst_caps_get_structure(described.get(), 0), "codec_data"), FALSE);
    format.record.codec = 99;
    EXPECT_EQ(videoCaps(format), nullptr);
    EXPECT_EQ(audioCaps(format), nullptr);
}

} // namespace
} // namespace tz::orvane::service
