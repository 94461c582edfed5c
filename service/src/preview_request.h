// SPDX-License-Identifier: Apache-2.0
// The arguments of a preview request.
#pragma once

#include "preview_task.h"

#include "om_property_image.h"

#include <cstdint>
#include <string>

namespace tz::orvane::service
{

struct PreviewRequest
{
    std::string uri;
    PreviewTask task;
    std::string outputPath;  ///< empty: a file of the service's own
    std::uint32_t named = 0; ///< request id that the properties name, 0 for none
};

/// Reads the arguments. What was read stays in `request` also when others are wrong.
/// @return what is wrong, empty when nothing is
std::string readPreviewRequest(std::string const& uri, int mode, std::int64_t position, int flags,
                               protocol::PropertyView const& properties, PreviewRequest& request);

} // namespace tz::orvane::service
