// SPDX-License-Identifier: Apache-2.0
// Brings decoded pictures into the form that an application has asked for.
#include "frame_converter.h"

#include "mapped_frame.h"

#include <algorithm>
#include <cmath>

namespace tz::orvane::service
{

namespace
{

/// Rows begin at multiples of it, those of halved planes at multiples of its half.
constexpr int kRowAlignment = 8;

int scaled(int side, double factor)
{
    return std::max(1, static_cast<int>(std::lround(side * factor)));
}

/// Rows and planes stand one behind another as the application is told, whatever GStreamer would choose.
void layOut(GstVideoInfo& info)
{
    int const pixelBytes = GST_VIDEO_INFO_COMP_PSTRIDE(&info, 0);
    int const stride = GST_ROUND_UP_N(info.width * pixelBytes, kRowAlignment);
    info.stride[0] = stride;
    info.size = static_cast<gsize>(stride) * static_cast<gsize>(info.height);
    if (GST_VIDEO_INFO_N_PLANES(&info) > 1)
    {
        auto const rows = static_cast<gsize>(GST_ROUND_UP_2(info.height));
        gsize const luma = static_cast<gsize>(stride) * rows;
        info.stride[1] = stride / 2;
        info.stride[2] = stride / 2;
        info.offset[1] = luma;
        info.offset[2] = luma + luma / 4;
        info.size = luma + luma / 2;
    }
}

std::int64_t timeOf(GstSample* sample)
{
    GstClockTime const pts = GST_BUFFER_PTS(gst_sample_get_buffer(sample));
    GstSegment const* const segment = gst_sample_get_segment(sample);
    guint64 const time = gst_segment_to_stream_time(segment, GST_FORMAT_TIME, pts);
    return time == GST_CLOCK_TIME_NONE ? -1 : static_cast<std::int64_t>(time / GST_MSECOND);
}

} // namespace

bool FrameConverter::setUp(GstVideoInfo const& input, FrameOptions const& options)
{
    double const factor = std::min({1.0, static_cast<double>(options.mostWidth) / input.width,
                                    static_cast<double>(options.mostHeight) / input.height});
    m_converter.reset();
    m_input = input;
    if (gst_video_info_set_format(&m_output, options.format, static_cast<guint>(scaled(input.width, factor)),
                                  static_cast<guint>(scaled(input.height, factor))) == FALSE)
    {
        return false;
    }
    // What it does not convert must be equal.
    m_output.fps_n = input.fps_n;
    m_output.fps_d = input.fps_d;
    m_output.interlace_mode = input.interlace_mode;
    if (GST_VIDEO_INFO_IS_YUV(&m_output) && GST_VIDEO_INFO_IS_YUV(&input))
    {
        m_output.colorimetry = input.colorimetry;
    }
    layOut(m_output);
    GstStructure* const how =
        gst_structure_new("how", GST_VIDEO_CONVERTER_OPT_RESAMPLER_METHOD, GST_TYPE_VIDEO_RESAMPLER_METHOD,
                          GST_VIDEO_RESAMPLER_METHOD_LINEAR, nullptr);
    m_converter.reset(gst_video_converter_new(&m_input, &m_output, how));
    return m_converter != nullptr;
}

FrameConverter::Result FrameConverter::convert(GstSample* sample, FrameOptions const& options, ConvertedFrame& frame)
{
    GstVideoInfo input{};
    GstCaps* const caps = gst_sample_get_caps(sample);
    if (caps == nullptr || gst_video_info_from_caps(&input, caps) == FALSE || input.width < 1 || input.height < 1)
    {
        return Result::impossible;
    }
    bool const isKnown = m_converter != nullptr && gst_video_info_is_equal(&input, &m_input) != FALSE;
    if (!isKnown && !setUp(input, options))
    {
        return Result::impossible;
    }
    if (m_output.size > kMostBytes)
    {
        return Result::tooLarge;
    }
    if (!frame.memory.resize(m_output.size))
    {
        return Result::impossible;
    }
    BufferPtr const target(gst_buffer_new_wrapped_full(static_cast<GstMemoryFlags>(0), frame.memory.data(),
                                                       m_output.size, 0, m_output.size, nullptr, nullptr));
    MappedFrame from(m_input, gst_sample_get_buffer(sample), GST_MAP_READ);
    MappedFrame to(m_output, target.get(), GST_MAP_WRITE);
    if (!from || !to)
    {
        return Result::impossible;
    }
    gst_video_converter_frame(m_converter.get(), from.get(), to.get());
    frame.width = m_output.width;
    frame.height = m_output.height;
    frame.stride = m_output.stride[0];
    frame.par = std::to_string(input.par_n) + ":" + std::to_string(input.par_d);
    TextPtr const colorimetry(gst_video_colorimetry_to_string(&m_output.colorimetry));
    frame.colorimetry = colorimetry == nullptr ? "" : colorimetry.get();
    frame.pts = timeOf(sample);
    return Result::done;
}

} // namespace tz::orvane::service
