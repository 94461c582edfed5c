// SPDX-License-Identifier: Apache-2.0
// Finds key frames without decoding.
#include "key_frame_scout.h"

#include <cstring>

namespace tz::orvane::service
{

namespace
{

constexpr char kDone[] = "key-frames-found";

bool decodesFilms(GstElement* element)
{
    char const* const klass =
        gst_element_class_get_metadata(GST_ELEMENT_GET_CLASS(element), GST_ELEMENT_METADATA_KLASS);
    return klass != nullptr && std::strstr(klass, "Decoder/Video") != nullptr;
}

/// @return the place in the medium, also of what lies before the segment
std::optional<GstClockTime> placeOf(GstPad* pad, GstBuffer* buffer)
{
    EventPtr const event(gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0));
    if (event == nullptr || !GST_BUFFER_PTS_IS_VALID(buffer))
    {
        return std::nullopt;
    }
    GstSegment const* segment = nullptr;
    gst_event_parse_segment(event.get(), &segment);
    guint64 place = 0;
    int const sign = gst_segment_to_stream_time_full(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer), &place);
    return sign > 0 ? std::optional<GstClockTime>(place) : std::nullopt;
}

} // namespace

ObjectPtr<GstPad> decoderEntrance(GstPad* pad)
{
    ObjectPtr<GstPad> exit(GST_PAD(gst_object_ref(pad)));
    while (exit != nullptr)
    {
        if (GST_IS_GHOST_PAD(exit.get()) != FALSE)
        {
            exit.reset(gst_ghost_pad_get_target(GST_GHOST_PAD(exit.get())));
            continue;
        }
        ObjectPtr<GstElement> const element(gst_pad_get_parent_element(exit.get()));
        ObjectPtr<GstPad> entrance(element == nullptr ? nullptr : gst_element_get_static_pad(element.get(), "sink"));
        if (entrance != nullptr && decodesFilms(element.get()))
        {
            return entrance;
        }
        exit.reset(entrance == nullptr ? nullptr : gst_pad_get_peer(entrance.get()));
    }
    return nullptr;
}

void KeyFrameScout::watch(GstPad* entrance, GstBus* bus)
{
    m_bus = bus;
    gst_pad_add_probe(entrance,
                      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
                      &KeyFrameScout::onData, this, nullptr);
}

void KeyFrameScout::begin(GstClockTime position)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_active = true;
    m_arrived = false;
    m_done = false;
    m_position = position;
    m_before.reset();
    m_after.reset();
}

std::optional<GstClockTime> KeyFrameScout::finish()
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_active = false;
    if (!m_before || !m_after)
    {
        return m_before ? m_before : m_after;
    }
    return *m_after - m_position < m_position - *m_before ? m_after : m_before;
}

bool KeyFrameScout::isDone(GstMessage* message)
{
    return GST_MESSAGE_TYPE(message) == GST_MESSAGE_APPLICATION && gst_message_has_name(message, kDone) != FALSE;
}

GstPadProbeReturn KeyFrameScout::onData(GstPad* pad, GstPadProbeInfo* info, gpointer self)
{
    auto& scout = *static_cast<KeyFrameScout*>(self);
    std::lock_guard<std::mutex> const lock(scout.m_mutex);
    if (!scout.m_active)
    {
        return GST_PAD_PROBE_OK;
    }
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0)
    {
        return scout.look(pad, GST_PAD_PROBE_INFO_BUFFER(info));
    }
    GstEventType const event = GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info));
    scout.m_arrived = scout.m_arrived || event == GST_EVENT_SEGMENT;
    if (event == GST_EVENT_EOS && scout.m_arrived)
    {
        scout.done();
    }
    // A gap would do for a picture behind the decoder, and then all would stand still.
    return event == GST_EVENT_GAP ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

GstPadProbeReturn KeyFrameScout::look(GstPad* pad, GstBuffer* buffer)
{
    auto const place = placeOf(pad, buffer);
    if (!place || !m_arrived || m_done)
    {
        return GST_PAD_PROBE_DROP;
    }
    bool const isKey = !GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
    if (isKey && *place <= m_position)
    {
        m_before = place;
    }
    else if (isKey)
    {
        m_after = place;
    }
    // Behind where the next one would have to be to be nearer there is nothing to look for.
    bool const tooFar = m_before && *place > m_position && *place - m_position > m_position - *m_before;
    if (m_after || tooFar || m_before == m_position)
    {
        done();
    }
    return GST_PAD_PROBE_DROP;
}

void KeyFrameScout::done()
{
    if (!m_done)
    {
        m_done = true;
        gst_bus_post(m_bus, gst_message_new_application(nullptr, gst_structure_new_empty(kDone)));
    }
}

} // namespace tz::orvane::service
