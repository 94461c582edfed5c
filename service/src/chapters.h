// SPDX-License-Identifier: Apache-2.0
// Chapters of a medium.
#pragma once

#include "orvane/om_records.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tz::orvane::service
{

/// Positions are milliseconds.
struct Chapter
{
    std::int64_t start = 0;
    std::int64_t end = -1; ///< -1: up to the next one
    std::string title;
    std::string language; ///< ISO 639-2, empty when not known
};

using Chapters = std::vector<Chapter>;

/// More than that are left out.
constexpr std::size_t kMostChapters = 1000;

/// Sorts them by time and gives an end to those that have none.
/// @param duration of the medium, -1 when not known
void completeChapters(Chapters& chapters, std::int64_t duration);

/// @return the one that a position lies in; null for none
Chapter const* chapterAt(Chapters const& chapters, std::int64_t position);

om::om_chapter_info_t recordOf(Chapter const& chapter);

} // namespace tz::orvane::service
