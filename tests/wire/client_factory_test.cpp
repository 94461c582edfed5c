// SPDX-License-Identifier: Apache-2.0
// What a connection makes and destroys: players, the preview tool and DRM agents.
#include "wire/client_wire.h"

#include "orvane/om_property_group.h"
#include "orvane/omc_drm_agent.h"
#include "orvane/omc_mediaplayer.h"
#include "orvane/omc_preview_tool.h"

#include <cerrno>
#include <memory>
#include <thread>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

using namespace tz::orvane;
using namespace tz::orvane::test;
using ::testing::ElementsAre;

namespace
{

class OmcClientFactory : public ClientWire
{
protected:
    OmcClientFactory() { service.giveCnid(0x1001); }
};

/// What a group looks like among the texts of messages.
std::string groupText(std::vector<std::pair<std::string, std::string>> const& entries = {})
{
    std::string const image = groupImage(entries);
    return format("data(%zu: ", image.size()) + hexOf(image) + ")";
}

std::string sendFailure(int code)
{
    return format("Error! Failed to send msg or command from client to binder. ErrorCode=%d.", code);
}

class IdlePlayer : public omc::OmcMediaPlayer
{
public:
    using OmcMediaPlayer::OmcMediaPlayer;
};

} // namespace

TEST_F(OmcClientFactory, createPlayerWithoutParametersSendsAnEmptyGroup)
{
    omc::OmcClient& client = connect("cinema");
    LogCapture const log;
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    ASSERT_NE(player, nullptr);
    EXPECT_EQ(player->getPlayerID(), 0x2000u);
    EXPECT_EQ(player->getClientID(), 0x1001u);
    EXPECT_NE(dynamic_cast<omc::OmcMediaPlayer*>(player), nullptr);
    EXPECT_THAT(sent(client),
                ElementsAre("msg=0xA105 uid=0x0000 type=2 query " + groupText(), "msg=0xA229 uid=0x2000 type=1 oneway",
                            "msg=0xA201 uid=0x0000 type=1 oneway"));
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::createPlayer: Start. Client Id=0x1001, params=(nil)",
                            "OmcClient::createPlayer: Succeeded to send msg or command from client to binder.",
                            "OmcClient::createPlayer: Message Data: (pid=0x1001, uid=0x0000, cmd=0xA105, type=2, "
                            "plId=0x2000).",
                            "OmcClient::createPlayer: Client Id=0x1001 with appName cinema generates new MediaPlayer "
                            "whose client Id is 0x1001 and player's Id is msgDataOut (m_plid=0x2000).",
                            format("OmcClient::createPlayer: The print of the new player pointer is return value "
                                   "(OmcMediaPlayer =%p).",
                                   static_cast<void*>(player))));
    EXPECT_EQ(client.findPlayer(0x2000), player);
    EXPECT_EQ(client.getPlayerCount(), 1u);
}

TEST_F(OmcClientFactory, createPlayerSendsItsParameters)
{
    omc::OmcClient& client = connect();
    om::OmPropertyGroup params;
    params.add("priority", "high");
    LogCapture const log;
    ASSERT_NE(client.createPlayer(&params), nullptr);
    EXPECT_EQ(sent(client).front(), "msg=0xA105 uid=0x0000 type=2 query " + groupText({{"priority", "high"}}));
    EXPECT_EQ(log.textsOf("OmcClient::createPlayer").front(),
              format("Start. Client Id=0x1001, params=%p", static_cast<void*>(&params)));
}

TEST_F(OmcClientFactory, createPlayerGivesNullWhenTheServiceRefuses)
{
    omc::OmcClient& client = connect();
    service.refuse(protocol::kCmdCreatePlayer, -EUSERS);
    LogCapture const log;
    EXPECT_EQ(client.createPlayer(nullptr), nullptr);
    EXPECT_THAT(log.textsOf("OmcClient::createPlayer"),
                ElementsAre("Start. Client Id=0x1001, params=(nil)", sendFailure(-EUSERS)));
    EXPECT_EQ(client.getPlayerCount(), 0u);
}

TEST_F(OmcClientFactory, createPlayerTakesAReplyWithoutAnIdAsZero)
{
    omc::OmcClient& client = connect();
    service.answer(protocol::kCmdCreatePlayer, {});
    LogCapture const log;
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    ASSERT_NE(player, nullptr);
    EXPECT_EQ(player->getPlayerID(), 0u);
    EXPECT_EQ(client.getPlayerMap().count(0), 1u);
    EXPECT_EQ(client.findPlayer(0), nullptr);
}

