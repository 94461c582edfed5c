// SPDX-License-Identifier: Apache-2.0
// From a medium to a picture and the facts about it.
#pragma once

#include "preview_result.h"
#include "preview_task.h"

#include <string>

namespace tz::orvane::service
{

struct Preview
{
    PreviewResult result;
    std::string picture; ///< a whole JPEG or PNG file, empty for none
};

/// Blocks as long as the medium makes it; whoever calls it sets a deadline to the process.
Preview makePreview(PreviewTask const& task, std::string const& uri);

} // namespace tz::orvane::service
