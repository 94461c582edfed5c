// SPDX-License-Identifier: Apache-2.0
// Feeds any bytes to what reads the buffers of protected content. The first byte says to which one.
#include "drm_crypto_info.h"
#include "drm_decrypt.h"
#include "drm_init_data.h"
#include "drm_license.h"
#include "drm_sense.h"

#include "orvane/om_enums.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{

using namespace tz::orvane;
using namespace tz::orvane::service;

void require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

void feedInitData(std::uint32_t type, std::string_view bytes)
{
    DrmKeyIds ids;
    int const result = readInitData(type, bytes, ids);
    if (result == 0)
    {
        require(!ids.empty() && ids.size() <= kMostDrmKeys);
        // What is asked for is such data itself.
        DrmKeyIds again;
        require(readInitData(om::OM_DRM_INIT_DATA_KEYIDS, writeLicenseRequest(ids), again) == 0 && again == ids);
    }
}

void feedLicense(std::string_view bytes)
{
    DrmKeys keys;
    int const result = readLicense(bytes, keys);
    require(keys.size() <= kMostDrmKeys && keys.empty() == (result < 0));
}

void feedDecrypt(std::string_view bytes)
{
    DrmCryptoInfo info;
    std::string_view rest;
    if (readCryptoInfo(bytes, info, rest) < 0)
    {
        return;
    }
    std::string data(rest);
    int const result = decrypt(info, DrmKey(), reinterpret_cast<std::uint8_t*>(data.data()), data.size());
    require((result == 0) == fits(info, rest.size()) && (result == 0 || data == rest));
}

/// Units that are cut anywhere, of any codec that is looked into.
void feedSense(int codec, bool video, std::string_view bytes)
{
    std::size_t const dataSize = bytes.empty() ? 0 : static_cast<unsigned char>(bytes[0]) % 32U;
    DrmSense sense(video, codec, bytes.substr(0, dataSize));
    bytes.remove_prefix(std::min(bytes.size(), dataSize));
    while (!bytes.empty())
    {
        std::size_t const size = std::min(bytes.size(), std::size_t{1} + static_cast<unsigned char>(bytes[0]));
        sense.takes(bytes.substr(0, size));
        bytes.remove_prefix(size);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    std::string const bytes(reinterpret_cast<char const*>(data) + 1, size - 1);
    switch (data[0] % 8)
    {
    case 0:
        feedLicense(bytes);
        break;
    case 1:
    case 2:
    case 3:
        feedInitData(data[0] % 8, bytes);
        break;
    case 4:
        feedDecrypt(bytes);
        break;
    case 5:
        feedSense(om::OM_VIDEO_CODEC_H264, true, bytes);
        break;
    case 6:
        feedSense(om::OM_VIDEO_CODEC_H265, true, bytes);
        break;
    default:
        feedSense(om::OM_AUDIO_CODEC_AAC_LC, false, bytes);
        break;
    }
    return 0;
}
