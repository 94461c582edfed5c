// SPDX-License-Identifier: Apache-2.0
// Destruction and removal of listeners against events, from outside and from inside callbacks. Made for the sanitizers.
#include "wire/lifetime_wire.h"

using namespace tz::orvane;
using namespace tz::orvane::test;
using ::testing::ElementsAre;

TEST_F(Lifetime, playersAreDestroyedWhileTheirEventsArrive)
{
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdCreatePlayer, [](mdt::MsgData& reply) { reply.writeUInt32(0x2000); });
    Receiver const receiver([] { deliverState(0x2000); });
    for (int i = 0; i < kWireRounds; ++i)
    {
        auto listener = std::make_unique<PlayerListener>();
        om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        player->addListener(listener.get());
        if (i % 10 == 0)
        {
            EXPECT_TRUE(eventually([&] { return listener->calls > 0; }));
        }
        client.destroyPlayer(player);
        listener.reset(); // nobody calls it any more
    }
}

TEST_F(Lifetime, playersAreDestroyedWhileTheServiceSendsTheirEvents)
{
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdCreatePlayer, [](mdt::MsgData& reply) { reply.writeUInt32(0x2000); });
    for (int i = 0; i < kWireRounds / 2; ++i)
    {
        auto listener = std::make_unique<PlayerListener>();
        om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        player->addListener(listener.get());
        service.run(
            [](mdt::MdtsMessenger& messenger)
            {
                for (int event = 0; event < 8; ++event)
                {
                    mdt::MsgData message(kCnid, 0x2000, protocol::kMsgPlayerStateChanged, 1);
                    fillState(message, 0x2000);
                    messenger.postEvent(message);
                }
            });
        client.destroyPlayer(player);
        listener.reset();
    }
}

TEST_F(Lifetime, playersDestroyThemselvesFromInsideTheirCallback)
{
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdCreatePlayer, [](mdt::MsgData& reply) { reply.writeUInt32(0x2000); });
    for (int i = 0; i < kWireRounds; ++i)
    {
        PlayerListener first;
        PlayerListener second;
        om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        player->addListener(&first);
        player->addListener(&second);
        bool const byId = i % 2 == 0;
        first.onCall = [&](om::OmIMediaPlayer* self)
        {
            byId ? client.destroyPlayer(0x2000u) : client.destroyPlayer(self);
            EXPECT_EQ(client.findPlayer(0x2000), nullptr);
            self->pause(); // it is still there until the callback has returned
        };
        deliverState(0x2000);
        EXPECT_EQ(first.calls, 1);
        EXPECT_EQ(second.calls, 0);
        deliverState(0x2000);
        EXPECT_EQ(first.calls, 1);
    }
    service.forget();
}

TEST_F(Lifetime, theServiceHearsOfASelfDestructionAtOnceAndOnce)
{
    omc::OmcClient& client = connect();
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    PlayerListener listener;
    std::vector<std::string> atOnce;
    listener.onCall = [&](om::OmIMediaPlayer* self)
    {
        client.destroyPlayer(self);
        atOnce = sent(client);
    };
    player->addListener(&listener);
    sent(client);
    LogCapture const log;
    deliverState(0x2000);
    EXPECT_THAT(atOnce,
                ElementsAre("msg=0xA107 uid=0x0000 type=1 oneway uint32(8192)", "msg=0xA22B uid=0x2000 type=1 oneway"));
    EXPECT_THAT(sent(client), ElementsAre());
}

TEST_F(Lifetime, theMemoryOfASelfDestructionGoesAfterTheOutermostCallback)
{
    omc::OmcClient& client = connect();
    int destroyed = 0;
    PlayerListener outer;
    PlayerListener inner;
    om::OmIMediaPlayer* const other = client.createPlayer(nullptr);
    auto* const counted = new CountedPlayer(kCnid, 0x2777, destroyed);
    client.getPlayerMap()[0x2777] = counted;
    counted->addListener(&inner);
    inner.onCall = [&](om::OmIMediaPlayer* self) { client.destroyPlayer(self); };
    other->addListener(&outer);
    outer.onCall = [&](om::OmIMediaPlayer*)
    {
        deliverState(0x2777);
        EXPECT_EQ(destroyed, 0);
    };
    deliverState(0x2000);
    EXPECT_EQ(outer.calls, 1);
    EXPECT_EQ(inner.calls, 1);
    EXPECT_EQ(destroyed, 1);
    other->removeListener(&outer);
}

