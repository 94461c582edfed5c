// SPDX-License-Identifier: Apache-2.0
// Where the pictures of a pipeline can be had.
#include "frame_tap.h"

#include <utility>

namespace tz::orvane::service
{

namespace
{

gpointer share(std::shared_ptr<FrameTap> const& tap)
{
    return new std::shared_ptr<FrameTap>(tap);
}

void unshare(gpointer tap)
{
    delete static_cast<std::shared_ptr<FrameTap>*>(tap);
}

FrameTap& shared(gpointer tap)
{
    return **static_cast<std::shared_ptr<FrameTap>*>(tap);
}

} // namespace

FrameTap::FrameTap(std::chrono::milliseconds interval, std::function<void()> arrived)
    : m_interval(interval)
    , m_arrived(std::move(arrived))
    , m_last(Clock::now() - interval)
{
}

GstElement* FrameTap::makeSink(std::shared_ptr<FrameTap> const& tap)
{
    GstElement* const sink = gst_element_factory_make("appsink", nullptr);
    CapsPtr const caps(gst_caps_new_empty_simple("video/x-raw"));
    // An opening waits for the screen only, and no picture is kept here.
    g_object_set(sink, "caps", caps.get(), "sync", TRUE, "async", FALSE, "max-buffers", 1, "drop", TRUE, "wait-on-eos",
                 FALSE, "enable-last-sample", FALSE, nullptr);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_preroll = onPreroll;
    callbacks.new_sample = onSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, share(tap), unshare);
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(sink, "sink"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_FLUSH, onFlush, share(tap), unshare);
    return sink;
}

bool FrameTap::empty() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_newest == nullptr;
}

SamplePtr FrameTap::take()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return std::move(m_newest);
}

std::uint64_t FrameTap::dropped() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_dropped;
}

/// When the flush stops, no streaming thread is on its way here with a picture of before.
GstPadProbeReturn FrameTap::onFlush(GstPad*, GstPadProbeInfo* info, gpointer tap)
{
    if (GST_EVENT_TYPE(gst_pad_probe_info_get_event(info)) == GST_EVENT_FLUSH_STOP)
    {
        shared(tap).clear();
    }
    return GST_PAD_PROBE_OK;
}

GstFlowReturn FrameTap::onPreroll(GstAppSink* sink, gpointer tap)
{
    shared(tap).offer(SamplePtr(gst_app_sink_try_pull_preroll(sink, 0)), true);
    return GST_FLOW_OK;
}

GstFlowReturn FrameTap::onSample(GstAppSink* sink, gpointer tap)
{
    shared(tap).offer(SamplePtr(gst_app_sink_try_pull_sample(sink, 0)), false);
    return GST_FLOW_OK;
}

void FrameTap::offer(SamplePtr sample, bool prerolled)
{
    if (sample == nullptr)
    {
        return; // flushed meanwhile
    }
    bool isFirst = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        bool const isKnown =
            m_prerolled != nullptr && gst_sample_get_buffer(m_prerolled.get()) == gst_sample_get_buffer(sample.get());
        m_prerolled.reset(prerolled || isKnown ? gst_sample_ref(sample.get()) : nullptr);
        auto const now = Clock::now();
        if (isKnown || (!prerolled && now - m_last < m_interval))
        {
            return;
        }
        m_last = now;
        isFirst = m_newest == nullptr;
        m_dropped += isFirst ? 0 : 1;
        m_newest.swap(sample);
    }
    if (isFirst)
    {
        m_arrived();
    }
}

void FrameTap::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_newest.reset();
    m_prerolled.reset();
}

} // namespace tz::orvane::service
