// SPDX-License-Identifier: Apache-2.0
// A film protected with the scheme cbcs.
#include "support/cbcs_film.h"

#include "examples/fragments.h"
#include "support/film_protection.h"
#include "support/protected_film.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <memory>

namespace tz::orvane::test
{

namespace
{

constexpr std::size_t kBlock = 16;
constexpr std::size_t kSkippedBlocks = 9;
constexpr char kVector[] = "0f1e2d3c4b5a69788796a5b4c3d2e1f0";

/// Clear bytes of a slice: the size in front of it and more than its header.
constexpr std::size_t kClearOfSlice = 40;

/// One chain of blocks, from the vector on.
class Chain
{
public:
    Chain()
        : m_context(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free)
    {
        std::string const key = fromHex(kFilmKey);
        std::string const vector = fromHex(kVector);
        EXPECT_EQ(EVP_EncryptInit_ex(m_context.get(), EVP_aes_128_cbc(), nullptr, bytes(key), bytes(vector)), 1);
        EVP_CIPHER_CTX_set_padding(m_context.get(), 0);
    }

    void encryptBlock(char* block)
    {
        auto* const data = reinterpret_cast<unsigned char*>(block);
        int written = 0;
        EXPECT_EQ(EVP_EncryptUpdate(m_context.get(), data, &written, data, kBlock), 1);
    }

private:
    static unsigned char const* bytes(std::string const& text)
    {
        return reinterpret_cast<unsigned char const*>(text.data());
    }

    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> m_context;
};

void encrypt(char* data, std::size_t size, std::size_t skippedBlocks)
{
    Chain chain;
    for (std::size_t at = 0; at + kBlock <= size; at += kBlock * (1 + skippedBlocks))
    {
        chain.encryptBlock(data + at);
    }
}

/// Encrypts the slices of a picture. @return its subsamples as they stand in the file
std::string encryptPicture(char* data, std::size_t size)
{
    constexpr std::size_t kSizeOfNal = 4;
    std::string subsamples;
    std::size_t count = 0;
    std::size_t clear = 0;
    for (std::size_t at = 0; at < size;)
    {
        std::size_t const nal = kSizeOfNal + bigEndian({data, size}, at, kSizeOfNal);
        unsigned int const type = static_cast<unsigned char>(data[at + kSizeOfNal]) & 0x1FU;
        bool const isSlice = type == 1 || type == 5;
        std::size_t const head = isSlice ? std::min(nal, kClearOfSlice) : nal;
        clear += head;
        if (head < nal)
        {
            encrypt(data + at + head, nal - head, kSkippedBlocks);
            subsamples += number(clear, 2) + number(nal - head);
            ++count;
            clear = 0;
        }
        at += nal;
    }
    if (clear > 0)
    {
        subsamples += number(clear, 2) + number(0);
        ++count;
    }
    return number(count, 2) + subsamples;
}

std::string defaults(bool isVideo)
{
    constexpr std::size_t kVersion1 = 0x01000000;
    std::string const pattern = number(isVideo ? 0x10 + kSkippedBlocks : 0, 1);
    return number(kVersion1) + number(0, 1) + pattern + number(1, 1) + number(0, 1) + fromHex(kFilmKeyId) +
           number(kBlock, 1) + fromHex(kVector);
}

} // namespace

std::string cbcsFilm(std::string const& clear)
{
    std::string film = clear;
    auto const read = example::readFragments(clear);
    EXPECT_TRUE(read);
    std::vector<TrackProtection> tracks;
    for (example::Track const& track : read->tracks)
    {
        bool const isVideo = track.kind == om::OM_STREAM_TYPE_VIDEO;
        tracks.push_back({defaults(isVideo), {}, isVideo});
    }
    for (example::Sample const& sample : read->samples)
    {
        TrackProtection& track = tracks[sample.track];
        if (track.hasSubsamples)
        {
            track.samples.push_back(encryptPicture(film.data() + sample.offset, sample.size));
        }
        else
        {
            encrypt(film.data() + sample.offset, sample.size, 0);
        }
    }
    return describeProtection(film, "cbcs", tracks);
}

} // namespace tz::orvane::test
