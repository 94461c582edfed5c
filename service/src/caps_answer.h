// SPDX-License-Identifier: Apache-2.0
// Tells a pipeline what a pad takes, whatever comes behind it.
#pragma once

#include "gst_ptr.h"

namespace tz::orvane::service
{

/// From now on the element's sink pad says that it takes `caps`; what is behind it has to cope.
void takeAll(GstElement* element, CapsPtr caps);

} // namespace tz::orvane::service
