// SPDX-License-Identifier: Apache-2.0
// What an mp4 file tells of itself and its demuxer keeps back.
#include "mp4_facts.h"

#include "big_endian.h"
#include "foreign_text.h"
#include "mp4_boxes.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kVersion = 4; ///< version and flags, with which many boxes begin
constexpr std::size_t kTableHeader = 8;
constexpr std::size_t kLargestList = 128 * 1024;
constexpr std::size_t kLongestTitle = 4096;
constexpr std::size_t kMostReferences = 64;

constexpr std::uint64_t kListTicks = 10'000; ///< of a list of chapters, in a millisecond
constexpr std::int64_t kFrom1904To1970 = 2'082'844'800;

/// The table that a box holds. @return entries of `size` bytes that are there, no more than chapters may be
std::size_t entryCount(std::string_view table, std::size_t header, std::size_t size)
{
    std::uint64_t const told = bigEndian(table, header - 4, 4);
    std::uint64_t const there = table.size() < header ? 0 : (table.size() - header) / size;
    return static_cast<std::size_t>(std::min<std::uint64_t>({told, there, kMostChapters}));
}

std::string table(Mp4Boxes& boxes, Mp4Box const& parent, std::string_view type, std::size_t entrySize)
{
    auto const box = boxes.find(parent, type);
    return box ? boxes.content(*box, kTableHeader + 4 + entrySize * kMostChapters) : std::string();
}

