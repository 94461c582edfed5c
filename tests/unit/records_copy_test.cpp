// SPDX-License-Identifier: Apache-2.0
// Copies of the records: every field, and every reserved byte of those that are copied as one image.
#include "orvane/om_type_util.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using test::LogCapture;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

/// Alignment gaps, which belong to no field.
struct Gap
{
    std::size_t offset;
    std::size_t size;
};

using Bytes = std::vector<unsigned char>;

template <class Record> Bytes bytesOf(Record const& record)
{
    auto const* const bytes = reinterpret_cast<unsigned char const*>(&record);
    return Bytes(bytes, bytes + sizeof record);
}

template <class Record> void fillAtRandom(Record& record)
{
    std::mt19937 random(sizeof record);
    for (std::size_t i = 0; i < sizeof record; ++i)
    {
        reinterpret_cast<unsigned char*>(&record)[i] = static_cast<unsigned char>(random());
    }
}

template <class Record> void expectCopy(char const* name, std::vector<Gap> const& gaps = {})
{
    auto const from = std::make_unique<Record>();
    auto const to = std::make_unique<Record>();
    fillAtRandom(*from);
    Bytes expected = bytesOf(*from);
    Bytes before = expected;
    for (std::size_t i = 0; i < sizeof(Record); ++i)
    {
        before[i] = static_cast<unsigned char>(~before[i]); // so that a byte which was not copied differs
    }
    std::memcpy(to.get(), before.data(), sizeof(Record));

    LogCapture const log;
    OmTypeUtil::copy(*from, *to);
    ASSERT_THAT(log.lines(), Not(IsEmpty())) << name;
    EXPECT_EQ(log.lines().front().place, "om_type_util: OmTypeUtil::copy") << name;
    EXPECT_EQ(log.linesOf("OmTypeUtil::copy").front(), "debug: Called!") << name;
    EXPECT_EQ(bytesOf(*from), expected) << name;
    Bytes actual = bytesOf(*to);
    for (Gap const& gap : gaps)
    {
        std::fill_n(actual.begin() + static_cast<std::ptrdiff_t>(gap.offset), gap.size, 0);
        std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(gap.offset), gap.size, 0);
    }
    for (std::size_t i = 0; i < sizeof(Record); ++i)
    {
        ASSERT_EQ(actual[i], expected[i]) << name << " at " << i;
    }
}

TEST(OmTypeUtilCopy, wholeImagesAreEqualInEveryByte)
{
    expectCopy<om_stream_info_t>("om_stream_info_t");
    expectCopy<om_stream_info_group_t>("om_stream_info_group_t");
    expectCopy<om_container_info_t>("om_container_info_t");
    expectCopy<om_request_info_t>("om_request_info_t");
    expectCopy<om_resrc_info_t>("om_resrc_info_t");
    expectCopy<om_error_detail_t>("om_error_detail_t");
}

TEST(OmTypeUtilCopy, recordsWithoutGapsAreEqualInEveryByte)
{
    expectCopy<om_rational_t>("om_rational_t");
    expectCopy<om_resolution_t>("om_resolution_t");
    expectCopy<om_display_rect_t>("om_display_rect_t");
    expectCopy<om_chapter_info_t>("om_chapter_info_t");
    expectCopy<om_time_t>("om_time_t");
    expectCopy<om_date_t>("om_date_t");
    expectCopy<om_tag_info_t>("om_tag_info_t");
    expectCopy<om_media_info_t>("om_media_info_t");
    expectCopy<om_uri_info_t>("om_uri_info_t");
    expectCopy<om_setting_info_t>("om_setting_info_t");
    expectCopy<om_contents_info_t>("om_contents_info_t");
    expectCopy<om_subtiltile_info_t>("om_subtiltile_info_t");
    expectCopy<om_subtiltile_style_t>("om_subtiltile_style_t");
    expectCopy<om_subtiltile_layout_t>("om_subtiltile_layout_t");
    expectCopy<om_thumbnail_data_info_t>("om_thumbnail_data_info_t");
    expectCopy<om_state_detail_t>("om_state_detail_t");
    expectCopy<om_track_detail_t>("om_track_detail_t");
    expectCopy<om_gps_info_t>("om_gps_info_t");
    expectCopy<om_exif_info_t>("om_exif_info_t");
}

