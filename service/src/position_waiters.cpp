// SPDX-License-Identifier: Apache-2.0
// Who waits to hear where a medium stands.
#include "position_waiters.h"

#include <utility>

namespace tz::orvane::service
{

bool PositionWaiters::add(Answer answer)
{
    if (m_answers.size() >= kMost)
    {
        return false;
    }
    m_answers.push_back(std::move(answer));
    return true;
}

void PositionWaiters::answer(std::int64_t position)
{
    auto const answers = std::exchange(m_answers, {});
    auto const newest = std::exchange(m_newest, nullptr);
    for (Answer const& each : answers)
    {
        each(position);
    }
    if (newest)
    {
        newest(position);
    }
}

} // namespace tz::orvane::service
