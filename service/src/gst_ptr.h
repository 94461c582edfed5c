// SPDX-License-Identifier: Apache-2.0
// Owners for what GStreamer hands out with a reference.
#pragma once

#include <gst/gst.h>

#include <memory>

namespace tz::orvane::service
{

/// Gives back one reference of whatever it is.
struct Release
{
    void operator()(GstBuffer* thing) const { gst_buffer_unref(thing); }
    void operator()(GstCaps* thing) const { gst_caps_unref(thing); }
    void operator()(GstEvent* thing) const { gst_event_unref(thing); }
    void operator()(GstMessage* thing) const { gst_message_unref(thing); }
    void operator()(GstQuery* thing) const { gst_query_unref(thing); }
    void operator()(GstSample* thing) const { gst_sample_unref(thing); }
    void operator()(GstTagList* thing) const { gst_tag_list_unref(thing); }
    void operator()(GstIterator* thing) const { gst_iterator_free(thing); }
    void operator()(GError* thing) const { g_error_free(thing); }
    void operator()(char* text) const { g_free(text); }
};

struct ReleaseObject
{
    void operator()(gpointer object) const { gst_object_unref(object); }
};

template <class T> using ObjectPtr = std::unique_ptr<T, ReleaseObject>;
using BufferPtr = std::unique_ptr<GstBuffer, Release>;
using CapsPtr = std::unique_ptr<GstCaps, Release>;
using EventPtr = std::unique_ptr<GstEvent, Release>;
using MessagePtr = std::unique_ptr<GstMessage, Release>;
using QueryPtr = std::unique_ptr<GstQuery, Release>;
using SamplePtr = std::unique_ptr<GstSample, Release>;
using TagListPtr = std::unique_ptr<GstTagList, Release>;
using IteratorPtr = std::unique_ptr<GstIterator, Release>;
using ErrorPtr = std::unique_ptr<GError, Release>;
using TextPtr = std::unique_ptr<char, Release>;

} // namespace tz::orvane::service
