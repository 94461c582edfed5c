// SPDX-License-Identifier: Apache-2.0
// A medium that is looked at, not played.
#include "preview_reader.h"

#include "codec_map.h"
#include "media_lists.h"
#include "running_task.h"

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/pbutils/pbutils.h>
#include <gst/video/video.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tz::orvane::service
{

namespace
{

constexpr char kMemoryUri[] = "appsrc://";
constexpr GstClockTime kNearTheEnd = GST_SECOND;
constexpr GstClockTime kIdlePeriod = GST_SECOND / 2;

std::string_view nameOf(GstCaps const* caps)
{
    return gst_caps_is_any(caps) != FALSE || gst_caps_is_empty(caps) != FALSE
               ? std::string_view()
               : gst_structure_get_name(gst_caps_get_structure(caps, 0));
}

bool isOfKind(GstCaps const* caps, std::string_view kind)
{
    return nameOf(caps).substr(0, kind.size()) == kind;
}

bool isSet(GstCaps const* caps, char const* field)
{
    gboolean value = FALSE;
    gst_structure_get_boolean(gst_caps_get_structure(caps, 0), field, &value);
    return value != FALSE;
}

/// What leads to servers, or to what is there already. Everything else may lead to this machine.
constexpr std::string_view kHarmlessSchemes[] = {
    "appsrc", "data",  "http",  "https",    "icy",    "icyx",   "rtsp",   "rtspu",
    "rtspt",  "rtsph", "rtsps", "rtsp-sdp", "rtspsu", "rtspst", "rtspsh", "udp",
};

bool isHarmless(gchar const* scheme)
{
    return std::find(std::begin(kHarmlessSchemes), std::end(kHarmlessSchemes), scheme) != std::end(kHarmlessSchemes);
}

gboolean leadsElsewhere(GstPluginFeature* feature, gpointer)
{
    if (!GST_IS_ELEMENT_FACTORY(feature))
    {
        return FALSE;
    }
    GstElementFactory* const factory = GST_ELEMENT_FACTORY(feature);
    gchar const* const* scheme = gst_element_factory_get_uri_protocols(factory);
    bool const reads = gst_element_factory_get_uri_type(factory) == GST_URI_SRC;
    while (reads && scheme != nullptr && *scheme != nullptr && isHarmless(*scheme))
    {
        ++scheme;
    }
    bool const all = scheme != nullptr && *scheme == nullptr;
    return reads && !all ? TRUE : FALSE;
}

/// What comes from a server may name other places of the network, but none of this machine.
void forgetThisMachine()
{
    GstRegistry* const registry = gst_registry_get();
    GList* const features = gst_registry_feature_filter(registry, leadsElsewhere, FALSE, nullptr);
    for (GList const* feature = features; feature != nullptr; feature = feature->next)
    {
        gst_registry_remove_feature(registry, GST_PLUGIN_FEATURE(feature->data));
    }
    gst_plugin_feature_list_free(features);
}

/// Something that stands before a file and says nothing of it.
bool isWrapping(std::string const& mimeType)
{
    return mimeType == "application/x-id3" || mimeType == "application/x-apetag";
}

/// The first frame behind a seek is cut to where the seek went; by its end it is known where it began.
GstClockTime beginOf(GstBuffer* buffer, GstCaps* caps)
{
    GstVideoInfo info;
    bool const hasRate =
        gst_video_info_from_caps(&info, caps) != FALSE && info.fps_n > 0 && GST_BUFFER_DURATION_IS_VALID(buffer);
    GstClockTime const whole =
        hasRate ? gst_util_uint64_scale(GST_SECOND, static_cast<guint64>(info.fps_d), static_cast<guint64>(info.fps_n))
                : 0;
    GstClockTime const cut = hasRate && GST_BUFFER_DURATION(buffer) < whole ? whole - GST_BUFFER_DURATION(buffer) : 0;
    return GST_BUFFER_PTS(buffer) - std::min(cut, GST_BUFFER_PTS(buffer));
}

} // namespace

PreviewReader::~PreviewReader()
{
    if (m_pipeline != nullptr)
    {
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
    }
}

std::optional<Fault> PreviewReader::openUri(std::string const& uri)
{
    m_context.network = uri.compare(0, 5, "file:") != 0;
    if (m_context.network)
    {
        forgetThisMachine();
    }
    return open(uri);
}

std::optional<Fault> PreviewReader::openBytes(BufferPtr bytes)
{
    m_bytes = std::move(bytes);
    return open(kMemoryUri);
}

std::optional<Fault> PreviewReader::open(std::string const& uri)
{
    m_pipeline.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    m_bus.reset(gst_element_get_bus(m_pipeline.get()));
    GstElement* const decoder = gst_element_factory_make("uridecodebin", nullptr);
    gst_bin_add(GST_BIN(m_pipeline.get()), decoder);
    g_object_set(decoder, "uri", uri.c_str(), nullptr);
    g_signal_connect(decoder, "autoplug-continue", G_CALLBACK(onContinue), this);
    g_signal_connect(decoder, "pad-added", G_CALLBACK(onPad), this);
    g_signal_connect(decoder, "source-setup", G_CALLBACK(onSource), this);
    g_signal_connect(m_pipeline.get(), "deep-element-added", G_CALLBACK(onElement), this);

    bool const live = gst_element_set_state(m_pipeline.get(), GST_STATE_PAUSED) == GST_STATE_CHANGE_NO_PREROLL;
    if (live)
    {
        gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
    }
    auto fault = waitForPreroll();
    if (m_isList)
    {
        return Fault{om::OM_ERROR_UNSUPPORTED_FORMAT, "a list of other media", ""};
    }
    if (m_video != nullptr)
    {
        letOthersPass();
    }
    return fault;
}

/// From now on nobody waits for what is not shown, and it does not keep the pictures behind it waiting.
void PreviewReader::letOthersPass()
{
    for (GstElement* const sink : m_others)
    {
        g_object_set(sink, "async", FALSE, nullptr);
    }
    for (auto const& pad : m_detours)
    {
        auto const data = static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM);
        gst_pad_add_probe(pad.get(), data, &PreviewReader::dropData, nullptr, nullptr);
    }
}

