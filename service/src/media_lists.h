// SPDX-License-Identifier: Apache-2.0
// Tells lists of other media from media.
#pragma once

#include <gst/gst.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tz::orvane::service
{

/// What says where other media are, instead of being one.
constexpr std::string_view kMediaLists[] = {
    "application/x-hls",
    "application/dash+xml",
    "application/vnd.ms-sstr+xml",
    "application/sdp",
    "application/smil",
    "application/xges",
    "application/vnd.apple-fcp+xml",
    "application/vnd.apple-xmeml+xml",
    "application/vnd.pixar.opentimelineio+json",
    "text/uri-list",
};

inline bool isMediaList(GstCaps const* caps)
{
    if (gst_caps_is_any(caps) != FALSE || gst_caps_is_empty(caps) != FALSE)
    {
        return false;
    }
    std::string_view const name = gst_structure_get_name(gst_caps_get_structure(caps, 0));
    return std::find(std::begin(kMediaLists), std::end(kMediaLists), name) != std::end(kMediaLists);
}

} // namespace tz::orvane::service
