// SPDX-License-Identifier: Apache-2.0
// Decryption, shown by published vectors, and what is told of noise.
#include "drm_decrypt.h"
#include "drm_sense.h"

#include "orvane/om_enums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

namespace tz::orvane::service
{
namespace
{

// NIST SP 800-38A, appendix F: the key and four blocks, and what they are in the modes CTR (F.5.1) and CBC (F.2.1).
constexpr char kKey[] = "2b7e151628aed2a6abf7158809cf4f3c";
constexpr char kPlain[] = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                          "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
constexpr char kCounter[] = "f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff";
constexpr char kCtr[] = "874d6191b620e3261bef6864990db6ce9806f66b7970fdff8617187bb9fffdff"
                        "5ae4df3edbd5d35e5b4f09020db03eab1e031dda2fbe03d1792170a0f3009cee";
constexpr char kChain[] = "000102030405060708090a0b0c0d0e0f";
constexpr char kCbc[] = "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
                        "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7";

std::string fromHex(std::string const& digits)
{
    std::string bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2)
    {
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

DrmKey keyOf(std::string const& digits)
{
    DrmKey key;
    std::string const bytes = fromHex(digits);
    std::copy(bytes.begin(), bytes.end(), key.bytes().begin());
    return key;
}

DrmCryptoInfo infoOf(om::om_drm_scheme_e scheme, std::string const& iv,
                     std::vector<om::om_drm_subsample_t> subsamples = {})
{
    DrmCryptoInfo info;
    info.scheme = scheme;
    std::string const bytes = fromHex(iv);
    std::copy(bytes.begin(), bytes.end(), info.iv.begin());
    info.subsamples = std::move(subsamples);
    return info;
}

std::string decrypted(DrmCryptoInfo const& info, std::string data)
{
    EXPECT_EQ(decrypt(info, keyOf(kKey), reinterpret_cast<std::uint8_t*>(data.data()), data.size()), 0);
    return data;
}

TEST(DrmDecrypt, counterModeGivesThePublishedBlocks)
{
    EXPECT_EQ(decrypted(infoOf(om::OM_DRM_SCHEME_CENC, kCounter), fromHex(kCtr)), fromHex(kPlain));
}

TEST(DrmDecrypt, chainedModeGivesThePublishedBlocks)
{
    EXPECT_EQ(decrypted(infoOf(om::OM_DRM_SCHEME_CBCS, kChain), fromHex(kCbc)), fromHex(kPlain));
}

TEST(DrmDecrypt, theCounterRunsThroughSubsamplesOfAnySize)
{
    std::string const cipher = fromHex(kCtr);
    std::string const plain = fromHex(kPlain);
    std::string mixed = "ab" + cipher.substr(0, 5) + "c" + cipher.substr(5, 30) + cipher.substr(35) + "end";
    std::string const clear = "ab" + plain.substr(0, 5) + "c" + plain.substr(5, 30) + plain.substr(35) + "end";
    EXPECT_EQ(decrypted(infoOf(om::OM_DRM_SCHEME_CENC, kCounter, {{2, 5}, {1, 30}, {0, 29}, {3, 0}, {0, 0}}), mixed),
              clear);
}

TEST(DrmDecrypt, onlyTheLowerHalfOfTheCounterCounts)
{
    // Two blocks in front of its end; behind it the upper half is the same.
    std::string const zeros(64, '\0');
    std::string const wrapping = decrypted(infoOf(om::OM_DRM_SCHEME_CENC, "00112233445566"
                                                                          "77fffffffffffffffe"),
                                           zeros);
    std::string const behind = decrypted(infoOf(om::OM_DRM_SCHEME_CENC, "00112233445566"
                                                                        "770000000000000000"),
                                         zeros);
    EXPECT_EQ(wrapping.substr(32), behind.substr(0, 32));
    EXPECT_NE(wrapping.substr(0, 32), behind.substr(0, 32));
}

TEST(DrmDecrypt, aShortVectorIsFollowedByZeros)
{
    om::om_drm_crypto_t record{};
    record.scheme = om::OM_DRM_SCHEME_CENC;
    record.iv_size = 8;
    std::fill(std::begin(record.iv), std::end(record.iv), std::uint8_t{0xaa});
    DrmCryptoInfo info;
    std::string_view rest;
    ASSERT_EQ(readCryptoInfo({reinterpret_cast<char const*>(&record), sizeof record}, info, rest), 0);
    EXPECT_EQ(std::count(info.iv.begin(), info.iv.end(), 0xaa), 8);
    EXPECT_EQ(info.iv[8], 0);
}

TEST(DrmDecrypt, cryptoInformationThatIsNotWellFormedIsRefused)
{
    om::om_drm_crypto_t good{};
    good.scheme = om::OM_DRM_SCHEME_CBCS;
    good.iv_size = 16;
    auto const resultOf = [&](auto change, std::string const& behind = {})
    {
        om::om_drm_crypto_t record = good;
        change(record);
        std::string const bytes = std::string(reinterpret_cast<char const*>(&record), sizeof record) + behind;
        DrmCryptoInfo info;
        std::string_view rest;
        return readCryptoInfo(bytes, info, rest);
    };
    EXPECT_EQ(resultOf([](auto&) {}), 0);
    EXPECT_EQ(resultOf([](auto& record) { record.crypt_blocks = record.skip_blocks = 15; }), 0);
    EXPECT_EQ(resultOf([](auto& record) { record.subsamples = 1; }, "8 bytes.and more"), 0);
    for (std::uint32_t const size : {0U, 1U, 7U, 9U, 15U, 17U, UINT32_MAX})
    {
        EXPECT_EQ(resultOf([=](auto& record) { record.iv_size = size; }), -EINVAL) << size;
    }
    // The last ones are sizes that come to 0 and 8 where 32 bits are all.
    for (std::uint32_t const count : {2U, 8192U, UINT32_MAX, 0x20000000U, 0x20000001U})
    {
        EXPECT_EQ(resultOf([=](auto& record) { record.subsamples = count; }, "8 bytes.7 bytes"), -EINVAL) << count;
    }
    for (std::uint32_t const blocks : {16U, UINT32_MAX})
    {
        EXPECT_EQ(resultOf([=](auto& record) { record.crypt_blocks = blocks; }), -EINVAL);
        EXPECT_EQ(resultOf(
                      [=](auto& record)
                      {
                          record.crypt_blocks = 1;
                          record.skip_blocks = blocks;
                      }),
                  -EINVAL);
    }
    EXPECT_EQ(resultOf([](auto& record) { record.skip_blocks = 1; }), -EINVAL);
    for (std::uint32_t const scheme : {0U, 3U, UINT32_MAX})
    {
        EXPECT_EQ(resultOf([=](auto& record) { record.scheme = scheme; }), -EOPNOTSUPP);
    }
    DrmCryptoInfo info;
    std::string_view rest;
    for (std::size_t size = 0; size < sizeof good; ++size)
    {
        EXPECT_EQ(readCryptoInfo({reinterpret_cast<char const*>(&good), size}, info, rest), -EINVAL);
    }
}

TEST(DrmDecrypt, theChainBeginsAnewWithEachSubsample)
{
    std::string const block = fromHex(kCbc).substr(0, 16);
    std::string const plain = fromHex(kPlain).substr(0, 16);
    EXPECT_EQ(decrypted(infoOf(om::OM_DRM_SCHEME_CBCS, kChain, {{1, 16}, {2, 16}}), "x" + block + "yz" + block),
              "x" + plain + "yz" + plain);
}

TEST(DrmDecrypt, whatIsNoWholeBlockIsNotEncrypted)
{
    std::string const block = fromHex(kCbc).substr(0, 16);
    std::string const plain = fromHex(kPlain).substr(0, 16);
    EXPECT_EQ(decrypted(infoOf(om::OM_DRM_SCHEME_CBCS, kChain, {{0, 31}, {0, 15}}), block + std::string(30, 't')),
              plain + std::string(30, 't'));
}

TEST(DrmDecrypt, aPatternSkipsBlocksThatDoNotBelongToTheChain)
{
    std::string const cipher = fromHex(kCbc);
    std::string const plain = fromHex(kPlain);
    DrmCryptoInfo info = infoOf(om::OM_DRM_SCHEME_CBCS, kChain);
    info.cryptBlocks = 1;
    info.skipBlocks = 9;
    std::string const gap(9 * 16, 'g');
    EXPECT_EQ(decrypted(info, cipher.substr(0, 16) + gap + cipher.substr(16, 16) + "rest"),
              plain.substr(0, 16) + gap + plain.substr(16, 16) + "rest");
    EXPECT_EQ(decrypted(info, "less than 16"), "less than 16");

    info.cryptBlocks = 2;
    info.skipBlocks = 1;
    std::string const one(16, 'g');
    EXPECT_EQ(decrypted(info, cipher.substr(0, 32) + one + cipher.substr(32, 16)),
              plain.substr(0, 32) + one + cipher.substr(32, 16))
        << "a run that is not whole is not encrypted";
    EXPECT_EQ(decrypted(info, cipher.substr(0, 32) + one + cipher.substr(32)),
              plain.substr(0, 32) + one + plain.substr(32));
}

TEST(DrmDecrypt, subsamplesHaveToFit)
{
    std::string data(8, 'd');
    for (auto const& subsamples : std::vector<std::vector<om::om_drm_subsample_t>>{
             {{1, 6}}, {{4, 4}, {0, 1}}, {{UINT32_MAX, UINT32_MAX}}, {{UINT32_MAX, 9}}, {{0, 0}}})
    {
        EXPECT_EQ(decrypt(infoOf(om::OM_DRM_SCHEME_CENC, kCounter, subsamples), keyOf(kKey),
                          reinterpret_cast<std::uint8_t*>(data.data()), data.size()),
                  -EINVAL);
    }
    EXPECT_EQ(data, "dddddddd");
    EXPECT_EQ(decrypted(infoOf(om::OM_DRM_SCHEME_CENC, kCounter), ""), "");
    EXPECT_EQ(decrypted(infoOf(om::OM_DRM_SCHEME_CBCS, kChain, {{0, 0}}), ""), "");
    EXPECT_EQ(decrypted(infoOf(om::OM_DRM_SCHEME_CENC, kCounter, {{8, 0}}), data), data);
}

// What is told of noise.

std::string noise(unsigned int& state, std::size_t size)
{
    std::string bytes;
    while (bytes.size() < size)
    {
        state = state * 1664525U + 1013904223U;
        bytes += static_cast<char>(state >> 24U);
    }
    return bytes;
}

/// @return how many of so many units of noise were taken; all: nothing was noticed
int takenNoise(DrmSense sense, std::string const& clearHead, std::size_t size, bool withLength)
{
    constexpr int kUnits = 64;
    unsigned int state = 7;
    for (int count = 0; count < kUnits; ++count)
    {
        std::string unit = clearHead + noise(state, size);
        if (withLength)
        {
            std::size_t const length = unit.size();
            unit = std::string{0, 0, static_cast<char>(length >> 8U), static_cast<char>(length)} + unit;
        }
        if (!sense.takes(unit))
        {
            return count;
        }
    }
    return kUnits;
}

TEST(DrmSense, noiseIsNoticedBehindClearHeaders)
{
    std::string const avc("\1\x64\0\x0d\xff\xe0\0", 7);
    std::string hevc(23, '\0');
    hevc[21] = '\3';
    EXPECT_LT(takenNoise(DrmSense(true, om::OM_VIDEO_CODEC_H264, avc), "\x65", 200, true), 20);
    EXPECT_LT(takenNoise(DrmSense(true, om::OM_VIDEO_CODEC_H264, avc), "\x41", 200, true), 40);
    EXPECT_LT(takenNoise(DrmSense(true, om::OM_VIDEO_CODEC_H264, ""), std::string("\0\0\1\x65", 4), 200, false), 20);
    EXPECT_LT(takenNoise(DrmSense(true, om::OM_VIDEO_CODEC_H265, hevc), "\x26\1", 200, true), 64);
    EXPECT_LT(takenNoise(DrmSense(false, om::OM_AUDIO_CODEC_AAC_LC, "\x11\x90"), "", 100, false), 40);
    EXPECT_LT(takenNoise(DrmSense(false, om::OM_AUDIO_CODEC_AAC_LC, ""), "", 100, false), 10);
}

TEST(DrmSense, bytesThatNoEncoderWritesAreProof)
{
    DrmSense sense(true, om::OM_VIDEO_CODEC_H264, std::string("\1\x64\0\x0d\xff\xe0\0", 7));
    EXPECT_TRUE(sense.takes(std::string("\0\0\0\6\x41\x9a\0\0\3\1", 10)));
    EXPECT_TRUE(sense.takes(std::string("\0\0\0\6\x41\x9a\x55\0\0\0", 10))) << "zeros behind a unit";
    EXPECT_FALSE(sense.takes(std::string("\0\0\0\6\x41\x9a\0\0\2\x55", 10)));
}

TEST(DrmSense, whatCannotBeToldIsTaken)
{
    EXPECT_EQ(takenNoise(DrmSense(true, om::OM_VIDEO_CODEC_VP9, ""), "", 200, false), 64);
    EXPECT_EQ(takenNoise(DrmSense(false, om::OM_AUDIO_CODEC_OPUS, ""), "", 200, false), 64);
}

} // namespace
} // namespace tz::orvane::service
