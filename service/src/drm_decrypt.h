// SPDX-License-Identifier: Apache-2.0
// Takes the protection off an access unit.
#pragma once

#include "drm_crypto_info.h"

#include <cstddef>
#include <cstdint>

namespace tz::orvane::service
{

/// Decrypts in place. A wrong key gives wrong bytes, not an error.
/// @return 0; -EINVAL when the subsamples do not fit the size, -ENOMEM
int decrypt(DrmCryptoInfo const& info, DrmKey const& key, std::uint8_t* data, std::size_t size);

} // namespace tz::orvane::service
