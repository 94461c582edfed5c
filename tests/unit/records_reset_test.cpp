// SPDX-License-Identifier: Apache-2.0
// Initial values of the records: every byte against a table of its own, the bytes that are left alone among them.
#include "orvane/om_type_util.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using platform::DebugLevel;
using test::LogCapture;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr unsigned char kLeftAlone = 0xA5;

/// Bytes that hold the little-endian word `value`, again and again.
struct Range
{
    std::size_t offset;
    std::size_t size;
    std::int32_t value;
};

using Table = std::vector<Range>;

Table operator+(Table left, Table const& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A table of a record that begins at `offset` of another; `count` of them, `step` bytes apart.
Table at(std::size_t offset, Table const& inner, int count = 1, std::size_t step = 0)
{
    Table moved;
    for (int i = 0; i < count; ++i)
    {
        for (Range range : inner)
        {
            range.offset += offset + static_cast<std::size_t>(i) * step;
            moved.push_back(range);
        }
    }
    return moved;
}

std::vector<unsigned char> imageOf(std::size_t size, Table const& table)
{
    std::vector<unsigned char> image(size, kLeftAlone);
    for (Range const& range : table)
    {
        for (std::size_t i = 0; i < range.size; ++i)
        {
            image.at(range.offset + i) =
                static_cast<unsigned char>(static_cast<std::uint32_t>(range.value) >> (i % 4 * 8));
        }
    }
    return image;
}

/// A record that held something else before.
template <class Record> std::unique_ptr<Record> resetRecord()
{
    auto record = std::make_unique<Record>();
    std::memset(record.get(), kLeftAlone, sizeof(Record));
    OmTypeUtil::reset(*record);
    return record;
}

template <class Record> void expectReset(char const* name, Table const& table)
{
    LogCapture const log;
    auto const record = resetRecord<Record>();
    ASSERT_THAT(log.lines(), Not(IsEmpty())) << name;
    EXPECT_EQ(log.lines().front().place, "om_type_util: OmTypeUtil::reset") << name;
    EXPECT_EQ(log.linesOf("OmTypeUtil::reset").front(), "debug: Called!") << name;
    std::vector<unsigned char> const expected = imageOf(sizeof(Record), table);
    auto const* const actual = reinterpret_cast<unsigned char const*>(record.get());
    for (std::size_t i = 0; i < sizeof(Record); ++i)
    {
        ASSERT_EQ(actual[i], expected[i]) << name << " at " << i;
    }
}

Table const kRational{{0, 8, 0}};
Table const kResolution{{0, 8, 0}};
Table const kRect{{0, 20, 0}};
Table const kTime{{0, 12, -1}};
Table const kDate{{0, 28, -1}};
Table const kStream{{0, 4, -1}, {4, 4, 0}, {8, 32, 0}, {108, 364, 0}};
Table const kTag{{0, 800, 0}};
Table const kUri{{0, 4224, 0}};
Table const kError{{0, 260, 0}};
Table const kContainer = at(0, kStream, 2, 472) + Table{{944, 8, -1}, {952, 4, 0}} + at(956, kStream, 18, 472) +
                         Table{{9452, 8, -1}, {9460, 4, 0}} + at(9464, kStream, 20, 472) +
                         Table{{18904, 8, -1}, {18912, 4, 0}};
Table const kMedia = Table{{0, 4, 0},   {8, 8, 0},     {16, 8, -1}, {24, 64, 0}, {88, 8, -1},  {96, 8, 0}, {104, 8, -1},
                           {112, 8, 0}, {120, 12, -1}, {132, 4, 0}, {144, 4, 0}, {148, 4, -1}, {180, 4, 0}} +
                     at(136, kRational) + at(152, kDate) + at(184, kTag);
Table const kSetting = at(0, kRect) + Table{{20, 12, 0}, {32, 4, 16}, {36, 4, 0}};
Table const kRequest = Table{{0, 4, 0},    {4228, 12, 0}, {8468, 8, 0}, {8476, 4, 1}, {8480, 4, 0},
                             {8504, 8, 0}, {8512, 8, -1}, {8520, 4, 3}, {8524, 4, 0}, {8528, 8, 0}} +
                       at(4, kUri) + at(4244, kUri) + at(8484, kRect);
Table const kThumbnailRequest{{0, 2048, 0}, {2048, 4, 0}, {2056, 16, -1}, {2072, 8, 0}, {2080, 4, 0}};
Table const kThumbnailData{{0, 2048, 0}, {2048, 8, -1}, {2056, 16, 0}};
Table const kPreviewRequest =
    Table{{0, 8, 0}, {4236, 4, 0}, {6328, 4, 0}, {6332, 1, 0}} + at(12, kUri) + at(4240, kThumbnailRequest);

TEST(OmTypeUtilReset, setsTheBytesOfSmallRecords)
{
    expectReset<om_rational_t>("om_rational_t", kRational);
    expectReset<om_resolution_t>("om_resolution_t", kResolution);
    expectReset<om_display_rect_t>("om_display_rect_t", kRect);
    expectReset<om_chapter_info_t>("om_chapter_info_t", {{0, 288, 0}});
    expectReset<om_time_t>("om_time_t", kTime);
    expectReset<om_date_t>("om_date_t", kDate);
    expectReset<om_gps_info_t>("om_gps_info_t", {{0, 64, 0}});
    expectReset<om_state_detail_t>("om_state_detail_t", {{0, 12, 0}});
    expectReset<om_resrc_info_t>("om_resrc_info_t", {{0, 88, 0}});
}

TEST(OmTypeUtilReset, setsTheBytesOfStreamsAndLeavesTheReservedOnesAlone)
{
    expectReset<om_stream_info_t>("om_stream_info_t", kStream);
    expectReset<om_stream_info_group_t>("om_stream_info_group_t", Table{{0, 4, -1}} + at(4, kStream, 24, 472));
    expectReset<om_container_info_t>("om_container_info_t", kContainer);
    expectReset<om_track_detail_t>("om_track_detail_t", at(0, kStream) + Table{{472, 8, 0}});
}

TEST(OmTypeUtilReset, setsTheBytesOfMediaAndUris)
{
    expectReset<om_tag_info_t>("om_tag_info_t", kTag);
    expectReset<om_media_info_t>("om_media_info_t", kMedia);
    expectReset<om_uri_info_t>("om_uri_info_t", kUri);
    expectReset<om_exif_info_t>("om_exif_info_t", Table{{0, 164, 0}, {192, 64, 0}, {256, 4, 0}} + at(164, kDate));
}

TEST(OmTypeUtilReset, setsTheBytesOfRequests)
{
    expectReset<om_setting_info_t>("om_setting_info_t", kSetting);
    expectReset<om_request_info_t>("om_request_info_t", kRequest);
    expectReset<om_contents_info_t>("om_contents_info_t", at(0, kRequest) + at(8536, kMedia) + at(9520, kContainer) +
                                                              at(28696, kSetting) + Table{{28736, 16, 0}});
}

TEST(OmTypeUtilReset, setsTheBytesOfSubtitles)
{
    expectReset<om_subtiltile_info_t>("om_subtiltile_info_t", {{0, 4, -1}, {4, 256, 0}, {260, 4, 0}});
    expectReset<om_subtiltile_style_t>("om_subtiltile_style_t", {{0, 16, -1}, {20, 8, 256}, {28, 4, 200}, {32, 4, -1}});
    expectReset<om_subtiltile_layout_t>("om_subtiltile_layout_t", {{0, 8, 1}, {8, 4, -1}});
}

TEST(OmTypeUtilReset, setsTheBytesOfPreviews)
{
    expectReset<om_thumbnail_request_info_t>("om_thumbnail_request_info_t", kThumbnailRequest);
    expectReset<om_thumbnail_data_info_t>("om_thumbnail_data_info_t", kThumbnailData);
    expectReset<om_preview_request_info_t>("om_preview_request_info_t", kPreviewRequest);
    expectReset<om_preview_constents_info_t>(
        "om_preview_constents_info_t", at(0, kPreviewRequest) + at(6360, kThumbnailData) + at(8448, kDate) +
                                           at(8476, kResolution) + Table{{8432, 8, -1}, {8440, 8, 0}, {8484, 512, 0}});
}

TEST(OmTypeUtilReset, setsTheBytesOfDetails)
{
    expectReset<om_error_detail_t>("om_error_detail_t", kError);
    expectReset<om_open_detail_t>("om_open_detail_t", at(0, kError) + at(264, kMedia) + at(1248, kContainer));
    expectReset<om_seek_detail_t>("om_seek_detail_t", at(0, kError) + Table{{264, 24, 0}});
    bool const narrow = sizeof(void*) == 4;
    expectReset<om_thumbnail_detail_t>("om_thumbnail_detail_t",
                                       at(0, kError) + Table{{260, 8, 0}, {268, 8, -1}} +
                                           (narrow ? Table{{276, 8, 0}} : Table{{280, 12, 0}}));
}

TEST(OmTypeUtilReset, containerReadsAsOneOfWhichNoTrackIsKnown)
{
    auto const info = resetRecord<om_container_info_t>();
    EXPECT_THAT((std::vector<int>{info->video_count, info->video_selected, info->audio_count, info->audio_selected,
                                  info->text_count, info->text_selected}),
                Each(-1));
    EXPECT_THAT((std::vector<int>{info->video_muted, info->audio_muted, info->text_muted}), Each(0));
    for (auto const& stream : info->audios_detail)
    {
        EXPECT_EQ(stream.id, -1);
        EXPECT_EQ(stream.stream_type, 0);
    }
}

TEST(OmTypeUtilReset, settingsStartAtNormalSpeed)
{
    auto const info = resetRecord<om_setting_info_t>();
    EXPECT_EQ(info->play_speed, 16);
    EXPECT_THAT((std::vector<int>{info->disp_rect.px, info->disp_rect.zoom, info->disp_rotate, info->zoom_mode,
                                  info->zoom_ratio, info->volume}),
                Each(0));
}

TEST(OmTypeUtilReset, subtitleStyleLeavesTheServicesDefault)
{
    auto const style = resetRecord<om_subtiltile_style_t>();
    EXPECT_THAT((std::vector<int>{style->subtitle_x, style->subtitle_y, style->subtitle_width, style->subtitle_height,
                                  style->subtitle_charset}),
                Each(-1));
    EXPECT_EQ(style->subtitle_color, 256U);
    EXPECT_EQ(style->subtitle_BGcolor, 256U);
    EXPECT_EQ(style->subtitle_fontsize, 200);
}

TEST(OmTypeUtilReset, playRequestStartsAtTheBeginningAndRunsToTheEnd)
{
    auto const request = resetRecord<om_request_info_t>();
    EXPECT_EQ(request->start_pos, 0);
    EXPECT_EQ(request->end_pos, -1);
    EXPECT_EQ(request->play_scene, 1);
    EXPECT_EQ(request->bg_music, 3);
}

TEST(OmTypeUtilReset, everyRecordInsideSaysThatItWasCalled)
{
    om_uri_info_t uri;
    LogCapture log;
    OmTypeUtil::reset(uri);
    EXPECT_THAT(log.linesOf("OmTypeUtil::reset"), ElementsAre("debug: Called!"));
    EXPECT_EQ(log.lines()[0].place, "om_type_util: OmTypeUtil::reset");

    log.clear();
    om_date_t date;
    OmTypeUtil::reset(date);
    EXPECT_THAT(log.linesOf("OmTypeUtil::reset"), ElementsAre("debug: Called!", "debug: Called!"));

    // The medium with its resolution, ratio, date, time and tags.
    log.clear();
    om_media_info_t media;
    OmTypeUtil::reset(media);
    EXPECT_THAT(log.linesOf("OmTypeUtil::reset"), SizeIs(6));
    EXPECT_THAT(log.linesOf("OmTypeUtil::reset"), Each("debug: Called!"));

    log.clear();
    auto const container = std::make_unique<om_container_info_t>();
    OmTypeUtil::reset(*container);
    EXPECT_THAT(log.linesOf("OmTypeUtil::reset"), SizeIs(1 + 2 + 18 + 20));
}

TEST(OmTypeUtilReset, saysNothingBelowTheLevel)
{
    LogCapture const log(DebugLevel::info);
    om_setting_info_t info;
    OmTypeUtil::reset(info);
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace

} // namespace tz::orvane::om
