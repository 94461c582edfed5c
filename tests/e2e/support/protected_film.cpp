// SPDX-License-Identifier: Apache-2.0
// A protected film in fragments, and its key.
#include "support/protected_film.h"

#include "examples/fragments.h"
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

std::size_t bigEndian(std::string_view bytes, std::size_t at, std::size_t size)
{
    std::size_t value = 0;
    for (char const byte : bytes.substr(at, size))
    {
        value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
}

std::string number(std::size_t value, std::size_t size = 4)
{
    std::string bytes;
    while (size-- > 0)
    {
        bytes += static_cast<char>(value >> (8 * size));
    }
    return bytes;
}

std::string box(std::string const& type, std::string const& content)
{
    return number(content.size() + 8) + type + content;
}

std::string fromHex(std::string const& digits)
{
    std::string bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2)
    {
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

std::string_view contentOf(std::string_view boxes, std::string_view type, int skip = 0)
{
    while (boxes.size() >= 8)
    {
        std::size_t const size = bigEndian(boxes, 0, 4);
        if (boxes.substr(4, 4) == type && skip-- == 0)
        {
            return boxes.substr(8, size - 8);
        }
        boxes.remove_prefix(size);
    }
    return {};
}

/// What each sample of a track of the protected copy is encrypted with, as it stands in the file.
std::vector<std::string> vectorsOf(std::string_view file, int track)
{
    std::string_view where = contentOf(contentOf(file, "moov"), "trak", track);
    for (char const* const type : {"mdia", "minf", "stbl", "senc"})
    {
        where = contentOf(where, type);
    }
    bool const hasSubsamples = (bigEndian(where, 0, 4) & 2U) != 0;
    std::vector<std::string> vectors;
    for (std::size_t at = 8; at < where.size();)
    {
        std::size_t const size = kIvSize + (hasSubsamples ? 2 + 6 * bigEndian(where, at + kIvSize, 2) : 0);
        vectors.emplace_back(where.substr(at, size));
        at += size;
    }
    return vectors;
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

/// Writes the boxes of a film anew, with all that tells of its protection.
class Protector
{
public:
    explicit Protector(std::vector<std::vector<std::string>> vectors)
        : m_vectors(std::move(vectors))
        , m_next(m_vectors.size())
    {
    }

    std::string protect(std::string_view boxes)
    {
        std::string result;
        while (boxes.size() >= 8)
        {
            std::size_t const size = bigEndian(boxes, 0, 4);
            std::string const type(boxes.substr(4, 4));
            result += protectBox(type, boxes.substr(8, size - 8));
            boxes.remove_prefix(size);
        }
        return result;
    }

private:
    std::string protectBox(std::string const& type, std::string_view content)
    {
        if (type == "moov")
        {
            return box(type, protect(content) + pssh());
        }
        if (type == "trak" || type == "mdia" || type == "minf" || type == "stbl")
        {
            return box(type, protect(content));
        }
        if (type == "stsd")
        {
            return box(type, std::string(content.substr(0, 8)) + protect(content.substr(8)));
        }
        if (type == "avc1" || type == "mp4a")
        {
            return box(type == "avc1" ? "encv" : "enca", std::string(content) + protection(type));
        }
        if (type == "moof")
        {
            auto const before = m_next;
            m_growth = 0;
            m_growth = protect(content).size() - content.size(); // data lie so much further behind
            m_next = before;
            return box(type, protect(content));
        }
        if (type == "traf")
        {
            return box(type, protect(content) + vectors(content));
        }
        if (type == "trun")
        {
            std::string moved(content);
            return box(type, moved.replace(8, 4, number(bigEndian(content, 8, 4) + m_growth)));
        }
        return type == "mfra" ? std::string() : box(type, std::string(content)); // it names places in the clear film
    }

    static std::string pssh()
    {
        return box("pssh", number(0x01000000) + fromHex("1077efecc0b24d02ace33c1e52e2fb4b") + number(1) +
                               fromHex(kFilmKeyId) + number(0));
    }

    static std::string protection(std::string const& codec)
    {
        std::string const defaults = number(0) + number(0, 2) + number(1, 1) + number(kIvSize, 1) + fromHex(kFilmKeyId);
        return box("sinf", box("frma", codec) + box("schm", number(0) + "cenc" + number(0x10000)) +
                               box("schi", box("tenc", defaults)));
    }

    std::string vectors(std::string_view traf)
    {
        std::size_t const track = bigEndian(contentOf(traf, "tfhd"), 4, 4) - 1;
        std::size_t const count = bigEndian(contentOf(traf, "trun"), 4, 4);
        std::string all;
        for (std::size_t index = 0; index < count; ++index)
        {
            all += m_vectors.at(track).at(m_next[track]++);
        }
        bool const hasSubsamples = m_vectors[track].front().size() > kIvSize;
        return box("senc", number(hasSubsamples ? 2 : 0) + number(count) + all);
    }

    std::vector<std::vector<std::string>> m_vectors;
    std::vector<std::size_t> m_next;
    std::size_t m_growth = 0;
};

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
    return Protector({vectorsOf(source, 0), vectorsOf(source, 1)}).protect(film);
}

} // namespace tz::orvane::test
