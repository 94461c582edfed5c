// SPDX-License-Identifier: Apache-2.0
// Tells a pipeline what a pad takes, whatever comes behind it.
#include "caps_answer.h"

namespace tz::orvane::service
{

namespace
{

GstPadProbeReturn answer(GstPad*, GstPadProbeInfo* info, gpointer caps)
{
    GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
    if (GST_QUERY_TYPE(query) != GST_QUERY_CAPS)
    {
        return GST_PAD_PROBE_OK;
    }
    GstCaps* filter = nullptr;
    gst_query_parse_caps(query, &filter);
    auto* const all = static_cast<GstCaps*>(caps);
    CapsPtr const answer(filter == nullptr ? gst_caps_ref(all)
                                           : gst_caps_intersect_full(filter, all, GST_CAPS_INTERSECT_FIRST));
    gst_query_set_caps_result(query, answer.get());
    return GST_PAD_PROBE_HANDLED;
}

} // namespace

void takeAll(GstElement* element, CapsPtr caps)
{
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(element, "sink"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, answer, caps.release(),
                      [](gpointer owned) { gst_caps_unref(static_cast<GstCaps*>(owned)); });
}

} // namespace tz::orvane::service
