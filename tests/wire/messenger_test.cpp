// SPDX-License-Identifier: Apache-2.0
// The messenger when all is well: queries, commands, events, blocks, many threads.
#include "support/log_capture.h"
#include "support/mini_service.h"
#include "support/process_state.h"
#include "support/temp_dir.h"
#include "support/wait.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

using namespace tz::orvane::mdt;
using namespace tz::orvane::test;
using tz::orvane::platform::EventLoop;

namespace
{

std::string pattern(std::size_t size, unsigned seed)
{
    std::string bytes(size, 0);
    for (std::size_t i = 0; i < size; ++i)
    {
        bytes[i] = static_cast<char>((i + seed) * 2654435761u >> 13);
    }
    return bytes;
}

class Messenger : public testing::Test
{
protected:
    ProcessState m_state;
    SocketDir m_directory;
};

} // namespace

TEST_F(Messenger, connectGivesAnIdOfItsRangeAndTellsTheServiceWhoIsThere)
{
    MiniService service;
    TestConnection connection;
    ASSERT_EQ(connection.result(), 0);
    EXPECT_GE(connection.cnid(), 0x1000);
    EXPECT_LE(connection.cnid(), 0x1FFF);
    ASSERT_EQ(service.connected().size(), 1u);
    MdtsPeer const peer = service.connected()[0];
    EXPECT_EQ(peer.cnid, connection.cnid());
    EXPECT_EQ(peer.name, "test");
    EXPECT_EQ(peer.pid, ::getpid());
    EXPECT_EQ(peer.uid, ::getuid());
    connection.disconnect();
    EXPECT_TRUE(eventually([&] { return service.disconnected() == std::vector<int>{peer.cnid}; }));
}

TEST_F(Messenger, queryBringsBackWhatTheServiceAnswers)
{
    MiniService service;
    TestConnection connection;
    char block[] = "block";
    MsgData query(connection.cnid(), 0x2001, kQuery, 2);
    query.writeUInt32(7);
    query.writeSInt32(-7);
    query.writeSInt64(1LL << 40);
    query.writeString("text");
    query.writeData("data", 4);
    query.writeBlockData(block, 5);
    MsgData reply;
    EXPECT_GT(messenger().postMsg(query, reply, kTimeout), 0);
    EXPECT_EQ(reply.readPid(), connection.cnid());
    EXPECT_EQ(reply.readUid(), 0x2001);
    EXPECT_EQ(reply.readMsg(), kQuery);
    EXPECT_EQ(reply.readType(), 2);
    ASSERT_EQ(reply.argCount(), 6);
    for (int i = 0; i < 6; ++i)
    {
        EXPECT_EQ(reply.argType(i), query.argType(i)) << i;
        ASSERT_EQ(reply.argSize(i), query.argSize(i)) << i;
        EXPECT_EQ(std::memcmp(reply.read(i), query.read(i), static_cast<std::size_t>(query.argSize(i))), 0) << i;
    }
}

TEST_F(Messenger, aReplyReplacesWhatTheMessageHeldBefore)
{
    MiniService service;
    TestConnection connection;
    MsgData reply;
    reply.writeString("old");
    for (unsigned value : {1u, 2u})
    {
        MsgData query(connection.cnid(), 0, kQuery, 2);
        query.writeUInt32(value);
        EXPECT_GT(messenger().postMsg(query, reply, kTimeout), 0);
        ASSERT_EQ(reply.argCount(), 1);
        EXPECT_EQ(*static_cast<unsigned const*>(reply.read(0)), value);
    }
}

TEST_F(Messenger, aRefusalIsWhatThePostGives)
{
    MiniService service([](MdtsMessenger& end, EventLoop&, MsgData&, MdtsCall const& call)
                        { end.reply(call, -ENOSPC, MsgData()); });
    TestConnection connection;
    MsgData reply;
    EXPECT_EQ(messenger().postMsg(MsgData(connection.cnid(), 0, kQuery, 2), reply, kTimeout), -ENOSPC);
}