TEST_F(OmcClientFactory, createPlayerGivesNullForAnIdThatIsTaken)
{
    omc::OmcClient& client = connect();
    om::OmIMediaPlayer* const first = client.createPlayer(nullptr);
    ASSERT_NE(first, nullptr);
    service.answer(protocol::kCmdCreatePlayer, [](mdt::MsgData& reply) { reply.writeUInt32(0x2000); });
    // The second player is nobody's, on purpose.
#if defined(__SANITIZE_ADDRESS__)
    __lsan::ScopedDisabler const ignored;
#endif
    EXPECT_EQ(client.createPlayer(nullptr), nullptr);
    EXPECT_EQ(client.findPlayer(0x2000), first);
    EXPECT_EQ(client.getPlayerCount(), 1u);
    client.destroyPlayer(first);
    ScriptedService::settle(0x1001);
    EXPECT_EQ(service.count(protocol::kCmdReleaseMediaPlayer), 1u);
}

TEST_F(OmcClientFactory, findPlayerRefusesOtherIdsWithoutSearching)
{
    omc::OmcClient& client = connect();
    LogCapture const log;
    EXPECT_EQ(client.findPlayer(0x1FFF), nullptr);
    EXPECT_EQ(client.findPlayer(0x3000), nullptr);
    EXPECT_EQ(client.findPlayer(0x2FFF), nullptr);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::findPlayer: Error! The input parameter (Player Id=0x1FFF) is invalid!.",
                            "OmcClient::findPlayer: Error! The input parameter (Player Id=0x3000) is invalid!.",
                            "OmcClient::findPlayer: Error! The input parameter (Player Id=0x2FFF) points to the end of "
                            "the PlayerMap!."));
}

TEST_F(OmcClientFactory, destroyPlayerTellsTheServiceAndReleasesThePlayer)
{
    omc::OmcClient& client = connect();
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    sent(client);
    LogCapture const log;
    client.destroyPlayer(player);
    EXPECT_THAT(sent(client),
                ElementsAre("msg=0xA107 uid=0x0000 type=1 oneway uint32(8192)", "msg=0xA22B uid=0x2000 type=1 oneway"));
    EXPECT_THAT(clientLines(log), ElementsAre());
    EXPECT_EQ(client.getPlayerCount(), 0u);
}

TEST_F(OmcClientFactory, destroyPlayerByIdFindsItFirst)
{
    omc::OmcClient& client = connect();
    ASSERT_NE(client.createPlayer(nullptr), nullptr);
    sent(client);
    LogCapture const log;
    client.destroyPlayer(0x2000u);
    EXPECT_THAT(sent(client),
                ElementsAre("msg=0xA107 uid=0x0000 type=1 oneway uint32(8192)", "msg=0xA22B uid=0x2000 type=1 oneway"));
    EXPECT_THAT(clientLines(log), ElementsAre("OmcClient::destroyPlayer:  Called.",
                                              "OmcClient::destroyPlayer: Start. this->cnid=0x1001, plid=0x2000"));
}

TEST_F(OmcClientFactory, destroyPlayerOfABadIdLogsBothFailures)
{
    omc::OmcClient& client = connect();
    LogCapture const log;
    client.destroyPlayer(0x1234u);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::destroyPlayer:  Called.",
                            "OmcClient::destroyPlayer: Start. this->cnid=0x1001, plid=0x1234",
                            "OmcClient::findPlayer: Error! The input parameter (Player Id=0x1234) is invalid!.",
                            "OmcClient::destroyPlayer: Invalid Param! player=NULL!"));
}

TEST_F(OmcClientFactory, destroyPlayerRefusesNullAndPlayersOfOthers)
{
    omc::OmcClient& client = connect();
    IdlePlayer foreign(0x1001, 0x2005);
    sent(client);
    LogCapture const log;
    client.destroyPlayer(nullptr);
    client.destroyPlayer(&foreign);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::destroyPlayer: Invalid Param! player=NULL!",
                            "OmcClient::destroyPlayer: Not Found! the player is not in the map of client. "
                            "plid=0x2005."));
    EXPECT_THAT(sent(client), ElementsAre());
    EXPECT_EQ(foreign.getPlayerID(), 0x2005u);
}

