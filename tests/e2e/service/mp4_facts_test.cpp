// SPDX-License-Identifier: Apache-2.0
// Chapters and dates of mp4 files, and files that are made to do harm.
#include "mp4_facts.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tz::orvane::service
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

std::string number(std::uint64_t value, int size)
{
    std::string bytes;
    for (int shift = size * 8 - 8; shift >= 0; shift -= 8)
    {
        bytes += static_cast<char>(value >> shift & 0xFFU);
    }
    return bytes;
}

std::string zeros(std::size_t count)
{
    return std::string(count, '\0');
}

std::string box(std::string const& type, std::string const& content)
{
    return number(content.size() + 8, 4) + type + content;
}

std::string table(std::string const& type, std::vector<std::uint64_t> const& numbers, std::size_t columns = 1)
{
    std::string content = number(0, 4) + number(numbers.size() / columns, 4);
    for (std::uint64_t const value : numbers)
    {
        content += number(value, 4);
    }
    return box(type, content);
}

std::string sizes(std::vector<std::uint64_t> const& numbers)
{
    std::string content = zeros(8) + number(numbers.size(), 4);
    for (std::uint64_t const value : numbers)
    {
        content += number(value, 4);
    }
    return box("stsz", content);
}

std::string mvhd(std::uint64_t created)
{
    return box("mvhd", number(0, 4) + number(created, 4) + number(created, 4) + number(1000, 4) + zeros(80));
}

