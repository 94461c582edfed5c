// SPDX-License-Identifier: Apache-2.0
// Finds in a running pipeline what a stream and a container were before they were decoded.
#pragma once

#include "gst_ptr.h"

namespace tz::orvane::service
{

/// Walks upstream to the decoder. @param decoded a pad that decoded data reach
/// @return capabilities of the compressed stream, or of the raw one when nothing decodes it; null when not known yet
CapsPtr compressedCaps(GstPad* decoded);

/// @return capabilities of the whole as its first bytes told them; null when nothing looked at them
CapsPtr containerCaps(GstElement* pipeline);

} // namespace tz::orvane::service