TEST_F(OmcClientFactory, destroyPlayerOfADestroyedOneOnlyLogs)
{
    omc::OmcClient& client = connect();
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    client.destroyPlayer(player);
    LogCapture const log;
    client.destroyPlayer(player);
    EXPECT_THAT(clientLines(log), ElementsAre("OmcClient::destroyPlayer: Not Found! the player is not in the map of "
                                              "client. plid=0x2000."));
}

TEST_F(OmcClientFactory, destroyPlayerGoesOnWhenItsMessageDoesNotLeave)
{
    LogCapture const log;
    NumberedClient client(0x1009);
    client.getPlayerMap()[0x2000] = new IdlePlayer(0x1009, 0x2000);
    client.destroyPlayer(0x2000u);
    EXPECT_EQ(log.textsOf("OmcClient::destroyPlayer").back(), sendFailure(-ENOTCONN));
    EXPECT_EQ(client.getPlayerCount(), 0u);
}

TEST_F(OmcClientFactory, destroyPlayerGoesByTheIdThatThePlayerGives)
{
    class Renamed : public IdlePlayer
    {
    public:
        using IdlePlayer::IdlePlayer;
        unsigned int getPlayerID() override { return 0x2777; }
    };
    LogCapture const log;
    NumberedClient client(0x1009);
    client.getPlayerMap()[0x2000] = new Renamed(0x1009, 0x2000);
    client.destroyPlayer(0x2000u);
    EXPECT_EQ(log.textsOf("OmcClient::destroyPlayer").back(),
              "Not Found! the player is not in the map of client. plid=0x2777.");
    EXPECT_EQ(client.getPlayerCount(), 1u);
}

TEST_F(OmcClientFactory, destroyPlayerAllSendsOneMessageAndGoesUpTheIds)
{
    omc::OmcClient& client = connect();
    for (unsigned int const plid : {0x2009u, 0x2003u})
    {
        service.answer(protocol::kCmdCreatePlayer, [plid](mdt::MsgData& reply) { reply.writeUInt32(plid); });
        ASSERT_NE(client.createPlayer(nullptr), nullptr);
    }
    client.getPlayerMap()[0x2005] = nullptr;
    sent(client);
    LogCapture const log;
    client.destroyPlayerAll();
    EXPECT_THAT(sent(client), ElementsAre("msg=0xA108 uid=0x0000 type=1 oneway", "msg=0xA22B uid=0x2003 type=1 oneway",
                                          "msg=0xA22B uid=0x2009 type=1 oneway"));
    EXPECT_THAT(clientLines(log), ElementsAre(format("OmcClient::destroyPlayerAll: plid=%d", 0x2003),
                                              format("OmcClient::destroyPlayerAll: plid=%d", 0x2005),
                                              format("OmcClient::destroyPlayerAll: plid=%d", 0x2009)));
    EXPECT_EQ(client.getPlayerCount(), 0u);
}

TEST_F(OmcClientFactory, destroyPlayerAllOfNoneSendsNothing)
{
    omc::OmcClient& client = connect();
    LogCapture const log;
    client.destroyPlayerAll();
    EXPECT_THAT(sent(client), ElementsAre());
    EXPECT_THAT(clientLines(log), ElementsAre("OmcClient::destroyPlayerAll: player list is empty!"));
}

TEST_F(OmcClientFactory, destroyPlayerAllGoesOnWhenItsMessageDoesNotLeave)
{
    LogCapture const log;
    NumberedClient client(0x1009);
    client.getPlayerMap()[0x2000] = new IdlePlayer(0x1009, 0x2000);
    client.destroyPlayerAll();
    EXPECT_THAT(log.textsOf("OmcClient::destroyPlayerAll"),
                ElementsAre(format("call postMsg() fail, result=%d", -ENOTCONN), "plid=8192"));
    EXPECT_EQ(client.getPlayerCount(), 0u);
}

TEST_F(OmcClientFactory, stopPlayerAllLeavesThePlayers)
{
    omc::OmcClient& client = connect();
    om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
    sent(client);
    client.stopPlayerAll();
    EXPECT_THAT(sent(client), ElementsAre("msg=0xA10E uid=0x0000 type=1 oneway"));
    EXPECT_EQ(client.findPlayer(0x2000), player);
}

