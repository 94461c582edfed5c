// SPDX-License-Identifier: Apache-2.0
// What a player is asked to open.
#include "medium.h"

#include "number_text.h"

#include "orvane/om_service.h"

#include <cstring>

namespace tz::orvane::service
{

namespace
{

constexpr std::chrono::milliseconds kOpenTimeout{10'000};
constexpr std::chrono::milliseconds kPushedOpenTimeout{30'000};
constexpr std::int64_t kLongestTimeout = 3'600'000;
constexpr std::int64_t kShortestInterval = 20;
constexpr std::int64_t kLongestInterval = 3'600'000;
constexpr std::int64_t kLongestAnimation = 10'000;
constexpr std::size_t kLongestUserAgent = 512;
constexpr std::size_t kLongestUri = 8192;

constexpr char const* kSchemes[] = {"file", "http", "https", "rtsp", "rtspt", "rtspu", "rtsps"};

bool readOption(protocol::PropertyView::Entry const& entry, Medium& medium)
{
    if (entry.key == om::OM_PREPARE_KEY_PLAYTIME_INTERVAL)
    {
        auto const interval = readInterval(entry.value);
        medium.playTimeInterval = interval.value_or(medium.playTimeInterval);
        return interval.has_value();
    }
    if (entry.key == om::OM_PREPARE_KEY_TIMEOUT)
    {
        auto const timeout = toNumber(entry.value, 1, kLongestTimeout);
        medium.openTimeout = std::chrono::milliseconds(timeout.value_or(0));
        return timeout.has_value();
    }
    if (entry.key == om::OM_PREPARE_KEY_SIZE)
    {
        auto const size = toNumber(entry.value, 1, INT64_MAX);
        medium.size = size.value_or(-1);
        return size.has_value();
    }
    if (entry.key == om::OM_PREPARE_KEY_ANIMATION)
    {
        auto const duration = toNumber(entry.value, 0, kLongestAnimation);
        medium.animationDuration = std::chrono::milliseconds(duration.value_or(0));
        return duration.has_value();
    }
    if (entry.key == om::OM_PREPARE_KEY_USER_AGENT)
    {
        medium.userAgent = entry.value;
        return entry.value.size() <= kLongestUserAgent && entry.value.find_first_of("\r\n") == std::string_view::npos;
    }
    OptionResult const frames = readFrameOption(entry.key, entry.value, medium.frames);
    if (frames == OptionResult::unknown)
    {
        medium.unknownOptions.emplace_back(entry.key);
    }
    return frames != OptionResult::wrong;
}

bool readOptions(protocol::PropertyView const& properties, Medium& medium, std::string& reason)
{
    for (auto const entry : properties)
    {
        if (!readOption(entry, medium))
        {
            reason = "option " + std::string(entry.key);
            return false;
        }
    }
    if (!medium.frames.consistent())
    {
        reason = std::string("options that do not fit ") + om::OM_PREPARE_KEY_FRAME_INFO;
        return false;
    }
    if (medium.openTimeout.count() == 0)
    {
        medium.openTimeout = medium.kind == Medium::Kind::uri ? kOpenTimeout : kPushedOpenTimeout;
    }
    return true;
}

std::string schemeOf(std::string const& uri)
{
    auto const end = uri.find("://");
    return end == std::string::npos ? std::string() : uri.substr(0, end);
}

bool readFormat(std::string_view bytes, std::optional<EsFormat>& format)
{
    if (bytes.empty())
    {
        return true;
    }
    if (bytes.size() < sizeof(om::om_es_format_t))
    {
        return false;
    }
    format.emplace();
    std::memcpy(&format->record, bytes.data(), sizeof format->record);
    format->codecData = bytes.substr(sizeof format->record);
    return true;
}

} // namespace

std::optional<Medium> readPrepare(std::string const& uri, protocol::PropertyView const& properties, unsigned int flags,
                                  std::string& reason)
{
    if ((flags & ~(om::OM_PREPARE_AUTO_START | om::OM_PREPARE_PUSH)) != 0)
    {
        reason = "flag " + std::to_string(flags);
        return std::nullopt;
    }
    Medium medium;
    medium.autoStart = (flags & om::OM_PREPARE_AUTO_START) != 0;
    medium.kind = (flags & om::OM_PREPARE_PUSH) != 0 ? Medium::Kind::container : Medium::Kind::uri;
    if (medium.kind == Medium::Kind::uri)
    {
        medium.uri = normalizedUri(uri);
        if (medium.uri.empty())
        {
            reason = "neither an absolute path nor a URI";
            return std::nullopt;
        }
    }
    return readOptions(properties, medium, reason) ? std::optional<Medium>(std::move(medium)) : std::nullopt;
}

std::optional<Medium> readStreams(std::string_view video, std::string_view audio, std::string_view options,
                                  std::string& reason)
{
    Medium medium;
    medium.kind = Medium::Kind::streams;
    if (!readFormat(video, medium.video) || !readFormat(audio, medium.audio))
    {
        reason = "a stream format is too short";
        return std::nullopt;
    }
    if (!medium.video && !medium.audio)
    {
        reason = "no stream";
        return std::nullopt;
    }
    protocol::PropertyView const properties(options.data(), static_cast<int>(options.size()));
    if (!options.empty() && properties.fault() != protocol::PropertyFault::none)
    {
        reason = "the options are no property group";
        return std::nullopt;
    }
    return readOptions(properties, medium, reason) ? std::optional<Medium>(std::move(medium)) : std::nullopt;
}

std::string normalizedUri(std::string const& uri)
{
    if (uri.empty() || uri.size() > kLongestUri)
    {
        return {};
    }
    if (uri[0] == '/')
    {
        TextPtr const text(gst_filename_to_uri(uri.c_str(), nullptr));
        return text == nullptr ? std::string() : text.get();
    }
    std::string const scheme = schemeOf(uri);
    if (gst_uri_is_valid(uri.c_str()) == FALSE || scheme.empty())
    {
        return {};
    }
    TextPtr const lower(g_ascii_strdown(scheme.c_str(), -1));
    return lower.get() + uri.substr(scheme.size());
}

std::optional<std::chrono::milliseconds> readInterval(std::string_view text)
{
    auto const interval = toNumber(text, 0, kLongestInterval);
    bool const fits = interval && (*interval == 0 || *interval >= kShortestInterval);
    return fits ? std::optional<std::chrono::milliseconds>(*interval) : std::nullopt;
}

bool isKnownScheme(std::string const& uri)
{
    std::string const scheme = schemeOf(uri);
    for (char const* const known : kSchemes)
    {
        if (scheme == known)
        {
            return true;
        }
    }
    return false;
}

} // namespace tz::orvane::service
