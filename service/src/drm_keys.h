// SPDX-License-Identifier: Apache-2.0
// Keys of protected content and their ids.
#pragma once

#include <openssl/crypto.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tz::orvane::service
{

inline constexpr std::size_t kDrmKeySize = 16;

/// Keys that one session may ask for or hold.
inline constexpr std::size_t kMostDrmKeys = 256;

using DrmKeyId = std::array<std::uint8_t, kDrmKeySize>;
using DrmKeyIds = std::vector<DrmKeyId>;

/// The bytes of a key: nothing of them is left where one was.
class DrmKey
{
public:
    DrmKey() = default;
    DrmKey(DrmKey const&) = default;
    DrmKey& operator=(DrmKey const&) = default;
    ~DrmKey() { OPENSSL_cleanse(m_bytes.data(), m_bytes.size()); }

    bool operator==(DrmKey const& other) const
    {
        return CRYPTO_memcmp(m_bytes.data(), other.m_bytes.data(), m_bytes.size()) == 0;
    }

    std::uint8_t const* data() const { return m_bytes.data(); }
    std::array<std::uint8_t, kDrmKeySize>& bytes() { return m_bytes; }

private:
    std::array<std::uint8_t, kDrmKeySize> m_bytes{};
};

using DrmKeys = std::map<DrmKeyId, DrmKey>;

/// base64url without padding.
std::string toBase64Url(DrmKeyId const& bytes);

/// @return whether the text stands for exactly so many bytes; only then they are written
bool fromBase64Url(std::string_view text, std::array<std::uint8_t, kDrmKeySize>& bytes);

/// 32 hexadecimal digits.
std::string toHex(DrmKeyId const& bytes);

} // namespace tz::orvane::service