TEST_F(OmcClientFactory, stopPlayerAllLogsAMessageThatDidNotLeave)
{
    LogCapture const log;
    NumberedClient client(0x1009);
    client.stopPlayerAll();
    EXPECT_EQ(log.textsOf("OmcClient::stopPlayerAll").back(), format(" call postMsg() fail, result=%d", -ENOTCONN));
}

TEST_F(OmcClientFactory, createPreviewToolAsksOnceAndGivesTheSameTool)
{
    omc::OmcClient& client = connect();
    om::OmPropertyGroup params;
    params.add("cache", "off");
    LogCapture log;
    om::OmIPreviewTool* const tool = client.createPreviewTool(&params);
    ASSERT_NE(tool, nullptr);
    EXPECT_EQ(tool->getToolID(), 0x4000u);
    EXPECT_EQ(tool->getClientID(), 0x1001u);
    EXPECT_EQ(client.getPreviewTool(), tool);
    EXPECT_THAT(clientLines(log), ElementsAre("OmcClient::createPreviewTool:  Message data reply: cnid=0x1001, "
                                              "plid=0x0000, type=2, cmd=0xA109",
                                              "OmcClient::createPreviewTool:  Create complete! preview-tool=4000"));
    log.clear();
    EXPECT_EQ(client.createPreviewTool(nullptr), tool);
    EXPECT_THAT(clientLines(log), ElementsAre(format("OmcClient::createPreviewTool:  Complete! preview-tool=%p",
                                                     static_cast<void*>(tool))));
    EXPECT_THAT(sent(client), ElementsAre("msg=0xA109 uid=0x0000 type=2 query " + groupText({{"cache", "off"}})));
}

TEST_F(OmcClientFactory, createPreviewToolWithoutParametersSendsAnEmptyGroup)
{
    omc::OmcClient& client = connect();
    ASSERT_NE(client.createPreviewTool(nullptr), nullptr);
    EXPECT_THAT(sent(client), ElementsAre("msg=0xA109 uid=0x0000 type=2 query " + groupText()));
}

TEST_F(OmcClientFactory, createPreviewToolGivesNullWhenTheServiceRefuses)
{
    omc::OmcClient& client = connect();
    service.refuse(protocol::kCmdCreatePreviewTool, -EACCES);
    LogCapture const log;
    EXPECT_EQ(client.createPreviewTool(nullptr), nullptr);
    EXPECT_THAT(clientLines(log), ElementsAre(format("OmcClient::createPreviewTool:  Call "
                                                     "MdtcMessenger::GetInstance().postMsg() Failed! result=%d",
                                                     -EACCES)));
    EXPECT_EQ(client.getPreviewTool(), nullptr);
}

TEST_F(OmcClientFactory, destroyPreviewToolSendsNoId)
{
    omc::OmcClient& client = connect();
    ASSERT_NE(client.createPreviewTool(nullptr), nullptr);
    sent(client);
    LogCapture const log;
    client.destroyPreviewTool();
    EXPECT_THAT(sent(client), ElementsAre("msg=0xA10A uid=0x0000 type=1 oneway"));
    EXPECT_EQ(client.getPreviewTool(), nullptr);
    client.destroyPreviewTool();
    EXPECT_THAT(clientLines(log), ElementsAre("OmcClient::destroyPreviewTool: Invalid Param! m_prevTool_p=NULL!"));
    EXPECT_THAT(sent(client), ElementsAre());
}

TEST_F(OmcClientFactory, destroyPreviewToolGoesOnWhenItsMessageDoesNotLeave)
{
    class WithTool : public NumberedClient
    {
    public:
        WithTool()
            : NumberedClient(0x1009)
        {
            m_prevTool_p = new omc::OmcPreviewInfoTool(0x1009, 0x4000);
        }
    };
    LogCapture const log;
    WithTool client;
    client.destroyPreviewTool();
    EXPECT_THAT(log.textsOf("OmcClient::destroyPreviewTool"), ElementsAre(sendFailure(-ENOTCONN)));
    EXPECT_EQ(client.getPreviewTool(), nullptr);
}