GstPadProbeReturn PreviewReader::dropData(GstPad*, GstPadProbeInfo* info, gpointer)
{
    bool const isData = (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0 ||
                        GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_GAP;
    return isData ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

/// @return nothing when none will come: the error of a demuxer that fails while it is being put in its place is lost
MessagePtr PreviewReader::nextMessage()
{
    bool wasIdle = false;
    while (true)
    {
        MessagePtr message(gst_bus_timed_pop(m_bus.get(), m_context.network ? GST_CLOCK_TIME_NONE : kIdlePeriod));
        bool const isIdle = message == nullptr && !isAnyTaskRunning(m_pipeline.get());
        if (message != nullptr || (wasIdle && isIdle))
        {
            return message;
        }
        wasIdle = isIdle;
    }
}

std::optional<Fault> PreviewReader::waitForPreroll()
{
    while (true)
    {
        MessagePtr const message = nextMessage();
        if (message == nullptr)
        {
            return Fault{om::OM_ERROR_BROKEN_FILE, "nothing in it can be read", ""};
        }
        switch (GST_MESSAGE_TYPE(message.get()))
        {
        case GST_MESSAGE_ERROR:
        {
            GError* error = nullptr;
            gst_message_parse_error(message.get(), &error, nullptr);
            ErrorPtr const owner(error);
            GstStructure const* details = nullptr;
            gst_message_parse_error_details(message.get(), &details);
            return mapError(*error, details, m_context);
        }
        case GST_MESSAGE_ASYNC_DONE:
        case GST_MESSAGE_EOS:
            // One of before the last seek may still come.
            if (gst_element_get_state(m_pipeline.get(), nullptr, nullptr, 0) != GST_STATE_CHANGE_ASYNC)
            {
                return std::nullopt;
            }
            break;
        default:
            read(message.get());
            break;
        }
    }
}

void PreviewReader::read(GstMessage* message)
{
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_TAG)
    {
        GstTagList* tags = nullptr;
        gst_message_parse_tag(message, &tags);
        TagListPtr const owner(tags);
        // What was told first stays: tags of the whole come with each stream.
        m_tags.reset(gst_tag_list_merge(m_tags.get(), tags, GST_TAG_MERGE_KEEP));
    }
    else if (gst_is_missing_plugin_message(message) != FALSE)
    {
        TextPtr const name(gst_missing_plugin_message_get_description(message));
        m_context.missingCodec = name == nullptr ? "" : name.get();
    }
}

bool PreviewReader::isSeekable() const
{
    QueryPtr const query(gst_query_new_seeking(GST_FORMAT_TIME));
    gboolean seekable = FALSE;
    if (gst_element_query(m_pipeline.get(), query.get()) != FALSE)
    {
        gst_query_parse_seeking(query.get(), nullptr, &seekable, nullptr, nullptr);
    }
    return seekable != FALSE;
}

std::pair<int, int> PreviewReader::videoExtent() const
{
    ObjectPtr<GstPad> const pad(m_video == nullptr ? nullptr : gst_element_get_static_pad(m_video, "sink"));
    CapsPtr const caps(pad == nullptr ? nullptr : gst_pad_get_current_caps(pad.get()));
    std::pair<int, int> extent{0, 0};
    if (caps != nullptr)
    {
        GstStructure const* const fields = gst_caps_get_structure(caps.get(), 0);
        gst_structure_get_int(fields, "width", &extent.first);
        gst_structure_get_int(fields, "height", &extent.second);
    }
    return extent;
}

GstClockTime PreviewReader::duration() const
{
    gint64 duration = 0;
    bool const known = gst_element_query_duration(m_pipeline.get(), GST_FORMAT_TIME, &duration) != FALSE;
    return known && duration > 0 ? static_cast<GstClockTime>(duration) : 0;
}

std::uint64_t PreviewReader::fileSize() const
{
    gint64 size = 0;
    bool const known =
        m_source != nullptr && gst_element_query_duration(m_source.get(), GST_FORMAT_BYTES, &size) != FALSE;
    return known && size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

Frame PreviewReader::frameAt(GstClockTime position, bool exact)
{
    if (m_video == nullptr)
    {
        return {};
    }
    if (isPhoto() || !isSeekable())
    {
        return waitingFrame();
    }
    GstClockTime const wanted = exact ? position : keyFrameNear(position).value_or(position);
    Frame frame = seek(wanted);
    return frame.sample == nullptr ? lastFrame(wanted) : std::move(frame);
}

std::optional<GstClockTime> PreviewReader::keyFrameNear(GstClockTime position)
{
    if (!m_scout.isWatching())
    {
        return std::nullopt; // raw pictures are all alike
    }
    m_scout.begin(position);
    if (sendSeek(position, GST_SEEK_FLAG_KEY_UNIT | GST_SEEK_FLAG_SNAP_BEFORE))
    {
        waitForScout();
    }
    return m_scout.finish();
}

void PreviewReader::waitForScout()
{
    while (true)
    {
        MessagePtr const message = nextMessage();
        if (message == nullptr || KeyFrameScout::isDone(message.get()) ||
            GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR)
        {
            return;
        }
        read(message.get());
    }
}

/// Where several streams have an index, that of the stream counts which is told to seek.
bool PreviewReader::sendSeek(GstClockTime position, int flags)
{
    auto const all = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | flags);
    return gst_element_seek_simple(m_video, GST_FORMAT_TIME, all, static_cast<gint64>(position)) != FALSE;
}

Frame PreviewReader::seek(GstClockTime position)
{
    if (!sendSeek(position, GST_SEEK_FLAG_ACCURATE) || waitForPreroll())
    {
        return {};
    }
    return waitingFrame();
}

/// A pipeline is ready with a gap or an end, too: then there is none.
Frame PreviewReader::waitingFrame() const
{
    return shownFrame(SamplePtr(gst_app_sink_try_pull_preroll(GST_APP_SINK(m_video), 0)));
}

/// The sound may go on when there is no picture any more: what was shown last then is looked for.
Frame PreviewReader::lastFrame(GstClockTime position)
{
    GstClockTime const begin = position > kNearTheEnd ? position - kNearTheEnd : 0;
    Frame frame = seek(begin);
    if (frame.sample == nullptr)
    {
        auto const key = keyFrameNear(begin);
        frame = key ? seek(*key) : Frame();
    }
    if (frame.sample == nullptr)
    {
        return frame;
    }
    gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
    GstSample* next = nullptr;
    do
    {
        g_signal_emit_by_name(m_video, "pull-sample", &next);
        if (next != nullptr)
        {
            frame = shownFrame(SamplePtr(next));
        }
    } while (next != nullptr);
    gst_element_set_state(m_pipeline.get(), GST_STATE_PAUSED);
    return frame;
}

Frame PreviewReader::shownFrame(SamplePtr sample) const
{
    Frame frame;
    GstBuffer* const buffer = sample == nullptr ? nullptr : gst_sample_get_buffer(sample.get());
    if (buffer != nullptr)
    {
        guint64 place = 0;
        int const sign = gst_segment_to_stream_time_full(gst_sample_get_segment(sample.get()), GST_FORMAT_TIME,
                                                         beginOf(buffer, gst_sample_get_caps(sample.get())), &place);
        frame.position = sign > 0 ? place : 0;
        frame.sample = std::move(sample);
    }
    return frame;
}

/// Sound is described, not decoded, as soon as its format is known. Called for each format on the way to decoded data.
gboolean PreviewReader::onContinue(GstElement*, GstPad*, GstCaps* caps, gpointer self)
{
    auto& reader = *static_cast<PreviewReader*>(self);
    reader.m_context.connected = true;
    if (reader.m_mimeType.empty() || isWrapping(reader.m_mimeType))
    {
        reader.m_mimeType = mimeTypeOf(caps);
    }
    // A file may come from anybody: it is not followed to wherever it points.
    reader.m_isList = reader.m_isList || (!reader.m_context.network && isMediaList(caps));
    if (reader.m_isList)
    {
        return FALSE;
    }
    om::om_video_codec_e const video = videoCodecOf(caps);
    if (reader.m_videoCodec == om::OM_VIDEO_CODEC_UNKNOWN && isOfKind(caps, "video/"))
    {
        reader.m_videoCodec = video;
    }
    if (!isOfKind(caps, "audio/"))
    {
        return TRUE;
    }
    om::om_audio_codec_e const audio = audioCodecOf(caps);
    if (reader.m_audioCodec == om::OM_AUDIO_CODEC_UNKNOWN)
    {
        reader.m_audioCodec = audio;
    }
    bool const described = audio != om::OM_AUDIO_CODEC_UNKNOWN && (isSet(caps, "framed") || isSet(caps, "parsed"));
    return described ? FALSE : TRUE;
}

void PreviewReader::onPad(GstElement*, GstPad* pad, gpointer self)
{
    static_cast<PreviewReader*>(self)->link(pad);
}

void PreviewReader::link(GstPad* pad)
{
    CapsPtr caps(gst_pad_get_current_caps(pad));
    if (caps == nullptr)
    {
        caps.reset(gst_pad_query_caps(pad, nullptr));
    }
    bool const isVideo = m_video == nullptr && isOfKind(caps.get(), "video/x-raw");
    bool const isAudio = isOfKind(caps.get(), "audio/");
    m_hasAudio = m_hasAudio || isAudio;
    GstElement* const sink = gst_element_factory_make(isVideo ? "appsink" : "fakesink", nullptr);
    // Subtitles and the like may have nothing to give for long.
    g_object_set(sink, "sync", FALSE, "async", isVideo || isAudio ? TRUE : FALSE, nullptr);
    ObjectPtr<GstPad> entrance(gst_element_get_static_pad(sink, "sink"));
    ObjectPtr<GstPad> decoder = decoderEntrance(pad);
    if (isVideo)
    {
        m_video = sink;
        CapsPtr const raw(gst_caps_new_empty_simple("video/x-raw"));
        g_object_set(sink, "caps", raw.get(), "max-buffers", 1U, nullptr);
        if (decoder != nullptr)
        {
            m_scout.watch(decoder.get(), m_bus.get());
        }
    }
    gst_bin_add(GST_BIN(m_pipeline.get()), sink);
    gst_element_sync_state_with_parent(sink);
    gst_pad_link(pad, entrance.get());
    if (!isVideo)
    {
        m_others.push_back(sink);
        m_detours.push_back(decoder == nullptr ? std::move(entrance) : std::move(decoder));
    }
}

void PreviewReader::onElement(GstBin*, GstBin*, GstElement* element, gpointer self)
{
    auto& reader = *static_cast<PreviewReader*>(self);
    ImageHead::watchElement(reader.m_imageHead, element);
    // Several previews run at once; for one frame more threads only cost more.
    if (g_object_class_find_property(G_OBJECT_GET_CLASS(element), "max-threads") != nullptr)
    {
        g_object_set(element, "max-threads", 1, nullptr);
    }
}

void PreviewReader::onSource(GstElement*, GstElement* source, gpointer self)
{
    auto& reader = *static_cast<PreviewReader*>(self);
    reader.m_source.reset(GST_ELEMENT(gst_object_ref(source)));
    if (reader.m_bytes != nullptr && GST_IS_APP_SRC(source) != FALSE)
    {
        gst_app_src_push_buffer(GST_APP_SRC(source), reader.m_bytes.release());
        gst_app_src_end_of_stream(GST_APP_SRC(source));
    }
}

} // namespace tz::orvane::service
