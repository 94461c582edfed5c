// SPDX-License-Identifier: Apache-2.0
// Waiting for a condition with a deadline.
#pragma once

#include <chrono>
#include <thread>

namespace tz::orvane::test
{

/// Polls until `condition()` holds. @return false when it still does not after a minute: what goes at once on an idle
/// machine takes its time with sanitizers on a busy one
template <class Condition> bool eventually(Condition condition)
{
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

} // namespace tz::orvane::test
