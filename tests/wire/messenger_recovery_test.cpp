// SPDX-License-Identifier: Apache-2.0
// The messenger after something went wrong: a connection that lives serves on.
#include "platform/src/unique_fd.h"
#include "support/log_capture.h"
#include "support/mini_service.h"
#include "support/process_state.h"
#include "support/temp_dir.h"
#include "support/wait.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace tz::orvane::mdt;
using namespace tz::orvane::test;
using tz::orvane::platform::DebugLevel;
using tz::orvane::platform::EventLoop;
using tz::orvane::platform::UniqueFd;

namespace
{

int query(int cnid, int timeout = kTimeout)
{
    MsgData reply;
    return messenger().postMsg(MsgData(cnid, 0, kQuery, 2), reply, timeout);
}

int push(int cnid, std::size_t bytes)
{
    std::string block(bytes, 'b');
    MsgData msg(cnid, 0, kCommand, 5);
    msg.writeBlockData(block.data(), static_cast<int>(block.size()));
    return messenger().postMsg(msg, kTimeout);
}

/// Answers every query so that few replies fill the socket.
void answerAtLength(MdtsMessenger& end, EventLoop&, MsgData&, MdtsCall const& call)
{
    if (call.wantsReply())
    {
        static std::string const text(30'000, 'r');
        MsgData reply;
        reply.writeData(text.data(), static_cast<unsigned short>(text.size()));
        end.reply(call, 0, reply);
    }
}

class MessengerRecovery : public testing::Test
{
protected:
    /// Queries to a service that stands still: all time out, and when it goes on their replies fill the socket.
    static void timeOutOften(ForkedService const& service, int cnid)
    {
        service.signal(SIGSTOP);
        for (int i = 0; i < 40; ++i)
        {
            EXPECT_EQ(query(cnid, 1), -ETIMEDOUT);
        }
        service.signal(SIGCONT);
    }

    ProcessState m_state;
    SocketDir m_directory;
};

} // namespace

TEST_F(MessengerRecovery, repliesThatNobodyAwaitsDoNotKeepCommandsOutForEver)
{
    ForkedService service(&answerAtLength);
    TestConnection connection;
    LogCapture log(DebugLevel::warning);
    timeOutOften(service, connection.cnid());
    for (int i = 0; i < 20; ++i)
    {
        EXPECT_GT(push(connection.cnid(), 30'000), 0) << i;
    }
    EXPECT_GT(query(connection.cnid()), 0);
    EXPECT_TRUE(log.contains("A reply to 0x7001 came too late and is dropped; 40 of this connection so far."));
}

TEST_F(MessengerRecovery, repliesThatNobodyAwaitsDoNotKeepBlocksOutForEver)
{
    ForkedService service(&answerAtLength);
    TestConnection connection;
    LogCapture log(DebugLevel::off);
    timeOutOften(service, connection.cnid());
    for (int i = 0; i < 8; ++i)
    {
        EXPECT_GT(push(connection.cnid(), std::size_t{3} << 20), 0) << i;
    }
    EXPECT_GT(query(connection.cnid()), 0);
}

TEST_F(MessengerRecovery, whoWaitsForRoomReadsTheRepliesOfTheOthers)
{
    ForkedService service(&answerAtLength);
    TestConnection connection;
    LogCapture log(DebugLevel::off);
    timeOutOften(service, connection.cnid());
    std::atomic<int> failed{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
    {
        threads.emplace_back(
            [&, t]
            {
                for (int i = 0; i < 50; ++i)
                {
                    int const result = t % 2 == 0 ? query(connection.cnid()) : push(connection.cnid(), 30'000);
                    failed += result > 0 ? 0 : 1;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(failed, 0);
}

TEST_F(MessengerRecovery, connectGivesUpInTimeHoweverOftenASignalInterruptsIt)
{
    // A service that takes nobody, with as many at its door as may wait there.
    UniqueFd const listening(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, (m_directory.path() + "/Orvane.MediaPlayer.Server").c_str());
    ASSERT_EQ(::bind(listening.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listening.get(), 0), 0);
    std::vector<UniqueFd> waiting;
    do
    {
        waiting.emplace_back(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    } while (::connect(waiting.back().get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);

    struct sigaction action = {};
    action.sa_handler = [](int) {};
    struct sigaction before = {};
    sigaction(SIGALRM, &action, &before);
    itimerval timer{{0, 500'000}, {0, 500'000}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
    LogCapture log(DebugLevel::off);
    TestConnection connection;
    timer = {};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(connection.result(), -ETIMEDOUT);
}

TEST_F(MessengerRecovery, aThreadThatIsCancelledInAQueryLeavesTheOthersUnharmed)
{
    std::promise<void> arrived;
    MiniService service(
        [&](MdtsMessenger& end, EventLoop& loop, MsgData& msg, MdtsCall const& call)
        {
            if (msg.readMsg() == kCommand)
            {
                arrived.set_value();
                return;
            }
            echo(end, loop, msg, call);
        });
    TestConnection connection;
    int cnid = connection.cnid();
    pthread_t cancelled{};
    ASSERT_EQ(pthread_create(
                  &cancelled, nullptr,
                  [](void* id) -> void*
                  {
                      MsgData reply;
                      messenger().postMsg(MsgData(*static_cast<int*>(id), 0, kCommand, 2), reply, 500);
                      pthread_testcancel();
                      return nullptr;
                  },
                  &cnid),
              0);
    arrived.get_future().wait();
    pthread_cancel(cancelled);
    void* result = nullptr;
    pthread_join(cancelled, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_GT(query(cnid), 0);
}

TEST_F(MessengerRecovery, reconnectingWhileAListenerBlocksPilesUpNoThreads)
{
    MiniService service;
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> const released = release.get_future().share();
    std::atomic<bool> blocks{false};
    auto const postTo = [&](TestConnection const& connection)
    { service.run([&](MdtsMessenger& end) { end.postEvent(MsgData(connection.cnid(), 0, kEvent, 1)); }); };
    {
        TestConnection blocked(
            [&, released](MsgData&)
            {
                blocks = true;
                entered.set_value();
                released.wait();
                blocks = false;
            });
        postTo(blocked);
        entered.get_future().wait();
    }
    int const threads = runningThreads();
    for (int i = 0; i < 50; ++i)
    {
        TestConnection const connection;
        EXPECT_EQ(connection.result(), 0);
    }
    bool calledTogether = false;
    TestConnection last([&](MsgData&) { calledTogether = blocks; });
    postTo(last);
    EXPECT_LE(runningThreads(), threads);
    release.set_value();
    last.waitForEvents(1);
    EXPECT_FALSE(calledTogether) << "listeners are called by one thread at a time";
}

TEST_F(MessengerRecovery, aChildThatWasForkedInAListenerEndsWhenTheListenerReturns)
{
    MiniService service;
    std::atomic<pid_t> child{-1};
    TestConnection connection(
        [&](MsgData&)
        {
            pid_t const forked = ::fork();
            if (forked > 0)
            {
                child = forked;
            }
        });
    service.run([&](MdtsMessenger& end) { end.postEvent(MsgData(connection.cnid(), 0, kEvent, 1)); });
    ASSERT_TRUE(eventually([&] { return child > 0; }));
    bool const ended = eventually([&] { return ::waitpid(child, nullptr, WNOHANG) == child; });
    EXPECT_TRUE(ended);
    if (!ended)
    {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
}
