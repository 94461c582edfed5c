// SPDX-License-Identifier: Apache-2.0
// Keeps the pitch of sound at other speeds.
#include "tempo.h"

#include <memory>
#include <optional>

namespace tz::orvane::service
{

namespace
{

/// What a streaming thread knows of the element that it passes.
struct Passage
{
    std::optional<GstSegment> hidden; ///< what the element is not to know
};

using PassagePtr = std::shared_ptr<Passage>;

bool isHeardAt(double rate)
{
    return rate > 0 && rate <= kFastestHeard;
}

/// Takes the place of an event in its probe. @param event owned from now on
void replaceEvent(GstPadProbeInfo* info, GstEvent* event)
{
    GstEvent* const former = GST_PAD_PROBE_INFO_EVENT(info);
    gst_event_set_seqnum(event, gst_event_get_seqnum(former));
    gst_event_unref(former);
    GST_PAD_PROBE_INFO_DATA(info) = event;
}

/// The part of a gap that is played.
void clipGap(GstPad* pad, GstPadProbeInfo* info)
{
    EventPtr const sticky(gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0));
    GstClockTime from = GST_CLOCK_TIME_NONE;
    GstClockTime duration = GST_CLOCK_TIME_NONE;
    gst_event_parse_gap(GST_PAD_PROBE_INFO_EVENT(info), &from, &duration);
    if (sticky == nullptr || !GST_CLOCK_TIME_IS_VALID(from))
    {
        return;
    }
    GstSegment const* segment = nullptr;
    gst_event_parse_segment(sticky.get(), &segment);
    if (from >= segment->start)
    {
        return;
    }
    GstClockTime const cut = segment->start - from;
    GstClockTime const rest = GST_CLOCK_TIME_IS_VALID(duration) && duration > cut ? duration - cut : 0;
    replaceEvent(info, gst_event_new_gap(segment->start, rest));
}

GstPadProbeReturn enter(GstPad* pad, GstPadProbeInfo* info, gpointer data)
{
    Passage& passage = **static_cast<PassagePtr*>(data);
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_GAP)
    {
        clipGap(pad, info);
    }
    else if (GST_EVENT_TYPE(event) == GST_EVENT_SEGMENT)
    {
        GstSegment segment;
        gst_event_copy_segment(event, &segment);
        passage.hidden.reset();
        if (!isHeardAt(segment.rate))
        {
            passage.hidden = segment;
            segment.rate = 1.0;
            replaceEvent(info, gst_event_new_segment(&segment));
        }
    }
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn leave(GstPad*, GstPadProbeInfo* info, gpointer data)
{
    Passage const& passage = **static_cast<PassagePtr*>(data);
    if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_SEGMENT && passage.hidden)
    {
        replaceEvent(info, gst_event_new_segment(&*passage.hidden));
    }
    return GST_PAD_PROBE_OK;
}

void watch(GstElement* element, char const* name, GstPadProbeCallback probe, PassagePtr const& passage)
{
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(element, name));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, probe, new PassagePtr(passage),
                      [](gpointer data) { delete static_cast<PassagePtr*>(data); });
}

} // namespace

void guardTempo(GstElement* scaletempo)
{
    auto const passage = std::make_shared<Passage>();
    watch(scaletempo, "sink", enter, passage);
    watch(scaletempo, "src", leave, passage);
}

} // namespace tz::orvane::service
