// SPDX-License-Identifier: Apache-2.0
// Walks through the boxes of an mp4 file.
#pragma once

#include "byte_source.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tz::orvane::service
{

/// Where the content of a box lies.
struct Mp4Box
{
    std::string type; ///< four characters
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// No box reaches beyond the one that holds it, and of a file made to keep a reader busy only so many are looked at.
class Mp4Boxes
{
public:
    explicit Mp4Boxes(ByteSource const& source)
        : m_source(source)
    {
    }

    /// @return the file as if it were a box
    Mp4Box whole() const { return {{}, 0, m_source.size()}; }

    /// The box that begins at `at`, within `parent`. Sets `at` behind it.
    std::optional<Mp4Box> next(Mp4Box const& parent, std::uint64_t& at);

    /// @return the first child of that type
    std::optional<Mp4Box> find(Mp4Box const& parent, std::string_view type);

    /// Follows types from one box into the next, as "mdia/minf/stbl".
    std::optional<Mp4Box> findPath(Mp4Box const& parent, std::string_view path);

    /// @param most bytes, more are left out
    std::string content(Mp4Box const& box, std::size_t most) const;

    ByteSource const& source() const { return m_source; }

private:
    ByteSource const& m_source;
    int m_left = 20'000;
};

} // namespace tz::orvane::service
