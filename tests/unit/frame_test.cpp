// SPDX-License-Identifier: Apache-2.0
// Frames: what the reader accepts, and that it never looks outside of one.
#include "platform/src/frame_reader.h"
#include "platform/src/frame_writer.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <vector>

using namespace tz::orvane::mdt;
using tz::orvane::platform::UniqueFd;

namespace
{

std::vector<unsigned char> goodFrame()
{
    MsgData msg(0x1001, 0x2001, 0xC203, 1);
    msg.writeString("/media/clip.mp4");
    msg.writeData("PR0000ED", 9);
    msg.writeUInt32(1);
    FrameWriter frame(FrameKind::command, msg);
    EXPECT_EQ(frame.plan(), 0);
    return frame.flatten();
}

// In a buffer of exactly its size, so that the address sanitizer sees a look behind it.
char const* check(std::vector<unsigned char> const& frame)
{
    std::unique_ptr<unsigned char[]> exact(new unsigned char[frame.size()]);
    std::copy(frame.begin(), frame.end(), exact.get());
    return checkFrame(exact.get(), frame.size(), 0);
}

template <class T> void put(std::vector<unsigned char>& frame, std::size_t offset, T value)
{
    std::memcpy(frame.data() + offset, &value, sizeof value);
}

} // namespace

TEST(Frame, wellFormedOneIsAccepted)
{
    EXPECT_EQ(check(goodFrame()), nullptr);
}

TEST(Frame, everyTruncationIsRefused)
{
    std::vector<unsigned char> const whole = goodFrame();
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        std::vector<unsigned char> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_NE(check(cut), nullptr) << length;
        if (length >= sizeof(FrameHeader))
        {
            put<std::uint32_t>(cut, offsetof(FrameHeader, size), static_cast<std::uint32_t>(length));
            EXPECT_NE(check(cut), nullptr) << "with its size made to fit: " << length;
        }
    }
}

TEST(Frame, everyWrongFieldHasItsReason)
{
    struct Case
    {
        std::size_t offset;
        std::uint32_t value;
        char const* reason;
    };
    constexpr std::size_t kFirstArgument = sizeof(FrameHeader);
    Case const cases[] = {
        {offsetof(FrameHeader, magic), 0, "bad magic"},
        {offsetof(FrameHeader, version), 0x00030002, "unknown version"},
        {offsetof(FrameHeader, version), 0x00080001, "unknown kind of frame"},
        {offsetof(FrameHeader, version), 0x00000001, "unknown kind of frame"},
        {offsetof(FrameHeader, size), 0, "size does not add up"},
        {offsetof(FrameHeader, size), 0xFFFFFFFF, "size does not add up"},
        {offsetof(FrameHeader, argCount), 65, "too many arguments"},
        {offsetof(FrameHeader, argCount), 4, "argument outside of the frame"},
        {offsetof(FrameHeader, argCount), 2, "bytes behind the last argument"},
        {offsetof(FrameHeader, descriptorCount), 1, "descriptors do not add up"},
        {kFirstArgument, 0, "unknown kind of argument"},
        {kFirstArgument, 7, "unknown kind of argument"},
        {kFirstArgument, 0x00000304, "unknown kind of argument"},
        {kFirstArgument + 4, 0x7FFFFFFF, "message too long"},
        {kFirstArgument + 4, 0xFFFFFFFF, "message too long"},
        {kFirstArgument + 4, 4096, "argument outside of the frame"},
    };
    for (Case const& c : cases)
    {
        std::vector<unsigned char> frame = goodFrame();
        put(frame, c.offset, c.value);
        char const* const reason = check(frame);
        ASSERT_NE(reason, nullptr) << c.reason;
        EXPECT_STREQ(reason, c.reason);
    }
}

