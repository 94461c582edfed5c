// SPDX-License-Identifier: Apache-2.0
// Destruction from inside messages that somebody hands to an object himself, and of subclasses.
#include "wire/lifetime_wire.h"

#include <stdexcept>

using namespace tz::orvane;
using namespace tz::orvane::test;

namespace
{

/// A player with an id and a deinit of its own.
class RenamedPlayer final : public CountedPlayer
{
public:
    RenamedPlayer(int& destroyed, int& ended)
        : CountedPlayer(kCnid, 0x2000, destroyed)
        , m_ended(ended)
    {
    }

    unsigned int getPlayerID() override { return 0x2ABC; }

    int deinit() override
    {
        ++m_ended;
        return CountedPlayer::deinit();
    }

private:
    int& m_ended;
};

} // namespace

// Messages that somebody hands to an object himself.

TEST_F(Lifetime, playersDestroyThemselvesWhenAMessageIsHandedToThem)
{
    omc::OmcClient& client = connect();
    for (bool const frame : {false, true})
    {
        int destroyed = 0;
        FrameListener first;
        FrameListener second;
        auto* const player = new CountedPlayer(kCnid, 0x2777, destroyed);
        client.getPlayerMap()[0x2777] = player;
        player->addListener(&first);
        player->addListener(&second);
        first.onCall = [&](om::OmIMediaPlayer* self)
        {
            client.destroyPlayer(self);
            EXPECT_EQ(destroyed, 0);
        };
        mdt::MsgData message(kCnid, 0x2777, frame ? 0xC227 : 0xC212, 1);
        frame ? fillFrame(message, 0x2777) : fillState(message, 0x2777);
        EXPECT_EQ(frame ? player->dispatchEx(&message) : player->dispatch(&message), 0);
        EXPECT_EQ(first.calls, 1);
        EXPECT_EQ(second.calls, 0);
        EXPECT_EQ(destroyed, 1);
    }
}

TEST_F(Lifetime, connectionsAreDestroyedWhenAMessageIsHandedToTheirPlayer)
{
    int destroyed = 0;
    omc::OmcClient& client = connect();
    auto* const player = new CountedPlayer(kCnid, 0x2777, destroyed);
    client.getPlayerMap()[0x2777] = player;
    PlayerListener listener;
    player->addListener(&listener);
    listener.onCall = [&](om::OmIMediaPlayer* self)
    {
        access.destroyConnection(&client);
        EXPECT_EQ(self->getPlayerID(), 0x2777u);
    };
    mdt::MsgData message(kCnid, 0x2777, protocol::kMsgPlayerStateChanged, 1);
    fillState(message, 0x2777);
    EXPECT_EQ(player->dispatch(&message), 0);
    EXPECT_EQ(destroyed, 1);
}

TEST_F(Lifetime, toolsAndAgentsDestroyThemselvesWhenAMessageIsHandedToThem)
{
    omc::OmcClient& client = connect();
    ToolListener toolListener;
    om::OmIPreviewTool* const tool = client.createPreviewTool(nullptr);
    tool->setListener(&toolListener);
    toolListener.onCall = [&]
    {
        client.destroyPreviewTool();
        EXPECT_EQ(tool->getToolID(), 0x4000u);
    };
    mdt::MsgData preview(kCnid, 0x4000, protocol::kMsgPreviewInfo, 1);
    fillPreview(preview);
    EXPECT_EQ(tool->dispatch(&preview), 0);
    EXPECT_EQ(toolListener.calls, 1);

    AgentListener first;
    AgentListener second;
    om::OmIDrmAgent* const agent = client.createDrmAgent(1).get(); // the map holds it
    agent->addListener(&first);
    agent->addListener(&second);
    first.onCall = [&]
    {
        client.destroyDrmAgent(0x6000u);
        EXPECT_EQ(agent->getAgentID(), 0x6000u);
    };
    mdt::MsgData drm(kCnid, 0x6000, protocol::kMsgDrmEvent, 1);
    fillDrm(drm);
    EXPECT_EQ(agent->dispatch(&drm), 0);
    EXPECT_EQ(first.calls, 1);
    EXPECT_EQ(second.calls, 0);
}

