// SPDX-License-Identifier: Apache-2.0
// Finds the ids of the keys that initialization data ask for.
#pragma once

#include "drm_keys.h"

#include <cstdint>
#include <string_view>

namespace tz::orvane::service
{

/// @param type om_drm_init_data_e
/// @param[out] ids each once, in the order of the data; at most kMostDrmKeys
/// @return 0; -EINVAL for data that are not well formed, -ENODATA when they name no key, -EOPNOTSUPP for another type
int readInitData(std::uint32_t type, std::string_view data, DrmKeyIds& ids);

} // namespace tz::orvane::service
