// SPDX-License-Identifier: Apache-2.0
// Time as both processes see it.
#pragma once

#include <chrono>
#include <cstdint>

namespace tz::orvane::bench
{

/// Nanoseconds of the monotonic clock, which is the same for all processes.
inline std::int64_t now()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Does `work` and gives the microseconds that each of its `parts` took.
template <class Work> double timed(int parts, Work&& work)
{
    std::int64_t const start = now();
    work();
    return static_cast<double>(now() - start) / 1000.0 / parts;
}

} // namespace tz::orvane::bench
