// SPDX-License-Identifier: Apache-2.0
// A protected film in fragments, and its key.
#include "support/protected_film.h"

#include "examples/fragments.h"
#include "support/film_protection.h"
#include "support/tool_process.h"
#include "support/viewer.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <map>
#include <string_view>
#include <vector>

namespace tz::orvane::test
{

namespace
{

constexpr std::size_t kIvSize = 8;

/// What each sample of a track of the protected copy is encrypted with, as it stands in the file.
TrackProtection protectionOf(std::string_view file, int track)
{
    std::string_view where = contentOf(contentOf(file, "moov"), "trak", track);
    for (char const* const type : {"mdia", "minf", "stbl", "senc"})
    {
        where = contentOf(where, type);
    }
    TrackProtection protection;
    protection.defaults = number(0) + number(0, 2) + number(1, 1) + number(kIvSize, 1) + fromHex(kFilmKeyId);
    protection.hasSubsamples = (bigEndian(where, 0, 4) & 2U) != 0;
    for (std::size_t at = 8; at < where.size();)
    {
        std::size_t const size = kIvSize + (protection.hasSubsamples ? 2 + 6 * bigEndian(where, at + kIvSize, 2) : 0);
        protection.samples.emplace_back(where.substr(at, size));
        at += size;
    }
    return protection;
}

struct Place
{
    std::size_t offset;
    std::size_t size;
};

std::map<int, std::vector<Place>> placesOf(std::string const& path)
{
    ToolProcess tool({"/usr/bin/env", "ffprobe", "-v", "error", "-show_packets", "-print_format", "json", path});
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    std::map<int, std::vector<Place>> places;
    nlohmann::json const told = nlohmann::json::parse(tool.out(), nullptr, false);
    for (nlohmann::json const& packet : told.at("packets"))
    {
        places[packet["stream_index"].get<int>()].push_back(
            {std::stoul(packet["pos"].get<std::string>()), std::stoul(packet["size"].get<std::string>())});
    }
    return places;
}

} // namespace

std::string protectedFilm()
{
    std::string film = fileContent(media("vfrag.mp4"));
    std::string const source = fileContent(media("cenc.mp4"));
    auto const places = placesOf(media("cenc.mp4"));
    std::vector<std::size_t> next(places.size());
    auto const clear = example::readFragments(film);
    EXPECT_TRUE(clear);
    for (example::Sample const& sample : clear->samples)
    {
        Place const& place = places.at(static_cast<int>(sample.track)).at(next[sample.track]++);
        EXPECT_EQ(place.size, sample.size);
        film.replace(sample.offset, sample.size, source, place.offset, place.size);
    }
    return describeProtection(film, "cenc", {protectionOf(source, 0), protectionOf(source, 1)});
}

} // namespace tz::orvane::test
