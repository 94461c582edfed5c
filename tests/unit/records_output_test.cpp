// SPDX-License-Identifier: Apache-2.0
// Dumps of the records, line by line.
#include "orvane/om_type_util.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using platform::DebugLevel;
using test::LogCapture;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

using Lines = std::vector<std::string>;

/// Every line is one of `output` at level debug, whoever puts it out.
template <class Record> Lines dumpOf(Record const& record)
{
    LogCapture const log;
    OmTypeUtil::output(record);
    for (LogCapture::Line const& line : log.lines())
    {
        EXPECT_EQ(line.place, "om_type_util: OmTypeUtil::output");
        EXPECT_EQ(line.level, DebugLevel::debug);
    }
    return log.texts();
}

Lines operator+(Lines left, Lines const& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

template <std::size_t size> void set(char (&field)[size], char const* text)
{
    std::strncpy(field, text, size);
}

/// Text that fills its field: no NUL.
template <std::size_t size> std::string fill(char (&field)[size], char character)
{
    std::memset(field, character, size);
    return std::string(size, character);
}

TEST(OmTypeUtilOutput, displayRect)
{
    EXPECT_THAT(dumpOf(om_display_rect_t{0, 0, 1920, 1080, 0}),
                ElementsAre("Called!", " Disp-rect-Info:", " |- px=0", " |- py=0", " |- width=1920", " |- height=1080",
                            " |- zoom=0"));
    EXPECT_THAT(dumpOf(om_display_rect_t{-1, 2, 3, 4, 5}),
                ElementsAre("Called!", " Disp-rect-Info:", " |- px=-1", " |- py=2", " |- width=3", " |- height=4",
                            " |- zoom=5"));
}

TEST(OmTypeUtilOutput, container)
{
    auto const info = std::make_unique<om_container_info_t>();
    OmTypeUtil::reset(*info);
    info->video_count = 1;
    info->video_selected = 0;
    info->video_muted = 1;
    om_stream_info_t& video = info->videos_detail[0];
    video.id = 7;
    video.stream_type = 1;
    set(video.mime_type, "video/x-h264");
    video.video = {1280, 720, 25};
    info->audio_count = 2;
    info->audio_selected = 1;
    for (int i = 0; i < 2; ++i)
    {
        om_stream_info_t& audio = info->audios_detail[i];
        audio.id = 10 + i;
        audio.stream_type = 2;
        set(audio.mime_type, "audio/mpeg");
        set(audio.audio.lang, i == 0 ? "eng" : "deu");
        audio.audio.codec = 11;
        audio.audio.samplerate = 48000;
        audio.audio.ch = 2;
        audio.audio.audio_format = 3;
    }
    info->text_count = 1;
    info->text_selected = 0;
    om_stream_info_t& text = info->subtitle_detail[0];
    text.id = 20;
    text.stream_type = 3;
    set(text.mime_type, "text/x-raw");
    set(text.subtitle.title, "Forced");
    set(text.subtitle.lang, "fra");
    text.subtitle.drawtype = 4;
    text.subtitle.embtype = 5;

    EXPECT_THAT(dumpOf(*info),
                ElementsAre("Called!", " Container-Info:(video)", " |- count=1", " |- selected=0", " |- muted=1",
                            " |- videos_detail:", "     |- id=7", "     |- stream_type=1",
                            "     |- mime_type=video/x-h264", "     |- video.width=1280", "     |- video.height=720",
                            "     |- video.fps=25", " Container-Info:(audio)", " |- count=2", " |- selected=1",
                            " |- muted=0", " |- audios_detail:", "     |- id=10", "     |- stream_type=2",
                            "     |- stream_type=audio/mpeg", "     |- audio.lang=eng", "     |- audio.codec=11",
                            "     |- audio.samplerate=48000", "     |- audio.ch=2", "     |- audio.audio_format=3",
                            "     |- id=11", "     |- stream_type=2", "     |- stream_type=audio/mpeg",
                            "     |- audio.lang=deu", "     |- audio.codec=11", "     |- audio.samplerate=48000",
                            "     |- audio.ch=2", "     |- audio.audio_format=3", " Container-Info:(subtitle)",
                            " |- count=1", " |- selected=0", " |- muted=0", " |- subtitle_detail:", "     |- id=20",
                            "     |- stream_type=3", "     |- mime_type=text/x-raw", "     |- subtitle.title=Forced",
                            "     |- subtitle.lang=fra", "     |- subtitle.drawtype=4", "     |- subtitle.embtype=5"));
}

TEST(OmTypeUtilOutput, listsAreWalkedNoFurtherThanTheyReach)
{
    auto const info = std::make_unique<om_container_info_t>();
    OmTypeUtil::reset(*info);
    auto const entries = [&]
    {
        Lines const lines = dumpOf(*info);
        return std::count(lines.begin(), lines.end(), "     |- id=-1");
    };
    EXPECT_EQ(entries(), 0); // counts of -1
    info->audio_count = 30;
    EXPECT_EQ(entries(), 18);
    info->audio_count = 18;
    EXPECT_EQ(entries(), 18);
    info->audio_count = 17;
    EXPECT_EQ(entries(), 17);
    info->audio_count = 0;
    info->video_count = 3;
    EXPECT_EQ(entries(), 2);
    info->video_count = INT32_MIN;
    info->text_count = INT32_MAX;
    EXPECT_EQ(entries(), 20);
}

TEST(OmTypeUtilOutput, tags)
{
    om_tag_info_t tag{};
    set(tag.title, "Title");
    set(tag.artist, "Artist");
    set(tag.album, "Album");
    set(tag.year, "2024");
    set(tag.genre, "Genre %s");
    EXPECT_THAT(dumpOf(tag), ElementsAre("Called!", " Tag-Info:", " |- title=Title", " |- artist=Artist",
                                         " |- album=Album", " |- year=2024", " |- genre=Genre %s"));
}

TEST(OmTypeUtilOutput, textWithoutNulEndsWithItsField)
{
    om_tag_info_t tag{};
    std::string const title = fill(tag.title, 't');
    std::string const artist = fill(tag.artist, 'a');
    std::string const album = fill(tag.album, 'b');
    std::string const year = fill(tag.year, 'y');
    std::string const genre = fill(tag.genre, 'g');
    EXPECT_THAT(dumpOf(tag), ElementsAre("Called!", " Tag-Info:", " |- title=" + title, " |- artist=" + artist,
                                         " |- album=" + album, " |- year=" + year, " |- genre=" + genre));

    auto const uri = std::make_unique<om_uri_info_t>(); // lines that are longer than what a line usually needs
    std::string const original = fill(uri->orign_uri, 'o');
    std::string const pure = fill(uri->pure_uri, 'p');
    std::string const file = fill(uri->file_name, 'f');
    std::string const header = fill(uri->header, 'h');
    EXPECT_THAT(dumpOf(*uri), ElementsAre("Called!", "orign_uri:[" + original + "]", "pure_uri:[" + pure + "]",
                                          "file_name:[" + file + "]", "header:[" + header + "]"));

    om_error_detail_t error{};
    std::string const reason = fill(error.err_str, 'r');
    EXPECT_EQ(dumpOf(error).back(), " |- err_str=" + reason);
}

TEST(OmTypeUtilOutput, textOfAContainerWithoutNulEndsWithItsField)
{
    auto const info = std::make_unique<om_container_info_t>();
    info->video_count = info->audio_count = info->text_count = 1;
    std::string const video = fill(info->videos_detail[0].mime_type, 'v');
    std::string const audio = fill(info->audios_detail[0].mime_type, 'a');
    std::string const spoken = fill(info->audios_detail[0].audio.lang, 's');
    std::string const text = fill(info->subtitle_detail[0].mime_type, 'x');
    std::string const title = fill(info->subtitle_detail[0].subtitle.title, 't');
    std::string const written = fill(info->subtitle_detail[0].subtitle.lang, 'w');
    // What lies behind a text shows when it is read too far.
    info->videos_detail[0].reserved[0] = info->audios_detail[0].reserved[0] = info->subtitle_detail[0].reserved[0] =
        '!';
    info->audios_detail[0].audio.codec = info->subtitle_detail[0].subtitle.drawtype = '!';
    Lines const lines = dumpOf(*info);
    EXPECT_THAT(lines, IsSupersetOf({"     |- mime_type=" + video, "     |- stream_type=" + audio,
                                     "     |- audio.lang=" + spoken, "     |- mime_type=" + text,
                                     "     |- subtitle.title=" + title, "     |- subtitle.lang=" + written}));
}

om_media_info_t mediaInfo()
{
    om_media_info_t info{};
    info.media_type = 1;
    info.file_size = 0xFFFFFFFFFFFFFFFFULL;
    info.duration = -5000000000;
    set(info.mime_type, "video/mp4");
    info.resolution = {3840, 2160};
    info.frame_rate = 50;
    info.hdr_type = 2;
    info.color_depth = 10;
    info.bit_rate = 25000000;
    info.audio_codec = 15;
    info.video_codec = 14;
    info.audio_track_num = 3;
    info.video_track_num = 4;
    info.text_track_num = 5;
    info.disp_rotation = 90;
    info.par = {16, 15};
    info.audio_channel = 6;
    info.sample_rate = 44100;
    info.create_date = {2024, 2, 9, 5, {7, 8, 59}};
    info.cap_flags = 3;
    set(info.tag.title, "Title");
    return info;
}

Lines const kMediaDump{"Called!",
                       " Meta-Info:",
                       " |- media_type=1",
                       " |- file_size=18446744073709551615",
                       " |- duration=-5000000000",
                       " |- mime_type=video/mp4",
                       " |- width=3840",
                       " |- height=2160",
                       " |- frame_rate=50",
                       " |- hdr_type=2",
                       " |- color_depth=10",
                       " |- bit_rate=25000000",
                       " |- audio_codec=15",
                       " |- video_codec=14",
                       " |- audio_track_num=3",
                       " |- video_track_num=4",
                       " |- text_track_num=5",
                       " |- disp_rotation=90",
                       " |- par=16:15",
                       " |- audio_channel=6",
                       " |- sample_rate=44100",
                       " |- create_date=2024-02-09(5)::07::08::59",
                       " |- cap_flags=3",
                       "Called!",
                       " Tag-Info:",
                       " |- title=Title",
                       " |- artist=",
                       " |- album=",
                       " |- year=",
                       " |- genre="};

TEST(OmTypeUtilOutput, media)
{
    EXPECT_EQ(dumpOf(mediaInfo()), kMediaDump);
}

TEST(OmTypeUtilOutput, unknownDateIsMinusOneThroughout)
{
    om_media_info_t info;
    OmTypeUtil::reset(info);
    EXPECT_EQ(dumpOf(info)[21], " |- create_date=-001--1--1(-1)::-1::-1::-1");
}

TEST(OmTypeUtilOutput, uriHasNoTitle)
{
    auto const info = std::make_unique<om_uri_info_t>();
    set(info->orign_uri, "http://host/a.mp4?x=1");
    set(info->pure_uri, "http://host/a.mp4");
    set(info->file_name, "a.mp4");
    set(info->header, "http://");
    EXPECT_THAT(dumpOf(*info), ElementsAre("Called!", "orign_uri:[http://host/a.mp4?x=1]",
                                           "pure_uri:[http://host/a.mp4]", "file_name:[a.mp4]", "header:[http://]"));
}

TEST(OmTypeUtilOutput, settingsShowTheModeAsRatio)
{
    EXPECT_THAT(dumpOf(om_setting_info_t{{1, 2, 3, 4, 5}, 90, 2, 150, 16, 55}),
                ElementsAre("Called!", " Setting-Info:", " |- disp_rotate=90", " |- zoom_mode=2", " |- zoom_ratio=2",
                            " |- play_speed=16", " |- volume=55"));
}

TEST(OmTypeUtilOutput, playRequest)
{
    auto const info = std::make_unique<om_request_info_t>();
    info->req_id = 1;
    info->stage = 2;
    info->result = -3;
    info->err_detail = 4;
    info->app_type = 5;
    info->auto_start = 6;
    info->play_scene = 7;
    info->video_play_mode = 8;
    info->bg_music = 9;
    info->m_smallWindowMode = 10;
    EXPECT_THAT(dumpOf(*info), ElementsAre("Called!", " Request-Info:", " |- req_id=1", " |- stage=2", " |- result=-3",
                                           " |- err_detail=4", " |- app_type=5", " |- auto_start=6", " |- play_scene=7",
                                           " |- video_play_mode=8", " |- bg_music=9", " |- m_smallWindowMode=10"));
}

TEST(OmTypeUtilOutput, subtitleStyle)
{
    EXPECT_THAT(dumpOf(om_subtiltile_style_t{1, 2, 3, 4, 99, 0xFFFFFFFF, 256, 40, -1}),
                ElementsAre("Called!", "Subtitle style:", " |- subtitle_x=1", " |- subtitle_y=2",
                            " |- subtitle_width=3", " |- subtitle_height=4", " |- subtitle_color=4294967295",
                            " |- subtitle_BGcolor=256", " |- subtitle_fontsize=40", " |- subtitle_charset=-1"));
}

TEST(OmTypeUtilOutput, previewRequest)
{
    auto const info = std::make_unique<om_preview_request_info_t>();
    info->req_id = 1;
    info->media_type = 2;
    info->scale = 3;
    EXPECT_THAT(dumpOf(*info),
                ElementsAre("Called!", " Request Info:", " |- req_id=1", " |- media_type=2", " |- scale=3"));
}

TEST(OmTypeUtilOutput, previewContents)
{
    auto const info = std::make_unique<om_preview_constents_info_t>();
    info->request.req_id = 1;
    set(info->request.uri.orign_uri, "http://host/a.mp4?x=1");
    set(info->request.uri.pure_uri, "http://host/a.mp4");
    info->request.media_type = 2;
    info->request.thumbnail.flags = 3;
    info->request.thumbnail.time_mode = 1;
    info->request.thumbnail.target_pos = -6000000000;
    info->request.thumbnail.color_space = 4;
    info->request.thumbnail.format = 5;
    info->request.thumbnail.target_resolution = {320, 180};
    info->duration = 7000000000;
    info->file_size = 0x8000000000000000ULL;
    info->create_time = {2024, 2, 9, 5, {7, 8, 59}};
    info->resolution = {1920, 1080};
    set(info->artist, "Artist");
    std::string const album = fill(info->album, 'b');
    EXPECT_THAT(dumpOf(*info),
                ElementsAre("Called!", " Preview-Content:", " |- request id=1", " |- orign uri=http://host/a.mp4?x=1",
                            " |- pure uri=http://host/a.mp4", " |- media type=2", " |- duration=7000000000",
                            " |- file size=9223372036854775808", " |- artist=Artist", " |- album=" + album,
                            " |- resolution=(1920, 1080)", " |- create time=2024/2/9 7:8:59", " |- flags=3",
                            " |- time mode=1", " |- target pos=-6000000000", " |- color space=4", " |- format=5",
                            " |- target resolution=(320, 180)"));
}

om_error_detail_t errorDetail()
{
    om_error_detail_t detail{};
    detail.err_code = -7;
    set(detail.err_str, "not found");
    return detail;
}

TEST(OmTypeUtilOutput, error)
{
    EXPECT_THAT(dumpOf(errorDetail()),
                ElementsAre("Called!", " Error-Detail:", " |- err_code=-7", " |- err_str=not found"));
}

TEST(OmTypeUtilOutput, openDetailIsTheDumpsOfItsParts)
{
    auto const detail = std::make_unique<om_open_detail_t>();
    OmTypeUtil::reset(*detail);
    detail->error = errorDetail();
    detail->media = mediaInfo();
    EXPECT_THAT(dumpOf(*detail),
                ElementsAreArray(Lines{"Called!"} + dumpOf(detail->error) + kMediaDump + dumpOf(detail->container)));
}

TEST(OmTypeUtilOutput, exif)
{
    om_exif_info_t info{};
    info.rotation = 90;
    info.mirror = 1;
    std::string const model = fill(info.camera_model, 'c');
    set(info.camera_maker, "maker");
    info.color_space = 1;
    info.iso = 400;
    EXPECT_THAT(dumpOf(info), ElementsAre("Called!", " ExifInfo:", " |- rotation=90", " |- mirror=TRUE",
                                          " |- camera_model=" + model, " |- color_space=1", " |- iso=400"));
    info.mirror = 0;
    EXPECT_EQ(dumpOf(info)[3], " |- mirror=FALSE");
}

TEST(OmTypeUtilOutput, resources)
{
    om_resrc_info_t info{};
    info.enable = 1;
    info.appId = 0xFFFFFFFF;
    info.cnid = 4096;
    info.plid = 8192;
    info.msgId = 0xC201;
    info.priority = 2;
    info.state = -1;
    info.count = 2;
    info.resources[0] = {1, 2, 3, 4};
    info.resources[1] = {5, 6, 7, 8};
    EXPECT_THAT(dumpOf(info),
                ElementsAre("Called!", " resource-player-Info:", " |- enable=1", " |- appId=4294967295",
                            " |- cnid=4096", " |- plid=8192", " |- msgId=c201", " |- priority=2", " |- state=-1",
                            "    |- type=1", "    |- limit_num=2", "    |- req_num=3", "    |- curr_num=4",
                            "    |- type=5", "    |- limit_num=6", "    |- req_num=7", "    |- curr_num=8"));
    info.count = 100;
    EXPECT_EQ(dumpOf(info).size(), 9U + 3 * 4);
    info.count = -1;
    EXPECT_EQ(dumpOf(info).size(), 9U);
}

TEST(OmTypeUtilOutput, resourceConfiguration)
{
    EXPECT_THAT(dumpOf(om_resrc_cfg_info_t{1, 2, {3, 4, 5}}),
                ElementsAre("Called!", " resource-cfg-Info:", " |- type=1", "    |- num=3", "    |- num=4"));
    EXPECT_EQ(dumpOf(om_resrc_cfg_info_t{1, 100, {3, 4, 5}}).size(), 3U + 3);
}

template <class... Record> std::vector<Lines> dumpsOf()
{
    return {dumpOf(*std::make_unique<Record>())...};
}

TEST(OmTypeUtilOutput, recordsWithoutFieldDumpOnlySayThatItWasCalled)
{
    EXPECT_THAT((dumpsOf<om_rational_t, om_resolution_t, om_chapter_info_t, om_time_t, om_date_t, om_stream_info_t,
                         om_stream_info_group_t, om_subtiltile_info_t, om_subtiltile_layout_t, om_contents_info_t,
                         om_thumbnail_request_info_t, om_thumbnail_data_info_t, om_seek_detail_t, om_state_detail_t,
                         om_track_detail_t, om_thumbnail_detail_t, om_gps_info_t>()),
                Each(ElementsAre("Called!")));
}

TEST(OmTypeUtilOutput, nothingIsPutOutBelowTheLevel)
{
    LogCapture const log(DebugLevel::info);
    OmTypeUtil::output(mediaInfo());
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace

} // namespace tz::orvane::om
