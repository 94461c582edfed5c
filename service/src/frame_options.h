// SPDX-License-Identifier: Apache-2.0
// How an application wants to be handed the pictures of a medium.
#pragma once

#include <gst/video/video.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tz::orvane::service
{

struct FrameOptions
{
    static constexpr int kLongestSide = 16'384;

    GstVideoFormat format = GST_VIDEO_FORMAT_UNKNOWN;
    int mostWidth = kLongestSide;
    int mostHeight = kLongestSide;
    std::chrono::milliseconds interval{0};
    bool onDemand = false;
    bool detailed = false; ///< more than the format was given

    bool wanted() const { return format != GST_VIDEO_FORMAT_UNKNOWN; }

    /// @return whether they make sense together: with an interval, what is asked for would not be the newest picture
    bool consistent() const { return (wanted() || !detailed) && !(onDemand && interval.count() > 0); }
};

enum class OptionResult
{
    unknown, ///< the key means something else
    taken,
    wrong
};

/// Reads one option of an opening.
OptionResult readFrameOption(std::string_view key, std::string_view value, FrameOptions& options);

/// @return the name that applications know a format by
std::string frameFormatName(GstVideoFormat format);

} // namespace tz::orvane::service