std::string chapterList(std::vector<std::pair<std::uint64_t, std::string>> const& chapters, int version = 1)
{
    std::string content = number(static_cast<std::uint64_t>(version), 1) + zeros(version == 0 ? 3 : 7);
    content += number(chapters.size(), 1);
    for (auto const& [start, title] : chapters)
    {
        content += number(start * 10'000, 8) + number(title.size(), 1) + title;
    }
    return box("udta", box("chpl", content));
}

constexpr std::uint64_t kGerman = 4U << 10U | 5U << 5U | 21U; // d, e, u
constexpr std::uint64_t kChapterTrack = 7;

std::string trackHeader(std::uint64_t id)
{
    return box("tkhd", zeros(12) + number(id, 4) + zeros(68));
}

/// A track of texts, two in its first chunk and one in each of the others.
std::string textTrack(std::vector<std::uint64_t> const& lengths, std::vector<std::uint64_t> const& chunks)
{
    std::string const tables = table("stts", {1, 3'000, 2, 4'000}, 2) + table("stsc", {1, 2, 1, 2, 1, 1}, 3) +
                               sizes(lengths) + table("stco", chunks);
    std::string const media =
        box("mdhd", zeros(12) + number(1'000, 4) + number(0, 4) + number(kGerman, 2) + number(0, 2)) +
        box("hdlr", zeros(8) + "text" + zeros(12)) + box("minf", box("stbl", tables));
    return box("trak", trackHeader(kChapterTrack) + box("mdia", media));
}

std::string filmTrack()
{
    return box("trak", trackHeader(1) + box("tref", box("chap", number(kChapterTrack, 4))));
}

/// A file whose texts come first, so that their places are known.
std::string fileWithTextTrack(std::string const& more = {})
{
    std::vector<std::string> const texts = {"One", "Zw\xC3\xB6lf", std::string("\xFE\xFF\0A\0B", 6)};
    std::string data;
    std::vector<std::uint64_t> lengths;
    for (std::string const& text : texts)
    {
        lengths.push_back(text.size() + 2);
        data += number(text.size(), 2) + text;
    }
    std::string const mdat = box("mdat", data);
    std::string const tracks = filmTrack() + textTrack(lengths, {8, 8 + lengths[0] + lengths[1]});
    return mdat + box("moov", mvhd(0) + tracks + more);
}

Mp4Facts read(std::string const& file)
{
    return readMp4Facts(MemoryBytes(file));
}

std::vector<std::string> titles(Chapters const& chapters)
{
    std::vector<std::string> all;
    for (Chapter const& chapter : chapters)
    {
        all.push_back(chapter.title);
    }
    return all;
}

TEST(Mp4Facts, aListOfChaptersIsRead)
{
    for (int const version : {0, 1})
    {
        Chapters const chapters =
            read(box("free", "") + box("moov", chapterList({{0, "Intro"}, {3'000, "Middle"}}, version))).chapters;
        ASSERT_THAT(titles(chapters), ElementsAre("Intro", "Middle")) << version;
        EXPECT_EQ(chapters[1].start, 3'000);
        EXPECT_EQ(chapters[1].end, -1);
        EXPECT_EQ(chapters[1].language, "");
    }
}

TEST(Mp4Facts, aTrackOfTextsIsReadAndGoesBeforeTheList)
{
    Chapters const chapters = read(fileWithTextTrack(chapterList({{0, "List"}}))).chapters;
    ASSERT_THAT(titles(chapters), ElementsAre("One", "Zw\xC3\xB6lf", "AB"));
    EXPECT_EQ(chapters[0].end, 3'000);
    EXPECT_EQ(chapters[1].start, 3'000);
    EXPECT_EQ(chapters[2].start, 7'000);
    EXPECT_EQ(chapters[2].end, 11'000);
    EXPECT_EQ(chapters[2].language, "deu");
}

TEST(Mp4Facts, theDateIsRead)
{
    EXPECT_EQ(read(box("moov", mvhd(2'082'844'800U + 1'577'934'245U))).created, 1'577'934'245);
    EXPECT_EQ(read(box("moov", mvhd(0))).created, -1);
    EXPECT_EQ(read("").created, -1);
}

TEST(Mp4Facts, sizesThatLieAreNotFollowed)
{
    std::string const list = chapterList({{0, "Intro"}});
    EXPECT_THAT(read(number(0xFFFFFFFF, 4) + "moov" + list).chapters, IsEmpty());
    EXPECT_THAT(read(number(4, 4) + "moov" + list).chapters, IsEmpty());
    EXPECT_THAT(read(number(1, 4) + "moov" + number(UINT64_MAX, 8) + list).chapters, IsEmpty());
    EXPECT_THAT(read(number(1, 4) + "moov" + number(16 + list.size(), 8) + list).chapters.size(), 1u);
    EXPECT_THAT(read(number(0, 4) + "moov" + list).chapters.size(), 1u) << "to the end of the file";

    // Counts of entries that are not there.
    std::string const endless = number(0, 4) + number(0xFFFFFFFF, 4);
    std::string const tables = box("stts", endless + number(0xFFFFFFFF, 4) + number(0xFFFFFFFF, 4)) +
                               box("stsc", endless + number(1, 4) + number(0xFFFFFFFF, 4) + number(1, 4)) +
                               box("stsz", number(0, 4) + number(0xFFFFFFFF, 4) + number(0xFFFFFFFF, 4)) +
                               table("stco", {8});
    std::string const media = box("mdhd", zeros(12) + number(1, 4) + zeros(8)) +
                              box("hdlr", zeros(8) + "text" + zeros(12)) + box("minf", box("stbl", tables));
    std::string const track = box("trak", trackHeader(kChapterTrack) + box("mdia", media));
    Chapters const chapters = read(box("mdat", "") + box("moov", filmTrack() + track)).chapters;
    EXPECT_LE(chapters.size(), kMostChapters);
    for (Chapter const& chapter : chapters)
    {
        EXPECT_GE(chapter.start, 0);
        EXPECT_GE(chapter.end, chapter.start);
    }
}

TEST(Mp4Facts, aMillionBoxesAreNotAllLookedAt)
{
    std::string many;
    many.reserve(8'000'000);
    std::string const empty = box("free", "");
    for (int count = 0; count < 1'000'000; ++count)
    {
        many += empty;
    }
    EXPECT_THAT(read(box("moov", many + chapterList({{0, "Late"}}))).chapters, IsEmpty());
}

TEST(Mp4Facts, cutOffAndDamagedFilesDoNoHarm)
{
    std::string const file = fileWithTextTrack(chapterList({{0, "Intro"}, {1'000, "Next"}}));
    for (std::size_t size = 0; size < file.size(); ++size)
    {
        EXPECT_LE(read(file.substr(0, size)).chapters.size(), 3u);
    }
    unsigned int seed = 1;
    for (int count = 0; count < 5'000; ++count)
    {
        std::string damaged = file;
        for (int change = 0; change < 4; ++change)
        {
            seed = seed * 1'103'515'245u + 12'345u;
            damaged[(seed >> 8u) % damaged.size()] = static_cast<char>(seed >> 24u);
        }
        EXPECT_LE(read(damaged).chapters.size(), kMostChapters);
    }
}

} // namespace
} // namespace tz::orvane::service
