// SPDX-License-Identifier: Apache-2.0
// Tells whether decrypted access units can be what their stream says: decoders play noise without a word.
#include "drm_sense.h"

#include "big_endian.h"

#include "orvane/om_enums.h"

#include <algorithm>

namespace tz::orvane::service
{

namespace
{

/// So many doubts among so many units: noise has more, and what is right has none.
constexpr int kMostDoubts = 4;
constexpr int kWindow = 32;

constexpr int kDoubt = 1;
constexpr int kProof = kMostDoubts;

/// Where the decoder configurations of H.264 and H.265 tell the size of lengths.
constexpr std::size_t kAvcLengthAt = 4;
constexpr std::size_t kHevcLengthAt = 21;

class BitReader
{
public:
    explicit BitReader(std::string_view bytes)
        : m_bytes(bytes)
    {
    }

    /// A number behind as many zeros as it has bits. Bits behind the end are 0.
    unsigned int exponential()
    {
        unsigned int zeros = 0;
        while (zeros < 31 && bit() == 0)
        {
            ++zeros;
        }
        unsigned int value = 1;
        for (unsigned int count = 0; count < zeros; ++count)
        {
            value = value << 1U | bit();
        }
        return value - 1;
    }

    unsigned int bit()
    {
        std::size_t const at = m_at++;
        return at / 8 < m_bytes.size() ? static_cast<unsigned char>(m_bytes[at / 8]) >> (7U - at % 8) & 1U : 0;
    }

private:
    std::string_view m_bytes;
    std::size_t m_at = 0;
};

/// Three bytes that an encoder never writes inside a unit.
bool hasForbiddenBytes(std::string_view nal)
{
    std::size_t const last = nal.find_last_not_of('\0');
    nal = nal.substr(0, last == std::string_view::npos ? 0 : last + 1);
    constexpr std::string_view kZeros("\0\0", 2);
    for (auto at = nal.find(kZeros); at != std::string_view::npos; at = nal.find(kZeros, at + 1))
    {
        if (at + 2 < nal.size() && static_cast<unsigned char>(nal[at + 2]) < 3)
        {
            return true;
        }
    }
    return false;
}

bool isH264Slice(std::string_view nal)
{
    unsigned int const type = static_cast<unsigned char>(nal[0]) & 31U;
    return type == 1 || type == 5;
}

/// The beginning of a slice: where it lies, its kind, its parameters.
/// @param first whether it is the first one of its picture
bool canBeH264Slice(std::string_view nal, bool first)
{
    bool const isKey = (static_cast<unsigned char>(nal[0]) & 31U) == 5;
    BitReader bits(nal.substr(1));
    unsigned int const macroblock = bits.exponential();
    unsigned int const kind = bits.exponential();
    unsigned int const parameters = bits.exponential();
    constexpr unsigned int kMostMacroblocks = 139'264;
    bool const isIntra = kind % 5 == 2 || kind % 5 == 4;
    return macroblock < (first ? 1 : kMostMacroblocks) && kind < 10 && (isIntra || !isKey) && parameters < 256;
}

bool isH265Slice(std::string_view nal)
{
    unsigned int const type = static_cast<unsigned char>(nal[0]) >> 1U & 63U;
    return nal.size() > 2 && (type <= 9 || (type >= 16 && type <= 21));
}

bool canBeH265Slice(std::string_view nal, bool first)
{
    unsigned int const type = static_cast<unsigned char>(nal[0]) >> 1U & 63U;
    BitReader bits(nal.substr(2));
    bool const saysFirst = bits.bit() != 0;
    if (type >= 16)
    {
        bits.bit(); // whether pictures before it are shown
    }
    return (saysFirst || !first) && bits.exponential() < 64;
}

} // namespace

DrmSense::DrmSense(bool video, int codec, std::string_view codecData)
{
    if (video && codec == om::OM_VIDEO_CODEC_H264)
    {
        m_kind = Kind::h264;
        m_lengthSize = codecData.empty() ? 0 : (bigEndian(codecData, kAvcLengthAt, 1) & 3U) + 1;
    }
    else if (video && codec == om::OM_VIDEO_CODEC_H265)
    {
        m_kind = Kind::h265;
        m_lengthSize = codecData.empty() ? 0 : (bigEndian(codecData, kHevcLengthAt, 1) & 3U) + 1;
    }
    else if (!video && (codec == om::OM_AUDIO_CODEC_AAC_LC || codec == om::OM_AUDIO_CODEC_HE_AAC))
    {
        m_kind = codecData.empty() ? Kind::adts : Kind::rawAac;
    }
}

bool DrmSense::takes(std::string_view unit)
{
    if (m_units++ >= kWindow)
    {
        m_units = 1;
        m_doubts = 0;
    }
    m_doubts += doubt(unit);
    return m_doubts < kMostDoubts;
}

int DrmSense::doubt(std::string_view unit) const
{
    unsigned int const first = unit.empty() ? 0 : static_cast<unsigned char>(unit[0]);
    switch (m_kind)
    {
    case Kind::h264:
    case Kind::h265:
        return doubtOfPicture(unit);
    case Kind::adts:
        return (bigEndian(unit, 0, 2) & 0xFFF0U) == 0xFFF0U ? 0 : kDoubt;
    case Kind::rawAac:
    {
        // No frame begins with what couples channels, adds a low one, or ends it.
        unsigned int const element = first >> 5U;
        return element == 2 || element == 3 || element == 7 ? kDoubt : 0;
    }
    default:
        return 0;
    }
}

int DrmSense::doubtOfPicture(std::string_view unit) const
{
    int doubts = 0;
    bool sawSlice = false;
    auto const look = [&](std::string_view nal)
    {
        bool const isSlice = !nal.empty() && (m_kind == Kind::h264 ? isH264Slice(nal) : isH265Slice(nal));
        if (isSlice)
        {
            doubts = std::max(doubts, doubtOfSlice(nal, !sawSlice));
            sawSlice = true;
        }
    };
    if (m_lengthSize == 0)
    {
        constexpr std::string_view kStart("\0\0\1", 3);
        auto at = unit.find(kStart);
        doubts = at == std::string_view::npos ? kDoubt : 0;
        while (at != std::string_view::npos)
        {
            std::size_t const begin = at + kStart.size();
            at = unit.find(kStart, begin);
            look(unit.substr(begin, at == std::string_view::npos ? at : at - begin));
        }
        return doubts;
    }
    while (!unit.empty())
    {
        auto const size = bigEndian(unit, 0, m_lengthSize);
        if (unit.size() < m_lengthSize || size > unit.size() - m_lengthSize)
        {
            return std::max(doubts, kDoubt);
        }
        look(unit.substr(m_lengthSize, size));
        unit.remove_prefix(m_lengthSize + size);
    }
    return doubts;
}

int DrmSense::doubtOfSlice(std::string_view nal, bool first) const
{
    if (hasForbiddenBytes(nal))
    {
        return kProof;
    }
    return (m_kind == Kind::h264 ? canBeH264Slice(nal, first) : canBeH265Slice(nal, first)) ? 0 : kDoubt;
}

} // namespace tz::orvane::service