TEST(Frame, mutationsNeverLeaveTheFrame)
{
    std::mt19937 random(20260101);
    for (int round = 0; round < 200'000; ++round)
    {
        std::vector<unsigned char> frame = goodFrame();
        for (int changes = static_cast<int>(random() % 4) + 1; changes > 0; --changes)
        {
            frame[random() % frame.size()] = static_cast<unsigned char>(random());
        }
        if (check(frame) == nullptr)
        {
            FrameHeader header;
            std::memcpy(&header, frame.data(), sizeof header);
            std::size_t end = sizeof header;
            for (std::uint32_t i = 0; i < header.argCount; ++i)
            {
                end = detail::MsgAccess::argumentAt(frame.data(), end).end;
            }
            ASSERT_EQ(end, frame.size());
        }
    }
}

TEST(Frame, valuesTravelWholeWhateverTheirSize)
{
    int sockets[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets), 0);
    UniqueFd const sender(sockets[0]);
    UniqueFd const receiver(sockets[1]);
    for (int size : {0, 1, 7, 8, 9, 60'000, 65'000, 65'473, 65'536, 1 << 20, 9 << 20})
    {
        std::string block(static_cast<std::size_t>(size), 'b');
        for (std::size_t i = 0; i < block.size(); ++i)
        {
            block[i] = static_cast<char>(i * 31 + i / 4096);
        }
        MsgData msg(1, 2, 3, 4);
        msg.writeUInt32(42);
        msg.writeBlockData(block.data(), size);
        msg.writeString("behind");
        FrameWriter frame(FrameKind::event, msg);
        ASSERT_EQ(frame.plan(), 0);
        EXPECT_LE(frame.size(), kMaxFrameBytes);
        for (int i = 0; i < frame.outOfLineCount(); ++i)
        {
            ASSERT_EQ(frame.placeInDescriptor(frame.outOfLine(i)), 0);
        }
        ASSERT_EQ(frame.send(sender.get(), 0), static_cast<ssize_t>(frame.size()));

        FrameReader reader;
        ASSERT_EQ(reader.receive(receiver.get()), static_cast<ssize_t>(frame.size())) << reader.reason();
        ASSERT_TRUE(reader.resolve(nullptr)) << reader.reason();
        for (bool own : {false, true})
        {
            MsgData got;
            reader.fill(got, own);
            void* data = nullptr;
            int length = 0;
            ASSERT_EQ(got.read(1, &data, &length), 0);
            EXPECT_EQ(length, size);
            EXPECT_EQ(std::memcmp(data, block.data(), block.size()), 0) << size;
            EXPECT_STREQ(static_cast<char const*>(got.read(2)), "behind");
            EXPECT_EQ(*static_cast<unsigned const*>(got.read(0)), 42u);
        }
        reader.finish(nullptr);
    }
}

TEST(Frame, aRingPlaceOutsideOfTheRingIsRefused)
{
    UniqueFd memory;
    ASSERT_EQ(SharedRing::create(memory), 0);
    SharedRing writer;
    SharedRing reader;
    ASSERT_EQ(writer.attach(memory.get()), 0);
    ASSERT_EQ(reader.attach(memory.get()), 0);
    EXPECT_NE(reader.block(0, 100), nullptr);
    EXPECT_EQ(reader.block(SharedRing::kBytes - 8, 100), nullptr) << "over the end";
    EXPECT_EQ(reader.block(0xFFFFFF00u, 8), nullptr) << "behind the reader";
    EXPECT_EQ(reader.block(0, 0xFFFFFFF0u), nullptr);
    EXPECT_EQ(reader.block(SharedRing::kBytes, 8), nullptr) << "further than a full ring";
    EXPECT_EQ(reader.block(8, SharedRing::kBytes), nullptr);
}

TEST(Frame, aRingIsFullUntilItsReaderReleases)
{
    UniqueFd memory;
    ASSERT_EQ(SharedRing::create(memory), 0);
    SharedRing writer;
    SharedRing reader;
    ASSERT_EQ(writer.attach(memory.get()), 0);
    ASSERT_EQ(reader.attach(memory.get()), 0);
    std::vector<unsigned char> const block(3u << 20, 7);
    auto const length = static_cast<std::uint32_t>(block.size());
    std::uint32_t places[3] = {};
    for (int round = 0; round < 3000; ++round) // far enough for the positions to pass 2^32
    {
        ASSERT_TRUE(writer.reserve(length, places[0]));
        writer.commit(places[0], length);
        ASSERT_TRUE(writer.reserve(length, places[1])) << round;
        writer.commit(places[1], length);
        ASSERT_FALSE(writer.reserve(length, places[2])) << round;
        for (int i = 0; i < 2; ++i)
        {
            ASSERT_NE(reader.block(places[i], length), nullptr);
            reader.release(places[i], length);
        }
    }
}

TEST(Frame, memoryThatCouldShrinkIsRefused)
{
    UniqueFd unsealed(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    ASSERT_EQ(::ftruncate(unsealed.get(), 4096 + SharedRing::kBytes), 0);
    SharedRing ring;
    EXPECT_LT(ring.attach(unsealed.get()), 0);
    Mapping mapping;
    EXPECT_LT(mapBlock(mapping, unsealed.get(), 4096 + SharedRing::kBytes), 0);
    UniqueFd block;
    ASSERT_EQ(createBlock(block, "abc", 3), 0);
    EXPECT_LT(mapBlock(mapping, block.get(), 4), 0) << "larger than it is";
    EXPECT_EQ(mapBlock(mapping, block.get(), 3), 0);
}