TEST(OmTypeUtilCopy, recordsWithGapsAreEqualInEveryField)
{
    std::vector<Gap> const ofPreviewRequest{{4240 + 2052, 4}, {4240 + 2084, 4}};
    expectCopy<om_thumbnail_request_info_t>("om_thumbnail_request_info_t", {{2052, 4}, {2084, 4}});
    expectCopy<om_preview_request_info_t>("om_preview_request_info_t", ofPreviewRequest);
    std::vector<Gap> ofPreview = ofPreviewRequest;
    ofPreview.push_back({8996, 4});
    expectCopy<om_preview_constents_info_t>("om_preview_constents_info_t", ofPreview);
    expectCopy<om_open_detail_t>("om_open_detail_t", {{260, 4}, {20164, 4}});
    expectCopy<om_seek_detail_t>("om_seek_detail_t", {{260, 4}});
}

TEST(OmTypeUtilCopy, recordCopiedToItselfStaysAsItIs)
{
    auto const info = std::make_unique<om_contents_info_t>();
    fillAtRandom(*info);
    Bytes const before = bytesOf(*info);
    OmTypeUtil::copy(*info, *info);
    EXPECT_EQ(bytesOf(*info), before);
}

om_thumbnail_detail_t thumbnail(char* data, int size)
{
    om_thumbnail_detail_t detail{};
    detail.error.err_code = 1;
    std::strcpy(detail.error.err_str, "reason");
    detail.color_space = 2;
    detail.format = 3;
    detail.resolution = {4, 5};
    detail.data = data;
    detail.size = size;
    return detail;
}

TEST(OmTypeUtilCopy, pictureIsCopiedIntoTheBlockThatTheOtherSideHas)
{
    char picture[] = {'a', '\0', 'c'};
    char room[] = {'1', '2', '3', '4'};
    om_thumbnail_detail_t const from = thumbnail(picture, 3);
    om_thumbnail_detail_t to{};
    to.data = room;
    to.size = 4;
    LogCapture const log;
    OmTypeUtil::copy(from, to);
    EXPECT_THAT(log.linesOf("OmTypeUtil::copy"), Each("debug: Called!"));
    EXPECT_EQ(log.lines().front().place, "om_type_util: OmTypeUtil::copy");
    EXPECT_EQ(to.data, room);
    EXPECT_EQ(to.size, 3);
    EXPECT_THAT(room, ElementsAre('a', '\0', 'c', '4'));
    EXPECT_EQ(to.error.err_code, 1);
    EXPECT_STREQ(to.error.err_str, "reason");
    EXPECT_EQ(to.color_space, 2);
    EXPECT_EQ(to.format, 3);
    EXPECT_EQ(to.resolution.width, 4);
    EXPECT_EQ(to.resolution.height, 5);
    EXPECT_EQ(from.data, picture);
}

TEST(OmTypeUtilCopy, pictureOfNoBytesNeedsNoBlock)
{
    om_thumbnail_detail_t const from = thumbnail(nullptr, 0);
    om_thumbnail_detail_t to{};
    to.size = 7;
    OmTypeUtil::copy(from, to);
    EXPECT_EQ(to.data, nullptr);
    EXPECT_EQ(to.size, 0);
    EXPECT_EQ(to.format, 3);
}

TEST(OmTypeUtilCopy, pictureComesWithAReasonThatFillsItsField)
{
    char picture[] = {'a'};
    char room[] = {'1', '2'};
    om_thumbnail_detail_t from = thumbnail(picture, 1);
    std::string const reason(sizeof from.error.err_str, 'r');
    std::memcpy(from.error.err_str, reason.data(), reason.size()); // without a NUL
    om_thumbnail_detail_t to{};
    to.data = room;
    OmTypeUtil::copy(from, to);
    EXPECT_EQ(std::string(to.error.err_str, sizeof to.error.err_str), reason);
    EXPECT_EQ(to.color_space, 2); // right behind it
    EXPECT_EQ(to.error.err_code, 1);
    EXPECT_THAT(room, ElementsAre('a', '2'));
}

TEST(OmTypeUtilCopy, everyRecordInsideSaysThatItWasCalled)
{
    auto const from = std::make_unique<om_open_detail_t>();
    auto const to = std::make_unique<om_open_detail_t>();
    LogCapture log;
    OmTypeUtil::copy(from->container, to->container);
    EXPECT_THAT(log.linesOf("OmTypeUtil::copy"), ElementsAre("debug: Called!"));
    EXPECT_EQ(log.lines()[0].place, "om_type_util: OmTypeUtil::copy");

    // The detail, its error and its container; its media with resolution, ratio, date, time and tags.
    log.clear();
    OmTypeUtil::copy(*from, *to);
    EXPECT_THAT(log.linesOf("OmTypeUtil::copy"), SizeIs(9));
    EXPECT_THAT(log.linesOf("OmTypeUtil::copy"), Each("debug: Called!"));
}

} // namespace

} // namespace tz::orvane::om
