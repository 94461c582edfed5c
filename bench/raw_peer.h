// SPDX-License-Identifier: Apache-2.0
// The floor's other end, and what the two say to each other.
#pragma once

#include "bench/workload.h"

#include <array>
#include <cstdint>

namespace tz::orvane::bench
{

/// One end of all socket pairs.
struct RawSockets
{
    std::array<int, kThreads> packets;
    std::array<int, kThreads> streams;

    void closeAll() const;
};

enum class RawKind : std::uint32_t
{
    nothing, ///< to be received
    ping,    ///< to be answered
    events,  ///< asks for `count` of them
    block,   ///< `count` bytes of a block follow, in this packet or on this stream
    blockToLookAt,
};

struct RawMessage
{
    RawKind kind;
    std::uint32_t count;
    std::int64_t sent; ///< nanoseconds
    unsigned char rest[kNumberBytes - 16];
};
static_assert(sizeof(RawMessage) == kNumberBytes);

/// Serves every socket on a thread of its own until the other ends are closed. @return an exit status
int serveRaw(RawSockets const& sockets);

/// Ends the process when a call on a socket failed.
void requireRaw(bool sound, char const* what);

} // namespace tz::orvane::bench
