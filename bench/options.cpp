// SPDX-License-Identifier: Apache-2.0
// What the command line of the benchmark asks for.
#include "bench/options.h"

#include <cstdio>
#include <cstdlib>
#include <getopt.h>

namespace tz::orvane::bench
{

namespace
{

constexpr char kUsage[] = "usage: orvane-bench [--cpu N] [--quick] [--filter TEXT] [--json FILE]\n"
                          "  --cpu N        keep both processes on CPU N\n"
                          "  --quick        about 20 seconds instead of some minutes\n"
                          "  --filter TEXT  only figures between processes whose name contains TEXT\n"
                          "  --json FILE    write the figures to FILE as well\n";

} // namespace

Parsed parseOptions(int argc, char** argv, Options& options)
{
    option const known[] = {
        {"cpu", required_argument, nullptr, 'c'},    {"quick", no_argument, nullptr, 'q'},
        {"filter", required_argument, nullptr, 'f'}, {"json", required_argument, nullptr, 'j'},
        {"help", no_argument, nullptr, 'h'},         {},
    };
    for (int found = 0; (found = getopt_long(argc, argv, "", known, nullptr)) != -1;)
    {
        switch (found)
        {
        case 'c':
            options.cpu = std::atoi(optarg);
            break;
        case 'q':
            options.quick = true;
            break;
        case 'f':
            options.filter = optarg;
            break;
        case 'j':
            options.jsonFile = optarg;
            break;
        case 'h':
            std::fputs(kUsage, stdout);
            return Parsed::helpShown;
        default:
            std::fputs(kUsage, stderr);
            return Parsed::wrong;
        }
    }
    if (optind < argc)
    {
        std::fputs(kUsage, stderr);
        return Parsed::wrong;
    }
    return Parsed::run;
}

} // namespace tz::orvane::bench
