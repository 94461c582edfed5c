// SPDX-License-Identifier: Apache-2.0
// The player's command line.
#pragma once

#include "common/service_launcher.h"

#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::tools
{

struct Options
{
    std::vector<std::string> media; ///< URIs, and absolute paths
    bool info = false;
    bool json = false;   ///< with info: for programs
    long long start = 0; ///< milliseconds
    int timeout = 10;    ///< seconds for opening one
    int volume = 100;
    bool muted = false;
    LaunchOptions launch;
};

struct ParsedOptions
{
    std::optional<Options> options;
    int exitStatus = 0; ///< where there are no options: help was asked for, or the usage was wrong
};

/// Parses the command line; help goes to standard output, faults to standard error.
ParsedOptions parseOptions(int argc, char** argv);

} // namespace tz::orvane::tools
