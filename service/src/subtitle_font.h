// SPDX-License-Identifier: Apache-2.0
// Finds the font that a client names.
#pragma once

#include "error_map.h"

#include <string>

namespace tz::orvane::service
{

struct FoundFont
{
    Fault fault;      ///< OM_ERROR_NONE when all is well
    std::string name; ///< as text is set in it: family and style, without a size
};

/// @param font an absolute path or file URI of a font, or the name of a family that is installed
/// Reads files. Any thread, but one at a time.
FoundFont findFont(std::string const& font);

} // namespace tz::orvane::service
