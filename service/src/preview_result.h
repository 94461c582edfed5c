// SPDX-License-Identifier: Apache-2.0
// What became of a preview request.
#pragma once

#include "orvane/om_property_group.h"
#include "orvane/om_service.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tz::orvane::service
{

struct PreviewResult
{
    om::om_error_e code = om::OM_ERROR_NONE;
    std::vector<std::pair<std::string, std::string>> properties;

    void add(char const* key, std::string const& value);
    bool has(char const* key) const;
    void fillGroup(om::OmPropertyGroup& group) const;
};

PreviewResult failedPreview(om::om_error_e code, std::string const& text);

/// For the way out of the process that decodes.
std::string encodeResult(PreviewResult const& result);

/// Believes nothing: whatever is in a medium may have taken that process over.
PreviewResult decodeResult(std::string_view bytes);

} // namespace tz::orvane::service
