// SPDX-License-Identifier: Apache-2.0
// Display names of the codecs.
#include "orvane/om_type_util.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using test::LogCapture;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

template <class Codec> std::vector<std::string> namesUpTo(int last)
{
    std::vector<std::string> names;
    for (int value = 0; value <= last; ++value)
    {
        names.push_back(OmTypeUtil::to_string(static_cast<Codec>(value)));
    }
    return names;
}

TEST(CodecNames, ofVideo)
{
    EXPECT_THAT(namesUpTo<om_video_codec_e>(22),
                ElementsAre("unknown", "MPEG-1", "MPEG-2", "MPEG-4", "DivX", "XviD", "H263", "Sorensen H263",
                            "H264(AVC)", "VC1/WMV3", "RV30/RV40", "VP8", "AVS+", "MotionJPEG", "H265(HEVC)", "VP9",
                            "SHVC", "AVS2", "AV1", "VVC", "H264 Encoder", "JPEG Encoder", "unknown"));
}

TEST(CodecNames, ofAudioWithOneGapAndOneNameTwice)
{
    EXPECT_THAT(namesUpTo<om_audio_codec_e>(42), ElementsAreArray({"unknown",
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
                                                                   "unknown"}));
}

TEST(CodecNames, valuesFarOutsideAreUnknown)
{
    for (int const value : {-1, INT_MIN, 1000, INT_MAX})
    {
        EXPECT_EQ(OmTypeUtil::to_string(static_cast<om_video_codec_e>(value)), "unknown") << value;
        EXPECT_EQ(OmTypeUtil::to_string(static_cast<om_audio_codec_e>(value)), "unknown") << value;
    }
}

TEST(CodecNames, enumeratorsStandForTheirNames)
{
    EXPECT_EQ(OmTypeUtil::to_string(OM_VIDEO_CODEC_H264), "H264(AVC)");
    EXPECT_EQ(OmTypeUtil::to_string(OM_VIDEO_CODEC_AV1), "AV1");
    EXPECT_EQ(OmTypeUtil::to_string(OM_AUDIO_CODEC_AAC_LC), "AAC-LC");
    EXPECT_EQ(OmTypeUtil::to_string(OM_AUDIO_CODEC_OPUS), "OPUS");
    EXPECT_EQ(OmTypeUtil::to_string(OM_AUDIO_CODEC_TRUEHD), "Dolby-TrueHD");
}

TEST(CodecNames, areLogged)
{
    LogCapture const log;
    OmTypeUtil::to_string(OM_VIDEO_CODEC_VP9);
    OmTypeUtil::to_string(OM_AUDIO_CODEC_UNNAMED_28);
    EXPECT_THAT(log.linesOf("OmTypeUtil::to_string"),
                ElementsAre("debug: Called! vcodec=VP9", "debug: Called! acodec=unknown"));
    EXPECT_EQ(log.lines()[0].place, "om_type_util: OmTypeUtil::to_string");
}

TEST(CodecNames, areNotLoggedBelowTheLevel)
{
    LogCapture const log(platform::DebugLevel::info);
    OmTypeUtil::to_string(OM_VIDEO_CODEC_VP9);
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace

} // namespace tz::orvane::om
