// SPDX-License-Identifier: Apache-2.0
// Plays elementary streams that an application pushes.
#include "es_pipeline.h"

#include "feed.h"

#include <algorithm>

namespace tz::orvane::service
{

namespace
{

void linkDecoded(GstElement*, GstPad* pad, gpointer queue)
{
    ObjectPtr<GstPad> const sink(gst_element_get_static_pad(static_cast<GstElement*>(queue), "sink"));
    if (gst_pad_is_linked(sink.get()) == FALSE)
    {
        gst_pad_link(pad, sink.get());
    }
}

/// Lets the sinks of an outlet wait so many nanoseconds longer.
void holdBack(GstElement* outlet, gint64 nanoseconds)
{
    IteratorPtr const sinks(gst_bin_iterate_all_by_element_factory_name(GST_BIN(outlet), "intervideosink"));
    gst_iterator_foreach(
        sinks.get(),
        [](GValue const* item, gpointer offset)
        { g_object_set(g_value_get_object(item), "ts-offset", *static_cast<gint64*>(offset), nullptr); },
        &nanoseconds);
}

} // namespace

EsPipeline::EsPipeline(std::vector<Stream> const& streams, GstElement* audioChain, GstElement* videoOutlet)
    : Pipeline(gst_pipeline_new(nullptr), audioChain)
    , m_videoOutlet(static_cast<GstElement*>(gst_object_ref_sink(videoOutlet)))
{
    // An outlet without a stream would keep the pipeline waiting for its first data.
    ObjectPtr<GstElement> const audio(static_cast<GstElement*>(gst_object_ref_sink(audioChain)));
    for (Stream const& stream : streams)
    {
        bool const isVideo = stream.kind == StreamPad::Kind::video;
        addBranch(stream, isVideo ? m_videoOutlet.get() : audio.get());
    }
}

void EsPipeline::addBranch(Stream const& stream, GstElement* outlet)
{
    bool const isVideo = stream.kind == StreamPad::Kind::video;
    GstElement* const source = gst_element_factory_make("appsrc", nullptr);
    GstElement* const decoder = gst_element_factory_make("decodebin", nullptr);
    GstElement* const queue = gst_element_factory_make("queue", nullptr);
    GstElement* const convert = gst_element_factory_make(isVideo ? "videoconvert" : "audioconvert", nullptr);
    gst_bin_add_many(GST_BIN(element()), source, decoder, queue, convert, outlet, nullptr);
    gst_element_link(source, decoder);
    gst_element_link_many(queue, convert, outlet, nullptr);
    g_signal_connect_object(decoder, "pad-added", G_CALLBACK(linkDecoded), queue, static_cast<GConnectFlags>(0));
    g_object_set(source, "caps", stream.caps.get(), nullptr);
    stream.feed->attach(source);
    m_branches.push_back({stream.kind, ObjectPtr<GstElement>(static_cast<GstElement*>(gst_object_ref(queue)))});
}

void EsPipeline::setAudioDelay(std::chrono::nanoseconds delay)
{
    if (m_branches.size() < 2)
    {
        return; // there is nothing that it could be late for
    }
    audio().setDelay(std::max(delay, std::chrono::nanoseconds(0)));
    holdBack(m_videoOutlet.get(), std::max<gint64>(-delay.count(), 0));
}

std::vector<StreamPad> EsPipeline::streams() const
{
    std::vector<StreamPad> found;
    for (Branch const& branch : m_branches)
    {
        found.push_back(
            {branch.kind, ObjectPtr<GstPad>(gst_element_get_static_pad(branch.queue.get(), "sink")), nullptr});
    }
    return found;
}

} // namespace tz::orvane::service
