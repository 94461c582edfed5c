// SPDX-License-Identifier: Apache-2.0
// Says in a film in fragments how its samples are protected.
#include "support/film_protection.h"

#include "support/protected_film.h"

#include <utility>

namespace tz::orvane::test
{

std::size_t bigEndian(std::string_view bytes, std::size_t at, std::size_t size)
{
    std::size_t value = 0;
    for (char const byte : bytes.substr(at, size))
    {
        value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
}

std::string number(std::size_t value, std::size_t size)
{
    std::string bytes;
    while (size-- > 0)
    {
        bytes += static_cast<char>(value >> (8 * size));
    }
    return bytes;
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

std::string_view contentOf(std::string_view boxes, std::string_view type, int skip)
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

namespace
{

std::string box(std::string const& type, std::string const& content)
{
    return number(content.size() + 8) + type + content;
}

/// Writes the boxes of a film anew, with all that tells of its protection.
class Protector
{
public:
    Protector(std::string scheme, std::vector<TrackProtection> const& tracks)
        : m_scheme(std::move(scheme))
        , m_tracks(tracks)
        , m_next(tracks.size())
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
        if (type == "trak")
        {
            ++m_described;
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

    std::string protection(std::string const& codec) const
    {
        return box("sinf", box("frma", codec) + box("schm", number(0) + m_scheme + number(0x10000)) +
                               box("schi", box("tenc", m_tracks.at(m_described - 1).defaults)));
    }

    std::string vectors(std::string_view traf)
    {
        std::size_t const track = bigEndian(contentOf(traf, "tfhd"), 4, 4) - 1;
        std::size_t const count = bigEndian(contentOf(traf, "trun"), 4, 4);
        TrackProtection const& protection = m_tracks.at(track);
        if (protection.samples.empty())
        {
            return {};
        }
        std::string all;
        for (std::size_t index = 0; index < count; ++index)
        {
            all += protection.samples.at(m_next[track]++);
        }
        return box("senc", number(protection.hasSubsamples ? 2 : 0) + number(count) + all);
    }

    std::string m_scheme;
    std::vector<TrackProtection> const& m_tracks;
    std::vector<std::size_t> m_next;
    std::size_t m_described = 0; ///< tracks
    std::size_t m_growth = 0;
};

} // namespace

std::string describeProtection(std::string_view film, std::string const& scheme,
                               std::vector<TrackProtection> const& tracks)
{
    return Protector(scheme, tracks).protect(film);
}

} // namespace tz::orvane::test
