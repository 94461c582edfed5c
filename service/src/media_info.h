// SPDX-License-Identifier: Apache-2.0
// What an open pipeline tells about its medium, as the records that clients get.
#pragma once

#include "chapters.h"
#include "orientation.h"
#include "pipeline.h"

#include "orvane/om_records.h"

#include <optional>

namespace tz::orvane::service
{

struct MediaInfo
{
    om::om_media_info_t media;
    om::om_container_info_t container;
    bool seekable = false;
    Orientation orientation; ///< that the first video track or the photo asks for
    Chapters chapters;
    std::optional<om::om_exif_info_t> exif; ///< of a photo
};

/// Asks a pipeline that has its streams. On the worker.
MediaInfo probeMedia(Pipeline const& pipeline, bool live);

/// The streams of one kind as the track queries give them.
om::om_stream_info_group_t trackGroup(om::om_container_info_t const& container, StreamPad::Kind kind);

} // namespace tz::orvane::service
