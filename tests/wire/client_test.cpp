// SPDX-License-Identifier: Apache-2.0
// A connection by itself: opening, settings, closing and the end.
#include "wire/client_wire.h"

#include "orvane/om_property_group.h"
#include "orvane/omc_mediaplayer.h"

#include <cerrno>
#include <memory>

using namespace tz::orvane;
using namespace tz::orvane::test;
using ::testing::ElementsAre;

namespace
{

class OmcClient : public ClientWire
{
};

std::string dataText(std::string const& bytes)
{
    RecordedMessage const message{0, 0, 0, 0, false, {{mdt::MsgArgType::data, bytes}}};
    std::string const text = textOf(message);
    return text.substr(text.find("data"));
}

} // namespace

TEST_F(OmcClient, beginsUnconnected)
{
    LogCapture const log;
    omc::OmcClient client("lonely");
    EXPECT_THAT(clientLines(log), ElementsAre("OmcClient::OmcClient: Start to New a Client with name lonely.",
                                              "OmcClient::init:  Called."));
    EXPECT_EQ(client.getClientID(), 0u);
    EXPECT_EQ(client.getAppName(), "lonely");
    EXPECT_EQ(client.getClientStatus(), 0xA000);
    EXPECT_EQ(client.getPlayerCount(), 0u);
    EXPECT_TRUE(client.getPlayerMap().empty());
    EXPECT_EQ(client.getPreviewTool(), nullptr);
    EXPECT_EQ(client.reserved1(), -4);
    EXPECT_EQ(client.reserved2(), 0);
    EXPECT_EQ(client.reserved3(), 0);
}

TEST_F(OmcClient, connectGivesAnIdAndKeepsTheName)
{
    service.giveCnid(0x1042);
    omc::OmcClient client("before");
    LogCapture const log;
    EXPECT_GE(client.connect("after", 5), 0);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::connect: Start to connect. Input parameters (appName=after, flags=5).",
                            "OmcClient::doConnect: Start to connect. Input parameters (appName=after, flags=5)..",
                            "OmcClient::doConnect: Complete! Input parameters (appName=after, flags=5, "
                            "m_cnid=0x1042).",
                            "OmcClient::connect: Client succeeded to connect server."));
    EXPECT_EQ(client.getClientID(), 0x1042u);
    EXPECT_EQ(client.getAppName(), "after");
}

TEST_F(OmcClient, connectTellsTheServiceNameAndFlags)
{
    omc::OmcClient client("");
    EXPECT_GE(client.connect("cinema", 0x80000001u), 0);
    mdt::MdtsPeer const peer = service.lastPeer();
    EXPECT_EQ(peer.name, "cinema");
    EXPECT_EQ(peer.flags, 0x80000001u);
}

TEST_F(OmcClient, connectThatFailsChangesNothing)
{
    service.refuseConnections(-EUSERS);
    omc::OmcClient client("before");
    LogCapture const log;
    EXPECT_EQ(client.connect("after", 0), -EUSERS);
    EXPECT_EQ(client.getClientID(), 0u);
    EXPECT_EQ(client.getAppName(), "before");
    EXPECT_EQ(log.textsOf("OmcClient::connect").back(),
              format("Error!Client failed to connect server. ErrorCode=%d.", -EUSERS));
}

TEST_F(OmcClient, connectGoesThroughTheSlotOfDoConnect)
{
    class Special : public omc::OmcClient
    {
    public:
        Special()
            : OmcClient("special")
        {
        }
        int doConnect(om::OmString const& appName, unsigned int flags) override
        {
            EXPECT_EQ(appName, "name");
            EXPECT_EQ(flags, 3u);
            return 77;
        }
    };
    LogCapture const log;
    Special client;
    EXPECT_EQ(client.connect("name", 3), 77);
}

TEST_F(OmcClient, disconnectPutsEverythingBack)
{
    omc::OmcClient client("app");
    service.giveCnid(0x1007);
    ASSERT_GE(client.connect("app", 0), 0);
    client.setClientStatus(0xA004);
    EXPECT_EQ(client.getClientStatus(), 0xA004);
    LogCapture const log;
    EXPECT_EQ(client.disconnect(), 0);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::disconnect:  Called.", "OmcClient::disconnect: m_cnid=0x1007, appName=app",
                            "OmcClient::destroyPlayerAll: player list is empty!",
                            "OmcClient::destroyPreviewTool: Invalid Param! m_prevTool_p=NULL!",
                            "OmcClient::disconnect: RETURN 0"));
    EXPECT_TRUE(service.waitForDisconnects(1));
    EXPECT_EQ(client.getClientID(), 0u);
    EXPECT_EQ(client.getAppName(), "");
    EXPECT_EQ(client.getClientStatus(), 0xA000);
}

