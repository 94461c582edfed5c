// SPDX-License-Identifier: Apache-2.0
// Tells whether decrypted access units can be what their stream says: decoders play noise without a word.
#pragma once

#include <cstddef>
#include <string_view>

namespace tz::orvane::service
{

/// Watches what one key gives in one stream. Streams that are encrypted where nothing can be told from the bytes, and
/// codecs other than H.264, H.265 and AAC, always make sense.
class DrmSense
{
public:
    /// @param codec om_video_codec_e or om_audio_codec_e @param video which of them @param codecData as openEsMedia has
    /// it
    DrmSense(bool video, int codec, std::string_view codecData);

    /// @return false once so many units made no sense that the key must be wrong
    bool takes(std::string_view unit);

private:
    enum class Kind
    {
        unknown,
        h264,
        h265,
        adts,
        rawAac
    };

    /// How much a unit speaks against the key; 0: nothing.
    int doubt(std::string_view unit) const;
    int doubtOfPicture(std::string_view unit) const;
    int doubtOfSlice(std::string_view nal, bool first) const;

    Kind m_kind = Kind::unknown;
    std::size_t m_lengthSize = 0; ///< bytes in front of a NAL unit that tell its size; 0: start codes
    int m_units = 0;
    int m_doubts = 0;
};

} // namespace tz::orvane::service
