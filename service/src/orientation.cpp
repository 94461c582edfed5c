// SPDX-License-Identifier: Apache-2.0
// Turned and mirrored pictures.
#include "orientation.h"

namespace tz::orvane::service
{

namespace
{

constexpr int kQuarters = 4;

/// By number of quarters; a mirror image is left and right exchanged, then turned.
constexpr GstVideoOrientationMethod kTurned[kQuarters] = {GST_VIDEO_ORIENTATION_IDENTITY, GST_VIDEO_ORIENTATION_90R,
                                                          GST_VIDEO_ORIENTATION_180, GST_VIDEO_ORIENTATION_90L};
constexpr GstVideoOrientationMethod kMirrored[kQuarters] = {GST_VIDEO_ORIENTATION_HORIZ, GST_VIDEO_ORIENTATION_UR_LL,
                                                            GST_VIDEO_ORIENTATION_VERT, GST_VIDEO_ORIENTATION_UL_LR};

} // namespace

int Orientation::degrees() const
{
    return quarters * kDegreesOfQuarter;
}

GstVideoOrientationMethod Orientation::method() const
{
    return mirrored ? kMirrored[quarters] : kTurned[quarters];
}

Orientation Orientation::turned(int degrees) const
{
    return {(quarters + degrees / kDegreesOfQuarter) % kQuarters, mirrored};
}

Orientation orientationOf(GstTagList* tags)
{
    GstVideoOrientationMethod method = GST_VIDEO_ORIENTATION_IDENTITY;
    if (tags != nullptr)
    {
        gst_video_orientation_from_tag(tags, &method);
    }
    for (int number = 0; number < 2 * kQuarters; ++number)
    {
        if (Orientation const candidate{number % kQuarters, number >= kQuarters}; candidate.method() == method)
        {
            return candidate;
        }
    }
    return {};
}

} // namespace tz::orvane::service
