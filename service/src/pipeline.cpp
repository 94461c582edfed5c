// SPDX-License-Identifier: Apache-2.0
// A GStreamer pipeline that a player drives, whatever feeds it.
#include "pipeline.h"

#include "caps_answer.h"
#include "frame_tap.h"

#include <algorithm>
#include <cstring>

namespace tz::orvane::service
{

namespace
{

constexpr guint kTapBuffers = 2;

/// Counts the element's own threads that run; those of adaptive streaming do not show in its pads.
bool isAtWork(GstElement* element)
{
    char const* const klass =
        gst_element_class_get_metadata(GST_ELEMENT_GET_CLASS(element), GST_ELEMENT_METADATA_KLASS);
    bool atWork = klass != nullptr && std::strstr(klass, "Adaptive") != nullptr;
    GST_OBJECT_LOCK(element);
    for (GList const* item = element->pads; item != nullptr; item = item->next)
    {
        GstPad* const pad = GST_PAD(item->data);
        GST_OBJECT_LOCK(pad);
        GstTask* const task = GST_PAD_TASK(pad);
        atWork = atWork || (task != nullptr && gst_task_get_state(task) == GST_TASK_STARTED);
        GST_OBJECT_UNLOCK(pad);
    }
    GST_OBJECT_UNLOCK(element);
    return atWork;
}

} // namespace

Pipeline::Pipeline(GstElement* element, GstElement* audioChain)
    : m_element(static_cast<GstElement*>(gst_object_ref_sink(element)))
    , m_audio(audioChain)
{
}

Pipeline::~Pipeline()
{
    gst_element_set_state(m_element.get(), GST_STATE_NULL);
}

CallResult Pipeline::changeState(GstState state)
{
    switch (gst_element_set_state(m_element.get(), state))
    {
    case GST_STATE_CHANGE_SUCCESS:
        return CallResult::done;
    case GST_STATE_CHANGE_ASYNC:
        return CallResult::async;
    case GST_STATE_CHANGE_NO_PREROLL:
        return CallResult::live;
    default:
        return CallResult::failed;
    }
}

CallResult Pipeline::seek(double rate, std::int64_t milliseconds, int flags)
{
    auto const position = milliseconds * static_cast<std::int64_t>(GST_MSECOND);
    bool const forward = rate > 0;
    std::int64_t const end = -1; // to be set: else it stays where the last way back began
    gboolean const sought =
        gst_element_seek(m_element.get(), rate, GST_FORMAT_TIME, static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | flags),
                         GST_SEEK_TYPE_SET, forward ? position : 0, GST_SEEK_TYPE_SET, forward ? end : position);
    return sought == FALSE ? CallResult::failed : CallResult::async;
}

std::optional<std::int64_t> Pipeline::position() const
{
    gint64 nanoseconds = -1;
    if (gst_element_query_position(m_element.get(), GST_FORMAT_TIME, &nanoseconds) == FALSE || nanoseconds < 0)
    {
        return std::nullopt;
    }
    return nanoseconds / static_cast<std::int64_t>(GST_MSECOND);
}

bool Pipeline::settling() const
{
    return gst_element_get_state(m_element.get(), nullptr, nullptr, 0) == GST_STATE_CHANGE_ASYNC;
}

bool Pipeline::stalled() const
{
    IteratorPtr const elements(gst_bin_iterate_recurse(GST_BIN(m_element.get())));
    bool atWork = false;
    GstIteratorResult const result = gst_iterator_foreach(
        elements.get(),
        [](GValue const* item, gpointer answer)
        {
            bool& found = *static_cast<bool*>(answer);
            found = found || isAtWork(GST_ELEMENT(g_value_get_object(item)));
        },
        &atWork);
    return result == GST_ITERATOR_DONE && !atWork; // elements that come and go are at work
}

bool Pipeline::seekable() const
{
    QueryPtr const query(gst_query_new_seeking(GST_FORMAT_TIME));
    gboolean answer = FALSE;
    if (gst_element_query(m_element.get(), query.get()) != FALSE)
    {
        gst_query_parse_seeking(query.get(), nullptr, &answer, nullptr, nullptr);
    }
    return answer != FALSE;
}

char const* missingElement(AudioOutput output)
{
    for (char const* const name :
         {"playbin", "decodebin", "appsrc", "appsink", "audioconvert", "videoconvert", "videoscale", "intervideosink",
          "intervideosrc", "compositor", "textoverlay", "videocrop", "videoflip", "capssetter", "pngenc"})
    {
        ObjectPtr<GstElementFactory> const factory(gst_element_factory_find(name));
        if (factory == nullptr)
        {
            return name;
        }
    }
    return missingAudioElement(output);
}

GstElement* makeVideoOutlet(std::string const& channel, Settings const& settings, std::shared_ptr<FrameTap> const& tap)
{
    std::string const limit = std::to_string(2 * std::max(settings.screenWidth, settings.screenHeight));
    // On the way to the screen no picture is called interlaced: neither it nor the channel know what to do with that.
    std::string const toScreen =
        "videoscale name=limit ! video/x-raw,width=[1," + limit + "],height=[1," + limit +
        "] ! capssetter caps=video/x-raw,interlace-mode=progressive ! intervideosink name=screen channel=" + channel;
    GstElement* const sink = gst_parse_bin_from_description(toScreen.c_str(), TRUE, nullptr);
    ObjectPtr<GstElement> const scale(gst_bin_get_by_name(GST_BIN(sink), "limit"));
    takeAll(scale.get(), CapsPtr(gst_caps_new_empty_simple("video/x-raw"))); // or others would scale what the tap sees
    if (tap == nullptr)
    {
        return sink;
    }
    GstElement* const outlet = gst_bin_new(nullptr);
    GstElement* const tee = gst_element_factory_make("tee", nullptr);
    GstElement* const queue = gst_element_factory_make("queue", nullptr);
    GstElement* const frames = FrameTap::makeSink(tap);
    // Whoever holds the picture back sets one of the sinks: the pictures of both have the same time.
    ObjectPtr<GstElement> const screen(gst_bin_get_by_name(GST_BIN(sink), "screen"));
    g_object_bind_property(screen.get(), "ts-offset", frames, "ts-offset", G_BINDING_BIDIRECTIONAL);
    g_object_set(queue, "max-size-buffers", kTapBuffers, "max-size-bytes", 0, "max-size-time", guint64{0}, nullptr);
    gst_bin_add_many(GST_BIN(outlet), tee, queue, frames, sink, nullptr);
    // The tap's branch is the first: the screen's sink keeps the thread until the picture's time has come.
    gst_element_link_many(tee, queue, frames, nullptr);
    gst_element_link(tee, sink);
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(tee, "sink"));
    gst_element_add_pad(outlet, gst_ghost_pad_new("sink", pad.get()));
    return outlet;
}

} // namespace tz::orvane::service
