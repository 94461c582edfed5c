// SPDX-License-Identifier: Apache-2.0
// Owner of the access to a picture's pixels.
#pragma once

#include <gst/video/video.h>

namespace tz::orvane::service
{

/// Lets go of a mapped picture.
class MappedFrame
{
public:
    MappedFrame(GstVideoInfo& info, GstBuffer* buffer, GstMapFlags flags)
        : m_mapped(gst_video_frame_map(&m_frame, &info, buffer, flags) != FALSE)
    {
    }
    MappedFrame(MappedFrame const&) = delete;
    MappedFrame& operator=(MappedFrame const&) = delete;
    ~MappedFrame()
    {
        if (m_mapped)
        {
            gst_video_frame_unmap(&m_frame);
        }
    }

    explicit operator bool() const { return m_mapped; }
    GstVideoFrame* get() { return &m_frame; }

private:
    GstVideoFrame m_frame{};
    bool m_mapped;
};

} // namespace tz::orvane::service
