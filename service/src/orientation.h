// SPDX-License-Identifier: Apache-2.0
// Turned and mirrored pictures.
#pragma once

#include "gst_ptr.h"

#include <gst/video/video.h>

namespace tz::orvane::service
{

constexpr int kDegreesOfQuarter = 90;

/// How a picture has to be mirrored and turned, in this order, to be seen as it is meant.
struct Orientation
{
    int quarters = 0; ///< clockwise, 0 to 3
    bool mirrored = false;

    int degrees() const;
    GstVideoOrientationMethod method() const;

    /// @return this, turned further @param degrees a multiple of 90, not negative
    Orientation turned(int degrees) const;
};

/// What a stream's tags ask for. @param tags may be null
Orientation orientationOf(GstTagList* tags);

} // namespace tz::orvane::service
