// SPDX-License-Identifier: Apache-2.0
// The texts of one subtitle track and their times.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::service
{

/// A text and the time for which it is shown, in milliseconds of the medium.
struct Cue
{
    static constexpr std::int64_t kUntilNext = -1;

    std::int64_t start = 0;
    std::int64_t end = kUntilNext; ///< exclusive
    std::string text;              ///< plain; empty: takes away an open one
};

/// Bounded: what a track holds beyond that is left out, and the list says so.
class CueList
{
public:
    static constexpr std::size_t kMostCues = 20'000;
    static constexpr std::size_t kMostBytes = 4U << 20U;

    /// What is there at a position, and where that ends in both directions.
    struct Moment
    {
        std::string text;
        std::optional<std::int64_t> from;  ///< the last change at or before the position
        std::optional<std::int64_t> until; ///< the next change behind it
    };

    /// Takes a cue in any order; one that is there already only once. @return false when it is full
    bool add(Cue cue);

    /// Takes all cues of another list, and what that has left out is left out of this one as well.
    void add(CueList const& other);

    /// @return whether something was left out
    bool overflowed() const { return m_overflowed; }

    /// Texts that overlap stand below each other, in the order of their beginnings.
    Moment at(std::int64_t position) const;

    bool empty() const { return m_cues.empty(); }
    std::vector<Cue> const& cues() const { return m_cues; }

private:
    std::vector<Cue> m_cues; ///< by their start
    std::size_t m_bytes = 0;
    bool m_overflowed = false;
};

} // namespace tz::orvane::service