TEST_F(OmcClient, disconnectTwiceDestroysNothingTheSecondTime)
{
    omc::OmcClient client("app");
    ASSERT_GE(client.connect("app", 0), 0);
    EXPECT_EQ(client.disconnect(), 0);
    service.forget();
    LogCapture const log;
    EXPECT_EQ(client.disconnect(), 0);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::disconnect:  Called.", "OmcClient::disconnect: m_cnid=0x0000, appName=",
                            "OmcClient::destroyPlayerAll: player list is empty!",
                            "OmcClient::destroyPreviewTool: Invalid Param! m_prevTool_p=NULL!",
                            "OmcClient::disconnect: call disConnect() fail", "OmcClient::disconnect: RETURN 0"));
    EXPECT_THAT(sent(), ElementsAre());
}

TEST_F(OmcClient, disconnectDestroysPlayersAndToolAndLeavesAgents)
{
    omc::OmcClient& client = connect();
    ASSERT_NE(client.createPlayer(nullptr), nullptr);
    ASSERT_NE(client.createPreviewTool(nullptr), nullptr);
    auto const agent = client.createDrmAgent(1);
    ASSERT_NE(agent, nullptr);
    sent(client);
    EXPECT_EQ(client.disconnect(), 0);
    EXPECT_TRUE(service.waitForDisconnects(1));
    EXPECT_THAT(sent(), ElementsAre("msg=0xA108 uid=0x0000 type=1 oneway", "msg=0xA22B uid=0x2000 type=1 oneway",
                                    "msg=0xA10A uid=0x0000 type=1 oneway"));
    EXPECT_EQ(client.getPlayerCount(), 0u);
    EXPECT_EQ(client.getPreviewTool(), nullptr);
    EXPECT_EQ(client.findDrmAgent(0x6000), agent);
}

TEST_F(OmcClient, canConnectAgain)
{
    omc::OmcClient client("app");
    ASSERT_GE(client.connect("app", 0), 0);
    client.disconnect();
    ASSERT_GE(client.connect("again", 0), 0);
    EXPECT_NE(client.getClientID(), 0u);
    EXPECT_EQ(client.getAppName(), "again");
    EXPECT_NE(client.createPlayer(nullptr), nullptr);
}

TEST_F(OmcClient, setConfigSendsTheGroup)
{
    omc::OmcClient& client = connect("cinema");
    om::OmPropertyGroup config;
    config.add("display", "2");
    LogCapture const log;
    EXPECT_EQ(client.setConfig(config), 0);
    EXPECT_THAT(sent(client),
                ElementsAre("msg=0xA104 uid=0x0000 type=1 oneway " + dataText(groupImage({{"display", "2"}}))));
    EXPECT_THAT(clientLines(log),
                ElementsAre(format("OmcClient::setConfig: Set config to the Client. Client Id=0x%04X, appName is: "
                                   "cinema.",
                                   client.getClientID())));
}

TEST_F(OmcClient, messagesNameTheConnection)
{
    service.giveCnid(0x1777);
    omc::OmcClient& client = connect();
    client.stopPlayerAll();
    EXPECT_EQ(service.waitForCode(protocol::kCmdStopPlayerAll).pid, 0x1777);
}

TEST_F(OmcClient, setConfigFailsWhileDisconnected)
{
    omc::OmcClient client("app");
    LogCapture const log;
    EXPECT_EQ(client.setConfig(om::OmPropertyGroup()), -1);
    EXPECT_EQ(log.textsOf("OmcClient::setConfig").back(),
              format("Error! Failed to send msg or command from client to binder. ErrorCode=%d.", -ENOTCONN));
}

TEST_F(OmcClient, setConfigFailsWhenTheServiceIsGone)
{
    omc::OmcClient& client = connect();
    service.stop();
    EXPECT_TRUE(eventually([&] { return client.setConfig(om::OmPropertyGroup()) == -1; }));
}