TEST_F(OmcClientFactory, createDrmAgentSharesTheAgent)
{
    omc::OmcClient& client = connect("cinema");
    LogCapture const log;
    std::shared_ptr<om::OmIDrmAgent> const agent = client.createDrmAgent(9);
    ASSERT_NE(agent, nullptr);
    EXPECT_EQ(agent->getAgentID(), 0x6000u);
    EXPECT_EQ(agent->getClientID(), 0x1001u);
    EXPECT_EQ(agent.use_count(), 2);
    EXPECT_THAT(sent(client), ElementsAre("msg=0xA510 uid=0x0000 type=2 query uint32(9)"));
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::createDrmAgent:  ENTER",
                            "OmcClient::createDrmAgent: Start of createDrmAgent()------------------------------"
                            "m_cnid=0x1001, drmType=9",
                            "OmcClient::createDrmAgent:  Succeeded to send msg or command from client to binder..",
                            "OmcClient::createDrmAgent: Start of createDrmAgent()------------------------------"
                            "pid=0x1001, uid=0x0000, cmd=0xA510, type=2",
                            "OmcClient::createDrmAgent: Client Id=0x1001 with appName cinema generates new MediaPlayer "
                            "whose client Id is 0x1001 and player's Id is msgDataOut (m_plid=0x6000)."));
    EXPECT_EQ(client.findDrmAgent(0x6000), agent);
}

TEST_F(OmcClientFactory, createDrmAgentGivesNothingWhenTheServiceRefuses)
{
    omc::OmcClient& client = connect();
    service.refuse(protocol::kCmdCreateDrmAgent, -ENOENT);
    LogCapture const log;
    EXPECT_EQ(client.createDrmAgent(9), nullptr);
    EXPECT_EQ(log.textsOf("OmcClient::createDrmAgent").back(),
              format("Error! Failed to send msg or command from client to binder. ErrorCode=%d .", -ENOENT));
}

TEST_F(OmcClientFactory, createDrmAgentOfAnIdThatIsTakenIsReturnedButNotFiled)
{
    omc::OmcClient& client = connect();
    auto const first = client.createDrmAgent(1);
    service.answer(protocol::kCmdCreateDrmAgent, [](mdt::MsgData& reply) { reply.writeUInt32(0x6000); });
    auto const second = client.createDrmAgent(1);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(second.use_count(), 1);
    EXPECT_EQ(client.findDrmAgent(0x6000), first);
}

TEST_F(OmcClientFactory, findDrmAgentRefusesOtherIdsWithoutSearching)
{
    omc::OmcClient& client = connect();
    LogCapture const log;
    EXPECT_EQ(client.findDrmAgent(0x5FFF), nullptr);
    EXPECT_EQ(client.findDrmAgent(0x7000), nullptr);
    EXPECT_EQ(client.findDrmAgent(0x6FFF), nullptr);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::findDrmAgent: Start. Client Id=0x1001..",
                            "OmcClient::findDrmAgent: Start. Error! The input parameter (Player Id=0x5FFF) is "
                            "invalid!.",
                            "OmcClient::findDrmAgent: Start. Client Id=0x1001..",
                            "OmcClient::findDrmAgent: Start. Error! The input parameter (Player Id=0x7000) is "
                            "invalid!.",
                            "OmcClient::findDrmAgent: Start. Client Id=0x1001..",
                            "OmcClient::findDrmAgent: Start. Error! The input parameter (Player Id=0x6FFF) points to "
                            "the end of the PlayerMap!."));
}

TEST_F(OmcClientFactory, destroyDrmAgentByIdForgetsTheAgent)
{
    omc::OmcClient& client = connect();
    std::weak_ptr<om::OmIDrmAgent> const agent = client.createDrmAgent(1);
    sent(client);
    LogCapture const log;
    client.destroyDrmAgent(0x6000u);
    EXPECT_TRUE(agent.expired());
    EXPECT_THAT(sent(client), ElementsAre("msg=0xA511 uid=0x0000 type=1 oneway uint32(24576)"));
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::destroyDrmAgent: Start. Client Id=0x1001, the Id of the mediaPlayer to destroy "
                            "=0x6000).",
                            "OmcClient::destroyDrmAgent: Succeeded to send msg or command from client to binder.."));
}

