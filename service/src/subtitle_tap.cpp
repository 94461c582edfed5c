// SPDX-License-Identifier: Apache-2.0
// Takes subtitles out of a pipeline while it plays.
#include "subtitle_tap.h"

#include "subtitle_text.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// What a callback of GStreamer holds.
using Held = std::shared_ptr<SubtitleTap>;

Held& heldBy(gpointer data)
{
    return *static_cast<Held*>(data);
}

void release(gpointer data)
{
    delete static_cast<Held*>(data);
}

void releaseClosure(gpointer data, GClosure*)
{
    release(data);
}

void connect(GstElement* element, char const* signal, GCallback callback, Held const& tap)
{
    g_signal_connect_data(element, signal, callback, new Held(tap), releaseClosure, static_cast<GConnectFlags>(0));
}

void watchInput(GstElement*, GstPad* pad, gpointer tap)
{
    if (gst_pad_get_direction(pad) == GST_PAD_SINK)
    {
        heldBy(tap)->watch(pad);
    }
}

/// All tracks of a kind meet at a selector, which lets one of them through.
void watchSelector(GstElement*, GstElement* element, gpointer tap)
{
    if (std::string_view(G_OBJECT_TYPE_NAME(element)) == "GstInputSelector")
    {
        connect(element, "pad-added", G_CALLBACK(watchInput), heldBy(tap));
    }
}

bool isText(GstCaps const* caps)
{
    return caps != nullptr && gst_structure_has_name(gst_caps_get_structure(caps, 0), "text/x-raw") != FALSE;
}

bool isMarkup(GstCaps const* caps)
{
    char const* const format = gst_structure_get_string(gst_caps_get_structure(caps, 0), "format");
    return format != nullptr && std::string_view(format) == "pango-markup";
}

/// The segment as it applies to a buffer. A text that began before the segment has a negative time in it.
std::optional<std::int64_t> timeOf(GstSegment const& segment, GstClockTime time)
{
    constexpr auto kMillisecond = static_cast<std::int64_t>(GST_MSECOND);
    constexpr GstClockTime kLatest = INT64_MAX / 4; // what is added up must still be a number
    if (!GST_CLOCK_TIME_IS_VALID(time) || segment.format != GST_FORMAT_TIME ||
        !GST_CLOCK_TIME_IS_VALID(segment.start) || !GST_CLOCK_TIME_IS_VALID(segment.time) ||
        std::max({time, segment.start, segment.time}) > kLatest)
    {
        return std::nullopt;
    }
    auto const nanoseconds = static_cast<std::int64_t>(time) - static_cast<std::int64_t>(segment.start) +
                             static_cast<std::int64_t>(segment.time);
    return nanoseconds / kMillisecond;
}

} // namespace

TapNews SubtitleTap::news()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_announced = false;
    return std::exchange(m_news, {});
}

CueList::Moment SubtitleTap::at(std::string const& stream, std::int64_t position) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto const found = m_tracks.find(stream);
    return found == m_tracks.end() ? CueList::Moment{} : found->second.at(position);
}

void SubtitleTap::attach(GstElement* playbin)
{
    connect(playbin, "element-setup", G_CALLBACK(watchSelector), shared_from_this());
}

void SubtitleTap::watch(GstPad* pad)
{
    auto const onBuffer = [](GstPad* from, GstPadProbeInfo* info, gpointer tap)
    {
        CapsPtr const caps(gst_pad_get_current_caps(from));
        if (!isText(caps.get()))
        {
            return GST_PAD_PROBE_REMOVE; // pictures and sound, or pictures of text
        }
        heldBy(tap)->put(from, GST_PAD_PROBE_INFO_BUFFER(info));
        return GST_PAD_PROBE_OK;
    };
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, onBuffer, new Held(shared_from_this()), release);
}

void SubtitleTap::put(GstPad* pad, GstBuffer* buffer)
{
    EventPtr const event(gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0));
    CapsPtr const caps(gst_pad_get_current_caps(pad));
    TextPtr const stream(gst_pad_get_stream_id(pad));
    if (event == nullptr || stream == nullptr || caps == nullptr)
    {
        return;
    }
    GstSegment const* segment = nullptr;
    gst_event_parse_segment(event.get(), &segment);
    auto const start = timeOf(*segment, GST_BUFFER_PTS(buffer));
    if (!start || segment->rate < 0)
    {
        return; // backwards times are not what they seem
    }
    auto const end = GST_BUFFER_DURATION_IS_VALID(buffer)
                         ? timeOf(*segment, GST_BUFFER_PTS(buffer) + GST_BUFFER_DURATION(buffer))
                         : std::nullopt;
    GstMapInfo map{};
    if (gst_buffer_map(buffer, &map, GST_MAP_READ) == FALSE)
    {
        return;
    }
    std::string_view const bytes(reinterpret_cast<char const*>(map.data), map.size);
    std::string_view const text = bytes.substr(0, bytes.find('\0'));
    Cue cue{*start, end.value_or(Cue::kUntilNext), tidy(isMarkup(caps.get()) ? stripTags(text) : text)};
    gst_buffer_unmap(buffer, &map);
    keep(stream.get(), std::move(cue));
}

void SubtitleTap::keep(std::string const& stream, Cue cue)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_tracks.size() >= kMostTracks && m_tracks.count(stream) == 0)
    {
        m_news.tracksLeftOut = m_news.tracksLeftOut || !std::exchange(m_tracksLeftOut, true);
    }
    else
    {
        CueList& list = m_tracks[stream];
        std::size_t const before = list.weight();
        bool const hadOverflowed = list.overflowed();
        list.add(std::move(cue), kMostWeight - m_weight);
        m_weight += list.weight() - before;
        m_news.overflowed += list.overflowed() && !hadOverflowed ? 1 : 0;
        m_news.streams.insert(stream);
    }
    if (!std::exchange(m_announced, true))
    {
        m_loop.post(
            [self = weak_from_this()]
            {
                auto const tap = self.lock();
                if (tap != nullptr && tap->m_came)
                {
                    tap->m_came();
                }
            });
    }
}

} // namespace tz::orvane::service
