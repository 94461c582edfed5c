// SPDX-License-Identifier: Apache-2.0
// Two threads that destroy or make the same object at once. Made for the sanitizers.
#include "wire/lifetime_wire.h"

using namespace tz::orvane;
using namespace tz::orvane::test;

TEST_F(Lifetime, twoThreadsDestroyOnePlayer)
{
    LogCapture const quiet(platform::DebugLevel::off);
    omc::OmcClient& client = connect();
    Receiver const receiver([] { deliverState(0x2000); });
    service.answer(protocol::kCmdCreatePlayer, [](mdt::MsgData& reply) { reply.writeUInt32(0x2000); });
    for (int i = 0; i < kWireRounds; ++i)
    {
        om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        bool const byId = i % 2 == 0;
        together([&] { client.destroyPlayer(player); },
                 [&] { byId ? client.destroyPlayer(0x2000u) : client.destroyPlayer(player); });
        EXPECT_EQ(client.getPlayerCount(), 0u);
    }
    ScriptedService::settle(kCnid);
    EXPECT_EQ(service.count(protocol::kCmdReleaseMediaPlayer), static_cast<std::size_t>(kWireRounds));
    EXPECT_EQ(service.count(protocol::kCmdDestroyPlayer), static_cast<std::size_t>(kWireRounds));
}

TEST_F(Lifetime, aPlayerIsDestroyedFromInsideAndFromOutsideAtOnce)
{
    LogCapture const quiet(platform::DebugLevel::off);
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdCreatePlayer, [](mdt::MsgData& reply) { reply.writeUInt32(0x2000); });
    for (int i = 0; i < kWireRounds; ++i)
    {
        PlayerListener listener;
        om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        player->addListener(&listener);
        listener.onCall = [&](om::OmIMediaPlayer* self) { client.destroyPlayer(self); };
        together([&] { client.destroyPlayer(player); }, [] { deliverState(0x2000); });
    }
    ScriptedService::settle(kCnid);
    EXPECT_EQ(service.count(protocol::kCmdReleaseMediaPlayer), static_cast<std::size_t>(kWireRounds));
}

TEST_F(Lifetime, aPlayerIsDestroyedWhileItsCallbackDestroysTheConnection)
{
    LogCapture const quiet(platform::DebugLevel::off);
    for (int i = 0; i < kWireRounds; ++i)
    {
        omc::OmcClient& client = connect();
        service.answer(protocol::kCmdCreatePlayer, [](mdt::MsgData& reply) { reply.writeUInt32(0x2000); });
        PlayerListener listener;
        om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        player->addListener(&listener);
        std::atomic<bool> inside{false};
        listener.onCall = [&](om::OmIMediaPlayer*)
        {
            inside = true;
            std::this_thread::yield();
            access.destroyConnection(static_cast<unsigned int>(kCnid));
        };
        std::thread receiver([] { deliverState(0x2000); });
        EXPECT_TRUE(eventually([&] { return inside.load(); }));
        access.destroyConnectionAll();
        receiver.join();
        EXPECT_EQ(access.getConnectionCount(), 0u);
    }
}

TEST_F(Lifetime, twoThreadsDestroyOneConnection)
{
    LogCapture const quiet(platform::DebugLevel::off);
    Receiver const receiver([] { deliverDeath(); });
    for (int i = 0; i < kWireRounds; ++i)
    {
        om::OmIConnection* const conn = &connect();
        switch (i % 3)
        {
        case 0:
            together([&] { access.destroyConnection(conn); }, [&] { access.destroyConnection(conn); });
            break;
        case 1:
            together([&] { access.destroyConnection(conn); },
                     [&] { access.destroyConnection(static_cast<unsigned int>(kCnid)); });
            break;
        default:
            together([&] { access.destroyConnectionAll(); },
                     [&] { access.destroyConnection(static_cast<unsigned int>(kCnid)); });
            break;
        }
        EXPECT_EQ(access.getConnectionCount(), 0u);
    }
}

TEST_F(Lifetime, aConnectionIsDestroyedFromInsideAndFromOutsideAtOnce)
{
    LogCapture const quiet(platform::DebugLevel::off);
    for (int i = 0; i < kWireRounds; ++i)
    {
        om::OmIConnection* const conn = &connect();
        ConnectionListener listener;
        listener.onCall = [&](om::OmIConnection* self) { access.destroyConnection(self); };
        conn->addListener(&listener);
        together([&] { access.destroyConnection(conn); }, [] { deliverDeath(); });
        EXPECT_EQ(access.getConnectionCount(), 0u);
    }
}

TEST_F(Lifetime, twoThreadsCreateOnePreviewTool)
{
    omc::OmcClient& client = connect();
    for (int i = 0; i < kWireRounds / 2; ++i)
    {
        om::OmIPreviewTool* first = nullptr;
        om::OmIPreviewTool* second = nullptr;
        together([&] { first = client.createPreviewTool(nullptr); },
                 [&] { second = client.createPreviewTool(nullptr); });
        EXPECT_NE(first, nullptr);
        EXPECT_EQ(first, second);
        client.destroyPreviewTool();
    }
    ScriptedService::settle(kCnid);
    EXPECT_EQ(service.count(protocol::kCmdCreatePreviewTool), static_cast<std::size_t>(kWireRounds / 2));
}

