// SPDX-License-Identifier: Apache-2.0
// Numbers in what the service tells.
#pragma once

#include "orvane/om_property_group.h"

#include <cstdlib>
#include <string>

namespace tz::orvane::tools
{

inline long long numberOf(om::OmPropertyGroup const& properties, char const* key, long long otherwise)
{
    std::string const text = properties.get(key);
    return text.empty() ? otherwise : std::strtoll(text.c_str(), nullptr, 10);
}

} // namespace tz::orvane::tools
