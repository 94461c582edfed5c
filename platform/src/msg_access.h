// SPDX-License-Identifier: Apache-2.0
// The messenger's own view of a message.
#pragma once

#include "frame.h"
#include "orvane/platform/mdt_msg_data.h"

namespace tz::orvane::mdt::detail
{

/// One argument of a message: where its header and its value are.
struct MsgArgument
{
    MsgArgType kind = MsgArgType::none;
    Storage storage = Storage::inlined;
    std::uint32_t length = 0;
    std::size_t offset = 0; ///< of its header in the message's bytes
    std::size_t end = 0;    ///< of its stored bytes
    unsigned char* value = nullptr;
};

struct MsgAccess
{
    static_assert(MsgData::kHeaderRoom == sizeof(FrameHeader));

    static unsigned char const* bytes(MsgData const& msg) { return msg.m_bytes; }

    /// Where the header of a frame goes so that it stands in front of the arguments.
    static unsigned char* headerRoom(MsgData const& msg) { return msg.m_bytes - MsgData::kHeaderRoom; }

    /// @return whether the message lives in a receiver's buffer
    static bool isBorrowed(MsgData const& msg)
    {
        return msg.m_bytes != msg.m_inline + MsgData::kHeaderRoom &&
               (msg.m_heap == nullptr || msg.m_bytes != msg.m_heap.get() + MsgData::kHeaderRoom);
    }

    static std::size_t size(MsgData const& msg) { return msg.m_size; }
    static std::size_t valueBytes(MsgData const& msg) { return msg.m_valueBytes; }
    static int referenceCount(MsgData const& msg) { return msg.m_referenceCount; }

    /// Reads the argument whose header stands at an offset.
    static MsgArgument argumentAt(unsigned char* bytes, std::size_t offset);

    enum class Ownership
    {
        borrowed,    ///< the message refers to the receiver's buffer
        copied,      ///< it may outlive the buffer
        copiedAsOne, ///< the same, where all values are in the frame
    };

    /// Takes over header fields and arguments of a received frame.
    static void assign(MsgData& msg, FrameHeader const& header, unsigned char* arguments, std::size_t size,
                       Ownership ownership);
};

} // namespace tz::orvane::mdt::detail
