// SPDX-License-Identifier: Apache-2.0
// Chapters of a medium.
#include "chapters.h"

#include "text_field.h"

#include <algorithm>
#include <cstring>

namespace tz::orvane::service
{

void completeChapters(Chapters& chapters, std::int64_t duration)
{
    std::stable_sort(chapters.begin(), chapters.end(),
                     [](Chapter const& one, Chapter const& other) { return one.start < other.start; });
    for (std::size_t index = 0; index < chapters.size(); ++index)
    {
        Chapter& chapter = chapters[index];
        std::int64_t const next = index + 1 < chapters.size() ? chapters[index + 1].start : duration;
        chapter.end = std::max(chapter.end < 0 ? next : chapter.end, chapter.start);
    }
}

Chapter const* chapterAt(Chapters const& chapters, std::int64_t position)
{
    auto const behind = std::upper_bound(chapters.begin(), chapters.end(), position,
                                         [](std::int64_t at, Chapter const& chapter) { return at < chapter.start; });
    if (behind == chapters.begin())
    {
        return nullptr;
    }
    Chapter const& chapter = *(behind - 1);
    bool const atTheEnd = behind == chapters.end() && position == chapter.end;
    return position < chapter.end || atTheEnd ? &chapter : nullptr;
}

om::om_chapter_info_t recordOf(Chapter const& chapter)
{
    om::om_chapter_info_t record;
    std::memset(&record, 0, sizeof record);
    record.start_pos = chapter.start;
    record.end_pos = chapter.end;
    setText(record.name, chapter.title);
    setText(record.lang, chapter.language);
    return record;
}

} // namespace tz::orvane::service