TEST_F(Lifetime, allPlayersAreDestroyedFromInsideOneOfTheirCallbacks)
{
    omc::OmcClient& client = connect();
    for (int i = 0; i < kWireRounds / 10; ++i)
    {
        PlayerListener listener;
        for (int id = 0x2000; id < 0x2003; ++id)
        {
            service.answer(protocol::kCmdCreatePlayer,
                           [id](mdt::MsgData& reply) { reply.writeUInt32(static_cast<unsigned int>(id)); });
            client.createPlayer(nullptr)->addListener(&listener);
        }
        listener.onCall = [&](om::OmIMediaPlayer*) { client.destroyPlayerAll(); };
        deliverState(0x2001);
        EXPECT_EQ(listener.calls, 1);
        EXPECT_EQ(client.getPlayerCount(), 0u);
    }
}

TEST_F(Lifetime, thePreviewToolIsDestroyedFromInsideItsCallbackAndFromOutside)
{
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdCreatePreviewTool, [](mdt::MsgData& reply) { reply.writeUInt32(0x4000); });
    for (int i = 0; i < kWireRounds / 2; ++i)
    {
        ToolListener listener;
        client.createPreviewTool(nullptr)->setListener(&listener);
        listener.onCall = [&]
        {
            client.destroyPreviewTool();
            EXPECT_EQ(client.getPreviewTool(), nullptr);
        };
        deliverPreview();
        deliverPreview();
        EXPECT_EQ(listener.calls, 1);
    }
    EXPECT_TRUE(eventually(
        [&] { return service.count(protocol::kCmdDestroyPreviewTool) == static_cast<std::size_t>(kWireRounds / 2); }));
    Receiver const receiver([] { deliverPreview(); });
    for (int i = 0; i < kWireRounds / 2; ++i)
    {
        auto listener = std::make_unique<ToolListener>();
        client.createPreviewTool(nullptr)->setListener(listener.get());
        client.destroyPreviewTool();
        listener.reset();
    }
}

TEST_F(Lifetime, agentsAreDestroyedWhileTheirEventsArrive)
{
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdCreateDrmAgent, [](mdt::MsgData& reply) { reply.writeUInt32(0x6000); });
    Receiver const receiver([] { deliverDrm(); });
    for (int i = 0; i < kWireRounds; ++i)
    {
        auto listener = std::make_unique<AgentListener>();
        auto agent = client.createDrmAgent(1);
        agent->addListener(listener.get());
        if (i % 10 == 0)
        {
            EXPECT_TRUE(eventually([&] { return listener->calls > 0; }));
        }
        if (i % 2 == 0)
        {
            client.destroyDrmAgent(agent);
        }
        else
        {
            agent.reset();
            client.destroyDrmAgent(0x6000u);
        }
        listener.reset();
    }
}

TEST_F(Lifetime, agentsDestroyThemselvesFromInsideTheirCallback)
{
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdCreateDrmAgent, [](mdt::MsgData& reply) { reply.writeUInt32(0x6000); });
    for (int i = 0; i < kWireRounds / 2; ++i)
    {
        AgentListener first;
        AgentListener second;
        auto agent = client.createDrmAgent(1);
        agent->addListener(&first);
        agent->addListener(&second);
        agent.reset();
        bool const byId = i % 2 == 0;
        first.onCall = [&]
        { byId ? client.destroyDrmAgent(0x6000u) : client.destroyDrmAgent(client.findDrmAgent(0x6000)); };
        deliverDrm();
        deliverDrm();
        EXPECT_EQ(first.calls, 1);
        EXPECT_EQ(second.calls, 0);
    }
}

TEST_F(Lifetime, agentsAreSilentWhenTheirConnectionIsDestroyedFromInsideACallback)
{
    LogCapture const quiet(platform::DebugLevel::off);
    service.answer(protocol::kCmdCreateDrmAgent, [](mdt::MsgData& reply) { reply.writeUInt32(0x6000); });
    for (int i = 0; i < kWireRounds / 10; ++i)
    {
        omc::OmcClient& client = connect();
        AgentListener first;
        AgentListener second;
        auto const agent = client.createDrmAgent(1);
        agent->addListener(&first);
        agent->addListener(&second);
        first.onCall = [&] { access.destroyConnection(&client); };
        deliverDrm();
        deliverDrm();
        EXPECT_EQ(first.calls, 1);
        EXPECT_EQ(second.calls, 0);
    }
}

TEST_F(Lifetime, anAgentThatStaysOutsideItsCallbackKeepsItsListeners)
{
    omc::OmcClient& client = connect();
    AgentListener listener;
    auto const agent = client.createDrmAgent(1);
    agent->addListener(&listener);
    client.destroyDrmAgent(agent);
    EXPECT_EQ(agent->removeListener(&listener), 0);
}