TEST_F(Lifetime, aPlayerIsNotDestroyedWhileAnotherThreadHandsItAFrame)
{
    omc::OmcClient& client = connect();
    for (int i = 0; i < kWireRounds / 10; ++i)
    {
        int destroyed = 0;
        std::atomic<bool> inside{false};
        FrameListener listener;
        auto* const player = new CountedPlayer(kCnid, 0x2777, destroyed);
        client.getPlayerMap()[0x2777] = player;
        player->addListener(&listener);
        listener.onCall = [&](om::OmIMediaPlayer*) { inside = true; };
        std::thread handing(
            [&]
            {
                mdt::MsgData message(kCnid, 0x2777, protocol::kMsgPlayerFrameInfoUpdated, 1);
                fillFrame(message, 0x2777);
                EXPECT_EQ(player->dispatchEx(&message), 0);
            });
        EXPECT_TRUE(eventually([&] { return inside.load(); }));
        client.destroyPlayer(0x2777u);
        EXPECT_EQ(destroyed, 1);
        handing.join();
    }
}

TEST_F(Lifetime, anExceptionOfAListenerLeavesNothingBehind)
{
    omc::OmcClient& client = connect();
    int destroyed = 0;
    auto* const player = new CountedPlayer(kCnid, 0x2777, destroyed);
    client.getPlayerMap()[0x2777] = player;
    PlayerListener listener;
    listener.onCall = [](om::OmIMediaPlayer*) { throw std::runtime_error("out of the listener"); };
    player->addListener(&listener);
    std::thread([] { EXPECT_THROW(deliverState(0x2777), std::runtime_error); }).join();
    EXPECT_EQ(player->removeListener(&listener), 0);

    listener.onCall = [&](om::OmIMediaPlayer* self)
    {
        client.destroyPlayer(self);
        throw std::runtime_error("out of the listener");
    };
    player->addListener(&listener);
    std::thread([] { EXPECT_THROW(deliverState(0x2777), std::runtime_error); }).join();
    EXPECT_EQ(destroyed, 1);
    access.destroyConnection(kCnid);
    EXPECT_EQ(listener.calls, 2);
}

// Destruction of subclasses.

TEST_F(Lifetime, theEndOfAPlayerIsThatOfItsSubclassOnEveryPath)
{
    omc::OmcClient& client = connect();
    using Destroy = void (*)(omc::OmcClient&, om::OmIMediaPlayer*);
    for (Destroy const destroy :
         {Destroy([](omc::OmcClient&owner, om::OmIMediaPlayer*player) { owner.destroyPlayer(player); }),
          Destroy([](omc::OmcClient&owner, om::OmIMediaPlayer*) { owner.destroyPlayer(0x2ABCu); }),
          Destroy([](omc::OmcClient&owner, om::OmIMediaPlayer*) { owner.destroyPlayerAll(); })})
    {
        for (bool const inside : {false, true})
        {
            int destroyed = 0;
            int ended = 0;
            auto* const player = new RenamedPlayer(destroyed, ended);
            client.getPlayerMap()[0x2ABC] = player;
            PlayerListener listener;
            listener.onCall = [&](om::OmIMediaPlayer* self) { destroy(client, self); };
            player->addListener(&listener);
            service.forget();
            inside ? deliverState(0x2ABC) : destroy(client, player);
            EXPECT_EQ(destroyed, 1);
            EXPECT_EQ(ended, 1);
            EXPECT_THAT(sent(client), ::testing::Contains("msg=0xA22B uid=0x2ABC type=1 oneway").Times(1));
        }
    }
}
