// SPDX-License-Identifier: Apache-2.0
// What a player is asked to open.
#pragma once

#include "es_caps.h"
#include "frame_options.h"

#include "om_property_image.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tz::orvane::service
{

struct Medium
{
    enum class Kind
    {
        none,
        uri,
        container, ///< pushed by pushData
        streams    ///< pushed by pushEsData
    };

    Kind kind = Kind::none;
    std::string uri; ///< its scheme in lower case
    bool autoStart = false;
    std::chrono::milliseconds playTimeInterval{250};
    std::chrono::milliseconds openTimeout{0};
    std::chrono::milliseconds animationDuration{500};
    std::string userAgent;
    std::int64_t size = -1;
    FrameOptions frames;
    std::vector<std::string> unknownOptions;
    std::optional<EsFormat> video;
    std::optional<EsFormat> audio;

    bool fromNetwork() const { return kind == Kind::uri && uri.compare(0, 7, "file://") != 0; }
};

/// Reads the arguments of prepare.
/// @param[out] reason what is wrong, when nothing is returned
std::optional<Medium> readPrepare(std::string const& uri, protocol::PropertyView const& properties, unsigned int flags,
                                  std::string& reason);

/// Reads the buffers of openEsMedia.
std::optional<Medium> readStreams(std::string_view video, std::string_view audio, std::string_view options,
                                  std::string& reason);

/// @return a URI; an empty text for what is neither an absolute path nor a URI
std::string normalizedUri(std::string const& uri);

/// @return the time between play-time reports, 0 for none; nothing for a text that is no such time
std::optional<std::chrono::milliseconds> readInterval(std::string_view text);

/// @return whether URIs of this kind are played: a service must not open everything that GStreamer would
bool isKnownScheme(std::string const& uri);

} // namespace tz::orvane::service
