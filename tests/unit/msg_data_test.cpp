// SPDX-License-Identifier: Apache-2.0
// Messages: writing, reading back, bounds.
#include "orvane/platform/mdt_msg_data.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using tz::orvane::mdt::MsgArgType;
using tz::orvane::mdt::MsgData;

TEST(MsgData, startsEmptyWithZeroFields)
{
    MsgData msg;
    EXPECT_EQ(msg.readPid(), 0);
    EXPECT_EQ(msg.readUid(), 0);
    EXPECT_EQ(msg.readMsg(), 0);
    EXPECT_EQ(msg.readType(), 0);
    EXPECT_EQ(msg.argCount(), 0);
    EXPECT_EQ(msg.read(0), nullptr);
    EXPECT_EQ(msg.argType(0), MsgArgType::none);
    EXPECT_EQ(msg.argSize(0), 0);
}

TEST(MsgData, keepsTheFourHeaderFields)
{
    MsgData built(0x1001, 0x2002, 0xA105, 2);
    MsgData filled;
    filled.writePid(0x1001);
    filled.writeUid(0x2002);
    filled.writeMsg(0xA105);
    filled.writeType(2);
    for (MsgData const* msg : {&built, &filled})
    {
        EXPECT_EQ(msg->readPid(), 0x1001);
        EXPECT_EQ(msg->readUid(), 0x2002);
        EXPECT_EQ(msg->readMsg(), 0xA105);
        EXPECT_EQ(msg->readType(), 2);
    }
}

TEST(MsgData, readsInOrderWhatWasWritten)
{
    MsgData msg;
    char block[] = "block";
    EXPECT_EQ(msg.writeUInt32(0xFFFFFFFFu), 0);
    EXPECT_EQ(msg.writeSInt32(-5), 0);
    EXPECT_EQ(msg.writeSInt64(-6'000'000'000LL), 0);
    EXPECT_EQ(msg.writeString("text"), 0);
    EXPECT_EQ(msg.writeData("data", 4), 0);
    EXPECT_EQ(msg.writeBlockData(block, 5), 0);

    unsigned int number = 0;
    int signedNumber = 0;
    long long large = 0;
    char data[4] = {};
    char* bytes = nullptr;
    int size = 0;
    EXPECT_EQ(msg.readUInt32(number), 0);
    EXPECT_EQ(number, 0xFFFFFFFFu);
    EXPECT_EQ(msg.readSInt32(signedNumber), 0);
    EXPECT_EQ(signedNumber, -5);
    EXPECT_EQ(msg.readSInt64(large), 0);
    EXPECT_EQ(large, -6'000'000'000LL);
    EXPECT_EQ(msg.readBlockData(&bytes, size), 0);
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(size)), std::string("text\0", 5));
    EXPECT_EQ(msg.readData(data, 4), 0);
    EXPECT_EQ(std::memcmp(data, "data", 4), 0);
    EXPECT_EQ(msg.readBlockData(&bytes, size), 0);
    EXPECT_EQ(bytes, block) << "a block is not copied into the message";
    EXPECT_EQ(size, 5);
    EXPECT_EQ(msg.readUInt32(number), -EPROTO);
}

TEST(MsgData, thirtyTwoBitReadersTakeBothKinds)
{
    MsgData msg;
    msg.writeSInt32(-1);
    msg.writeUInt32(7);
    unsigned int number = 0;
    int signedNumber = 0;
    EXPECT_EQ(msg.readUInt32(number), 0);
    EXPECT_EQ(number, 0xFFFFFFFFu);
    EXPECT_EQ(msg.readSInt32(signedNumber), 0);
    EXPECT_EQ(signedNumber, 7);
}

TEST(MsgData, readerOfAnotherKindFailsAndStaysWhereItIs)
{
    MsgData msg;
    msg.writeString("x");
    msg.writeSInt64(1);
    unsigned int number = 77;
    long long large = 77;
    char data[2] = {'a', 'b'};
    EXPECT_EQ(msg.readUInt32(number), -EPROTO);
    EXPECT_EQ(msg.readSInt64(large), -EPROTO);
    EXPECT_EQ(msg.readData(data, 2), -EPROTO);
    EXPECT_EQ(number, 77u);
    EXPECT_EQ(large, 77);
    char* bytes = nullptr;
    int size = 0;
    EXPECT_EQ(msg.readBlockData(&bytes, size), 0);
    EXPECT_EQ(msg.readUInt32(number), -EPROTO) << "64 bits are not 32";
    EXPECT_EQ(msg.readSInt64(large), 0);
}

TEST(MsgData, shortDataFillsWhatIsThere)
{
    MsgData msg;
    msg.writeData("abc", 3);
    char data[6] = "xxxxx";
    EXPECT_EQ(msg.readData(data, 5), -EPROTO);
    EXPECT_STREQ(data, "abcxx");
}

TEST(MsgData, indexedReadMovesTheSequentialPositionBehindIt)
{
    MsgData msg;
    char block[] = "frame";
    msg.writeUInt32(1);
    msg.writeUInt32(2);
    msg.writeBlockData(block, 5);
    ASSERT_NE(msg.read(0), nullptr);
    ASSERT_NE(msg.read(1), nullptr);
    char* bytes = nullptr;
    int size = 0;
    EXPECT_EQ(msg.readBlockData(&bytes, size), 0);
    EXPECT_EQ(bytes, block);
    unsigned int number = 0;
    ASSERT_NE(msg.read(0), nullptr);
    EXPECT_EQ(msg.readUInt32(number), 0);
    EXPECT_EQ(number, 2u);
}

TEST(MsgData, indexedReadGivesAlignedBytesOfEveryKind)
{
    MsgData msg;
    char block[9] = "12345678";
    msg.writeData("x", 1);
    msg.writeUInt32(0x11223344);
    msg.writeString("abc");
    msg.writeSInt64(-1);
    msg.writeBlockData(block, 8);
    for (int i : {4, 0, 3, 1, 2})
    {
        ASSERT_NE(msg.read(i), nullptr) << i;
        if (i != 4)
        {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(msg.read(i)) % 8, 0u) << i;
        }
    }
    EXPECT_EQ(*static_cast<unsigned const*>(msg.read(1)), 0x11223344u);
    EXPECT_STREQ(static_cast<char const*>(msg.read(2)), "abc");
    EXPECT_EQ(msg.argSize(2), 4) << "the end of a text counts";
    EXPECT_EQ(msg.read(5), nullptr);
    EXPECT_EQ(msg.read(-1), nullptr);
    void* data = nullptr;
    EXPECT_EQ(msg.read(4, &data, nullptr), 0) << "the size is not wanted by everybody";
    EXPECT_EQ(data, block);
    int size = 0;
    EXPECT_EQ(msg.read(0, &data, &size), 0);
    EXPECT_EQ(size, 1);
    EXPECT_EQ(msg.read(9, &data, &size), -EPROTO);
}

