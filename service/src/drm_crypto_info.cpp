// SPDX-License-Identifier: Apache-2.0
// How a protected access unit is protected.
#include "drm_crypto_info.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace tz::orvane::service
{

namespace
{

constexpr std::uint32_t kShortIv = 8;
constexpr std::uint32_t kLongIv = 16;
constexpr std::uint32_t kMostBlocks = 15;

} // namespace

int readCryptoInfo(std::string_view bytes, DrmCryptoInfo& info, std::string_view& rest)
{
    om::om_drm_crypto_t record{};
    if (bytes.size() < sizeof record)
    {
        return -EINVAL;
    }
    std::memcpy(&record, bytes.data(), sizeof record);
    bytes.remove_prefix(sizeof record);
    if (record.scheme != om::OM_DRM_SCHEME_CENC && record.scheme != om::OM_DRM_SCHEME_CBCS)
    {
        return -EOPNOTSUPP;
    }
    bool const hasPattern = record.crypt_blocks != 0 || record.skip_blocks != 0;
    bool const patternFits = record.crypt_blocks != 0 && record.crypt_blocks <= kMostBlocks &&
                             record.skip_blocks <= kMostBlocks && record.scheme == om::OM_DRM_SCHEME_CBCS;
    if ((record.iv_size != kShortIv && record.iv_size != kLongIv) || (hasPattern && !patternFits) ||
        record.subsamples > bytes.size() / sizeof(om::om_drm_subsample_t))
    {
        return -EINVAL;
    }
    info.agent = record.agent;
    info.scheme = static_cast<om::om_drm_scheme_e>(record.scheme);
    std::copy(std::begin(record.key_id), std::end(record.key_id), info.keyId.begin());
    info.iv.fill(0);
    std::copy_n(std::begin(record.iv), record.iv_size, info.iv.begin());
    info.cryptBlocks = record.skip_blocks == 0 ? 0 : record.crypt_blocks;
    info.skipBlocks = record.skip_blocks;
    info.subsamples.resize(record.subsamples);
    std::size_t const size = record.subsamples * sizeof(om::om_drm_subsample_t);
    if (size > 0)
    {
        std::memcpy(info.subsamples.data(), bytes.data(), size);
    }
    rest = bytes.substr(size);
    return 0;
}

bool fits(DrmCryptoInfo const& info, std::size_t size)
{
    std::uint64_t described = 0;
    for (om::om_drm_subsample_t const& subsample : info.subsamples)
    {
        described += std::uint64_t{subsample.clear_bytes} + subsample.protected_bytes;
    }
    return info.subsamples.empty() || described == size;
}

} // namespace tz::orvane::service
