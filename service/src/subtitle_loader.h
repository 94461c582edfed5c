// SPDX-License-Identifier: Apache-2.0
// Fetches files of subtitles, from a disk or a server.
#pragma once

#include "cue_list.h"
#include "error_map.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace tz::orvane::service
{

struct LoadedSubtitles
{
    Fault fault; ///< OM_ERROR_NONE when all is well
    char const* mimeType = "";
    CueList cues;
};

/// Bounded in size and time. Blocks; any thread.
/// @param uri       of the kinds file, http and https
/// @param encoding  see decodeText
/// @param cancelled ends it early
LoadedSubtitles loadSubtitles(std::string const& uri, char const* encoding, std::atomic<bool> const& cancelled);

} // namespace tz::orvane::service
