// SPDX-License-Identifier: Apache-2.0
// What an open pipeline tells about its medium, as the records that clients get.
#pragma once

#include "pipeline.h"

#include "orvane/om_records.h"

namespace tz::orvane::service
{

struct MediaInfo
{
    om::om_media_info_t media;
    om::om_container_info_t container;
    bool seekable;
};

/// Asks a pipeline that has its streams. On the worker.
MediaInfo probeMedia(Pipeline const& pipeline, bool live);

/// The streams of one kind as the track queries give them.
om::om_stream_info_group_t trackGroup(om::om_container_info_t const& container, StreamPad::Kind kind);

} // namespace tz::orvane::service
