// SPDX-License-Identifier: Apache-2.0
// Whether a pipeline is at work.
#pragma once

#include <gst/gst.h>

namespace tz::orvane::service
{

/// @return whether anybody in it moves data
bool isAnyTaskRunning(GstElement* pipeline);

} // namespace tz::orvane::service
