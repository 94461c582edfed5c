// SPDX-License-Identifier: Apache-2.0
// Plays what a URI names, or a container whose bytes an application pushes.
#include "uri_pipeline.h"

#include "feed.h"
#include "image_head.h"
#include "stream_path.h"
#include "subtitle_tap.h"

#include <chrono>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <utility>

namespace tz::orvane::service
{

namespace
{

// The soft-volume flag stays out: its element leaks, and the audio chain brings a volume of its own.
constexpr unsigned int kPlayVideo = 1;
constexpr unsigned int kPlayAudio = 2;

constexpr unsigned int kHttpTimeoutSeconds = 10;
constexpr unsigned int kRtspLatencyMilliseconds = 200;
constexpr guint64 kRtspTimeoutMicroseconds = 5'000'000;

constexpr std::chrono::milliseconds kSwitchTime{400};
constexpr std::chrono::milliseconds kLongestSwitch{3'000};
constexpr std::chrono::milliseconds kSwitchPoll{10};

bool hasProperty(GstElement* element, char const* name)
{
    return g_object_class_find_property(G_OBJECT_GET_CLASS(element), name) != nullptr;
}

bool isFactory(GstElement* element, std::string_view name)
{
    GstElementFactory* const factory = gst_element_get_factory(element);
    return factory != nullptr && name == gst_plugin_feature_get_name(GST_PLUGIN_FEATURE(factory));
}

struct StreamKind
{
    StreamPad::Kind kind;
    char const* count;
    char const* getPad;
    char const* getTags;
};

constexpr StreamKind kKinds[] = {
    {StreamPad::Kind::video, "n-video", "get-video-pad", "get-video-tags"},
    {StreamPad::Kind::audio, "n-audio", "get-audio-pad", "get-audio-tags"},
    {StreamPad::Kind::text, "n-text", "get-text-pad", "get-text-tags"},
};

ObjectPtr<GstElement> sourceOf(GstElement* playbin)
{
    GstElement* source = nullptr;
    g_object_get(playbin, "source", &source, nullptr);
    return ObjectPtr<GstElement>(source);
}

/// A seek on a server that does not serve ranges fails the whole pipeline: it must not be tried.
bool serverRefusesRanges(GstElement* source)
{
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(source, "src"));
    for (guint index = 0; pad != nullptr; ++index)
    {
        EventPtr const event(gst_pad_get_sticky_event(pad.get(), GST_EVENT_CUSTOM_DOWNSTREAM_STICKY, index));
        if (event == nullptr)
        {
            break;
        }
        GstStructure const* const headers = gst_event_get_structure(event.get());
        if (gst_structure_has_name(headers, "http-headers") == FALSE)
        {
            continue;
        }
        GstStructure* answer = nullptr;
        gst_structure_get(headers, "response-headers", GST_TYPE_STRUCTURE, &answer, nullptr);
        if (answer == nullptr)
        {
            continue;
        }
        bool offered = false;
        for (int field = 0; field < gst_structure_n_fields(answer); ++field)
        {
            char const* const name = gst_structure_nth_field_name(answer, static_cast<guint>(field));
            char const* const value = gst_structure_get_string(answer, name);
            bool const isOffer = g_ascii_strcasecmp(name, "Accept-Ranges") == 0 && value != nullptr &&
                                 g_ascii_strcasecmp(value, "bytes") == 0;
            offered = offered || isOffer || g_ascii_strcasecmp(name, "Content-Range") == 0;
        }
        gst_structure_free(answer);
        return !offered;
    }
    return false;
}

/// Subtitles that are not shown wait for their time on the clock, and no change of state wakes them: closing would take
/// as long as the wait. Waiting for the other streams does as well.
void setUpSelector(GstElement*, GstElement* element, gpointer)
{
    if (isFactory(element, "input-selector"))
    {
        gst_util_set_object_arg(G_OBJECT(element), "sync-mode", "active-segment");
    }
}

/// @return empty for what is no file of this machine
std::string pathOf(std::string const& uri)
{
    TextPtr const path(g_filename_from_uri(uri.c_str(), nullptr, nullptr));
    return path == nullptr ? std::string() : path.get();
}

/// @return where a selector hands on what comes to one of its inputs
ObjectPtr<GstPad> outputOf(GstPad* input)
{
    ObjectPtr<GstElement> const selector(gst_pad_get_parent_element(input));
    return ObjectPtr<GstPad>(selector == nullptr ? nullptr : gst_element_get_static_pad(selector.get(), "src"));
}

/// @return whether what leaves a selector belongs to one of its inputs
bool isThrough(GstPad* input, GstPad* output)
{
    TextPtr const wanted(gst_pad_get_stream_id(input));
    TextPtr const current(gst_pad_get_stream_id(output));
    return wanted != nullptr && current != nullptr && std::strcmp(wanted.get(), current.get()) == 0;
}

/// @param own what has come through so far @return with what is still on its way
TagListPtr completed(TagListPtr own, GstPad* pad)
{
    if (pad == nullptr)
    {
        return own;
    }
    StreamPath const path(pad);
    for (GstTagScope const scope : {GST_TAG_SCOPE_STREAM, GST_TAG_SCOPE_GLOBAL})
    {
        TagListPtr const tags = path.tags(scope);
        own.reset(gst_tag_list_merge(own.get(), tags.get(), GST_TAG_MERGE_KEEP));
    }
    return own;
}

GstElement* makePlaybin(std::string const& uri, GstElement* audioChain, GstElement* videoOutlet)
{
    GstElement* const playbin = gst_element_factory_make("playbin", nullptr);
    g_object_set(playbin, "uri", uri.c_str(), "flags", kPlayVideo | kPlayAudio, "audio-sink", audioChain, "video-sink",
                 videoOutlet, nullptr);
    g_signal_connect(playbin, "element-setup", G_CALLBACK(setUpSelector), nullptr);
    return playbin;
}

} // namespace

UriPipeline::UriPipeline(std::string const& uri, std::string userAgent, GstElement* audioChain, GstElement* videoOutlet)
    : Pipeline(makePlaybin(uri, audioChain, videoOutlet), audioChain)
    , m_imageHead(ImageHead::watch(element()))
    , m_localFile(pathOf(uri))
    , m_userAgent(std::move(userAgent))
{
    g_signal_connect(element(), "source-setup", G_CALLBACK(onSourceSetup), this);
}

UriPipeline::UriPipeline(std::shared_ptr<Feed> const& feed, GstElement* audioChain, GstElement* videoOutlet)
    : Pipeline(makePlaybin("appsrc://", audioChain, videoOutlet), audioChain)
    , m_imageHead(ImageHead::watch(element()))
    , m_feed(feed)
    , m_seekableSource(feed->seekable())
{
    g_signal_connect(element(), "source-setup", G_CALLBACK(onSourceSetup), this);
}

CallResult UriPipeline::open()
{
    struct stat status
    {
    };
    if (!m_localFile.empty() && stat(m_localFile.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    {
        changeState(GST_STATE_READY); // before that nobody hears what is said
        GST_ELEMENT_ERROR(element(), STREAM, WRONG_TYPE, ("not a regular file"), (nullptr));
        return CallResult::failed;
    }
    return Pipeline::open();
}

std::string UriPipeline::imageHead() const
{
    return m_imageHead->bytes();
}

void UriPipeline::onSourceSetup(GstElement*, GstElement* source, gpointer self)
{
    static_cast<UriPipeline*>(self)->setUp(source);
}

void UriPipeline::setUp(GstElement* source)
{
    if (auto const feed = m_feed.lock())
    {
        feed->attach(source);
        return;
    }
    if (isFactory(source, "rtspsrc"))
    {
        g_object_set(source, "latency", kRtspLatencyMilliseconds, "tcp-timeout", kRtspTimeoutMicroseconds, nullptr);
        return;
    }
    if (isFactory(source, "souphttpsrc"))
    {
        g_object_set(source, "timeout", kHttpTimeoutSeconds, nullptr);
    }
    if (!m_userAgent.empty() && hasProperty(source, "user-agent"))
    {
        g_object_set(source, "user-agent", m_userAgent.c_str(), nullptr);
    }
}

void UriPipeline::setAudioDelay(std::chrono::nanoseconds delay)
{
    g_object_set(element(), "av-offset", -gint64{delay.count()}, nullptr);
}

std::vector<StreamPad> UriPipeline::streams() const
{
    std::vector<StreamPad> found;
    for (StreamKind const& kind : kKinds)
    {
        int count = 0;
        g_object_get(element(), kind.count, &count, nullptr);
        for (int index = 0; index < count; ++index)
        {
            GstPad* pad = nullptr;
            GstTagList* tags = nullptr;
            g_signal_emit_by_name(element(), kind.getPad, index, &pad);
            g_signal_emit_by_name(element(), kind.getTags, index, &tags);
            found.push_back({kind.kind, ObjectPtr<GstPad>(pad), completed(TagListPtr(tags), pad)});
        }
    }
    return found;
}

/// A pause or a seek right behind a switch may hang for ever. And a flush before the first data of the new stream have
/// come makes the selector forget to tell what they are: they would be taken for data of the old stream.
SwitchResult UriPipeline::switchAudio(int number, int former)
{
    using Clock = std::chrono::steady_clock;
    GstPad* stream = nullptr;
    g_signal_emit_by_name(element(), "get-audio-pad", number, &stream);
    ObjectPtr<GstPad> const input(stream);
    ObjectPtr<GstPad> const output(input == nullptr ? nullptr : outputOf(input.get()));
    if (output == nullptr)
    {
        return SwitchResult::failed;
    }
    g_object_set(element(), "current-audio", number, nullptr);
    auto const begun = Clock::now();
    bool ended = false;
    while (!ended && Clock::now() - begun < kLongestSwitch)
    {
        std::this_thread::sleep_for(kSwitchPoll); // all that could disturb it waits behind this call
        if (Clock::now() - begun < kSwitchTime)
        {
            continue;
        }
        if (isThrough(input.get(), output.get()))
        {
            return SwitchResult::done;
        }
        ended = GST_PAD_IS_EOS(output.get());
    }
    g_object_set(element(), "current-audio", former, nullptr);
    std::this_thread::sleep_for(kSwitchTime);
    return ended ? SwitchResult::ended : SwitchResult::failed;
}

void UriPipeline::takeTexts(SubtitleTap& tap)
{
    tap.attach(element());
}

bool UriPipeline::seekable() const
{
    if (!m_seekableSource)
    {
        return false; // a demuxer would say yes and do nothing
    }
    auto const source = sourceOf(element());
    return Pipeline::seekable() && (source == nullptr || !serverRefusesRanges(source.get()));
}

std::uint64_t UriPipeline::fileSize() const
{
    gint64 bytes = -1;
    auto const source = sourceOf(element());
    bool const known =
        source != nullptr && gst_element_query_duration(source.get(), GST_FORMAT_BYTES, &bytes) != FALSE && bytes > 0;
    return known ? static_cast<std::uint64_t>(bytes) : 0;
}

} // namespace tz::orvane::service