TEST_F(Lifetime, connectionsAreDestroyedWhileTheirEventsArrive)
{
    LogCapture const quiet(platform::DebugLevel::off);
    Receiver const receiver(
        []
        {
            deliverDeath();
            deliverState(0x2000);
        });
    for (int i = 0; i < kWireRounds; ++i)
    {
        auto listener = std::make_unique<ConnectionListener>();
        auto playerListener = std::make_unique<PlayerListener>();
        omc::OmcClient& client = connect();
        client.addListener(listener.get());
        service.answer(protocol::kCmdCreatePlayer, [](mdt::MsgData& reply) { reply.writeUInt32(0x2000); });
        client.createPlayer(nullptr)->addListener(playerListener.get());
        if (i % 10 == 0)
        {
            EXPECT_TRUE(eventually([&] { return playerListener->calls > 0 && !listener->calls().empty(); }));
        }
        i % 2 == 0 ? access.destroyConnection(&client) : access.destroyConnection(static_cast<unsigned int>(kCnid));
        listener.reset();
        playerListener.reset();
    }
}

TEST_F(Lifetime, connectionsAreDestroyedFromInsideTheNewsOfTheirDeath)
{
    for (int i = 0; i < kWireRounds; ++i)
    {
        omc::OmcClient& client = connect();
        ConnectionListener first;
        ConnectionListener second;
        client.addListener(&first);
        client.addListener(&second);
        client.createPlayer(nullptr);
        client.createPreviewTool(nullptr);
        first.onCall = [&](om::OmIConnection* conn)
        {
            access.destroyConnection(conn);
            EXPECT_EQ(access.getConnectionCount(), 0u);
            EXPECT_EQ(conn->getPlayerCount(), 0u);
        };
        deliverDeath();
        deliverDeath();
        EXPECT_THAT(first.calls(), ElementsAre("changed 0xA004"));
        EXPECT_THAT(second.calls(), ElementsAre());
    }
}

TEST_F(Lifetime, connectionsAreDestroyedWhenTheServiceDies)
{
    omc::OmcClient& client = connect();
    ConnectionListener listener;
    std::atomic<bool> done{false};
    client.createPlayer(nullptr);
    listener.onCall = [&](om::OmIConnection* conn)
    {
        access.destroyConnection(conn);
        done = true;
    };
    client.addListener(&listener);
    service.stop();
    EXPECT_TRUE(eventually([&] { return done.load(); }));
    EXPECT_EQ(access.getConnectionCount(), 0u);
    EXPECT_THAT(listener.calls(), ElementsAre("changed 0xA004"));
}

TEST_F(Lifetime, theServiceHearsOfAConnectionsSelfDestructionAtOnceAndOnce)
{
    omc::OmcClient& client = connect();
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    client.createPreviewTool(nullptr);
    PlayerListener listener;
    player->addListener(&listener);
    sent(client);
    std::vector<std::string> atOnce;
    listener.onCall = [&](om::OmIMediaPlayer*)
    {
        access.destroyConnectionAll();
        EXPECT_TRUE(service.waitForDisconnects(1));
        atOnce = sent();
    };
    deliverState(0x2000);
    EXPECT_EQ(listener.calls, 1);
    EXPECT_THAT(atOnce, ElementsAre("msg=0xA10D uid=0x0000 type=1 oneway", "msg=0xA108 uid=0x0000 type=1 oneway",
                                    "msg=0xA22B uid=0x2000 type=1 oneway", "msg=0xA10A uid=0x0000 type=1 oneway"));
    EXPECT_THAT(sent(), ElementsAre());
}

TEST_F(Lifetime, playersGoBeforeTheirConnection)
{
    std::string order;
    class Telling : public NumberedClient
    {
    public:
        explicit Telling(std::string& text)
            : NumberedClient(kCnid)
            , m_text(text)
        {
        }
        ~Telling() override { m_text += " client"; }

    private:
        std::string& m_text;
    };
    class TellingPlayer : public omc::OmcMediaPlayer
    {
    public:
        explicit TellingPlayer(std::string& text)
            : OmcMediaPlayer(kCnid, 0x2000)
            , m_text(text)
        {
        }
        ~TellingPlayer() override { m_text += " player"; }

    private:
        std::string& m_text;
    };
    LogCapture const log;
    auto* const client = new Telling(order);
    auto* const player = new TellingPlayer(order);
    client->getPlayerMap()[0x2000] = player;
    ASSERT_EQ(access.addConnection(client), 0);
    PlayerListener listener;
    player->addListener(&listener);
    listener.onCall = [&](om::OmIMediaPlayer*)
    {
        access.destroyConnection(client);
        EXPECT_EQ(order, "");
    };
    deliverState(0x2000);
    EXPECT_EQ(order, " player client");
}

