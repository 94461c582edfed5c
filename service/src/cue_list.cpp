// SPDX-License-Identifier: Apache-2.0
// The texts of one subtitle track and their times.
#include "cue_list.h"

#include <algorithm>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// For how long a text stays whose end is nowhere told.
constexpr std::int64_t kLongestOpen = 10'000;

/// More at one time is no text that anybody reads.
constexpr int kMostAtOnce = 8;

} // namespace

bool CueList::add(Cue cue)
{
    auto const place = std::upper_bound(m_cues.begin(), m_cues.end(), cue.start,
                                        [](std::int64_t start, Cue const& other) { return start < other.start; });
    for (auto before = place; before != m_cues.begin() && std::prev(before)->start == cue.start; --before)
    {
        Cue const& other = *std::prev(before);
        if (other.end == cue.end && other.text == cue.text)
        {
            return true;
        }
    }
    if (m_cues.size() >= kMostCues || m_bytes + cue.text.size() > kMostBytes)
    {
        m_overflowed = true;
        return false;
    }
    m_bytes += cue.text.size();
    m_cues.insert(place, std::move(cue));
    return true;
}

void CueList::add(CueList const& other)
{
    for (Cue const& cue : other.m_cues)
    {
        add(cue);
    }
    m_overflowed = m_overflowed || other.m_overflowed;
}

CueList::Moment CueList::at(std::int64_t position) const
{
    Moment moment;
    int shown = 0;
    auto const consider = [&](std::int64_t change)
    {
        if (change <= position)
        {
            moment.from = std::max(moment.from.value_or(change), change);
        }
        else
        {
            moment.until = std::min(moment.until.value_or(change), change);
        }
    };
    auto next = m_cues.begin(); // the first that begins later than the one at hand
    for (Cue const& cue : m_cues)
    {
        consider(cue.start);
        if (cue.start > position)
        {
            break; // what comes behind changes nothing before this one does
        }
        while (next != m_cues.end() && next->start <= cue.start)
        {
            ++next;
        }
        std::int64_t const latest = cue.start + kLongestOpen;
        std::int64_t const open = next == m_cues.end() ? latest : std::min(next->start, latest);
        std::int64_t const end = cue.end == Cue::kUntilNext ? open : cue.end;
        consider(end);
        if (end > position && !cue.text.empty() && shown < kMostAtOnce)
        {
            moment.text += moment.text.empty() ? cue.text : "\n" + cue.text;
            ++shown;
        }
    }
    return moment;
}

} // namespace tz::orvane::service