TEST_F(OmcClient, destructionSendsItsMessagesInOrder)
{
    auto client = std::make_unique<omc::OmcClient>("app");
    ASSERT_GE(client->connect("app", 0), 0);
    ASSERT_NE(client->createPlayer(nullptr), nullptr);
    ASSERT_NE(client->createPlayer(nullptr), nullptr);
    ASSERT_NE(client->createPreviewTool(nullptr), nullptr);
    std::weak_ptr<om::OmIDrmAgent> const agent = client->createDrmAgent(1);
    sent(*client);
    client.reset();
    EXPECT_TRUE(service.waitForDisconnects(1));
    EXPECT_THAT(sent(), ElementsAre("msg=0xA10D uid=0x0000 type=1 oneway", "msg=0xA108 uid=0x0000 type=1 oneway",
                                    "msg=0xA22B uid=0x2000 type=1 oneway", "msg=0xA22B uid=0x2001 type=1 oneway",
                                    "msg=0xA10A uid=0x0000 type=1 oneway"));
    EXPECT_TRUE(agent.expired());
}

TEST_F(OmcClient, destructionLeavesAgentsToTheirOtherOwners)
{
    auto client = std::make_unique<omc::OmcClient>("app");
    ASSERT_GE(client->connect("app", 0), 0);
    auto const agent = client->createDrmAgent(1);
    client.reset();
    EXPECT_EQ(agent.use_count(), 1);
    EXPECT_EQ(agent->getAgentID(), 0x6000u);
}

TEST_F(OmcClient, destructionLogsAMessageThatDidNotLeave)
{
    LogCapture const log;
    {
        omc::OmcClient const client("app");
    }
    EXPECT_THAT(log.textsOf("OmcClient::~OmcClient"), ElementsAre(" Called.", "m_cnid=0x0000, appName=app",
                                                                  format("call postMsg() fail, result=%d", -ENOTCONN)));
}

TEST_F(OmcClient, destructionGoesThroughTheSlotsOnlyOfTheClassItself)
{
    static int disconnects = 0;
    class Special : public omc::OmcClient
    {
    public:
        Special()
            : OmcClient("special")
        {
        }
        int disconnect() override
        {
            ++disconnects;
            return OmcClient::disconnect();
        }
    };
    LogCapture const log;
    {
        Special const client;
    }
    EXPECT_EQ(disconnects, 0);
    EXPECT_THAT(log.textsOf("OmcClient::disconnect"), ::testing::Contains("RETURN 0"));
}

TEST_F(OmcClient, releaseDoesTheVisiblePartOfTheDestructionOnce)
{
    auto client = std::make_unique<omc::OmcClient>("app");
    ASSERT_GE(client->connect("app", 0), 0);
    ConnectionListener listener;
    client->addListener(&listener);
    client->release();
    EXPECT_EQ(client->getClientID(), 0u);
    EXPECT_EQ(client->removeListener(&listener), 1);
    client->release();
    client.reset();
    EXPECT_TRUE(service.waitForDisconnects(1));
    EXPECT_EQ(service.count(protocol::kCmdDestroyClient), 1u);
}

TEST_F(OmcClient, sendsTheIdThatItsGetterGives)
{
    class Renamed : public omc::OmcClient
    {
    public:
        explicit Renamed(unsigned int& other)
            : OmcClient("renamed")
            , m_other(other)
        {
        }
        unsigned int getClientID() override { return m_other; }

    private:
        unsigned int& m_other;
    };
    omc::OmcClient& real = connect();
    unsigned int other = real.getClientID();
    LogCapture const log;
    Renamed client(other);
    EXPECT_EQ(client.setConfig(om::OmPropertyGroup()), 0);
    EXPECT_EQ(service.waitForCode(protocol::kCmdSetConfig).pid, static_cast<int>(other));
}

TEST_F(OmcClient, keepsListenersInOrderAndOnce)
{
    omc::OmcClient client("app");
    ConnectionListener listener;
    EXPECT_EQ(client.addListener(nullptr), -2);
    EXPECT_EQ(client.addListener(&listener), 0);
    EXPECT_EQ(client.addListener(&listener), 1);
    EXPECT_EQ(client.removeListener(nullptr), -2);
    EXPECT_EQ(client.removeListener(&listener), 0);
    EXPECT_EQ(client.removeListener(&listener), 1);
}
