// SPDX-License-Identifier: Apache-2.0
// Feeds bytes to the receiving side of the messenger and reads whatever it lets through.
#include "platform/src/frame_reader.h"
#include "platform/src/frame_writer.h"
#include "platform/src/shared_ring.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>

using namespace tz::orvane::mdt;
using tz::orvane::platform::UniqueFd;

namespace
{

/// A connection to itself, with a ring whose content is as foreign as the frames.
struct Wire
{
    Wire()
    {
        int sockets[2];
        UniqueFd memory;
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0 || SharedRing::create(memory) != 0 ||
            ring.attach(memory.get()) != 0)
        {
            std::abort();
        }
        near.reset(sockets[0]);
        far.reset(sockets[1]);
    }

    UniqueFd near;
    UniqueFd far;
    SharedRing ring;
    FrameReader reader;
};

// Looks at every byte that a reader of the message may look at.
unsigned readAll(MsgData& msg)
{
    unsigned sum = 0;
    for (int i = 0; i < msg.argCount(); ++i)
    {
        void* data = nullptr;
        int size = 0;
        if (msg.read(i, &data, &size) != 0)
        {
            continue;
        }
        if (size != msg.argSize(i))
        {
            std::abort();
        }
        for (int k = 0; k < size; ++k)
        {
            sum += static_cast<unsigned char const*>(data)[k];
        }
        if (msg.argType(i) == MsgArgType::string)
        {
            sum += static_cast<unsigned>(std::strlen(static_cast<char const*>(data)));
        }
    }
    unsigned number = 0;
    long long large = 0;
    char buffer[64];
    for (int i = 0; i < msg.argCount(); ++i)
    {
        sum += msg.readUInt32(number) == 0 ? number : 0;
        sum += msg.readSInt64(large) == 0 ? 1u : 0u;
        sum += msg.readData(buffer, sizeof buffer) == 0 ? 1u : 0u;
    }
    return sum;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static Wire wire;
    if (size == 0 || ::send(wire.near.get(), data, size, MSG_DONTWAIT | MSG_NOSIGNAL) != static_cast<ssize_t>(size))
    {
        return 0;
    }
    bool const wellFormed = wire.reader.receive(wire.far.get()) > 0;
    if (wellFormed != (size <= kMaxFrameBytes && checkFrame(data, size, 0) == nullptr))
    {
        std::abort();
    }
    if (wellFormed && wire.reader.resolve(&wire.ring))
    {
        MsgData borrowed;
        MsgData owned;
        wire.reader.fill(borrowed, false);
        wire.reader.fill(owned, true);
        if (readAll(borrowed) != readAll(owned))
        {
            std::abort();
        }
    }
    wire.reader.finish(&wire.ring);
    return 0;
}