TEST_F(Messenger, whetherASenderWaitsFollowsFromThePostNotFromTheType)
{
    std::atomic<int> wanted{0};
    std::atomic<int> unwanted{0};
    MiniService service(
        [&](MdtsMessenger& end, EventLoop& loop, MsgData& msg, MdtsCall const& call)
        {
            (call.wantsReply() ? wanted : unwanted)++;
            echo(end, loop, msg, call);
        });
    TestConnection connection;
    MsgData reply;
    EXPECT_GT(messenger().postMsg(MsgData(connection.cnid(), 0, kQuery, 1), reply, kTimeout), 0);
    EXPECT_GT(messenger().postMsg(MsgData(connection.cnid(), 0, kQuery, 2), kTimeout), 0);
    EXPECT_TRUE(eventually([&] { return wanted == 1 && unwanted == 1; }));
}

TEST_F(Messenger, commandsAndBlocksArriveInTheOrderOfPosting)
{
    std::vector<unsigned> seen;
    std::string wrong;
    MiniService service(
        [&](MdtsMessenger& end, EventLoop& loop, MsgData& msg, MdtsCall const& call)
        {
            if (call.wantsReply())
            {
                echo(end, loop, msg, call);
                return;
            }
            unsigned const number = *static_cast<unsigned const*>(msg.read(0));
            void* data = nullptr;
            int size = 0;
            msg.read(1, &data, &size);
            std::string const expected = pattern(static_cast<std::size_t>(size), number);
            if (std::memcmp(data, expected.data(), expected.size()) != 0)
            {
                wrong += std::to_string(number) + " ";
            }
            seen.push_back(number);
        });
    TestConnection connection;
    std::size_t const sizes[] = {0, 100, 70'000, 1u << 20, 10, 5u << 20, 65'000, 9u << 20, 3u << 20};
    std::vector<unsigned> sent;
    for (unsigned number = 0; number < 45; ++number)
    {
        std::string block = pattern(sizes[number % std::size(sizes)], number);
        MsgData command(connection.cnid(), 0, kCommand, 5);
        command.writeUInt32(number);
        command.writeBlockData(block.data(), static_cast<int>(block.size()));
        ASSERT_GT(messenger().postMsg(command, kTimeout), 0) << number;
        sent.push_back(number);
    }
    MsgData reply;
    EXPECT_GT(messenger().postMsg(MsgData(connection.cnid(), 0, kQuery, 2), reply, kTimeout), 0);
    service.run([&](MdtsMessenger&) { EXPECT_EQ(seen, sent); });
    EXPECT_EQ(wrong, "");
}

