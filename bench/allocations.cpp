// SPDX-License-Identifier: Apache-2.0
// How often an operation goes to the heap, at either end.
#include "bench/allocations.h"

#include "bench/allocation_counter.h"
#include "bench/shared_page.h"
#include "bench/workload.h"

namespace tz::orvane::bench
{

namespace
{

constexpr int kRounds = 50;

struct Counters
{
    AllocationCounter client;
    AllocationCounter service;
};

// Made at the start of the program: both processes are to have it.
SharedPage<Counters> const s_counters;

template <class Work>
AllocationFigure allocationsOf(char const* name, MessengerLink const& link, int operationsOfWork, Work work)
{
    work();
    link.query(0); // its reply comes when the service is done with everything before it
    std::uint64_t const client = s_counters->client;
    std::uint64_t const service = s_counters->service;
    for (int i = 0; i < kRounds; ++i)
    {
        work();
    }
    link.query(0);
    double const operations = kRounds * operationsOfWork;
    return {name, static_cast<double>(s_counters->client - client) / operations,
            static_cast<double>(s_counters->service - service) / operations};
}

} // namespace

void countAsService()
{
    countAllocations(&s_counters->service);
}

std::vector<AllocationFigure> measureAllocations(MessengerLink const& link)
{
    constexpr Block kBlock{1u << 20, false};
    countAllocations(&s_counters->client);
    std::vector<AllocationFigure> figures;
    figures.push_back(allocationsOf("query", link, 1, [&] { link.query(0); }));
    figures.push_back(allocationsOf("one-way post", link, kBurst, [&] { link.post(0); }));
    figures.push_back(allocationsOf("event", link, kBurst, [&] { link.events(0); }));
    figures.push_back(allocationsOf("push 1 MiB", link, blocksPerBurst(kBlock), [&] { link.push(0, kBlock); }));
    countAllocations(nullptr);
    return figures;
}

} // namespace tz::orvane::bench
