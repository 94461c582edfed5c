// SPDX-License-Identifier: Apache-2.0
// A point in time up to which something may take.
#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>

namespace tz::orvane::mdt
{

/// Counts down on the monotonic clock.
class Deadline
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(int milliseconds)
        : m_at(coarseNow() + (milliseconds > 0 ? kCoarseTick + std::chrono::milliseconds(milliseconds) : kNoTime))
    {
    }

    Clock::time_point at() const { return m_at; }

    bool passed() const { return Clock::now() >= m_at; }

    /// Rounded up, so that waiting this long reaches the deadline; 0 when it has passed.
    int milliseconds() const
    {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(m_at - Clock::now()).count();
        return static_cast<int>(std::clamp<long long>(left, 0, std::numeric_limits<int>::max()));
    }

    timespec left() const
    {
        auto const nanoseconds =
            std::max<long long>(0, std::chrono::duration_cast<std::chrono::nanoseconds>(m_at - Clock::now()).count());
        timespec time{};
        time.tv_sec = static_cast<time_t>(nanoseconds / 1'000'000'000);
        time.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);
        return time;
    }

private:
    // Every post begins with a deadline and few ever wait for it: this clock costs a fraction of the other and lags
    // behind it by a tick at most.
    static constexpr std::chrono::milliseconds kCoarseTick{10};
    static constexpr std::chrono::milliseconds kNoTime{0};
    static Clock::time_point coarseNow()
    {
        timespec time{};
        ::clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
        return Clock::time_point(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
    }

    Clock::time_point m_at;
};

} // namespace tz::orvane::mdt