struct Sample
{
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// Lays the sizes of the samples out over the chunks.
std::vector<Sample> samplesOf(Mp4Boxes& boxes, Mp4Box const& stbl)
{
    std::string const sizes = table(boxes, stbl, "stsz", 4);
    std::string const runs = table(boxes, stbl, "stsc", 12);
    std::string offsets = table(boxes, stbl, "stco", 4);
    bool const wide = offsets.empty();
    if (wide)
    {
        offsets = table(boxes, stbl, "co64", 8);
    }
    std::size_t const offsetSize = wide ? 8 : 4;
    std::uint64_t const sameSize = bigEndian(sizes, 4, 4);
    std::size_t const count =
        sameSize != 0
            ? static_cast<std::size_t>(std::min<std::uint64_t>(bigEndian(sizes, kTableHeader, 4), kMostChapters))
            : entryCount(sizes, kTableHeader + 4, 4);
    std::size_t const runCount = entryCount(runs, kTableHeader, 12);
    std::size_t const chunkCount = entryCount(offsets, kTableHeader, offsetSize);

    std::vector<Sample> samples;
    std::size_t run = 0;
    for (std::size_t chunk = 0; chunk < chunkCount && runCount > 0; ++chunk)
    {
        while (run + 1 < runCount && bigEndian(runs, kTableHeader + 12 * (run + 1), 4) <= chunk + 1)
        {
            ++run;
        }
        std::uint64_t offset = bigEndian(offsets, kTableHeader + offsetSize * chunk, offsetSize);
        std::uint64_t const inChunk = bigEndian(runs, kTableHeader + 12 * run + 4, 4);
        for (std::uint64_t number = 0; number < inChunk && samples.size() < count; ++number)
        {
            std::uint64_t const size =
                sameSize != 0 ? sameSize : bigEndian(sizes, kTableHeader + 4 + 4 * samples.size(), 4);
            samples.push_back({offset, size});
            offset += size;
        }
    }
    return samples;
}

/// @return how long each sample lasts
std::vector<std::uint64_t> durationsOf(Mp4Boxes& boxes, Mp4Box const& stbl)
{
    std::string const runs = table(boxes, stbl, "stts", 8);
    std::vector<std::uint64_t> durations;
    for (std::size_t run = 0; run < entryCount(runs, kTableHeader, 8); ++run)
    {
        std::uint64_t const count = bigEndian(runs, kTableHeader + 8 * run, 4);
        std::uint64_t const duration = bigEndian(runs, kTableHeader + 8 * run + 4, 4);
        durations.insert(durations.end(),
                         static_cast<std::size_t>(std::min<std::uint64_t>(count, kMostChapters - durations.size())),
                         duration);
    }
    return durations;
}

/// Three letters in fifteen bits; smaller numbers are another, older list.
std::string languageOf(std::uint64_t packed)
{
    std::string language;
    for (unsigned int const shift : {10U, 5U, 0U})
    {
        language += static_cast<char>((packed >> shift & 0x1FU) + 0x60U);
    }
    bool const letters =
        std::all_of(language.begin(), language.end(), [](char letter) { return letter >= 'a' && letter <= 'z'; });
    return letters && language != "und" ? language : std::string();
}

Chapters readTextTrack(Mp4Boxes& boxes, Mp4Box const& track)
{
    auto const header = boxes.findPath(track, "mdia/mdhd");
    auto const stbl = boxes.findPath(track, "mdia/minf/stbl");
    std::string const mdhd = header ? boxes.content(*header, 64) : std::string();
    bool const wide = bigEndian(mdhd, 0, 1) == 1;
    std::uint64_t const scale = bigEndian(mdhd, wide ? 20 : 12, 4);
    if (!stbl || scale == 0)
    {
        return {};
    }
    std::string const language = languageOf(bigEndian(mdhd, wide ? 32 : 20, 2));
    std::vector<Sample> const samples = samplesOf(boxes, *stbl);
    std::vector<std::uint64_t> const durations = durationsOf(boxes, *stbl);

    // A thousand durations of 32 bits, in milliseconds, are far from 64 bits.
    Chapters chapters;
    std::uint64_t time = 0;
    for (std::size_t index = 0; index < std::min(samples.size(), durations.size()); ++index)
    {
        std::size_t const most = static_cast<std::size_t>(std::min<std::uint64_t>(samples[index].size, kLongestTitle));
        std::string const sample = boxes.source().read(samples[index].offset, most);
        std::string_view const text =
            std::string_view(sample).substr(std::min<std::size_t>(sample.size(), 2), bigEndian(sample, 0, 2));
        std::uint64_t const end = time + durations[index];
        chapters.push_back({static_cast<std::int64_t>(time * 1000 / scale),
                            static_cast<std::int64_t>(end * 1000 / scale), toUtf8(text), language});
        time = end;
    }
    return chapters;
}

/// Tracks name the one that holds their chapters. @return numbers of tracks
std::vector<std::uint64_t> chapterTracks(Mp4Boxes& boxes, Mp4Box const& moov)
{
    std::uint64_t at = moov.begin;
    while (auto const track = boxes.next(moov, at))
    {
        auto const reference = track->type == "trak" ? boxes.findPath(*track, "tref/chap") : std::nullopt;
        if (!reference)
        {
            continue;
        }
        std::string const numbers = boxes.content(*reference, 4 * kMostReferences);
        std::vector<std::uint64_t> found;
        for (std::size_t offset = 0; offset + 4 <= numbers.size(); offset += 4)
        {
            found.push_back(bigEndian(numbers, offset, 4));
        }
        return found;
    }
    return {};
}

/// @return whether it is one of those tracks, and has texts: chapters may have pictures as well
bool isTextTrack(Mp4Boxes& boxes, Mp4Box const& track, std::vector<std::uint64_t> const& numbers)
{
    auto const tkhd = boxes.find(track, "tkhd");
    auto const hdlr = boxes.findPath(track, "mdia/hdlr");
    if (!tkhd || !hdlr)
    {
        return false;
    }
    std::string const header = boxes.content(*tkhd, 32);
    std::uint64_t const number = bigEndian(header, bigEndian(header, 0, 1) == 1 ? 20 : 12, 4);
    std::string const handler = boxes.content(*hdlr, 16);
    bool const isText =
        handler.size() >= 12 && (handler.compare(8, 4, "text") == 0 || handler.compare(8, 4, "sbtl") == 0);
    return isText && std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

Chapters readTrackChapters(Mp4Boxes& boxes, Mp4Box const& moov)
{
    std::vector<std::uint64_t> const numbers = chapterTracks(boxes, moov);
    std::uint64_t at = moov.begin;
    while (!numbers.empty())
    {
        auto const track = boxes.next(moov, at);
        if (!track)
        {
            break;
        }
        if (track->type == "trak" && isTextTrack(boxes, *track, numbers))
        {
            return readTextTrack(boxes, *track);
        }
    }
    return {};
}

Chapters readChapterList(Mp4Boxes& boxes, Mp4Box const& moov)
{
    auto const box = boxes.findPath(moov, "udta/chpl");
    std::string const list = box ? boxes.content(*box, kLargestList) : std::string();
    std::size_t at = bigEndian(list, 0, 1) == 0 ? kVersion : kVersion + 4;
    std::uint64_t const count = bigEndian(list, at, 1);
    ++at;
    Chapters chapters;
    for (std::uint64_t number = 0; number < count && at + 9 <= list.size(); ++number)
    {
        std::size_t const length = static_cast<std::size_t>(bigEndian(list, at + 8, 1));
        Chapter chapter;
        chapter.start = static_cast<std::int64_t>(bigEndian(list, at, 8) / kListTicks);
        chapter.title = toUtf8(std::string_view(list).substr(at + 9, length));
        chapters.push_back(std::move(chapter));
        at += 9 + length;
    }
    return chapters;
}

std::int64_t readCreated(Mp4Boxes& boxes, Mp4Box const& moov)
{
    auto const box = boxes.find(moov, "mvhd");
    std::string const header = box ? boxes.content(*box, 16) : std::string();
    std::uint64_t const since1904 = bigEndian(header, kVersion, bigEndian(header, 0, 1) == 1 ? 8 : 4);
    bool const told = since1904 >= kFrom1904To1970 && since1904 <= INT64_MAX;
    return told ? static_cast<std::int64_t>(since1904) - kFrom1904To1970 : -1;
}

} // namespace

Mp4Facts readMp4Facts(ByteSource const& source)
{
    Mp4Boxes boxes(source);
    Mp4Facts facts;
    if (auto const moov = boxes.find(boxes.whole(), "moov"))
    {
        facts.created = readCreated(boxes, *moov);
        facts.chapters = readTrackChapters(boxes, *moov);
        if (facts.chapters.empty())
        {
            facts.chapters = readChapterList(boxes, *moov);
        }
    }
    return facts;
}

} // namespace tz::orvane::service
