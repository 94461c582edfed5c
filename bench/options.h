// SPDX-License-Identifier: Apache-2.0
// What the command line of the benchmark asks for.
#pragma once

#include <string>

namespace tz::orvane::bench
{

struct Options
{
    int cpu = -1; ///< both processes stay on it; -1: wherever the kernel puts them
    bool quick = false;
    std::string filter; ///< only figures between processes whose name contains it
    std::string jsonFile;
};

enum class Parsed
{
    run,
    helpShown,
    wrong,
};

Parsed parseOptions(int argc, char** argv, Options& options);

} // namespace tz::orvane::bench