TEST_F(OmcClientFactory, destroyDrmAgentRefusesBadAndUnknownIds)
{
    omc::OmcClient& client = connect();
    LogCapture const log;
    client.destroyDrmAgent(0x2000u);
    client.destroyDrmAgent(0x6001u);
    client.destroyDrmAgent(nullptr);
    EXPECT_THAT(sent(client), ElementsAre());
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::destroyDrmAgent: Start. Client Id=0x1001, the Id of the mediaPlayer to destroy "
                            "=0x2000).",
                            "OmcClient::destroyDrmAgent: Error! The input parameter (Player Id=0x2000) is invalid!.",
                            "OmcClient::destroyDrmAgent: Start. Client Id=0x1001, the Id of the mediaPlayer to destroy "
                            "=0x6001).",
                            "OmcClient::destroyDrmAgent: Error! The input parameter (Player Id=24577) points to the "
                            "end of the PlayerMap!.",
                            "OmcClient::destroyDrmAgent: Error! Invalid Param! player=NULL."));
}

TEST_F(OmcClientFactory, destroyDrmAgentByAgentSendsBothMessages)
{
    omc::OmcClient& client = connect();
    auto const agent = client.createDrmAgent(1);
    sent(client);
    LogCapture const log;
    client.destroyDrmAgent(agent);
    EXPECT_THAT(sent(client), ElementsAre("msg=0xA511 uid=0x0000 type=1 oneway uint32(24576)",
                                          "msg=0xA512 uid=0x0000 type=1 oneway uint32(24576)"));
    EXPECT_EQ(agent.use_count(), 1);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::destroyDrmAgent: Start. the client Id=0x1001, and the Id of the mediaPlayer to "
                            "destroy =0x6000).",
                            "OmcClient::destroyDrmAgent: Start. Client Id=0x1001, the Id of the mediaPlayer to destroy "
                            "=0x6000).",
                            "OmcClient::destroyDrmAgent: Succeeded to send msg or command from client to binder..",
                            "OmcClient::destroyDrmAgent: Succeeded to send msg or command from client to binder.."));
}

TEST_F(OmcClientFactory, destroyDrmAgentLogsMessagesThatDidNotLeave)
{
    class WithAgent : public NumberedClient
    {
    public:
        WithAgent()
            : NumberedClient(0x1009)
        {
            m_drmMap[0x6000] = std::make_shared<omc::OmcDrmAgent>(0x1009, 0x6000);
        }
    };
    LogCapture log;
    WithAgent client;
    auto const agent = client.findDrmAgent(0x6000);
    log.clear();
    client.destroyDrmAgent(agent);
    std::string const failure =
        format("Error! Failed to send msg or command from client to binder. ErrorCode=%d .", -ENOTCONN);
    std::vector<std::string> const texts = log.textsOf("OmcClient::destroyDrmAgent");
    ASSERT_EQ(texts.size(), 4u);
    EXPECT_EQ(texts[2], failure);
    EXPECT_EQ(texts[3], failure);
}

TEST_F(OmcClientFactory, creationsWaitNoLongerThanTheServiceLives)
{
    omc::OmcClient& client = connect();
    service.staySilent(protocol::kCmdCreatePlayer);
    LogCapture const log;
    std::thread waiter([&] { EXPECT_EQ(client.createPlayer(nullptr), nullptr); });
    service.waitForCode(protocol::kCmdCreatePlayer);
    service.stop();
    waiter.join();
    EXPECT_EQ(client.createPreviewTool(nullptr), nullptr);
    EXPECT_EQ(client.createDrmAgent(1), nullptr);
}

TEST_F(OmcClientFactory, operationsGoThroughTheirSlots)
{
    class Special : public NumberedClient
    {
    public:
        Special()
            : NumberedClient(0x1009)
        {
        }
        om::OmIMediaPlayer* findPlayer(unsigned int plid) override
        {
            steps += format(" find %04X", plid);
            return reinterpret_cast<om::OmIMediaPlayer*>(this);
        }
        using OmcClient::destroyPlayer;
        void destroyPlayer(om::OmIMediaPlayer* player) override
        {
            steps += player == reinterpret_cast<om::OmIMediaPlayer*>(this) ? " destroy" : " other";
        }
        void destroyPlayerAll() override { steps += " players"; }
        void destroyPreviewTool() override { steps += " tool"; }
        std::string steps;
    };
    LogCapture const log;
    Special client;
    client.destroyPlayer(0x2345u);
    client.disconnect();
    EXPECT_EQ(client.steps, " find 2345 destroy players tool");
}
