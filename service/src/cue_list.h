// SPDX-License-Identifier: Apache-2.0
// The texts of one subtitle track and their times.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
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

/// Bounded: what a track holds beyond that is left out, and the list says so. Whatever comes in whatever order, taking
/// it is quick.
class CueList
{
public:
    static constexpr std::size_t kMostCues = 20'000;
    static constexpr std::size_t kMostBytes = 4U << 20U;

    /// What keeping a cue takes beside its text, in bytes.
    static constexpr std::size_t kBytesBeside = 256;

    /// What is there at a position, and where that ends in both directions.
    struct Moment
    {
        std::string text;
        std::optional<std::int64_t> from;  ///< the last change at or before the position
        std::optional<std::int64_t> until; ///< the next change behind it
    };

    CueList() = default;
    CueList(CueList const&) = delete;
    CueList& operator=(CueList const&) = delete;
    CueList(CueList&&) = default;
    CueList& operator=(CueList&&) = default;
    ~CueList() = default;

    /// Takes a cue in any order; one that is there already only once.
    /// @param room by how much its weight may grow at most @return false when it is full
    bool add(Cue cue, std::size_t room = SIZE_MAX);

    /// @return whether something was left out
    bool overflowed() const { return m_overflowed; }

    /// Texts that overlap stand below each other, in the order of their beginnings.
    Moment at(std::int64_t position) const;

    bool empty() const { return m_cues.empty(); }

    /// @return roughly how much memory it takes, in bytes
    std::size_t weight() const { return m_bytes + m_cues.size() * kBytesBeside; }

    /// @return all of them by their start
    std::vector<Cue> cues() const { return {m_cues.begin(), m_cues.end()}; }

private:
    struct Earlier
    {
        bool operator()(Cue const& one, Cue const& other) const { return one.start < other.start; }
    };

    struct Differs
    {
        bool operator()(Cue const* one, Cue const* other) const;
    };

    std::multiset<Cue, Earlier> m_cues; ///< of one start in the order of their arrival
    std::set<Cue const*, Differs> m_known;
    std::size_t m_bytes = 0; ///< of texts
    bool m_overflowed = false;
};

} // namespace tz::orvane::service
