// SPDX-License-Identifier: Apache-2.0
// One thing that is measured beside what it is compared with.
#pragma once

#include <atomic>
#include <functional>
#include <string>

namespace tz::orvane::bench
{

/// An operation and what goes on beside it.
struct Side
{
    /// One sample, in microseconds. Called by several threads at once, each with its number.
    std::function<double(int thread)> sample;

    /// Runs on a thread of its own meanwhile; may be empty.
    std::function<void(std::atomic<bool> const& stop)> background;
};

struct Figure
{
    std::string name;
    int threads;
    Side ours;
    Side reference;
    std::string referenceName;
    double goal; ///< the highest ratio that would please; 0 when there is none
};

struct Spread
{
    double median;
    double p99;
    std::size_t samples;
};

struct Result
{
    std::string name;
    std::string referenceName;
    int threads;
    double goal;
    Spread ours;
    Spread reference;
    double ratio; ///< the median of all rounds' ratios of medians, which one disturbed round does not move
};

struct Effort
{
    int rounds;
    int batchMilliseconds;
};

/// Alternates batches of both sides, so that whatever else the machine does meets both alike.
Result measure(Figure const& figure, Effort const& effort);

} // namespace tz::orvane::bench
