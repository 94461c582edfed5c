// SPDX-License-Identifier: Apache-2.0
// Reads a fragmented mp4 file, protected or not: what an application needs that pushes its access units itself.
#pragma once

#include <orvane/om_service.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace example
{

namespace om = tz::orvane::om;

struct Track
{
    std::uint32_t id = 0;
    om::om_stream_type_e kind = om::OM_STREAM_TYPE_UNKNOWN;
    om::om_es_format_t format{};
    std::string codecData;
    std::uint32_t timescale = 0; ///< ticks a second

    // Of samples, where a fragment does not tell.
    std::uint32_t sampleDuration = 0;
    std::uint32_t sampleSize = 0;
    std::uint32_t sampleFlags = 0;
    std::uint64_t end = 0; ///< ticks, of the samples that were read: where a fragment without a time goes on

    // Of a protected track.
    std::uint32_t scheme = 0; ///< om_drm_scheme_e, 0: not protected
    std::string keyId;
    std::size_t ivSize = 0; ///< 0: all samples have the same
    std::string constantIv;
    std::uint32_t cryptBlocks = 0;
    std::uint32_t skipBlocks = 0;
};

struct Sample
{
    std::size_t track = 0;  ///< index
    std::size_t offset = 0; ///< in the file
    std::size_t size = 0;
    om::om_es_unit_t unit{};
    std::string iv;
    std::vector<om::om_drm_subsample_t> subsamples;
};

struct Film
{
    std::vector<Track> tracks;   ///< H.264 and AAC; others are left out
    std::vector<Sample> samples; ///< in the order of the file
    std::string initData;        ///< its pssh boxes
};

/// @return nothing when the file is no such one, or damaged
std::optional<Film> readFragments(std::string_view file);

/// The first two buffers of openEsMedia.
std::string formatBuffer(Track const& track);

/// The third buffer of pushEsData; empty for a sample that is not protected.
std::string cryptoBuffer(Track const& track, Sample const& sample, unsigned int agent);

} // namespace example
