// SPDX-License-Identifier: Apache-2.0
// Reads the subtitles that a file on a disk holds beside its pictures and sound.
#include "subtitle_reader.h"

#include "gst_ptr.h"
#include "media_lists.h"

#include <string_view>
#include <sys/stat.h>

namespace tz::orvane::service
{

namespace
{

/// A larger one would keep the disk busy for too long, from which it is played as well.
constexpr off_t kLargestFile = 1LL << 30;

constexpr GstClockTime kPoll = 50 * GST_MSECOND;

struct Reading
{
    GstElement* pipeline;
    SubtitleTap& tap;
};

void link(Reading const& reading, GstPad* from, GstElement* to)
{
    gst_bin_add(GST_BIN(reading.pipeline), to);
    gst_element_sync_state_with_parent(to);
    ObjectPtr<GstPad> const sink(gst_element_get_static_pad(to, "sink"));
    gst_pad_link(from, sink.get());
}

void drain(Reading const& reading, GstPad* from)
{
    GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
    g_object_set(sink, "async", FALSE, nullptr);
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(sink, "sink"));
    reading.tap.watch(pad.get());
    link(reading, from, sink);
}

void linkStream(GstElement*, GstPad* pad, gpointer data)
{
    auto const& reading = *static_cast<Reading*>(data);
    CapsPtr const caps(gst_pad_query_caps(pad, nullptr));
    std::string_view const name = gst_caps_is_any(caps.get()) != FALSE || gst_caps_is_empty(caps.get()) != FALSE
                                      ? ""
                                      : gst_structure_get_name(gst_caps_get_structure(caps.get(), 0));
    if (name == "application/x-ssa" || name == "application/x-ass")
    {
        GstElement* const parser = gst_element_factory_make("ssaparse", nullptr);
        if (parser != nullptr)
        {
            link(reading, pad, parser);
            ObjectPtr<GstPad> const source(gst_element_get_static_pad(parser, "src"));
            drain(reading, source.get());
            return;
        }
    }
    drain(reading, pad);
}

/// A list is left as it is: what is read is this file, not wherever it points.
gboolean isFollowed(GstElement*, GstPad*, GstCaps* caps, gpointer)
{
    return isMediaList(caps) ? FALSE : TRUE;
}

} // namespace

void readEmbeddedSubtitles(std::string const& uri, SubtitleTap& tap, std::atomic<bool> const& cancelled)
{
    TextPtr const path(g_filename_from_uri(uri.c_str(), nullptr, nullptr));
    struct stat status
    {
    };
    if (path == nullptr || stat(path.get(), &status) != 0 || status.st_size > kLargestFile)
    {
        return;
    }
    GstElement* const source = gst_element_factory_make("filesrc", nullptr);
    GstElement* const parser = gst_element_factory_make("parsebin", nullptr);
    ObjectPtr<GstElement> const pipeline(static_cast<GstElement*>(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    Reading reading{pipeline.get(), tap};
    gst_bin_add_many(GST_BIN(pipeline.get()), source, parser, nullptr);
    gst_element_link(source, parser);
    g_object_set(source, "location", path.get(), nullptr);
    g_signal_connect(parser, "autoplug-continue", G_CALLBACK(isFollowed), nullptr);
    g_signal_connect(parser, "pad-added", G_CALLBACK(linkStream), &reading);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    ObjectPtr<GstBus> const bus(gst_element_get_bus(pipeline.get()));
    while (!cancelled)
    {
        MessagePtr const end(gst_bus_timed_pop_filtered(
            bus.get(), kPoll, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
        if (end != nullptr)
        {
            break; // what was read until an error stays
        }
    }
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

} // namespace tz::orvane::service
