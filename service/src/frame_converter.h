// SPDX-License-Identifier: Apache-2.0
// Brings decoded pictures into the form that an application has asked for.
#pragma once

#include "frame_options.h"
#include "gst_ptr.h"
#include "picture_memory.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tz::orvane::service
{

/// A picture as it is handed over.
struct ConvertedFrame
{
    PictureMemory memory;
    int width = 0;
    int height = 0;
    int stride = 0;          ///< bytes
    std::string par;         ///< "1:1"
    std::string colorimetry; ///< GStreamer's name, empty when it has none
    std::int64_t pts = -1;   ///< milliseconds, -1 when not known
};

/// Converts the pictures of one medium, one at a time.
class FrameConverter
{
public:
    /// Bytes of a picture at most: what a message takes.
    static constexpr std::size_t kMostBytes = 60u << 20;

    enum class Result
    {
        done,
        tooLarge,
        impossible
    };

    /// @param[out] frame its memory is used again
    Result convert(GstSample* sample, FrameOptions const& options, ConvertedFrame& frame);

private:
    struct ReleaseConverter
    {
        void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
    };

    bool setUp(GstVideoInfo const& input, FrameOptions const& options);

    GstVideoInfo m_input{};
    GstVideoInfo m_output{};
    std::unique_ptr<GstVideoConverter, ReleaseConverter> m_converter;
};

} // namespace tz::orvane::service
