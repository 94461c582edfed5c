// SPDX-License-Identifier: Apache-2.0
// How often an operation goes to the heap, at either end.
#pragma once

#include "bench/messenger_link.h"

#include <string>
#include <vector>

namespace tz::orvane::bench
{

/// Counts the allocations of the calling process as the service's from now on.
void countAsService();

struct AllocationFigure
{
    std::string name;
    double client; ///< per operation
    double service;
};

std::vector<AllocationFigure> measureAllocations(MessengerLink const& link);

} // namespace tz::orvane::bench
