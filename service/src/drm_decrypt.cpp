// SPDX-License-Identifier: Apache-2.0
// Takes the protection off an access unit.
#include "drm_decrypt.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kBlock = 16;

/// What OpenSSL takes at once.
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30U;

using Iv = std::array<std::uint8_t, kBlock>;

class Cipher
{
public:
    Cipher(EVP_CIPHER const* kind, DrmKey const& key)
        : m_context(EVP_CIPHER_CTX_new())
    {
        m_good = m_context != nullptr && EVP_DecryptInit_ex(m_context.get(), kind, nullptr, key.data(), nullptr) == 1 &&
                 EVP_CIPHER_CTX_set_padding(m_context.get(), 0) == 1;
    }

    void restart(Iv const& iv)
    {
        m_good = m_good && EVP_DecryptInit_ex(m_context.get(), nullptr, nullptr, nullptr, iv.data()) == 1;
    }

    /// Goes on with the chain or the counter where it stands.
    void run(std::uint8_t* data, std::size_t size)
    {
        while (size > 0 && m_good)
        {
            std::size_t const part = std::min(size, kMostAtOnce);
            int written = 0;
            m_good = EVP_DecryptUpdate(m_context.get(), data, &written, data, static_cast<int>(part)) == 1;
            data += part;
            size -= part;
        }
    }

    bool good() const { return m_good; }

private:
    struct Free
    {
        void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
    };

    std::unique_ptr<EVP_CIPHER_CTX, Free> m_context;
    bool m_good;
};

/// The counter runs through all protected ranges as if they were one. Only its lower half counts: OpenSSL would carry
/// into the upper one.
class CounterMode
{
public:
    CounterMode(DrmCryptoInfo const& info, DrmKey const& key)
        : m_iv(info.iv)
        , m_cipher(EVP_aes_128_ctr(), key)
    {
        std::uint64_t counter = 0;
        for (std::size_t index = kBlock / 2; index < kBlock; ++index)
        {
            counter = counter << 8U | m_iv[index];
        }
        std::uint64_t const blocks = UINT64_MAX - counter; // but one
        m_untilWrap = blocks < kMostAtOnce ? (static_cast<std::size_t>(blocks) + 1) * kBlock : SIZE_MAX;
        m_cipher.restart(m_iv);
    }

    void run(std::uint8_t* data, std::size_t size)
    {
        std::size_t const before = std::min(size, m_untilWrap);
        m_cipher.run(data, before);
        m_untilWrap -= before;
        if (before < size)
        {
            std::fill(m_iv.begin() + kBlock / 2, m_iv.end(), std::uint8_t{0});
            m_cipher.restart(m_iv);
            m_cipher.run(data + before, size - before);
            m_untilWrap = SIZE_MAX;
        }
    }

    bool good() const { return m_cipher.good(); }

private:
    Iv m_iv;
    Cipher m_cipher;
    std::size_t m_untilWrap;
};

/// The chain begins anew with each protected range. Of a range only whole blocks are encrypted, and with a pattern only
/// whole runs of them.
class PatternMode
{
public:
    PatternMode(DrmCryptoInfo const& info, DrmKey const& key)
        : m_info(info)
        , m_cipher(EVP_aes_128_cbc(), key)
    {
    }

    void run(std::uint8_t* data, std::size_t size)
    {
        if (size < kBlock)
        {
            return; // setting up the cipher is what takes the time
        }
        m_cipher.restart(m_info.iv);
        if (m_info.cryptBlocks == 0)
        {
            m_cipher.run(data, size / kBlock * kBlock);
            return;
        }
        std::size_t const crypt = m_info.cryptBlocks * kBlock;
        std::size_t const skip = m_info.skipBlocks * kBlock;
        for (std::size_t at = 0; size - at >= crypt; at = std::min(size, at + crypt + skip))
        {
            m_cipher.run(data + at, crypt);
        }
    }

    bool good() const { return m_cipher.good(); }

private:
    DrmCryptoInfo const& m_info;
    Cipher m_cipher;
};

template <class Mode> int decryptWith(Mode mode, DrmCryptoInfo const& info, std::uint8_t* data, std::size_t size)
{
    if (info.subsamples.empty())
    {
        mode.run(data, size);
    }
    for (om::om_drm_subsample_t const& subsample : info.subsamples)
    {
        mode.run(data + subsample.clear_bytes, subsample.protected_bytes);
        data += std::size_t{subsample.clear_bytes} + subsample.protected_bytes;
    }
    return mode.good() ? 0 : -ENOMEM;
}

} // namespace

int decrypt(DrmCryptoInfo const& info, DrmKey const& key, std::uint8_t* data, std::size_t size)
{
    if (!fits(info, size))
    {
        return -EINVAL;
    }
    return info.scheme == om::OM_DRM_SCHEME_CENC ? decryptWith(CounterMode(info, key), info, data, size)
                                                 : decryptWith(PatternMode(info, key), info, data, size);
}

} // namespace tz::orvane::service
