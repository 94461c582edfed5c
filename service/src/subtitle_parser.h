// SPDX-License-Identifier: Apache-2.0
// Reads files of subtitles.
#pragma once

#include "cue_list.h"

#include <string_view>

namespace tz::orvane::service
{

/// @return the MIME type of a file of subtitles by its beginning
char const* subtitleTypeOf(std::string_view text);

/// Reads SubRip, WebVTT, SAMI or SubStation Alpha, whichever it is. What makes no sense is skipped.
/// @param text UTF-8
/// @return empty when nothing was found
CueList parseSubtitles(std::string_view text);

} // namespace tz::orvane::service
