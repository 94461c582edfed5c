// SPDX-License-Identifier: Apache-2.0
// The messages of Clear Key: what is asked of a license server, and what it answers.
#pragma once

#include "drm_keys.h"

#include <string>
#include <string_view>

namespace tz::orvane::service
{

/// @return JSON that asks for the keys
std::string writeLicenseRequest(DrmKeyIds const& ids);

/// Reads a JSON Web Key Set. Keys of other kinds than "oct" are left out, as are members that are not known.
/// @param[out] keys
/// @return 0; -EINVAL when it is not well formed, has a key or id that is not 16 bytes, no key, or more than
/// kMostDrmKeys; -EOPNOTSUPP for a license that is to be stored
int readLicense(std::string_view text, DrmKeys& keys);

} // namespace tz::orvane::service
