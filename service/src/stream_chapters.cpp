// SPDX-License-Identifier: Apache-2.0
// Chapters that streams carry along.
#include "stream_chapters.h"

#include "big_endian.h"
#include "foreign_text.h"
#include "stream_path.h"
#include "stream_tags.h"

#include <gst/tag/tag.h>

#include <algorithm>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kFrameHeader = 10;
constexpr std::size_t kFrameTimes = 16;
constexpr std::size_t kLongestTitle = 4096;

/// Frames of chapters as the ID3 reader hands them on.
constexpr char kPrivateFrameTag[] = "private-id3v2-frame";

std::int64_t milliseconds(gint64 nanoseconds)
{
    return nanoseconds < 0 ? -1 : nanoseconds / static_cast<gint64>(GST_MSECOND);
}

void addEntry(GstTocEntry const* entry, Chapters& chapters)
{
    gint64 start = -1;
    gint64 end = -1;
    if (gst_toc_entry_get_start_stop_times(entry, &start, &end) == FALSE || start < 0 ||
        chapters.size() >= kMostChapters)
    {
        return;
    }
    GstTagList const* const tags = gst_toc_entry_get_tags(entry);
    chapters.push_back({milliseconds(start), milliseconds(end), tagText(tags, GST_TAG_TITLE), languageOf(tags)});
}

void addEntries(GList const* entries, Chapters& chapters)
{
    for (GList const* item = entries; item != nullptr; item = item->next)
    {
        auto const* const entry = static_cast<GstTocEntry const*>(item->data);
        if (gst_toc_entry_is_alternative(entry) != FALSE)
        {
            addEntries(gst_toc_entry_get_sub_entries(entry), chapters);
            return;
        }
        addEntry(entry, chapters);
    }
}

/// Sizes have seven or eight bits a byte, and a frame by itself does not tell: the one that fits is meant.
std::size_t textSize(std::string_view frame)
{
    std::size_t const room = frame.size() - kFrameHeader;
    std::uint64_t const plain = bigEndian(frame, 4, 4);
    if (plain <= room)
    {
        return static_cast<std::size_t>(plain);
    }
    std::uint64_t size = 0;
    for (std::size_t at = 4; at < 8; ++at)
    {
        size = size << 7U | (bigEndian(frame, at, 1) & 0x7FU);
    }
    return static_cast<std::size_t>(std::min<std::uint64_t>(size, room));
}

std::string textOf(std::string_view content)
{
    static constexpr char const* kCharsets[] = {"ISO-8859-1", "UTF-16", "UTF-16BE", "UTF-8"};
    std::uint64_t const charset = bigEndian(content, 0, 1);
    return content.empty() || charset >= std::size(kCharsets)
               ? std::string()
               : toUtf8(content.substr(1, kLongestTitle), kCharsets[charset]);
}

void addFrames(GstTagList const* tags, Chapters& chapters)
{
    guint const count = tags == nullptr ? 0 : gst_tag_list_get_tag_size(tags, kPrivateFrameTag);
    for (guint index = 0; index < count && chapters.size() < kMostChapters; ++index)
    {
        Chapter chapter;
        std::string const frame = tagSample(tags, kPrivateFrameTag, index);
        if (readChapterFrame(frame, chapter))
        {
            chapters.push_back(std::move(chapter));
        }
    }
}

Chapters carriedBy(GstPad* pad)
{
    EventPtr const event = StreamPath(pad).event(GST_EVENT_TOC);
    if (event == nullptr)
    {
        return {};
    }
    GstToc* toc = nullptr;
    gst_event_parse_toc(event.get(), &toc, nullptr);
    Chapters chapters = chaptersOf(toc);
    gst_toc_unref(toc);
    return chapters;
}

} // namespace

Chapters chaptersOf(GstToc const* toc)
{
    Chapters chapters;
    addEntries(gst_toc_get_entries(toc), chapters);
    return chapters;
}

bool readChapterFrame(std::string_view frame, Chapter& chapter)
{
    std::size_t const idEnd = frame.find('\0', kFrameHeader);
    if (frame.substr(0, 4) != "CHAP" || idEnd == std::string_view::npos || frame.size() - idEnd - 1 < kFrameTimes)
    {
        return false;
    }
    chapter.start = static_cast<std::int64_t>(bigEndian(frame, idEnd + 1, 4));
    chapter.end = static_cast<std::int64_t>(bigEndian(frame, idEnd + 5, 4));
    std::string_view rest = frame.substr(idEnd + 1 + kFrameTimes);
    while (rest.size() > kFrameHeader)
    {
        std::size_t const size = textSize(rest);
        if (rest.substr(0, 4) == "TIT2")
        {
            chapter.title = textOf(rest.substr(kFrameHeader, size));
            break;
        }
        rest.remove_prefix(kFrameHeader + size);
    }
    return true;
}

Chapters chaptersOf(std::vector<StreamPad> const& streams)
{
    for (StreamPad const& stream : streams)
    {
        if (stream.pad == nullptr)
        {
            continue;
        }
        Chapters chapters = carriedBy(stream.pad.get());
        if (chapters.empty())
        {
            addFrames(stream.tags.get(), chapters);
        }
        if (!chapters.empty())
        {
            return chapters;
        }
    }
    return {};
}

} // namespace tz::orvane::service
