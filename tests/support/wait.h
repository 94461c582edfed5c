// SPDX-License-Identifier: Apache-2.0
// Waiting for a condition with a deadline.
#pragma once

#include <chrono>
#include <thread>

namespace tz::orvane::test
{

/// Polls until `condition()` holds. @return false when it still does not after ten seconds
template <class Condition> bool eventually(Condition condition)
{
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
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