TEST(MsgData, emptyArgumentsKeepTheirPlace)
{
    MsgData msg;
    msg.writeData(nullptr, 0);
    msg.writeData(nullptr, 12);
    msg.writeBlockData(nullptr, 5);
    char nothing = 0;
    msg.writeBlockData(&nothing, -1);
    msg.writeString("");
    msg.writeUInt32(9);
    ASSERT_EQ(msg.argCount(), 6);
    void* data = nullptr;
    int size = -1;
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(msg.read(i, &data, &size), 0) << i;
        EXPECT_EQ(size, 0) << i;
    }
    EXPECT_STREQ(static_cast<char const*>(msg.read(4)), "");
    EXPECT_EQ(*static_cast<unsigned const*>(msg.read(5)), 9u);
}

TEST(MsgData, textEndsAtItsFirstNul)
{
    MsgData msg;
    msg.writeString(std::string("ab\0cd", 5));
    EXPECT_EQ(msg.argSize(0), 3);
    EXPECT_STREQ(static_cast<char const*>(msg.read(0)), "ab");
}

TEST(MsgData, growsBeyondItsInnerBuffer)
{
    MsgData msg;
    std::vector<std::string> values;
    for (int i = 0; i < 20; ++i)
    {
        values.emplace_back(static_cast<std::size_t>(i * 300), static_cast<char>('a' + i));
        EXPECT_EQ(msg.writeData(values.back().data(), static_cast<unsigned short>(values.back().size())), 0);
    }
    for (int i = 19; i >= 0; --i)
    {
        void* data = nullptr;
        int size = 0;
        ASSERT_EQ(msg.read(i, &data, &size), 0);
        EXPECT_EQ(std::string(static_cast<char*>(data), static_cast<std::size_t>(size)),
                  values[static_cast<std::size_t>(i)]);
    }
}

TEST(MsgData, manyBlocksAreAllKept)
{
    MsgData msg;
    std::vector<std::string> blocks;
    for (int i = 0; i < 10; ++i)
    {
        blocks.emplace_back(1000, static_cast<char>('0' + i));
    }
    for (std::string& block : blocks)
    {
        EXPECT_EQ(msg.writeBlockData(block.data(), static_cast<int>(block.size())), 0);
    }
    for (int i = 0; i < 10; ++i)
    {
        void* data = nullptr;
        int size = 0;
        ASSERT_EQ(msg.read(i, &data, &size), 0);
        EXPECT_EQ(std::string(static_cast<char*>(data), static_cast<std::size_t>(size)),
                  blocks[static_cast<std::size_t>(i)]);
    }
}

TEST(MsgData, refusesMoreThanAMessageMayHold)
{
    MsgData arguments;
    for (int i = 0; i < 64; ++i)
    {
        EXPECT_EQ(arguments.writeUInt32(0), 0);
    }
    EXPECT_EQ(arguments.writeUInt32(0), -EMSGSIZE);
    EXPECT_EQ(arguments.argCount(), 64);

    MsgData bytes;
    std::vector<char> block(40u << 20);
    EXPECT_EQ(bytes.writeBlockData(block.data(), static_cast<int>(block.size())), 0);
    EXPECT_EQ(bytes.writeBlockData(block.data(), static_cast<int>(block.size())), -EMSGSIZE);
    EXPECT_EQ(bytes.argCount(), 1);
}
