// SPDX-License-Identifier: Apache-2.0
// Where the pictures of a pipeline can be had.
#pragma once

#include "gst_ptr.h"

#include <gst/app/gstappsink.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace tz::orvane::service
{

/// Holds the newest picture of a pipeline, at its time, until it is taken or a seek
/// makes it one of before. Any thread: streaming never waits here.
class FrameTap
{
public:
    /// @param interval between pictures at least; the first one after an opening, a seek or a pause does not wait
    /// @param arrived  called on a streaming thread when there is a picture where there was none
    FrameTap(std::chrono::milliseconds interval, std::function<void()> arrived);
    FrameTap(FrameTap const&) = delete;
    FrameTap& operator=(FrameTap const&) = delete;

    /// @return a sink with a floating reference, which keeps the tap
    static GstElement* makeSink(std::shared_ptr<FrameTap> const& tap);

    bool empty() const;

    /// @return the newest picture, or null
    SamplePtr take();

    /// @return how many pictures made place for newer ones
    std::uint64_t dropped() const;

private:
    using Clock = std::chrono::steady_clock;

    static GstPadProbeReturn onFlush(GstPad* pad, GstPadProbeInfo* info, gpointer tap);
    static GstFlowReturn onPreroll(GstAppSink* sink, gpointer tap);
    static GstFlowReturn onSample(GstAppSink* sink, gpointer tap);

    void offer(SamplePtr sample, bool prerolled);
    void clear();

    std::chrono::milliseconds const m_interval;
    std::function<void()> const m_arrived;
    mutable std::mutex m_mutex;
    SamplePtr m_newest;
    SamplePtr m_prerolled; ///< comes again when the pipeline plays
    Clock::time_point m_last;
    std::uint64_t m_dropped = 0;
};

} // namespace tz::orvane::service
