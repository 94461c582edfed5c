// SPDX-License-Identifier: Apache-2.0
// The texts of one subtitle track and their times.
#include "cue_list.h"

#include <algorithm>
#include <tuple>
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

bool CueList::Differs::operator()(Cue const* one, Cue const* other) const
{
    return std::tie(one->start, one->end, one->text) < std::tie(other->start, other->end, other->text);
}

bool CueList::add(Cue cue, std::size_t room)
{
    if (m_known.count(&cue) != 0)
    {
        return true;
    }
    std::size_t const bytes = cue.text.size();
    if (m_cues.size() >= kMostCues || m_bytes + bytes > kMostBytes || bytes + kBytesBeside > room)
    {
        m_overflowed = true;
        return false;
    }
    m_bytes += bytes;
    m_known.insert(&*m_cues.insert(std::move(cue)));
    return true;
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
