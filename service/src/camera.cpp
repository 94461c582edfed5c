// SPDX-License-Identifier: Apache-2.0
// Catches a composed picture that is new enough.
#include "camera.h"

#include <gst/base/base.h>

#include <algorithm>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// @return when the part that a pad adds to the picture was fetched at the earliest, 0 when it adds none
GstClockTime timeOf(GstAggregator* mixer, GstAggregatorPad* pad)
{
    SamplePtr const sample(gst_aggregator_peek_next_sample(mixer, pad));
    GstBuffer* const part = sample == nullptr ? nullptr : gst_sample_get_buffer(sample.get());
    return part == nullptr || !GST_BUFFER_OFFSET_IS_VALID(part) ? 0 : GST_BUFFER_OFFSET(part);
}

} // namespace

void Camera::attach(GstElement* mixer, GstElement* exit)
{
    m_mixer = mixer;
    g_object_set(mixer, "emit-signals", TRUE, nullptr);
    g_signal_connect(mixer, "samples-selected", G_CALLBACK(onSelected), this);
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(exit, "sink"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, onPicture, this, nullptr);
}

void Camera::take(Taken taken)
{
    GstClockTime const now = gst_element_get_current_running_time(m_mixer);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.push_back({GST_CLOCK_TIME_IS_VALID(now) ? now : 0, std::move(taken)});
}

void Camera::onSelected(GstElement* mixer, GstSegment*, guint64, guint64, guint64, GstStructure*, gpointer self)
{
    Camera& camera = *static_cast<Camera*>(self);
    {
        std::lock_guard<std::mutex> lock(camera.m_mutex);
        if (camera.m_requests.empty())
        {
            return;
        }
    }
    GstClockTime oldest = GST_CLOCK_TIME_NONE;
    IteratorPtr const pads(gst_element_iterate_sink_pads(mixer));
    auto const look = [&](GValue const* item)
    { oldest = std::min(oldest, timeOf(GST_AGGREGATOR(mixer), GST_AGGREGATOR_PAD(g_value_get_object(item)))); };
    GstIteratorResult const result = gst_iterator_foreach(
        pads.get(), [](GValue const* item, gpointer call) { (*static_cast<decltype(look)*>(call))(item); },
        const_cast<void*>(static_cast<void const*>(&look)));
    std::lock_guard<std::mutex> lock(camera.m_mutex);
    camera.m_freshness = result == GST_ITERATOR_DONE ? oldest : 0;
}

GstPadProbeReturn Camera::onPicture(GstPad* pad, GstPadProbeInfo* info, gpointer self)
{
    Camera& camera = *static_cast<Camera*>(self);
    std::vector<Request> served;
    {
        std::lock_guard<std::mutex> lock(camera.m_mutex);
        auto const waiting =
            std::stable_partition(camera.m_requests.begin(), camera.m_requests.end(),
                                  [&](Request const& request) { return camera.m_freshness <= request.since; });
        std::move(waiting, camera.m_requests.end(), std::back_inserter(served));
        camera.m_requests.erase(waiting, camera.m_requests.end());
        camera.m_freshness = 0; // what comes without having been looked at is not new
    }
    if (!served.empty())
    {
        CapsPtr const caps(gst_pad_get_current_caps(pad));
        std::shared_ptr<GstSample> const sample(
            gst_sample_new(GST_PAD_PROBE_INFO_BUFFER(info), caps.get(), nullptr, nullptr), Release());
        for (Request const& request : served)
        {
            request.taken(sample);
        }
    }
    return GST_PAD_PROBE_OK;
}

} // namespace tz::orvane::service
