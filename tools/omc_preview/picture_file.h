// SPDX-License-Identifier: Apache-2.0
// A picture's way from the service's file to the user's.
#pragma once

#include "common/output.h"

#include <string>

namespace tz::orvane::tools
{

/// Copies with the user's own rights; a file of that name is replaced as a whole or not at all.
/// @param to a file, or "-" for the tool's standard output @return empty, or why it failed
std::string deliverPicture(std::string const& from, std::string const& to, Output& output);

} // namespace tz::orvane::tools
