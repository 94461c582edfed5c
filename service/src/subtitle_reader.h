// SPDX-License-Identifier: Apache-2.0
// Reads the subtitles that a file on a disk holds beside its pictures and sound.
#pragma once

#include "subtitle_tap.h"

#include <atomic>
#include <string>

namespace tz::orvane::service
{

/// Reads a file from its beginning to its end, as fast as that goes, and puts the texts of all its tracks into a tap.
/// Blocks; any thread. Does nothing with a very large file. @param cancelled ends it early
void readEmbeddedSubtitles(std::string const& uri, SubtitleTap& tap, std::atomic<bool> const& cancelled);

} // namespace tz::orvane::service
