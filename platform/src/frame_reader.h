// SPDX-License-Identifier: Apache-2.0
// Receives frames and believes nothing of them.
#pragma once

#include "frame.h"
#include "msg_access.h"
#include "shared_ring.h"
#include "unique_fd.h"

#include <cstddef>
#include <memory>
#include <sys/types.h>
#include <vector>

namespace tz::orvane::mdt
{

/// Checks header and arguments of a frame without looking outside of it.
/// @param[out] whole when it is well-formed: whether all of its values are in it
/// @return null when it is well-formed, else what is wrong with it
char const* checkFrame(unsigned char const* frame, std::size_t bytes, std::size_t descriptors, bool* whole = nullptr);

/// The receiving side of one socket: a buffer, the frame in it and what came with it. One thread at a time.
class FrameReader
{
public:
    FrameReader();

    /// Receives one frame.
    /// @param wait as long as the socket's own receive timeout says, or until a signal; otherwise never
    /// @return bytes; 0 at the end of the connection; -EAGAIN when there is nothing for the caller (yet); -EPROTO for a
    /// malformed frame, whose fault `reason` then names; another negative errno value
    ssize_t receive(int socket, bool wait = false);

    /// From now on frames bring no descriptors before one announces them: receiving costs less then, and the kernel
    /// closes those that come all the same.
    void awaitAnnouncement() { m_descriptorsMayCome = false; }

    /// @return how many frames have been received, sound or not
    std::uint32_t frameCount() const { return m_frameCount; }

    char const* reason() const { return m_reason; }
    FrameHeader const& header() const
    {
        return *static_cast<FrameHeader const*>(static_cast<void const*>(m_buffer.get()));
    }
    FrameKind kind() const { return static_cast<FrameKind>(header().kind); }

    /// Takes a descriptor that came with the frame.
    platform::UniqueFd takeDescriptor(std::size_t index);
    std::size_t descriptorCount() const { return m_descriptors.size(); }

    /// Finds the values that travelled outside of the frame. Blocks stay in shared memory; everything else is copied
    /// out of it, because it will be parsed.
    /// @param ring of this direction, null when it has none
    /// @return false when a place is not where the sender may write, as `reason` then says, or memory is short
    bool resolve(SharedRing* ring) { return m_whole || locateValues(ring); }

    /// @return whether the frame is sound, but `resolve` found no memory for its values
    bool lacksMemory() const { return !m_whole && m_lacksMemory; }

    /// Fills a message from the frame; see MsgAccess::assign.
    /// @return 0, or -ENOMEM when there is no memory for what the message is to own
    int fill(MsgData& msg, bool own);

    /// Gives up what the frame occupied: ring, mappings, copies. The message filled from it must not be read any more
    /// unless it owns its bytes.
    void finish(SharedRing* ring)
    {
        if (!m_whole || !m_descriptors.empty())
        {
            release(ring);
        }
    }

private:
    unsigned char* arguments() const { return m_buffer.get() + sizeof(FrameHeader); }
    bool locateValues(SharedRing* ring);
    bool locateEach(SharedRing* ring);
    void release(SharedRing* ring);
    unsigned char* locate(detail::MsgArgument const& argument, SharedRing* ring);
    bool fail(char const* reason);
    ssize_t receiveWithDescriptors(int socket, int flags);

    std::unique_ptr<unsigned char[]> m_buffer;
    std::vector<platform::UniqueFd> m_descriptors;
    std::vector<Mapping> m_mappings;
    std::vector<std::unique_ptr<unsigned char[]>> m_copies;
    bool m_descriptorsMayCome = true;
    std::uint32_t m_frameCount = 0;
    char const* m_reason = "";
    bool m_whole = true; ///< nothing of the frame is elsewhere
    bool m_lacksMemory = false;
    bool m_ringUsed = false;
    std::uint32_t m_ringPosition = 0;
    std::uint32_t m_ringLength = 0;
};

} // namespace tz::orvane::mdt
