// SPDX-License-Identifier: Apache-2.0
// Walks through the boxes of an mp4 file.
#include "mp4_boxes.h"

#include "big_endian.h"

#include <algorithm>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kShortHeader = 8;
constexpr std::size_t kLongHeader = 16;

// Sizes that are none.
constexpr std::uint64_t kToTheEnd = 0;
constexpr std::uint64_t kSizeFollows = 1;

} // namespace

std::optional<Mp4Box> Mp4Boxes::next(Mp4Box const& parent, std::uint64_t& at)
{
    if (at < parent.begin || at >= parent.end || m_left-- <= 0)
    {
        return std::nullopt;
    }
    std::uint64_t const room = parent.end - at;
    std::string const header = m_source.read(at, kLongHeader);
    std::uint64_t size = bigEndian(header, 0, 4);
    bool const isLong = size == kSizeFollows;
    std::size_t const headerSize = isLong ? kLongHeader : kShortHeader;
    if (isLong)
    {
        size = bigEndian(header, kShortHeader, 8);
    }
    else if (size == kToTheEnd)
    {
        size = room;
    }
    if (header.size() < headerSize || size < headerSize || size > room)
    {
        return std::nullopt;
    }
    Mp4Box box{header.substr(4, 4), at + headerSize, at + size};
    at = box.end;
    return box;
}

std::optional<Mp4Box> Mp4Boxes::find(Mp4Box const& parent, std::string_view type)
{
    std::uint64_t at = parent.begin;
    while (auto box = next(parent, at))
    {
        if (box->type == type)
        {
            return box;
        }
    }
    return std::nullopt;
}

std::optional<Mp4Box> Mp4Boxes::findPath(Mp4Box const& parent, std::string_view path)
{
    std::optional<Mp4Box> box = parent;
    while (box && !path.empty())
    {
        std::string_view const type = path.substr(0, path.find('/'));
        box = find(*box, type);
        path.remove_prefix(std::min(path.size(), type.size() + 1));
    }
    return box;
}

std::string Mp4Boxes::content(Mp4Box const& box, std::size_t most) const
{
    return m_source.read(box.begin, static_cast<std::size_t>(std::min<std::uint64_t>(most, box.end - box.begin)));
}

} // namespace tz::orvane::service
