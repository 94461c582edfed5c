// SPDX-License-Identifier: Apache-2.0
// What the tools know of a medium.
#pragma once

#include "orvane/om_records.h"

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::tools
{

struct Chapter
{
    long long start; ///< milliseconds
    long long end;   ///< milliseconds, negative when not known
    std::string title;
    std::string language;
};

/// A medium that was opened.
struct Medium
{
    std::string uri;
    om::om_media_info_t info = {};
    om::om_container_info_t container = {};
    std::vector<Chapter> chapters;
    std::optional<om::om_exif_info_t> exif;
};

/// @return a text field of a record, which need not have a NUL; its bytes as they are
template <std::size_t N> std::string fieldText(char const (&field)[N])
{
    return std::string(field, ::strnlen(field, N));
}

/// @return the entries of a list of tracks that count; the service's number is not believed
template <std::size_t N> std::vector<om::om_stream_info_t> tracksOf(om::om_stream_info_t const (&streams)[N], int count)
{
    auto const used = count < 0 ? 0 : static_cast<std::size_t>(count) < N ? static_cast<std::size_t>(count) : N;
    return {streams, streams + used};
}

} // namespace tz::orvane::tools
