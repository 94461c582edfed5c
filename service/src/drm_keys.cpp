// SPDX-License-Identifier: Apache-2.0
// Keys of protected content and their ids.
#include "drm_keys.h"

namespace tz::orvane::service
{

namespace
{

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr unsigned int kBitsOfDigit = 6;
constexpr unsigned int kBitsOfByte = 8;
constexpr std::size_t kDigits = (kDrmKeySize * kBitsOfByte + kBitsOfDigit - 1) / kBitsOfDigit;

} // namespace

std::string toBase64Url(DrmKeyId const& bytes)
{
    std::string text;
    unsigned int pool = 0;
    unsigned int bits = 0;
    for (std::uint8_t const byte : bytes)
    {
        pool = pool << kBitsOfByte | byte;
        bits += kBitsOfByte;
        for (; bits >= kBitsOfDigit; bits -= kBitsOfDigit)
        {
            text += kAlphabet[pool >> (bits - kBitsOfDigit) & 63U];
        }
    }
    text += kAlphabet[pool << (kBitsOfDigit - bits) & 63U];
    return text;
}

bool fromBase64Url(std::string_view text, std::array<std::uint8_t, kDrmKeySize>& bytes)
{
    DrmKey read;
    unsigned int pool = 0;
    unsigned int bits = 0;
    std::size_t count = 0;
    if (text.size() != kDigits)
    {
        return false;
    }
    for (char const digit : text)
    {
        std::size_t const value = kAlphabet.find(digit);
        if (value == std::string_view::npos)
        {
            return false;
        }
        pool = pool << kBitsOfDigit | static_cast<unsigned int>(value);
        bits += kBitsOfDigit;
        if (bits >= kBitsOfByte)
        {
            bits -= kBitsOfByte;
            read.bytes()[count++] = static_cast<std::uint8_t>(pool >> bits);
        }
    }
    if ((pool & ((1U << bits) - 1U)) != 0)
    {
        return false; // two texts for the same bytes
    }
    bytes = read.bytes();
    return true;
}

std::string toHex(DrmKeyId const& bytes)
{
    constexpr char kHexDigits[] = "0123456789abcdef";
    std::string text;
    for (std::uint8_t const byte : bytes)
    {
        text += {kHexDigits[byte >> 4U], kHexDigits[byte & 15U]};
    }
    return text;
}

} // namespace tz::orvane::service
