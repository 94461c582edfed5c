// SPDX-License-Identifier: Apache-2.0
// Turns a message into one frame, sent at once and without copying its arguments.
#pragma once

#include "frame.h"
#include "msg_access.h"
#include "unique_fd.h"

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <vector>

namespace tz::orvane::mdt
{

/// A frame on its way. Refers to the message, which must stay until it is sent.
class FrameWriter
{
public:
    FrameWriter(FrameKind kind, MsgData const& msg);
    FrameWriter(FrameWriter const&) = delete;
    FrameWriter& operator=(FrameWriter const&) = delete;

    FrameHeader& header() { return *m_header; }

    /// Decides what travels in the frame and what outside of it: the largest values go out until the rest fits.
    /// @return 0, or -EMSGSIZE
    int plan();

    /// A value that travels outside of the frame; whoever places it sets storage and place.
    struct OutOfLine
    {
        void const* data;
        std::uint32_t length;
        Storage storage;
        std::uint64_t place; ///< position in the ring, or index of the descriptor
    };

    int outOfLineCount() const { return m_outOfLineCount; }
    OutOfLine& outOfLine(int index) { return m_outOfLine[index]; }

    /// Moves a value into a descriptor of its own. @return 0 or a negative errno value
    int placeInDescriptor(OutOfLine& value);

    /// Adds a descriptor to the frame; it stays the caller's. @return its index
    int addDescriptor(int fd);

    /// Bytes of the frame on the socket.
    std::size_t size() const { return m_header->size; }

    /// Sends the frame, whole or not at all. @return bytes sent or a negative errno value
    ssize_t send(int socket, int flags);

    /// The frame as one piece, for a socket that has no room now.
    std::vector<unsigned char> flatten();

    /// The descriptors of the frame, duplicated. @return 0 or a negative errno value
    int duplicateDescriptors(std::vector<platform::UniqueFd>& descriptors) const;

private:
    int planPatches();
    void assemble();
    void addPart(void const* data, std::size_t bytes);

    struct Patch
    {
        ArgHeader header;
        std::uint64_t place;
        std::size_t offset; ///< of the argument in the message
        std::size_t end;
        unsigned char const* value;
        int outOfLine; ///< index, or -1 for a value inside the frame that is not inside the message
    };

    static constexpr int kMaxParts = 2 + 4 * (kMaxReferences + kMaxOutOfLine);

    MsgData const& m_msg;
    FrameHeader* m_header; ///< in front of the arguments; a received message has its own there, which is spent
    Patch m_patches[kMaxReferences + kMaxOutOfLine];
    OutOfLine m_outOfLine[kMaxOutOfLine];
    std::vector<platform::UniqueFd> m_blocks; ///< that this frame has made
    int m_descriptors[kMaxDescriptors];
    int m_patchCount = 0;
    int m_outOfLineCount = 0;
    iovec m_parts[kMaxParts];
    int m_partCount = 0;
};

/// Sends bytes and descriptors as one frame. @return bytes sent or a negative errno value
ssize_t sendFrame(int socket, iovec* parts, int partCount, int const* descriptors, int descriptorCount, int flags);

} // namespace tz::orvane::mdt
