// SPDX-License-Identifier: Apache-2.0
// What costs nanoseconds: messages, log calls, property groups.
#pragma once

#include <string>
#include <vector>

namespace tz::orvane::bench
{

struct MicroFigure
{
    std::string name;
    double nanoseconds;
};

std::vector<MicroFigure> measureMicro(bool quick);

} // namespace tz::orvane::bench
