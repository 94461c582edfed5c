// SPDX-License-Identifier: Apache-2.0
// What the player tells about a medium.
#include "orvane/om_enums.h"
#include "orvane/om_service.h"
#include "presentation/labels.h"
#include "presentation/media_report.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace tz::orvane::tools
{
namespace
{

om::om_media_info_t film()
{
    om::om_media_info_t info = {};
    info.media_type = om::OM_MEDIA_TYPE_VIDEO;
    info.file_size = 78000;
    info.duration = 61005;
    std::strcpy(info.mime_type, "video/quicktime");
    info.resolution = {320, 180};
    info.frame_rate = 25;
    info.video_codec = om::OM_VIDEO_CODEC_H264;
    info.audio_codec = om::OM_AUDIO_CODEC_AAC_LC;
    info.audio_channel = 2;
    info.sample_rate = 48000;
    info.cap_flags = om::OM_CAP_SEEKABLE | om::OM_CAP_SPEEDABLE;
    return info;
}

TEST(MediaReport, tellsAllThatIsKnown)
{
    om::om_media_info_t info = film();
    std::strcpy(info.tag.title, "A film");
    om::om_container_info_t container = {};
    container.audio_count = 1;
    container.audios_detail[0].audio.codec = om::OM_AUDIO_CODEC_AAC_LC;
    container.audios_detail[0].audio.ch = 1;
    std::strcpy(container.audios_detail[0].audio.lang, "deu");
    EXPECT_EQ(mediaReport("/films/v.mp4", info, container), "File:          /films/v.mp4\n"
                                                            "Type:          video\n"
                                                            "Title:         A film\n"
                                                            "Container:     video/quicktime\n"
                                                            "Duration:      1:01.005\n"
                                                            "Size:          78000 bytes\n"
                                                            "Resolution:    320x180\n"
                                                            "Frame rate:    25 fps\n"
                                                            "Video:         H.264 320x180 25 fps\n"
                                                            "Audio:         AAC 48000 Hz stereo\n"
                                                            "Can do:        seek, speed\n"
                                                            "Audio track 1: AAC mono, deu\n");
}

TEST(MediaReport, leavesOutWhatIsNotKnown)
{
    om::om_media_info_t info = {};
    info.file_size = static_cast<std::uint64_t>(-1);
    info.duration = -1;
    info.resolution = {-1, -1};
    info.sample_rate = -1;
    info.bit_rate = -1;
    EXPECT_EQ(mediaReport("/x", info, {}), "File:          /x\n");
}

TEST(MediaReport, readsTextsWithoutAnEndAndMakesThemPrintable)
{
    om::om_media_info_t info = {};
    std::memset(info.tag.genre, '\n', sizeof(info.tag.genre));
    EXPECT_EQ(mediaReport("/x", info, {}), "File:          /x\nGenre:         " + std::string(16, ' ') + "\n");
}

TEST(MediaReport, doesNotBelieveACountBeyondTheRecord)
{
    om::om_container_info_t container = {};
    container.video_count = 1000;
    for (om::om_stream_info_t& stream : container.videos_detail)
    {
        stream.video.width = stream.video.height = 1;
    }
    EXPECT_EQ(mediaReport("/x", {}, container), "File:          /x\nVideo track 1: 1x1\nVideo track 2: 1x1\n");
}

TEST(FormatSummary, joinsVideoAndAudio)
{
    EXPECT_EQ(formatSummary(film()), "H.264 320x180 25 fps, AAC 48000 Hz stereo");
}

TEST(FormatSummary, isEmptyWhenNothingIsKnown)
{
    EXPECT_EQ(formatSummary({}), "");
}

TEST(TitleOf, fallsBackToTheNameOfTheFile)
{
    om::om_media_info_t info = {};
    EXPECT_EQ(titleOf(info, "/films/v.mp4"), "v.mp4");
    std::strcpy(info.tag.title, "A film");
    EXPECT_EQ(titleOf(info, "/films/v.mp4"), "A film");
}

TEST(Labels, nameKnownValuesAndSayUnknownOtherwise)
{
    EXPECT_STREQ(videoCodecLabel(om::OM_VIDEO_CODEC_H265), "H.265");
    EXPECT_STREQ(audioCodecLabel(om::OM_AUDIO_CODEC_OPUS), "Opus");
    EXPECT_STREQ(videoCodecLabel(1000), "unknown");
    EXPECT_STREQ(errorLabel(om::OM_ERROR_NOT_FOUND), "not found");
    EXPECT_STREQ(errorLabel(0xFFFFFFFF), "failed for an unknown reason");
}

} // namespace
} // namespace tz::orvane::tools
