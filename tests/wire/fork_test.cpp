// SPDX-License-Identifier: Apache-2.0
// Objects of a forked child, whose parent was busy with them on threads that the child does not have.
#include "wire/lifetime_wire.h"

#include "orvane/om_timer.h"

#include <memory>
#include <sys/wait.h>
#include <unistd.h>

using namespace tz::orvane;
using namespace tz::orvane::test;

namespace
{

/// @return the exit status of a child that runs `body`; a child that hangs is killed, which gives -1
int statusOfChild(std::function<bool()> const& body)
{
    pid_t const child = fork();
    if (child == 0)
    {
        alarm(30);
        _exit(body() ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Runs before a fixture counts threads.
[[maybe_unused]] om::OmTimerThread& s_timers = om::OmTimerThread::instance();

class Fork : public Lifetime
{
protected:
    ~Fork() override { m_go = true; }

    /// What a listener calls that holds its thread up.
    void hold()
    {
        m_inside = true;
        EXPECT_TRUE(eventually([this] { return m_go.load(); }));
    }

    void waitUntilHeld()
    {
        EXPECT_TRUE(eventually([this] { return m_inside.load(); }));
    }

    void letGo() { m_go = true; }

    bool destroyEverything()
    {
        access.destroyConnection(static_cast<unsigned int>(kCnid));
        return access.getConnectionCount() == 0;
    }

    LogCapture const quiet{platform::DebugLevel::off};
    omc::OmcClient& client = connect();

private:
    std::atomic<bool> m_inside{false};
    std::atomic<bool> m_go{false};
};

} // namespace

TEST_F(Fork, theChildDoesNotWaitForAPlayersListener)
{
    PlayerListener listener;
    listener.onCall = [this](om::OmIMediaPlayer*) { hold(); };
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    ASSERT_NE(player, nullptr);
    player->addListener(&listener);
    service.postEvent(kCnid, 0x2000, protocol::kMsgPlayerStateChanged,
                      [](mdt::MsgData& message) { fillState(message, 0x2000); });
    waitUntilHeld();
    EXPECT_EQ(statusOfChild([&] { return player->removeListener(&listener) == 0 && destroyEverything(); }), 0);
    EXPECT_EQ(statusOfChild([&] { return destroyEverything(); }), 0);
    letGo();
    client.destroyPlayer(player);
    EXPECT_EQ(listener.calls, 1);
}

TEST_F(Fork, theChildDoesNotWaitForTheListenersOfConnectionToolAndAgent)
{
    ConnectionListener connectionListener;
    connectionListener.onCall = [this](om::OmIConnection*) { hold(); };
    client.addListener(&connectionListener);
    ToolListener toolListener;
    toolListener.onCall = [this] { hold(); };
    om::OmIPreviewTool* const tool = client.createPreviewTool(nullptr);
    tool->setListener(&toolListener);
    AgentListener agentListener;
    agentListener.onCall = [this] { hold(); };
    std::shared_ptr<om::OmIDrmAgent> const agent = client.createDrmAgent(1);
    agent->addListener(&agentListener);

    std::thread connectionThread([] { deliverDeath(); });
    std::thread toolThread([] { deliverPreview(); });
    std::thread agentThread([] { deliverDrm(); });
    EXPECT_TRUE(eventually(
        [&] { return !connectionListener.calls().empty() && toolListener.calls + agentListener.calls == 2; }));
    EXPECT_EQ(statusOfChild(
                  [&]
                  {
                      agentListener.onCall = [] {};
                      deliverDrm(); // takes the lock that a thread of the parent holds
                      tool->setListener(nullptr);
                      return agentListener.calls == 2 && client.removeListener(&connectionListener) == 0 &&
                             agent->removeListener(&agentListener) == 0 && destroyEverything();
                  }),
              0);
    letGo();
    connectionThread.join();
    toolThread.join();
    agentThread.join();
}

TEST_F(Fork, theChildDoesNotWaitForThoseWhoWait)
{
    auto list = std::make_unique<om::OmListenerList<int>>();
    int listener = 0;
    list->add(&listener);
    std::thread visitor([&] { list->forEach([this](int&) { hold(); }); });
    waitUntilHeld();
    std::atomic<bool> removing{false};
    std::thread remover(
        [&]
        {
            removing = true;
            list->remove(&listener);
        });
    // Not an entry any more: the removal has begun to wait, or is about to.
    EXPECT_TRUE(eventually([&] { return removing && list->add(&listener) == 0; }));
    EXPECT_EQ(statusOfChild(
                  [&]
                  {
                      int heard = 0;
                      list->forEach([&](int&) { ++heard; });
                      bool const removed = list->remove(&listener) == 0;
                      list.reset();
                      return heard == 1 && removed;
                  }),
              0);
    letGo();
    visitor.join();
    remover.join();
}

TEST_F(Fork, theChildComesBackFromTheListenerThatForked)
{
    int destroyed = 0;
    auto* const player = new CountedPlayer(kCnid, 0x2777, destroyed);
    client.getPlayerMap()[0x2777] = player;
    PlayerListener listener;
    PlayerListener second;
    pid_t child = -1;
    listener.onCall = [&](om::OmIMediaPlayer* self)
    {
        child = fork();
        if (child == 0)
        {
            alarm(30);
            client.destroyPlayer(self);
        }
    };
    player->addListener(&listener);
    player->addListener(&second);
    deliverState(0x2777);
    if (child == 0)
    {
        _exit(destroyed == 1 && second.calls == 0 && destroyEverything() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(second.calls, 1);
}

TEST_F(Fork, otherThreadsOfTheChildWaitForTheListenerThatForked)
{
    bool const mayHaveThreads = statusOfChild(
                                    []
                                    {
                                        std::thread([] {}).join();
                                        return true;
                                    }) == 0;
    if (!mayHaveThreads)
    {
        GTEST_SKIP() << "an emulator or a sanitizer allows no new threads in a fork";
    }
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    ASSERT_NE(player, nullptr);
    PlayerListener listener;
    pid_t child = -1;
    std::atomic<bool> over{false};
    bool waited = false;
    std::thread destroyer;
    listener.onCall = [&](om::OmIMediaPlayer*)
    {
        child = fork();
        if (child == 0)
        {
            alarm(30);
            destroyer = std::thread(
                [&]
                {
                    client.destroyPlayer(0x2000u);
                    waited = over;
                });
            eventually([&] { return client.getPlayerCount() == 0; }); // the destruction has begun
            std::this_thread::yield();
            over = true;
        }
    };
    player->addListener(&listener);
    deliverState(0x2000);
    if (child == 0)
    {
        destroyer.join();
        _exit(waited ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(Fork, theChildMayDestroyWhatOtherThreadsMakeAndDestroy)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "this sanitizer's allocator may be locked for ever in the child of a process with threads";
#endif
    constexpr int kForks = 100;
    om::OmListenerList<int> list;
    int listener = 0;
    {
        Receiver const deaths([] { deliverDeath(); });
        Receiver const players([&] { client.destroyPlayer(client.createPlayer(nullptr)); });
        Receiver const tools(
            [&]
            {
                client.createPreviewTool(nullptr);
                client.destroyPreviewTool();
            });
        Receiver const connections([&] { omc::OmcClient("never connected"); });
        Receiver const lists(
            [&]
            {
                list.add(&listener);
                list.forEach([](int&) {});
                list.remove(&listener);
            });
        for (int i = 0; i < kForks; ++i)
        {
            players.waitForRounds(1);
            ASSERT_EQ(statusOfChild(
                          [&]
                          {
                              list.add(&listener);
                              list.forEach([](int&) {});
                              client.createPreviewTool(nullptr);
                              client.destroyPreviewTool();
                              return list.remove(&listener) == 0 && destroyEverything();
                          }),
                      0);
        }
    }
}

TEST_F(Fork, aTimersCallbackMayForkWhateverOtherThreadsDo)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "this sanitizer's allocator may be locked for ever in the child of a process with threads";
#endif
    class Forking final : public om::OmITimerListener
    {
    public:
        std::function<void()> onCall;
        void onTimeout(unsigned int) override { onCall(); }
    };
    std::atomic<int> forks{0};
    std::atomic<int> failures{0};
    Forking listener;
    listener.onCall = [&]
    {
        failures += statusOfChild([this] { return destroyEverything(); }) == 0 ? 0 : 1;
        ++forks;
    };
    om::OmTimer forking(&listener);
    {
        Receiver const deaths([] { deliverDeath(); });
        Receiver const players([&] { client.destroyPlayer(client.createPlayer(nullptr)); });
        Receiver const connections([&] { omc::OmcClient("never connected"); });
        Receiver const timers(
            []
            {
                om::OmTimer timer(nullptr);
                timer.setTime(om::OmTimer::kFirstTaskId, 1'000'000, 0);
            });
        ASSERT_EQ(forking.setTime(om::OmTimer::kFirstTaskId, 0, 1), 0);
        EXPECT_TRUE(eventually([&] { return forks >= 10; }));
    }
    forking.cancelAll();
    EXPECT_EQ(failures, 0);
}