TEST_F(Lifetime, connectionsDestroyThemselvesOnTheRealReceiveThread)
{
    for (int i = 0; i < kWireRounds / 4; ++i)
    {
        omc::OmcClient& client = connect();
        om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        int const plid = static_cast<int>(player->getPlayerID());
        PlayerListener listener;
        std::atomic<bool> done{false};
        listener.onCall = [&](om::OmIMediaPlayer*)
        {
            access.destroyConnectionAll();
            done = true;
        };
        player->addListener(&listener);
        for (int event = 0; event < 3; ++event)
        {
            service.postEvent(kCnid, plid, protocol::kMsgPlayerStateChanged,
                              [plid](mdt::MsgData& message) { fillState(message, plid); });
        }
        EXPECT_TRUE(eventually([&] { return done.load(); }));
        EXPECT_EQ(listener.calls, 1);
    }
}

TEST_F(Lifetime, listenersAreDeletedRightAfterTheirRemoval)
{
    omc::OmcClient& client = connect();
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    om::OmIPreviewTool* const tool = client.createPreviewTool(nullptr);
    auto const agent = client.createDrmAgent(1);
    Receiver const receiver(
        []
        {
            deliverDeath();
            deliverState(0x2000);
            deliverPreview();
            deliverDrm();
        });
    for (int i = 0; i < kManyRounds; ++i)
    {
        auto connectionListener = std::make_unique<ConnectionListener>();
        auto playerListener = std::make_unique<PlayerListener>();
        auto toolListener = std::make_unique<ToolListener>();
        auto agentListener = std::make_unique<AgentListener>();
        client.addListener(connectionListener.get());
        player->addListener(playerListener.get());
        tool->setListener(toolListener.get());
        agent->addListener(agentListener.get());
        if (i % 100 == 0)
        {
            receiver.waitForRounds(3);
        }
        EXPECT_EQ(client.removeListener(connectionListener.get()), 0);
        connectionListener.reset();
        EXPECT_EQ(player->removeListener(playerListener.get()), 0);
        playerListener.reset();
        tool->setListener(nullptr);
        toolListener.reset();
        EXPECT_EQ(agent->removeListener(agentListener.get()), 0);
        agentListener.reset();
    }
}

TEST_F(Lifetime, aRemovedConnectionMayBeDeletedWhileEventsArrive)
{
    LogCapture const quiet(platform::DebugLevel::off);
    Receiver const receiver([] { deliverDeath(); });
    for (int i = 0; i < kManyRounds; ++i)
    {
        ConnectionListener listener;
        auto client = std::make_unique<NumberedClient>(kCnid);
        client->addListener(&listener);
        ASSERT_EQ(access.addConnection(client.get()), 0);
        if (i % 100 == 0)
        {
            EXPECT_TRUE(eventually([&] { return !listener.calls().empty(); }));
        }
        access.removeConnection(client.get());
        client.reset();
    }
}

TEST_F(Lifetime, aConnectionMayBeRemovedFromInsideItsCallback)
{
    LogCapture const log;
    NumberedClient client(kCnid);
    ConnectionListener listener;
    listener.onCall = [&](om::OmIConnection* conn) { access.removeConnection(conn); };
    client.addListener(&listener);
    ASSERT_EQ(access.addConnection(&client), 0);
    deliverDeath();
    deliverDeath();
    EXPECT_EQ(listener.calls().size(), 1u);
}

TEST_F(Lifetime, queriesWorkInsideListeners)
{
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdGetCurPosition, [](mdt::MsgData& reply) { reply.writeSInt64(4711); });
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    int const plid = static_cast<int>(player->getPlayerID());
    PlayerListener listener;
    std::atomic<long long> position{0};
    std::atomic<bool> created{false};
    listener.onCall = [&](om::OmIMediaPlayer* self)
    {
        long long here = 0;
        self->getCurPosition(here);
        created = client.createPreviewTool(nullptr) != nullptr;
        position = here;
    };
    player->addListener(&listener);
    service.postEvent(kCnid, plid, protocol::kMsgPlayerStateChanged,
                      [plid](mdt::MsgData& message) { fillState(message, plid); });
    EXPECT_TRUE(eventually([&] { return position == 4711; }));
    EXPECT_TRUE(created);
    player->removeListener(&listener);
}
