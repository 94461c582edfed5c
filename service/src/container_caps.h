// SPDX-License-Identifier: Apache-2.0
// Finds in a running pipeline what the whole medium is.
#pragma once

#include "gst_ptr.h"

namespace tz::orvane::service
{

/// @return capabilities of the whole as its first bytes told them; null when nothing looked at them
CapsPtr containerCaps(GstElement* pipeline);

} // namespace tz::orvane::service
