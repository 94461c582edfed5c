// SPDX-License-Identifier: Apache-2.0
// One thing that is measured beside what it is compared with.
#include "bench/figure.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

namespace tz::orvane::bench
{

namespace
{

using Samples = std::vector<double>;
using Clock = std::chrono::steady_clock;

double atRank(Samples& samples, double share)
{
    if (samples.empty())
    {
        return 0;
    }
    auto const rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(samples.size() - 1));
    std::nth_element(samples.begin(), samples.begin() + rank, samples.end());
    return samples[static_cast<std::size_t>(rank)];
}

Spread spreadOf(Samples& samples)
{
    return {atRank(samples, 0.5), atRank(samples, 0.99), samples.size()};
}

Samples runBatch(Side const& side, int threads, int milliseconds)
{
    std::atomic<bool> stop{false};
    std::thread background;
    if (side.background)
    {
        background = std::thread([&] { side.background(stop); });
    }
    auto const end = Clock::now() + std::chrono::milliseconds(milliseconds);
    std::vector<Samples> samples(static_cast<std::size_t>(threads));
    std::vector<std::thread> workers;
    for (int thread = 0; thread < threads; ++thread)
    {
        workers.emplace_back(
            [&, thread]
            {
                Samples& own = samples[static_cast<std::size_t>(thread)];
                do
                {
                    own.push_back(side.sample(thread));
                } while (Clock::now() < end);
            });
    }
    Samples all;
    for (int thread = 0; thread < threads; ++thread)
    {
        workers[static_cast<std::size_t>(thread)].join();
        Samples const& own = samples[static_cast<std::size_t>(thread)];
        all.insert(all.end(), own.begin(), own.end());
    }
    if (background.joinable())
    {
        stop = true;
        background.join();
    }
    return all;
}

} // namespace

Result measure(Figure const& figure, Effort const& effort)
{
    Samples ours;
    Samples reference;
    Samples ratios;
    for (int round = -1; round < effort.rounds; ++round)
    {
        Samples mine = runBatch(figure.ours, figure.threads, effort.batchMilliseconds);
        Samples other = runBatch(figure.reference, figure.threads, effort.batchMilliseconds);
        if (round < 0) // everything is warm from here on
        {
            continue;
        }
        ratios.push_back(atRank(mine, 0.5) / atRank(other, 0.5));
        ours.insert(ours.end(), mine.begin(), mine.end());
        reference.insert(reference.end(), other.begin(), other.end());
    }
    return {figure.name,    figure.referenceName, figure.threads,     figure.goal,
            spreadOf(ours), spreadOf(reference),  atRank(ratios, 0.5)};
}

} // namespace tz::orvane::bench
