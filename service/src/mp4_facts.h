// SPDX-License-Identifier: Apache-2.0
// What an mp4 file tells of itself and its demuxer keeps back.
#pragma once

#include "byte_source.h"
#include "chapters.h"

#include <cstdint>

namespace tz::orvane::service
{

struct Mp4Facts
{
    Chapters chapters;         ///< of a track of texts, else of a list; ends may be missing
    std::int64_t created = -1; ///< seconds since 1970, -1 when not told
};

/// @param source may hold anything; what makes no sense is left out
Mp4Facts readMp4Facts(ByteSource const& source);

} // namespace tz::orvane::service
