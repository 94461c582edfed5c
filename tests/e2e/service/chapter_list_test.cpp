// SPDX-License-Identifier: Apache-2.0
// Which chapter a position lies in, and the chapters that streams carry along.
#include "chapters.h"
#include "stream_chapters.h"

#include <gmock/gmock.h>

#include <string>

namespace tz::orvane::service
{
namespace
{

using namespace std::string_literals;

Chapters chapters()
{
    Chapters list{{5'000, 6'000, "Gap behind", ""}, {0, -1, "First", ""}, {8'000, -1, "Last", ""}};
    completeChapters(list, 10'000);
    return list;
}

std::string titleAt(std::int64_t position)
{
    Chapters const list = chapters();
    Chapter const* const chapter = chapterAt(list, position);
    return chapter == nullptr ? "none" : chapter->title;
}

TEST(ChapterList, aPositionLiesInOneOrInNone)
{
    EXPECT_EQ(titleAt(-1), "none");
    EXPECT_EQ(titleAt(0), "First");
    EXPECT_EQ(titleAt(4'999), "First");
    EXPECT_EQ(titleAt(5'000), "Gap behind");
    EXPECT_EQ(titleAt(6'000), "none");
    EXPECT_EQ(titleAt(9'999), "Last");
    EXPECT_EQ(titleAt(10'000), "Last") << "where the medium has ended";
    EXPECT_EQ(titleAt(10'001), "none");
    EXPECT_EQ(chapterAt({}, 0), nullptr);
}

TEST(ChapterList, noChapterEndsBeforeItBegins)
{
    Chapters list{{500, 100, "", ""}, {900, -1, "", ""}};
    completeChapters(list, -1);
    EXPECT_EQ(list[0].end, 500);
    EXPECT_EQ(list[1].end, 900);
}

TEST(ChapterList, longTitlesAreCutBetweenCharacters)
{
    std::string title(254, 'x');
    om::om_chapter_info_t const record = recordOf({1, 2, title + "\xC3\xA4", "deu"});
    EXPECT_EQ(std::string(record.name), title);
    EXPECT_STREQ(record.lang, "deu");
    EXPECT_EQ(record.start_pos, 1);
    EXPECT_EQ(record.end_pos, 2);
}

std::string frame(std::string const& type, std::string const& size, std::string const& content)
{
    return type + size + "\0\0"s + content;
}

std::string chapterFrame(std::string const& rest)
{
    return frame("CHAP", "\0\0\0\x7F"s, "id\0\0\0\x0B\xB8\0\0\x1B\x58\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s + rest);
}

std::string titleOf(std::string const& rest)
{
    Chapter chapter;
    EXPECT_TRUE(readChapterFrame(chapterFrame(rest), chapter));
    EXPECT_EQ(chapter.start, 3'000);
    EXPECT_EQ(chapter.end, 7'000);
    return chapter.title;
}

TEST(ChapterFrame, titlesAreReadInEveryCharset)
{
    EXPECT_EQ(titleOf(""), "");
    EXPECT_EQ(titleOf(frame("TIT2", "\0\0\0\4"s, "\0B\xE4r"s)), "B\xC3\xA4r");
    EXPECT_EQ(titleOf(frame("TIT2", "\0\0\0\7"s, "\1\xFF\xFE"s + "A\0B\0"s)), "AB");
    EXPECT_EQ(titleOf(frame("TIT2", "\0\0\0\5"s, "\2\0A\0B"s)), "AB");
    EXPECT_EQ(titleOf(frame("TIT2", "\0\0\0\5"s, "\3B\xC3\xA4r"s)), "B\xC3\xA4r");
    EXPECT_EQ(titleOf(frame("TIT3", "\0\0\0\2"s, "\3x"s) + frame("TIT2", "\0\0\0\2"s, "\3y"s)), "y");
    std::string const longTitle(150, 't');
    EXPECT_EQ(titleOf(frame("TIT2", "\0\0\1\x17"s, "\3" + longTitle)), longTitle) << "seven bits of a byte";
}

TEST(ChapterFrame, whatIsNoneIsNotRead)
{
    Chapter chapter;
    std::string const whole = chapterFrame(frame("TIT2", "\0\0\0\4"s, "\3abc"s));
    EXPECT_FALSE(readChapterFrame("", chapter));
    EXPECT_FALSE(readChapterFrame(frame("CTOC", "\0\0\0\7"s, whole), chapter));
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        readChapterFrame(std::string_view(whole).substr(0, size), chapter);
    }
    EXPECT_EQ(titleOf(frame("TIT2", "\xFF\xFF\xFF\xFF", "\3abc")), "abc");
    EXPECT_EQ(titleOf(frame("TIT2", "\0\0\0\4"s, "\7abc"s)), "") << "no such charset";
}

TEST(ChapterToc, theOuterChaptersOfTheFirstEditionCount)
{
    gst_init(nullptr, nullptr);
    GstToc* const toc = gst_toc_new(GST_TOC_SCOPE_GLOBAL);
    for (char const* const edition : {"first", "second"})
    {
        GstTocEntry* const editionEntry = gst_toc_entry_new(GST_TOC_ENTRY_TYPE_EDITION, edition);
        GstTocEntry* const outer = gst_toc_entry_new(GST_TOC_ENTRY_TYPE_CHAPTER, "outer");
        GstTocEntry* const inner = gst_toc_entry_new(GST_TOC_ENTRY_TYPE_CHAPTER, "inner");
        gst_toc_entry_set_start_stop_times(outer, 0, 2 * GST_SECOND);
        gst_toc_entry_set_start_stop_times(inner, GST_SECOND, 2 * GST_SECOND);
        gst_toc_entry_set_tags(outer, gst_tag_list_new(GST_TAG_TITLE, edition, GST_TAG_LANGUAGE_CODE, "de", nullptr));
        gst_toc_entry_append_sub_entry(outer, inner);
        gst_toc_entry_append_sub_entry(editionEntry, outer);
        gst_toc_append_entry(toc, editionEntry);
    }
    Chapters const list = chaptersOf(toc);
    gst_toc_unref(toc);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].title, "first");
    EXPECT_EQ(list[0].language, "deu");
    EXPECT_EQ(list[0].end, 2'000);
}

} // namespace
} // namespace tz::orvane::service
