// SPDX-License-Identifier: Apache-2.0
// Everything that is measured between the two processes.
#pragma once

#include "bench/figure.h"
#include "bench/messenger_link.h"
#include "bench/raw_link.h"

#include <string>
#include <vector>

namespace tz::orvane::bench
{

/// The figures whose names contain `filter`. The links must live as long as they do.
std::vector<Figure> figuresOf(MessengerLink const& ours, RawLink const& raw, std::string const& filter);

} // namespace tz::orvane::bench
