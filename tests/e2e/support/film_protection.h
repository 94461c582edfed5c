// SPDX-License-Identifier: Apache-2.0
// Says in a film in fragments how its samples are protected.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tz::orvane::test
{

/// Of one track.
struct TrackProtection
{
    std::string defaults;             ///< the content of its tenc box
    std::vector<std::string> samples; ///< vector and subsamples of each sample; none: the defaults say all
    bool hasSubsamples = false;
};

/// @param scheme "cenc" or "cbcs" @return the film with boxes that tell of its protection and name the key
std::string describeProtection(std::string_view film, std::string const& scheme,
                               std::vector<TrackProtection> const& tracks);

std::size_t bigEndian(std::string_view bytes, std::size_t at, std::size_t size);
std::string number(std::size_t value, std::size_t size = 4);
std::string fromHex(std::string const& digits);

/// @return the content of the first box of that type behind so many others; empty when there is none
std::string_view contentOf(std::string_view boxes, std::string_view type, int skip = 0);

} // namespace tz::orvane::test
