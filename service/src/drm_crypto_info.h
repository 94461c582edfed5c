// SPDX-License-Identifier: Apache-2.0
// How a protected access unit is protected.
#pragma once

#include "drm_keys.h"

#include "orvane/om_service.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tz::orvane::service
{

/// Bytes that a description may have.
inline constexpr std::size_t kMostCryptoBytes = 65535;

struct DrmCryptoInfo
{
    std::uint32_t agent = 0;
    om::om_drm_scheme_e scheme = om::OM_DRM_SCHEME_CENC;
    DrmKeyId keyId{};
    std::array<std::uint8_t, 16> iv{}; ///< filled up with zeros
    std::size_t cryptBlocks = 0;       ///< 0: all of a protected range is encrypted
    std::size_t skipBlocks = 0;
    std::vector<om::om_drm_subsample_t> subsamples;
};

/// Reads an om_drm_crypto_t and the subsamples behind it.
/// @param[out] rest what follows them
/// @return 0; -EINVAL when it is not well formed, -EOPNOTSUPP for another scheme
int readCryptoInfo(std::string_view bytes, DrmCryptoInfo& info, std::string_view& rest);

/// @return whether the subsamples describe exactly so many bytes
bool fits(DrmCryptoInfo const& info, std::size_t size);

} // namespace tz::orvane::service
