// SPDX-License-Identifier: Apache-2.0
// Chapters that streams carry along.
#pragma once

#include "chapters.h"
#include "pipeline.h"

#include <string_view>
#include <vector>

namespace tz::orvane::service
{

/// @param toc a table of contents; of several editions the first counts, of nested chapters the outer ones
Chapters chaptersOf(GstToc const* toc);

/// @param frame an ID3v2 frame with its header @return whether it is a chapter
bool readChapterFrame(std::string_view frame, Chapter& chapter);

/// What the streams of an open pipeline carry along. On the worker.
Chapters chaptersOf(std::vector<StreamPad> const& streams);

} // namespace tz::orvane::service
