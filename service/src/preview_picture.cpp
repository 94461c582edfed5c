// SPDX-License-Identifier: Apache-2.0
// Small pictures: scaled, turned upright, put side by side and compressed.
#include "preview_picture.h"

#include "gst_ptr.h"
#include "mapped_frame.h"

#include <gst/video/video.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kPixel = 3;
constexpr int kGap = 4;

struct ReleaseConverter
{
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
};

/// Rows of a frame begin at multiples of four bytes, those of a raster do not.
void copyRows(GstVideoFrame* frame, Raster& raster, bool intoFrame)
{
    auto* const plane = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(frame, 0));
    auto const stride = static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0));
    std::size_t const row = kPixel * static_cast<std::size_t>(raster.width);
    for (std::size_t y = 0; y < static_cast<std::size_t>(raster.height); ++y)
    {
        std::uint8_t* const there = plane + y * stride;
        std::uint8_t* const here = raster.pixels.data() + y * row;
        std::memcpy(intoFrame ? there : here, intoFrame ? here : there, row);
    }
}

Raster emptyRaster(int width, int height)
{
    return {width, height, std::vector<std::uint8_t>(kPixel * static_cast<std::size_t>(width) * height)};
}

std::uint8_t* pixelOf(Raster& raster, int x, int y)
{
    return raster.pixels.data() + kPixel * (static_cast<std::size_t>(y) * raster.width + x);
}

Raster scaled(GstBuffer* buffer, GstVideoInfo& from, Extent extent)
{
    GstVideoInfo to;
    gst_video_info_set_interlaced_format(&to, GST_VIDEO_FORMAT_RGB, GST_VIDEO_INFO_INTERLACE_MODE(&from),
                                         static_cast<guint>(extent.width), static_cast<guint>(extent.height));
    to.fps_n = from.fps_n;
    to.fps_d = from.fps_d;
    std::unique_ptr<GstVideoConverter, ReleaseConverter> const converter(gst_video_converter_new(&from, &to, nullptr));
    BufferPtr const result(gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&to), nullptr));
    MappedFrame source(from, buffer, GST_MAP_READ);
    MappedFrame target(to, result.get(), GST_MAP_READWRITE);
    if (converter == nullptr || !source || !target)
    {
        return {};
    }
    gst_video_converter_frame(converter.get(), source.get(), target.get());
    Raster raster = emptyRaster(extent.width, extent.height);
    copyRows(target.get(), raster, false);
    return raster;
}

} // namespace

Extent fitInto(Extent box, Extent picture)
{
    double const scale = std::min(
        {1.0, static_cast<double>(box.width) / picture.width, static_cast<double>(box.height) / picture.height});
    auto const side = [scale](int length) { return std::max(1, static_cast<int>(std::lround(length * scale))); };
    return {side(picture.width), side(picture.height)};
}

Raster thumbnailOf(GstSample* sample, Orientation const& upright, Extent box)
{
    GstVideoInfo from;
    if (gst_video_info_from_caps(&from, gst_sample_get_caps(sample)) == FALSE || from.width <= 0 || from.height <= 0)
    {
        return {};
    }
    double const shape = from.par_n > 0 && from.par_d > 0 ? static_cast<double>(from.par_n) / from.par_d : 1.0;
    double const wide = std::clamp(from.width * shape, 1.0, 1e6);
    if (upright.quarters % 2 != 0)
    {
        std::swap(box.width, box.height);
    }
    Extent const extent = fitInto(box, {static_cast<int>(std::lround(wide)), from.height});
    return turned(scaled(gst_sample_get_buffer(sample), from, extent), upright);
}

Raster turned(Raster const& raster, Orientation const& upright)
{
    if (upright.quarters == 0 && !upright.mirrored)
    {
        return raster;
    }
    bool const lies = upright.quarters % 2 != 0;
    Raster result = emptyRaster(lies ? raster.height : raster.width, lies ? raster.width : raster.height);
    for (int y = 0; y < raster.height; ++y)
    {
        for (int column = 0; column < raster.width; ++column)
        {
            int const x = upright.mirrored ? raster.width - 1 - column : column;
            int const toX = upright.quarters == 0   ? x
                            : upright.quarters == 1 ? raster.height - 1 - y
                            : upright.quarters == 2 ? raster.width - 1 - x
                                                    : y;
            int const toY = upright.quarters == 0   ? y
                            : upright.quarters == 1 ? x
                            : upright.quarters == 2 ? raster.height - 1 - y
                                                    : raster.width - 1 - x;
            std::size_t const from = kPixel * (static_cast<std::size_t>(y) * raster.width + column);
            std::memcpy(pixelOf(result, toX, toY), raster.pixels.data() + from, kPixel);
        }
    }
    return result;
}

Extent sheetExtent(int frames, int columns, Extent frame)
{
    int const rows = (frames + columns - 1) / columns;
    int const used = std::min(columns, frames);
    return {used * (frame.width + kGap) + kGap, rows * (frame.height + kGap) + kGap};
}

Raster sheetOf(std::vector<Raster> const& rasters, int columns)
{
    int const count = static_cast<int>(rasters.size());
    int const width = rasters.front().width;
    int const height = rasters.front().height;
    Extent const extent = sheetExtent(count, columns, {width, height});
    Raster sheet = emptyRaster(extent.width, extent.height);
    for (int number = 0; number < count; ++number)
    {
        int const left = kGap + number % columns * (width + kGap);
        int const top = kGap + number / columns * (height + kGap);
        Raster const& raster = rasters[static_cast<std::size_t>(number)];
        std::size_t const row = kPixel * static_cast<std::size_t>(std::min(width, raster.width));
        for (int y = 0; y < std::min(height, raster.height); ++y)
        {
            std::memcpy(pixelOf(sheet, left, top + y),
                        raster.pixels.data() + kPixel * static_cast<std::size_t>(y) * raster.width, row);
        }
    }
    return sheet;
}

std::string compressed(Raster const& raster, bool png)
{
    GstVideoInfo info;
    gst_video_info_set_format(&info, GST_VIDEO_FORMAT_RGB, static_cast<guint>(raster.width),
                              static_cast<guint>(raster.height));
    info.fps_n = 0;
    info.fps_d = 1;
    BufferPtr const buffer(gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&info), nullptr));
    {
        MappedFrame frame(info, buffer.get(), GST_MAP_WRITE);
        if (!frame)
        {
            return {};
        }
        Raster copy = raster;
        copyRows(frame.get(), copy, true);
    }
    CapsPtr const raw(gst_video_info_to_caps(&info));
    CapsPtr const wanted(gst_caps_new_empty_simple(png ? "image/png" : "image/jpeg"));
    SamplePtr const sample(gst_sample_new(buffer.get(), raw.get(), nullptr, nullptr));
    GError* fault = nullptr;
    // The process has a deadline.
    SamplePtr const file(gst_video_convert_sample(sample.get(), wanted.get(), GST_CLOCK_TIME_NONE, &fault));
    ErrorPtr const owner(fault);
    if (file == nullptr)
    {
        return {};
    }
    GstBuffer* const content = gst_sample_get_buffer(file.get());
    std::string bytes(gst_buffer_get_size(content), '\0');
    gst_buffer_extract(content, 0, bytes.data(), bytes.size());
    return bytes;
}

} // namespace tz::orvane::service
