// SPDX-License-Identifier: Apache-2.0
// The messenger when memory is short: what finds none is lost, and nothing else.
#include "support/log_capture.h"
#include "support/mini_service.h"
#include "support/process_state.h"
#include "support/temp_dir.h"
#include "support/wait.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <vector>

using namespace tz::orvane::mdt;
using namespace tz::orvane::test;
using tz::orvane::platform::DebugLevel;
using tz::orvane::platform::EventLoop;

namespace
{

constexpr int kLargeQuery = 0x7002;
constexpr int kLargeEvent = 0x7004;
constexpr std::size_t kLarge = std::size_t{5} << 20;

/// Arrays of more bytes find no memory. Messages and what is copied for them are such arrays.
std::atomic<std::size_t> s_largestArray{SIZE_MAX};

class ShortMemory
{
public:
    ShortMemory() { s_largestArray = kLarge / 2; }
    ShortMemory(ShortMemory const&) = delete;
    ShortMemory& operator=(ShortMemory const&) = delete;
    ~ShortMemory() { s_largestArray = SIZE_MAX; }
};

int query(int cnid, int code)
{
    MsgData reply;
    return MdtcMessenger::GetInstance().postMsg(MsgData(cnid, 0, code, 2), reply, kTimeout);
}

void reply(MdtsMessenger& end, MdtsCall const& call, std::size_t bytes)
{
    std::string block(bytes, 'r');
    MsgData message;
    message.writeBlockData(block.data(), static_cast<int>(block.size()));
    end.reply(call, 0, message);
}

void answer(MdtsMessenger& end, EventLoop&, MsgData& msg, MdtsCall const& call)
{
    reply(end, call, msg.readMsg() == kLargeQuery ? kLarge : 1);
}

class MessengerMemory : public testing::Test
{
protected:
    ProcessState m_state;
    SocketDir m_directory;
};

} // namespace

void* operator new[](std::size_t bytes)
{
    void* const memory = bytes <= s_largestArray ? std::malloc(bytes) : nullptr;
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

TEST_F(MessengerMemory, aReplyThatFindsNoneFailsItsQueryAndNoOther)
{
    MiniService service(&answer);
    TestConnection connection;
    {
        ShortMemory const isShort;
        EXPECT_EQ(query(connection.cnid(), kLargeQuery), -ENOMEM);
        EXPECT_GT(query(connection.cnid(), kQuery), 0);
    }
    EXPECT_GT(query(connection.cnid(), kLargeQuery), 0);
}

TEST_F(MessengerMemory, aReplyThatAnotherReadsFailsItsOwnQuery)
{
    std::promise<MdtsCall> first;
    MiniService service(
        [&](MdtsMessenger& end, EventLoop& loop, MsgData& msg, MdtsCall const& call)
        {
            if (msg.readMsg() == kQuery)
            {
                first.set_value(call);
                return;
            }
            answer(end, loop, msg, call);
        });
    TestConnection connection;
    auto leader = std::async(std::launch::async, [&] { return query(connection.cnid(), kQuery); });
    MdtsCall const call = first.get_future().get();
    {
        ShortMemory const isShort;
        EXPECT_EQ(query(connection.cnid(), kLargeQuery), -ENOMEM);
    }
    service.run([&](MdtsMessenger& end) { reply(end, call, 1); });
    EXPECT_GT(leader.get(), 0);
}

TEST_F(MessengerMemory, anEventThatFindsNoneIsDroppedAndTheNextComes)
{
    MiniService service;
    TestConnection connection;
    LogCapture log(DebugLevel::error);
    service.run(
        [&](MdtsMessenger& end)
        {
            MsgData event(connection.cnid(), 0, kLargeEvent, 1);
            event.writeString(std::string(kLarge, 'e'));
            s_largestArray = kLarge / 2;
            EXPECT_EQ(end.postEvent(event), 0);
            EXPECT_EQ(end.postEvent(MsgData(connection.cnid(), 0, kEvent, 1)), 0);
        });
    connection.waitForEvents(1);
    s_largestArray = SIZE_MAX;
    EXPECT_EQ(connection.events(), std::vector<int>{kEvent});
    EXPECT_TRUE(log.contains("There is no memory for message 0x7004, which is dropped."));
}

TEST_F(MessengerMemory, aListenerThatFindsNoneEndsNothing)
{
    MiniService service;
    TestConnection connection(
        [](MsgData& event)
        {
            if (event.readMsg() == kLargeEvent)
            {
                throw std::bad_alloc();
            }
        });
    LogCapture log(DebugLevel::error);
    service.run(
        [&](MdtsMessenger& end)
        {
            end.postEvent(MsgData(connection.cnid(), 0, kLargeEvent, 1));
            end.postEvent(MsgData(connection.cnid(), 0, kEvent, 1));
        });
    connection.waitForEvents(1);
    EXPECT_EQ(connection.events(), std::vector<int>{kEvent});
    EXPECT_TRUE(log.contains("There was no memory to deal with message 0x7004."));
}
