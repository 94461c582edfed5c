// SPDX-License-Identifier: Apache-2.0
// What the player tells about a medium.
#include "orvane/om_enums.h"
#include "orvane/om_service.h"
#include "presentation/labels.h"
#include "presentation/media_json.h"
#include "presentation/media_report.h"

#include <gtest/gtest.h>

#include <algorithm>
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
    EXPECT_EQ(mediaReport({"/films/v.mp4", info, container, {}, {}}), "File:          /films/v.mp4\n"
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
    EXPECT_EQ(mediaReport({"/x", info, {}, {}, {}}), "File:          /x\n");
}

TEST(MediaReport, readsTextsWithoutAnEndAndMakesThemPrintable)
{
    om::om_media_info_t info = {};
    std::memset(info.tag.genre, '\n', sizeof(info.tag.genre));
    EXPECT_EQ(mediaReport({"/x", info, {}, {}, {}}),
              "File:          /x\nGenre:         " + std::string(16, ' ') + "\n");
}

TEST(MediaReport, doesNotBelieveACountBeyondTheRecord)
{
    om::om_container_info_t container = {};
    container.video_count = 1000;
    for (om::om_stream_info_t& stream : container.videos_detail)
    {
        stream.video.width = stream.video.height = 1;
    }
    EXPECT_EQ(mediaReport({"/x", {}, container, {}, {}}),
              "File:          /x\nVideo track 1: 1x1\nVideo track 2: 1x1\n");
}

Medium photo()
{
    Medium medium;
    medium.uri = "/p.jpg";
    medium.info.media_type = om::OM_MEDIA_TYPE_PHOTO;
    medium.exif.emplace();
    om::om_exif_info_t& exif = *medium.exif;
    exif.rotation = 90;
    exif.mirror = 1;
    exif.exposure_time = {1, 125};
    exif.f_number = {28, 10};
    exif.focal_length = {35, 1};
    exif.iso = 200;
    std::strcpy(exif.camera_maker, "Maker");
    std::strcpy(exif.camera_model, "Model 1000");
    exif.date_taken = {2024, 2, 3, 6, {4, 5, 6}};
    exif.gps.latitude[0] = {33, 1};
    exif.gps.latitude[1] = {30, 1};
    exif.gps.latitude[2] = {0, 1};
    exif.gps.longitude[0] = {126, 1};
    exif.gps.latitude_ref[0] = 'S';
    exif.gps.longitude_ref[0] = 'W';
    exif.gps.altitude = {38, 1};
    exif.gps.altitude_ref = 1;
    return medium;
}

TEST(MediaReport, tellsWhatAPhotoKnowsOfItself)
{
    EXPECT_EQ(mediaReport(photo()), "File:          /p.jpg\n"
                                    "Type:          photo\n"
                                    "Camera:        Maker Model 1000\n"
                                    "Taken:         2024-02-03 04:05:06\n"
                                    "Exposure:      1/125 s\n"
                                    "Aperture:      f/2.8\n"
                                    "Focal length:  35 mm\n"
                                    "ISO:           200\n"
                                    "Orientation:   90 degrees, mirrored\n"
                                    "Location:      -33.5, -126, -38 m\n");
}

TEST(MediaReport, leavesOutNumbersOfAPhotoWithoutAValue)
{
    Medium medium = photo();
    medium.exif = om::om_exif_info_t{};
    EXPECT_EQ(mediaReport(medium), "File:          /p.jpg\nType:          photo\n");
}

TEST(MediaReport, listsChapters)
{
    Medium medium;
    medium.uri = "/x";
    medium.chapters = {{0, 3000, "Intro", "eng"}, {3000, -1, "\x1b", ""}};
    EXPECT_EQ(mediaReport(medium), "File:          /x\n"
                                   "Chapter 1:     0:00.000 - 0:03.000, Intro, eng\n"
                                   "Chapter 2:     0:03.000, \xEF\xBF\xBD\n");
}

TEST(MediaJson, tellsAllThatIsKnownInOneLine)
{
    Medium medium = photo();
    medium.info = film();
    medium.info.par = {16, 11};
    medium.info.hdr_type = om::OM_HDR_TYPE_PQ;
    medium.info.create_date = {2024, -1, -1, -1, {-1, -1, -1}};
    std::strcpy(medium.info.tag.title, "A \"film\"");
    medium.chapters = {{0, 3000, "Intro", "eng"}};
    medium.container.video_count = medium.container.audio_count = medium.container.text_count = 1;
    medium.container.videos_detail[0].video.width = 320;
    medium.container.audios_detail[0].audio.codec = om::OM_AUDIO_CODEC_AAC_LC;
    std::strcpy(medium.container.audios_detail[0].audio.lang, "deu");
    std::strcpy(medium.container.subtitle_detail[0].subtitle.title, "All");
    EXPECT_EQ(
        mediaJson(medium),
        R"({"uri":"/p.jpg","type":"video","mime_type":"video/quicktime","file_size":78000,"duration_ms":61005,)"
        R"("width":320,"height":180,"frame_rate":25,"pixel_aspect_ratio":[16,11],"hdr":"PQ","created":"2024",)"
        R"("capabilities":["seek","speed"],"tags":{"title":"A \"film\""},)"
        R"("video_tracks":[{"number":0,"codec":"H.264","width":320}],)"
        R"("audio_tracks":[{"number":0,"codec":"AAC","language":"deu"}],)"
        R"("subtitle_tracks":[{"number":0,"title":"All"}],)"
        R"("chapters":[{"start_ms":0,"end_ms":3000,"title":"Intro","language":"eng"}],)"
        R"("exif":{"rotation":90,"mirrored":true,"maker":"Maker","model":"Model 1000",)"
        R"("taken":"2024-02-03 04:05:06","exposure_time_s":0.008,"f_number":2.8,"focal_length_mm":35.0,"iso":200,)"
        R"("latitude":-33.5,"longitude":-126.0,"altitude_m":-38.0}})"
        "\n");
}

TEST(MediaJson, leavesOutWhatIsNotKnownAndStaysValid)
{
    Medium medium;
    medium.uri = "/\xFF";
    medium.info.file_size = static_cast<std::uint64_t>(-1);
    medium.info.duration = -1;
    medium.container.audio_count = 1000;
    std::string const text = mediaJson(medium);
    EXPECT_EQ(text.substr(0, 24), "{\"uri\":\"/\xEF\xBF\xBD\",\"audio_tra");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
}

TEST(DateLabel, showsAsMuchAsIsKnown)
{
    EXPECT_EQ(dateLabel({-1, -1, -1, -1, {-1, -1, -1}}), "");
    EXPECT_EQ(dateLabel({2024, 2, 3, 6, {-1, -1, -1}}), "2024-02-03");
    EXPECT_EQ(dateLabel({2024, 2, 3, 6, {4, 5, 6}}), "2024-02-03 04:05:06");
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
