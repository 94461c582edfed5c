// SPDX-License-Identifier: Apache-2.0
// The benchmark program: the messenger beside bare sockets, measured in turns.
#include "bench/allocations.h"
#include "bench/figures.h"
#include "bench/micro_bench.h"
#include "bench/options.h"
#include "bench/report.h"

#include <cstdio>
#include <sched.h>

using namespace tz::orvane::bench;

namespace
{

constexpr Effort kFull{40, 50};
constexpr Effort kQuick{7, 25};

bool stayOn(int cpu)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(cpu), &set);
    return ::sched_setaffinity(0, sizeof set, &set) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    switch (parseOptions(argc, argv, options))
    {
    case Parsed::run:
        break;
    case Parsed::helpShown:
        return 0;
    case Parsed::wrong:
        return 2;
    }
    // Children inherit it.
    if (options.cpu >= 0 && !stayOn(options.cpu))
    {
        std::perror("orvane-bench: --cpu");
        return 1;
    }

    // Both fork, so they come before the first thread; the second child must not hold descriptors of the first.
    MessengerLink ours(&countAsService);
    RawLink const raw;
    ours.connect();

    std::string const machine = machineText();
    std::printf("%s\n\n", machine.c_str());
    printHead();
    std::vector<Result> results;
    for (Figure const& figure : figuresOf(ours, raw, options.filter))
    {
        results.push_back(measure(figure, options.quick ? kQuick : kFull));
        print(results.back());
    }
    std::vector<AllocationFigure> allocations;
    std::vector<MicroFigure> micro;
    if (options.filter.empty())
    {
        allocations = measureAllocations(ours);
        print(allocations);
        micro = measureMicro(options.quick);
        print(micro);
    }
    if (!options.jsonFile.empty() && !writeJson(options.jsonFile, machine, results, allocations, micro))
    {
        std::perror(("orvane-bench: " + options.jsonFile).c_str());
        return 1;
    }
    return 0;
}
