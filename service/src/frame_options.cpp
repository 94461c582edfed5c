// SPDX-License-Identifier: Apache-2.0
// How an application wants to be handed the pictures of a medium.
#include "frame_options.h"

#include "number_text.h"

#include "orvane/om_service.h"

namespace tz::orvane::service
{

namespace
{

constexpr std::int64_t kLongestInterval = 3'600'000;

struct FormatName
{
    char const* name;
    GstVideoFormat format;
};

constexpr FormatName kFormats[] = {
    {om::OM_FRAME_FORMAT_RGB, GST_VIDEO_FORMAT_RGB},
    {om::OM_FRAME_FORMAT_RGBA, GST_VIDEO_FORMAT_RGBA},
    {om::OM_FRAME_FORMAT_I420, GST_VIDEO_FORMAT_I420},
};

GstVideoFormat toFormat(std::string_view name)
{
    for (FormatName const& row : kFormats)
    {
        if (name == row.name)
        {
            return row.format;
        }
    }
    return GST_VIDEO_FORMAT_UNKNOWN;
}

} // namespace

OptionResult readFrameOption(std::string_view key, std::string_view value, FrameOptions& options)
{
    bool good = false;
    if (key == om::OM_PREPARE_KEY_FRAME_INFO)
    {
        options.format = toFormat(value);
        good = options.wanted();
    }
    else if (key == om::OM_PREPARE_KEY_FRAME_INFO_SIZE)
    {
        auto const cross = value.find('x');
        bool const isPair = cross != std::string_view::npos;
        auto const width = toNumber(value.substr(0, cross), 1, FrameOptions::kLongestSide);
        auto const height = toNumber(isPair ? value.substr(cross + 1) : "", 1, FrameOptions::kLongestSide);
        options.mostWidth = static_cast<int>(width.value_or(0));
        options.mostHeight = static_cast<int>(height.value_or(0));
        options.detailed = true;
        good = width.has_value() && height.has_value();
    }
    else if (key == om::OM_PREPARE_KEY_FRAME_INFO_INTERVAL)
    {
        auto const interval = toNumber(value, 0, kLongestInterval);
        options.interval = std::chrono::milliseconds(interval.value_or(0));
        options.detailed = true;
        good = interval.has_value();
    }
    else if (key == om::OM_PREPARE_KEY_FRAME_INFO_ON_DEMAND)
    {
        options.onDemand = value == "1";
        options.detailed = true;
        good = options.onDemand || value == "0";
    }
    else
    {
        return OptionResult::unknown;
    }
    return good ? OptionResult::taken : OptionResult::wrong;
}

std::string frameFormatName(GstVideoFormat format)
{
    for (FormatName const& row : kFormats)
    {
        if (format == row.format)
        {
            return row.name;
        }
    }
    return {};
}

} // namespace tz::orvane::service
