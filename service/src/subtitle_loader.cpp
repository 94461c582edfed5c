// SPDX-License-Identifier: Apache-2.0
// Fetches files of subtitles, from a disk or a server.
#include "subtitle_loader.h"

#include "gst_ptr.h"
#include "subtitle_parser.h"
#include "subtitle_text.h"

#include <gst/app/gstappsink.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>

namespace tz::orvane::service
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostBytes = 8U << 20U;
constexpr std::chrono::seconds kDeadline{10};
constexpr GstClockTime kPoll = 50 * GST_MSECOND;

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

Fault tooLarge()
{
    return {om::OM_ERROR_LIMIT, "the file of subtitles is too large", {}};
}

Fault faultOf(int number)
{
    om::om_error_e const code = number == ENOENT || number == ENOTDIR ? om::OM_ERROR_NOT_FOUND
                                : number == EACCES || number == EPERM ? om::OM_ERROR_FORBIDDEN
                                                                      : om::OM_ERROR_BROKEN_FILE;
    return {code, std::strerror(number), {}};
}

Fault readFile(std::string const& path, std::string& bytes)
{
    // What is no plain file may block for ever, or never end.
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    FilePtr const file(descriptor < 0 ? nullptr : fdopen(descriptor, "r"));
    struct stat status
    {
    };
    if (file == nullptr || fstat(descriptor, &status) != 0)
    {
        return faultOf(errno);
    }
    if (!S_ISREG(status.st_mode))
    {
        return {om::OM_ERROR_UNSUPPORTED_FORMAT, "not a file", {}};
    }
    std::array<char, 65536> part;
    while (std::size_t const size = std::fread(part.data(), 1, part.size(), file.get()))
    {
        bytes.append(part.data(), size);
        if (bytes.size() > kMostBytes)
        {
            return tooLarge();
        }
    }
    return std::ferror(file.get()) != 0 ? faultOf(errno) : Fault{};
}

std::optional<Fault> errorOn(GstBus* bus)
{
    MessagePtr const message(gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR));
    if (message == nullptr)
    {
        return std::nullopt;
    }
    GError* error = nullptr;
    GstStructure const* details = nullptr;
    gst_message_parse_error(message.get(), &error, nullptr);
    gst_message_parse_error_details(message.get(), &details);
    ErrorPtr const owner(error);
    FaultContext context;
    context.network = true;
    return mapError(*error, details, context);
}

Fault drain(GstElement* pipeline, GstAppSink* sink, std::string& bytes, std::atomic<bool> const& cancelled)
{
    ObjectPtr<GstBus> const bus(gst_element_get_bus(pipeline));
    auto const deadline = Clock::now() + kDeadline;
    while (!cancelled)
    {
        if (auto fault = errorOn(bus.get()))
        {
            return *fault;
        }
        if (Clock::now() > deadline)
        {
            return {om::OM_ERROR_TIMED_OUT, "the server does not deliver the subtitles in time", {}};
        }
        SamplePtr const sample(gst_app_sink_try_pull_sample(sink, kPoll));
        GstMapInfo map{};
        if (sample == nullptr)
        {
            if (gst_app_sink_is_eos(sink) != FALSE)
            {
                auto fault = errorOn(bus.get()); // an error ends the stream as well
                return fault ? *fault : Fault{};
            }
        }
        else if (gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ) != FALSE)
        {
            bytes.append(reinterpret_cast<char const*>(map.data), map.size);
            gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
            if (bytes.size() > kMostBytes)
            {
                return tooLarge();
            }
        }
    }
    return {};
}

Fault fetch(std::string const& uri, std::string& bytes, std::atomic<bool> const& cancelled)
{
    GstElement* const source = gst_element_make_from_uri(GST_URI_SRC, uri.c_str(), nullptr, nullptr);
    if (source == nullptr)
    {
        return {om::OM_ERROR_UNKNOWN_SCHEME, uri, {}};
    }
    GstElement* const sink = gst_element_factory_make("appsink", nullptr);
    g_object_set(sink, "sync", FALSE, "max-buffers", 16U, nullptr);
    ObjectPtr<GstElement> const pipeline(static_cast<GstElement*>(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    gst_bin_add_many(GST_BIN(pipeline.get()), source, sink, nullptr);
    gst_element_link(source, sink);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    Fault fault = drain(pipeline.get(), GST_APP_SINK(sink), bytes, cancelled);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return fault;
}

bool isOnServer(std::string const& uri)
{
    return g_ascii_strncasecmp(uri.c_str(), "http:", 5) == 0 || g_ascii_strncasecmp(uri.c_str(), "https:", 6) == 0;
}

Fault readAll(std::string const& uri, std::string& bytes, std::atomic<bool> const& cancelled)
{
    if (isOnServer(uri))
    {
        return fetch(uri, bytes, cancelled);
    }
    if (g_ascii_strncasecmp(uri.c_str(), "file:", 5) != 0)
    {
        return {om::OM_ERROR_UNKNOWN_SCHEME, uri, {}};
    }
    TextPtr const path(g_filename_from_uri(uri.c_str(), nullptr, nullptr));
    return path == nullptr ? Fault{om::OM_ERROR_NOT_FOUND, uri, {}} : readFile(path.get(), bytes);
}

} // namespace

LoadedSubtitles loadSubtitles(std::string const& uri, char const* encoding, std::atomic<bool> const& cancelled)
{
    LoadedSubtitles loaded;
    std::string bytes;
    loaded.fault = readAll(uri, bytes, cancelled);
    if (loaded.fault.code == om::OM_ERROR_NONE)
    {
        std::string const text = decodeText(bytes, encoding);
        loaded.mimeType = subtitleTypeOf(text);
        loaded.cues = parseSubtitles(text);
        if (loaded.cues.empty())
        {
            loaded.fault = {om::OM_ERROR_UNSUPPORTED_FORMAT, "no subtitles were found in it", {}};
        }
    }
    return loaded;
}

} // namespace tz::orvane::service
