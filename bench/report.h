// SPDX-License-Identifier: Apache-2.0
// Puts the figures out, as a table and as JSON.
#pragma once

#include "bench/allocations.h"
#include "bench/figure.h"
#include "bench/micro_bench.h"

#include <string>
#include <vector>

namespace tz::orvane::bench
{

/// The processor's name, and the load of the machine right now.
std::string machineText();

void printHead();
void print(Result const& result);
void print(std::vector<AllocationFigure> const& figures);
void print(std::vector<MicroFigure> const& figures);

/// @return whether the file could be written
bool writeJson(std::string const& file, std::string const& machine, std::vector<Result> const& results,
               std::vector<AllocationFigure> const& allocations, std::vector<MicroFigure> const& micro);

} // namespace tz::orvane::bench