TEST_F(Messenger, severalLargeArgumentsTravelInOneMessage)
{
    MiniService service;
    TestConnection connection;
    std::string first = pattern(5u << 20, 1);
    std::string second = pattern(3u << 20, 2);
    std::string const third = pattern(65'535, 3);
    MsgData query(connection.cnid(), 0, kQuery, 2);
    query.writeBlockData(first.data(), static_cast<int>(first.size()));
    query.writeData(third.data(), 65'535);
    query.writeBlockData(second.data(), static_cast<int>(second.size()));
    query.writeData(third.data(), 65'535);
    MsgData reply;
    ASSERT_GT(messenger().postMsg(query, reply, kTimeout), 0);
    ASSERT_EQ(reply.argCount(), 4);
    std::string const* const expected[] = {&first, &third, &second, &third};
    for (int i = 0; i < 4; ++i)
    {
        void* data = nullptr;
        int size = 0;
        ASSERT_EQ(reply.read(i, &data, &size), 0);
        EXPECT_TRUE(std::string(static_cast<char*>(data), static_cast<std::size_t>(size)) == *expected[i]) << i;
    }
}

TEST_F(Messenger, aMessageBeyondTheLimitIsRefusedAndNothingIsSent)
{
    std::atomic<int> count{0};
    MiniService service([&](MdtsMessenger&, EventLoop&, MsgData&, MdtsCall const&) { ++count; });
    TestConnection connection;
    MsgData command(connection.cnid(), 0, kCommand, 1);
    std::string const data = pattern(65'535, 3);
    for (int i = 0; i < 20; ++i)
    {
        ASSERT_EQ(command.writeData(data.data(), 65'535), 0);
    }
    EXPECT_EQ(messenger().postMsg(command, kTimeout), -EMSGSIZE) << "too many large arguments";
    EXPECT_GT(messenger().postMsg(MsgData(connection.cnid(), 0, kCommand, 1), kTimeout), 0);
    EXPECT_TRUE(eventually([&] { return count == 1; }));
}

TEST_F(Messenger, eventsArriveInOrderOnOneThreadAndTellWhenTheyWerePosted)
{
    std::vector<unsigned long long> sequences;
    std::vector<int> wrong;
    std::vector<std::thread::id> threads;
    MiniService service;
    TestConnection connection(
        [&](MsgData& event)
        {
            sequences.push_back(event.sequence());
            threads.push_back(std::this_thread::get_id());
            int const number = event.readMsg();
            void* data = nullptr;
            int size = 0;
            event.read(0, &data, &size);
            std::string const expected = pattern(static_cast<std::size_t>(size), static_cast<unsigned>(number));
            if (size != (number % 4 == 3 ? 2 << 20 : 100) || std::memcmp(data, expected.data(), expected.size()) != 0)
            {
                wrong.push_back(number);
            }
        });
    constexpr int kCount = 15; // with 6 MiB of blocks: the ring takes them all
    service.run(
        [&](MdtsMessenger& end)
        {
            for (int i = 0; i < kCount; ++i)
            {
                std::string block = pattern(i % 4 == 3 ? 2u << 20 : 100, static_cast<unsigned>(i));
                MsgData event(connection.cnid(), 0x2001, i, 1);
                event.writeBlockData(block.data(), static_cast<int>(block.size()));
                EXPECT_EQ(end.postEvent(event), 0) << i;
            }
        });
    connection.waitForEvents(kCount);
    for (int i = 0; i < kCount; ++i)
    {
        EXPECT_EQ(connection.events()[static_cast<std::size_t>(i)], i);
        EXPECT_EQ(sequences[static_cast<std::size_t>(i)], static_cast<unsigned long long>(i) + 1);
        EXPECT_EQ(threads[static_cast<std::size_t>(i)], threads[0]);
    }
    EXPECT_NE(threads[0], std::this_thread::get_id());
    EXPECT_TRUE(wrong.empty()) << wrong.size();
    MsgData reply;
    EXPECT_GT(messenger().postMsg(MsgData(connection.cnid(), 0, kQuery, 2), reply, kTimeout), 0);
    EXPECT_EQ(reply.sequence(), static_cast<unsigned long long>(kCount) + 1) << "events and replies count together";
}

TEST_F(Messenger, theServiceKnowsWhetherItsEventsWereReceived)
{
    MiniService service;
    std::promise<void> release;
    std::shared_future<void> const released = release.get_future().share();
    std::atomic<bool> entered{false};
    TestConnection connection(
        [&, released](MsgData&)
        {
            entered = true;
            released.wait();
        });
    auto const unread = [&](int cnid)
    {
        bool answer = false;
        service.run([&](MdtsMessenger& end) { answer = end.eventsUnread(cnid); });
        return answer;
    };
    auto const post = [&] {
        service.run([&](MdtsMessenger& end) { EXPECT_EQ(end.postEvent(MsgData(connection.cnid(), 0, kEvent, 1)), 0); });
    };
    EXPECT_FALSE(unread(connection.cnid()));
    EXPECT_FALSE(unread(connection.cnid() + 1)) << "nobody is there";
    post();
    EXPECT_TRUE(eventually([&] { return entered.load(); }));
    EXPECT_FALSE(unread(connection.cnid())) << "what is with the listener was received";
    post();
    EXPECT_TRUE(unread(connection.cnid()));
    release.set_value();
    EXPECT_TRUE(eventually([&] { return !unread(connection.cnid()); }));
    connection.waitForEvents(2);
}

TEST_F(Messenger, aQueryFromInsideTheReceiveCallbackWorks)
{
    std::promise<int> result;
    MiniService service;
    TestConnection connection(
        [&](MsgData& event)
        {
            MsgData query(event.readPid(), 0, kQuery, 2);
            query.writeUInt32(5);
            MsgData reply;
            unsigned value = 0;
            int const posted = messenger().postMsg(query, reply, kTimeout);
            result.set_value(posted > 0 && reply.readUInt32(value) == 0 && value == 5 ? 0 : posted);
        });
    service.run([&](MdtsMessenger& end) { EXPECT_EQ(end.postEvent(MsgData(connection.cnid(), 0, kEvent, 1)), 0); });
    EXPECT_EQ(result.get_future().get(), 0);
}

TEST_F(Messenger, noQueryWaitsForASlowListener)
{
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> const released = release.get_future().share();
    MiniService service;
    TestConnection connection(
        [&](MsgData&)
        {
            entered.set_value();
            released.wait();
        });
    service.run([&](MdtsMessenger& end) { end.postEvent(MsgData(connection.cnid(), 0, kEvent, 1)); });
    entered.get_future().wait();
    for (int i = 0; i < 100; ++i)
    {
        MsgData reply;
        EXPECT_GT(messenger().postMsg(MsgData(connection.cnid(), 0, kQuery, 2), reply, kTimeout), 0);
    }
    release.set_value();
    connection.waitForEvents(1);
}

TEST_F(Messenger, manyThreadsEachGetTheirOwnReply)
{
    MiniService service;
    TestConnection connection;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 8; ++t)
    {
        threads.emplace_back(
            [&, t]
            {
                for (unsigned i = 0; i < 2500; ++i)
                {
                    MsgData query(connection.cnid(), 0, kQuery, 2);
                    query.writeUInt32(t * 1'000'000 + i);
                    MsgData reply;
                    unsigned value = 0;
                    if (messenger().postMsg(query, reply, kTimeout) <= 0 || reply.readUInt32(value) != 0 ||
                        value != t * 1'000'000 + i)
                    {
                        ++wrong;
                    }
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Messenger, largeRepliesToManyThreadsKeepApart)
{
    MiniService service;
    TestConnection connection;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 4; ++t)
    {
        threads.emplace_back(
            [&, t]
            {
                std::string block = pattern(200'000 + t, t);
                for (int i = 0; i < 100; ++i)
                {
                    MsgData query(connection.cnid(), 0, kQuery, 2);
                    query.writeBlockData(block.data(), static_cast<int>(block.size()));
                    MsgData reply;
                    void* data = nullptr;
                    int size = 0;
                    if (messenger().postMsg(query, reply, kTimeout) <= 0 || reply.read(0, &data, &size) != 0 ||
                        std::string(static_cast<char*>(data), static_cast<std::size_t>(size)) != block)
                    {
                        ++wrong;
                    }
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Messenger, aReceivedMessageCannotBePosted)
{
    std::promise<int> result;
    MiniService service;
    TestConnection connection([&](MsgData& event) { result.set_value(messenger().postMsg(event, kTimeout)); });
    service.run([&](MdtsMessenger& end) { end.postEvent(MsgData(connection.cnid(), 0, kEvent, 1)); });
    EXPECT_EQ(result.get_future().get(), -EINVAL);
    connection.waitForEvents(1);
}

TEST_F(Messenger, repliesOutOfOrderFindTheirCallers)
{
    std::vector<std::pair<MdtsCall, unsigned>> held;
    MiniService service(
        [&](MdtsMessenger& end, EventLoop&, MsgData& msg, MdtsCall const& call)
        {
            held.emplace_back(call, *static_cast<unsigned const*>(msg.read(0)));
            if (held.size() == 6)
            {
                for (auto entry = held.rbegin(); entry != held.rend(); ++entry)
                {
                    MsgData reply;
                    reply.writeUInt32(entry->second);
                    EXPECT_EQ(end.reply(entry->first, 0, reply), 0);
                }
                held.clear();
            }
        });
    TestConnection connection;
    std::atomic<int> wrong{0};
    for (int round = 0; round < 200; ++round)
    {
        std::vector<std::thread> threads;
        for (unsigned t = 0; t < 6; ++t)
        {
            threads.emplace_back(
                [&, t]
                {
                    MsgData query(connection.cnid(), 0, kQuery, 2);
                    query.writeUInt32(t);
                    MsgData reply;
                    unsigned value = 99;
                    if (messenger().postMsg(query, reply, kTimeout) <= 0 || reply.readUInt32(value) != 0 || value != t)
                    {
                        ++wrong;
                    }
                });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Messenger, connectionsOfOneProcessDoNotMeet)
{
    MiniService service;
    TestConnection first;
    TestConnection second;
    EXPECT_NE(first.cnid(), second.cnid());
    service.run([&](MdtsMessenger& end) { end.postEvent(MsgData(second.cnid(), 0, kEvent, 1)); });
    second.waitForEvents(1);
    EXPECT_TRUE(first.events().empty());
    first.disconnect();
    MsgData reply;
    EXPECT_GT(messenger().postMsg(MsgData(second.cnid(), 0, kQuery, 2), reply, kTimeout), 0);
    EXPECT_EQ(messenger().postMsg(MsgData(first.cnid(), 0, kQuery, 2), reply, kTimeout), -ENOTCONN);
}

TEST_F(Messenger, disconnectEndsQueriesThatWait)
{
    std::promise<void> arrived;
    MiniService service([&](MdtsMessenger&, EventLoop&, MsgData&, MdtsCall const&) { arrived.set_value(); });
    TestConnection connection;
    int const cnid = connection.cnid();
    auto waiting = std::async(std::launch::async,
                              [cnid]
                              {
                                  MsgData reply;
                                  return messenger().postMsg(MsgData(cnid, 0, kQuery, 2), reply, kTimeout);
                              });
    arrived.get_future().wait();
    connection.disconnect();
    EXPECT_EQ(waiting.get(), -ENOTCONN);
    EXPECT_TRUE(connection.events().empty()) << "who disconnects is told nothing";
}

TEST_F(Messenger, disconnectWhileOthersPostAndAskIsSafe)
{
    MiniService service;
    for (int round = 0; round < 200; ++round)
    {
        TestConnection connection;
        int const cnid = connection.cnid();
        std::atomic<int> begun{0};
        std::vector<std::future<int>> others;
        for (bool const asks : {true, false, true, false})
        {
            others.push_back(std::async(std::launch::async,
                                        [&begun, cnid, asks]
                                        {
                                            MsgData const msg(cnid, 0, asks ? kQuery : kCommand, 1);
                                            MsgData reply;
                                            int result = 0;
                                            for (int i = 0; result >= 0; ++i)
                                            {
                                                result = asks ? messenger().postMsg(msg, reply, kTimeout)
                                                              : messenger().postMsg(msg, kTimeout);
                                                begun += i == 0 ? 1 : 0;
                                            }
                                            return result;
                                        }));
        }
        ASSERT_TRUE(eventually([&] { return begun == 4; }));
        connection.disconnect();
        for (auto& other : others)
        {
            EXPECT_EQ(other.get(), -ENOTCONN);
        }
    }
}

TEST_F(Messenger, disconnectInsideTheCallbackIsSafe)
{
    MiniService service;
    for (int round = 0; round < 200; ++round)
    {
        std::promise<void> done;
        std::atomic<TestConnection*> self{nullptr};
        TestConnection connection(
            [&](MsgData&)
            {
                self.load()->disconnect();
                done.set_value();
            });
        self = &connection;
        int const cnid = connection.cnid();
        service.run([&](MdtsMessenger& end) { end.postEvent(MsgData(cnid, 0, kEvent, 1)); });
        done.get_future().wait();
    }
}

TEST_F(Messenger, unknownConnectionsAreRefusedAtOnce)
{
    MsgData reply;
    int const nobody = 0x1234;
    EXPECT_EQ(messenger().postMsg(MsgData(nobody, 0, kCommand, 1), kTimeout), -ENOTCONN);
    EXPECT_EQ(messenger().postMsg(MsgData(nobody, 0, kQuery, 2), reply, kTimeout), -ENOTCONN);
    EXPECT_EQ(messenger().disConnect(nobody), -ENOTCONN);
    EXPECT_EQ(messenger().disConnect(0), -ENOTCONN);
}

TEST_F(Messenger, unusableServiceNamesAreRefused)
{
    EXPECT_EQ(messenger().init(nullptr, MDT_TYPE_DEFAULT), -EINVAL);
    EXPECT_EQ(messenger().init("", MDT_TYPE_DEFAULT), -EINVAL);
    EXPECT_EQ(messenger().init("../other", MDT_TYPE_DEFAULT), -EINVAL);
    EXPECT_EQ(messenger().init("Some.Service", MDT_TYPE_DEFAULT), 0);
}

TEST_F(Messenger, connectsAndDisconnectsManyTimesWithoutLeavingAnything)
{
    MiniService service;
    ProcessState state;
    for (int round = 0; round < 300; ++round)
    {
        TestConnection connection;
        ASSERT_EQ(connection.result(), 0) << round;
        MsgData reply;
        ASSERT_GT(messenger().postMsg(MsgData(connection.cnid(), 0, kQuery, 2), reply, kTimeout), 0);
    }
    EXPECT_TRUE(eventually([&] { return service.disconnected().size() == 300; }));
}
