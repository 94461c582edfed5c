// SPDX-License-Identifier: Apache-2.0
// From the format that an application states for an elementary stream to GStreamer's capabilities.
#pragma once

#include "gst_ptr.h"

#include "orvane/om_service.h"

#include <string>

namespace tz::orvane::service
{

/// An elementary stream that will be pushed.
struct EsFormat
{
    om::om_es_format_t record{};
    std::string codecData;
};

/// @return null for a codec that cannot be pushed
CapsPtr videoCaps(EsFormat const& format);
CapsPtr audioCaps(EsFormat const& format);

} // namespace tz::orvane::service
