// SPDX-License-Identifier: Apache-2.0
// The wire format: what a frame looks like on a socket.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tz::orvane::mdt
{

// Little-endian, fixed widths, everything on 8-byte boundaries: 32-bit and 64-bit processes read the same.

inline constexpr std::uint32_t kFrameMagic = 0x54444D4F; // "OMDT"
inline constexpr std::uint16_t kFrameVersion = 1;

enum class FrameKind : std::uint16_t
{
    hello = 1,      ///< opens a connection; brings event socket and rings
    helloReply = 2, ///< status, and the cnid as pid
    command = 3,
    query = 4,
    reply = 5,
    event = 6,
    descriptorsFollow = 7, ///< from now on frames of a command socket may bring descriptors; once for each direction
};

struct FrameHeader
{
    std::uint32_t magic;
    std::uint16_t version;
    std::uint16_t kind;
    std::uint32_t size; ///< bytes of the frame on the socket, this header included
    std::uint32_t argCount;
    std::int32_t pid;
    std::int32_t uid;
    std::int32_t msg;
    std::int32_t type;
    std::int32_t status; ///< of a reply; negative when the service refuses
    std::uint32_t descriptorCount;
    std::uint64_t call;     ///< pairs a reply with its query; never 0 there
    std::uint64_t sequence; ///< counts replies and events of one connection together
    std::uint64_t reserved;
};
static_assert(sizeof(FrameHeader) == 64);

/// Where the bytes of an argument are.
enum class Storage : std::uint8_t
{
    inlined = 0,   ///< behind this header, padded to 8 bytes
    ring = 1,      ///< in the ring of this direction; a position follows
    memfd = 2,     ///< in a descriptor that came with the frame; its index follows
    reference = 3, ///< in memory, inside a process only; an address follows
};

struct ArgHeader
{
    std::uint8_t kind; ///< MsgArgType
    Storage storage;
    std::uint16_t reserved;
    std::uint32_t length; ///< bytes of the value
};
static_assert(sizeof(ArgHeader) == 8);

inline constexpr std::size_t kMaxFrameBytes = 64 * 1024;
inline constexpr std::size_t kMaxMessageBytes = 64u << 20;
inline constexpr int kMaxArguments = 64;
inline constexpr int kMaxReferences = 4;  ///< blocks of a message that are not copied into it
inline constexpr int kMaxOutOfLine = 8;   ///< arguments of a frame that travel outside of it
inline constexpr int kMaxDescriptors = 8; ///< of a frame

inline constexpr std::size_t kAlignment = 8; ///< of everything in a frame

constexpr std::size_t padded(std::size_t bytes)
{
    return (bytes + kAlignment - 1) & ~(kAlignment - 1);
}

} // namespace tz::orvane::mdt
