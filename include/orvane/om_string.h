// SPDX-License-Identifier: Apache-2.0
// The string type of the whole API.
#pragma once

#include <string>

namespace tz::orvane::om
{

/// Text of the API: bytes, UTF-8 where people read them.
using OmString = std::string;

} // namespace tz::orvane::om
