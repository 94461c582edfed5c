// SPDX-License-Identifier: Apache-2.0
// What is sent: sizes and counts that the messenger and the floor have in common.
#pragma once

#include "platform/src/frame.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tz::orvane::bench
{

inline constexpr int kThreads = 4; ///< the most that a figure uses

// The floor's messages are as long as the messenger's frames.
inline constexpr std::size_t kQueryBytes = sizeof(mdt::FrameHeader);
inline constexpr std::size_t kNumberBytes = kQueryBytes + sizeof(mdt::ArgHeader) + sizeof(std::uint64_t);
inline constexpr std::size_t kFrameBytes = mdt::kMaxFrameBytes;

/// Posts and events per timed burst: a socket takes them without waiting.
inline constexpr int kBurst = 100;

inline constexpr std::size_t kLargestBlock = 4u << 20;

/// What bulk figures send.
struct Block
{
    std::size_t bytes;
    bool looksAtIt; ///< whether the receiver does more than to have it in its memory
};

/// Blocks per timed burst: some megabytes, so that buffers fill and the slower side sets the pace.
constexpr int blocksPerBurst(Block const& block)
{
    return block.bytes < (1u << 20) ? 64 : static_cast<int>((16u << 20) / block.bytes);
}

/// Reads a word of every cache line.
inline void lookAt(void const* data, std::size_t bytes)
{
    static std::atomic<std::uint64_t> s_seen{0};
    std::uint64_t sum = 0;
    auto const* const from = static_cast<unsigned char const*>(data);
    for (std::size_t i = 0; i + sizeof sum <= bytes; i += 64)
    {
        std::uint64_t word = 0;
        std::memcpy(&word, from + i, sizeof word);
        sum += word;
    }
    s_seen.store(sum, std::memory_order_relaxed);
}

} // namespace tz::orvane::bench