TEST_F(Lifetime, aPreviewToolIsCreatedWhileAnotherThreadDestroysIt)
{
    LogCapture const quiet(platform::DebugLevel::off);
    omc::OmcClient& client = connect();
    service.forget();
    for (int i = 0; i < kWireRounds; ++i)
    {
        together([&] { client.createPreviewTool(nullptr); },
                 [&]
                 {
                     client.destroyPreviewTool();
                     client.createPreviewTool(nullptr);
                     client.destroyPreviewTool();
                 });
    }
    client.destroyPreviewTool();
    ScriptedService::settle(kCnid);
    int last = protocol::kCmdDestroyPreviewTool;
    for (RecordedMessage const& message : service.messages())
    {
        ASSERT_NE(message.msg, last) << "a tool of the client is none of the service";
        last = message.msg;
    }
    EXPECT_EQ(last, protocol::kCmdDestroyPreviewTool);
    EXPECT_GE(service.count(protocol::kCmdCreatePreviewTool), static_cast<std::size_t>(kWireRounds));
}

TEST_F(Lifetime, manyThreadsDeliverAtOnce)
{
    omc::OmcClient& client = connect();
    PlayerListener listener;
    client.createPlayer(nullptr)->addListener(&listener);
    {
        Receiver const first([] { deliverState(0x2000); });
        Receiver const second([] { deliverState(0x2000); });
        Receiver const third([] { deliverDeath(); });
        first.waitForRounds(1000);
        second.waitForRounds(1000);
        third.waitForRounds(1000);
    }
    EXPECT_GE(listener.calls, 2000);
    client.destroyPlayerAll();
}

TEST_F(Lifetime, aPlayerStaysWhileItsGetterRunsInAnotherDestruction)
{
    class SlowPlayer : public omc::OmcMediaPlayer
    {
    public:
        SlowPlayer(NumberedClient& client, std::atomic<bool>& entered, std::atomic<bool>& destroyed)
            : OmcMediaPlayer(kCnid, 0x2000)
            , m_client(client)
            , m_entered(entered)
            , m_destroyed(destroyed)
        {
        }
        ~SlowPlayer() override { m_destroyed = true; }

        unsigned int getPlayerID() override
        {
            if (!m_entered.exchange(true))
            {
                EXPECT_TRUE(eventually([&] { return m_client.getPlayerCount() == 0; }));
                for (int i = 0; i < 1000; ++i)
                {
                    std::this_thread::yield();
                    EXPECT_FALSE(m_destroyed);
                }
            }
            return 0x2000;
        }

    private:
        NumberedClient& m_client;
        std::atomic<bool>& m_entered;
        std::atomic<bool>& m_destroyed;
    };
    LogCapture const quiet(platform::DebugLevel::off);
    NumberedClient client(kCnid);
    std::atomic<bool> entered{false};
    std::atomic<bool> destroyed{false};
    auto* const player = new SlowPlayer(client, entered, destroyed);
    client.getPlayerMap()[0x2000] = player;
    std::thread slow([&] { client.destroyPlayer(player); });
    EXPECT_TRUE(eventually([&] { return entered.load(); }));
    client.destroyPlayer(player);
    EXPECT_TRUE(destroyed);
    slow.join();
}

TEST_F(Lifetime, aConnectionStaysWhileItsGetterRunsInASearch)
{
    class SlowClient : public NumberedClient
    {
    public:
        SlowClient(om::OmIAccess& registry, std::atomic<bool>& entered, std::atomic<bool>& destroyed)
            : NumberedClient(kCnid)
            , m_registry(registry)
            , m_entered(entered)
            , m_destroyed(destroyed)
        {
        }
        ~SlowClient() override { m_destroyed = true; }

        om::OmString getAppName() override
        {
            if (m_armed.exchange(false))
            {
                m_entered = true;
                EXPECT_TRUE(eventually([&] { return m_registry.getConnectionCount() == 0; }));
                for (int i = 0; i < 1000; ++i)
                {
                    std::this_thread::yield();
                    EXPECT_FALSE(m_destroyed);
                }
            }
            return "slow";
        }

        void arm() { m_armed = true; }

    private:
        om::OmIAccess& m_registry;
        std::atomic<bool>& m_entered;
        std::atomic<bool>& m_destroyed;
        std::atomic<bool> m_armed{false};
    };
    LogCapture const log(platform::DebugLevel::info);
    std::atomic<bool> entered{false};
    std::atomic<bool> destroyed{false};
    auto* const client = new SlowClient(access, entered, destroyed);
    ASSERT_EQ(access.addConnection(client), 0);
    client->arm();
    std::thread slow([&] { access.findConnection(static_cast<unsigned int>(kCnid)); });
    EXPECT_TRUE(eventually([&] { return entered.load(); }));
    access.destroyConnectionAll();
    EXPECT_TRUE(destroyed);
    slow.join();
}
