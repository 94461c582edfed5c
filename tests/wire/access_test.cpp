// SPDX-License-Identifier: Apache-2.0
// The registry of connections.
#include "wire/client_wire.h"

#include <cerrno>
#include <set>
#include <thread>

using namespace tz::orvane;
using namespace tz::orvane::test;
using ::testing::ElementsAre;

namespace
{

class OmcClientAccess : public ClientWire
{
};

/// A registry whose map the test can reach.
class OpenAccess : public omc::OmcClientAccess
{
public:
    OpenAccess()
        : omc::OmcClientAccess(0)
    {
    }
    using OmIAccess::m_connMap;
};

} // namespace

// First: the registry of the process must not exist yet.
TEST(OmcClientAccessSingleton, isMadeOnceByWhoeverComesFirst)
{
    ::testing::internal::CaptureStdout();
    std::mutex mutex;
    std::set<omc::OmcClientAccess*> seen;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back(
            [&]
            {
                auto* const access = omc::OmcClientAccess::getApp(0);
                std::lock_guard<std::mutex> lock(mutex);
                seen.insert(access);
            });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "<Omc_access.h>getApp(). after New a Access \r\n");
    EXPECT_EQ(seen.size(), 1u);
    EXPECT_NE(*seen.begin(), nullptr);
}

TEST(OmcClientAccessObject, logsItsBeginningAndItsEnd)
{
    LogCapture const log;
    {
        omc::OmcClientAccess const access(7);
    }
    EXPECT_THAT(clientLines(log), ElementsAre("OmcClientAccess::OmcClientAccess: Start to New a Access. type=7",
                                              "OmcClientAccess::~OmcClientAccess: Destroy this Access."));
}

TEST(OmcClientAccessObject, leavesItsConnectionsAliveWhenItGoes)
{
    LogCapture const log;
    NumberedClient client(0x1000);
    {
        OpenAccess access;
        EXPECT_EQ(access.addConnection(&client), 0);
    }
    EXPECT_EQ(client.getClientID(), 0x1000u);
}

TEST(OmcClientAccessObject, knowsTheIdsOfConnections)
{
    EXPECT_FALSE(omc::OmcClientAccess::IsValidID(0));
    EXPECT_FALSE(omc::OmcClientAccess::IsValidID(0x0FFF));
    EXPECT_TRUE(omc::OmcClientAccess::IsValidID(0x1000));
    EXPECT_TRUE(omc::OmcClientAccess::IsValidID(0x1FFF));
    EXPECT_FALSE(omc::OmcClientAccess::IsValidID(0x2000));
}

TEST_F(OmcClientAccess, createConnectionConnectsAndFilesTheClient)
{
    service.giveCnid(0x1234);
    LogCapture const log;
    om::OmIConnection* const conn = access.createConnection("cinema");
    ASSERT_NE(conn, nullptr);
    EXPECT_THAT(
        clientLines(log),
        ElementsAre("OmcClientAccess::createConnection: Create a new client. app=cinema.",
                    "OmcClient::OmcClient: Start to New a Client with name cinema.", "OmcClient::init:  Called.",
                    "OmcClient::connect: Start to connect. Input parameters (appName=cinema, flags=0).",
                    "OmcClient::doConnect: Start to connect. Input parameters (appName=cinema, flags=0)..",
                    "OmcClient::doConnect: Complete! Input parameters (appName=cinema, flags=0, m_cnid=0x1234).",
                    "OmcClient::connect: Client succeeded to connect server.",
                    "OmcClientAccess::createConnection: Before addConnection(), the size of  Access' clients map is 0.",
                    format("OmcClientAccess::addConnection: Start. conn=%p.", static_cast<void*>(conn)),
                    "OmcClientAccess::addConnection: conn has Id=0x1234, app=cinema , before find Id in the map.",
                    "OmcClientAccess::addConnection: Before inserting into m_connMap, the size of  Access' clients map "
                    "is 0.",
                    "OmcClientAccess::addConnection: After inserting into m_connMap, the size of  Access' clients map "
                    "is 1.",
                    "OmcClientAccess::createConnection: After addConnection res=0.",
                    "OmcClientAccess::createConnection: After addConnection(), the size of Access' clients map is 1.",
                    "OmcClientAccess::createConnection: End of createConnection(). Succeed to create and add the "
                    "connection! cnid=0x1234, app=cinema"));
    EXPECT_EQ(conn->getClientID(), 0x1234u);
    EXPECT_EQ(access.getConnectionCount(), 1u);
    EXPECT_EQ(access.findConnection(0x1234), conn);
}

TEST_F(OmcClientAccess, createConnectionGivesNullWhenTheServiceRefuses)
{
    service.refuseConnections(-EACCES);
    LogCapture const log;
    EXPECT_EQ(access.createConnection("cinema"), nullptr);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClientAccess::createConnection: Create a new client. app=cinema.",
                            "OmcClient::OmcClient: Start to New a Client with name cinema.",
                            "OmcClient::init:  Called.",
                            "OmcClient::connect: Start to connect. Input parameters (appName=cinema, flags=0).",
                            "OmcClient::doConnect: Start to connect. Input parameters (appName=cinema, flags=0)..",
                            "OmcClient::doConnect: call connect() fail",
                            format("OmcClient::connect: Error!Client failed to connect server. ErrorCode=%d.", -EACCES),
                            format("OmcClientAccess::createConnection: Error! Failed to connect server from client to "
                                   "binder. ErrorCode=%d.",
                                   -EACCES),
                            "OmcClient::~OmcClient:  Called.", "OmcClient::~OmcClient: m_cnid=0x0000, appName=cinema",
                            format("OmcClient::~OmcClient: call postMsg() fail, result=%d", -ENOTCONN),
                            "OmcClient::disconnect:  Called.", "OmcClient::disconnect: m_cnid=0x0000, appName=cinema",
                            "OmcClient::destroyPlayerAll: player list is empty!",
                            "OmcClient::destroyPreviewTool: Invalid Param! m_prevTool_p=NULL!",
                            "OmcClient::disconnect: call disConnect() fail", "OmcClient::disconnect: RETURN 0"));
    EXPECT_EQ(access.getConnectionCount(), 0u);
}

TEST_F(OmcClientAccess, createConnectionGivesNullWithoutAService)
{
    service.stop();
    LogCapture const log;
    EXPECT_EQ(access.createConnection("cinema"), nullptr);
    EXPECT_EQ(access.getConnectionCount(), 0u);
    EXPECT_THAT(log.textsOf("OmcClient::doConnect"), ::testing::Contains("call connect() fail"));
}

TEST_F(OmcClientAccess, createConnectionDeletesAClientThatTheRegistryRefuses)
{
    class Refusing : public omc::OmcClientAccess
    {
    public:
        Refusing()
            : omc::OmcClientAccess(0)
        {
        }
        int addConnection(om::OmIConnection*) override { return -2; }
    };
    Refusing refusing;
    LogCapture const log;
    EXPECT_EQ(refusing.createConnection("cinema"), nullptr);
    EXPECT_THAT(log.textsOf("OmcClientAccess::createConnection"),
                ElementsAre("Create a new client. app=cinema.",
                            "Before addConnection(), the size of  Access' clients map is 0.",
                            "After addConnection res=-2.",
                            "After addConnection(), the size of Access' clients map is 0.",
                            "After addConnection, in if (res<0) ,will delete client.."));
    EXPECT_EQ(textOf(service.waitForCode(protocol::kCmdDestroyClient)), "msg=0xA10D uid=0x0000 type=1 oneway");
    EXPECT_TRUE(service.waitForDisconnects(1));
}

TEST_F(OmcClientAccess, connectionsOfOneIdAreBothReturnedAndTheFirstIsFound)
{
    service.giveCnid(0x1500);
    om::OmIConnection* const first = access.createConnection("first");
    LogCapture const log;
    om::OmIConnection* const second = access.createConnection("second");
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(second->getClientID(), 0x1500u);
    EXPECT_THAT(log.textsOf("OmcClientAccess::addConnection"),
                ElementsAre(format("Start. conn=%p.", static_cast<void*>(second)),
                            "conn has Id=0x1500, app=second , before find Id in the map.",
                            "In the m_connMap, There is a client whose clientId is same with the new adding client. "
                            "count=1."));
    EXPECT_THAT(log.textsOf("OmcClientAccess::createConnection"), ::testing::Contains("After addConnection res=1."));
    EXPECT_EQ(access.getConnectionCount(), 1u);
    EXPECT_EQ(access.findConnection(0x1500), first);
    // The one that is filed is destroyed, whichever is named.
    access.destroyConnection(second);
    EXPECT_EQ(access.getConnectionCount(), 0u);
    EXPECT_EQ(second->getAppName(), "second");
    delete second;
}

TEST_F(OmcClientAccess, addConnectionRefusesNull)
{
    LogCapture const log;
    EXPECT_EQ(access.addConnection(nullptr), -2);
    EXPECT_THAT(clientLines(log), ElementsAre("OmcClientAccess::addConnection: Start. conn=(nil).",
                                              "OmcClientAccess::addConnection: Invalid Param! conn is NULL."));
}

TEST_F(OmcClientAccess, addConnectionRefusesIdsThatAreNoConnections)
{
    for (unsigned int const cnid : {0u, 0x0FFFu, 0x2000u})
    {
        LogCapture const log;
        NumberedClient client(cnid);
        EXPECT_EQ(access.addConnection(&client), -2);
        EXPECT_THAT(
            log.textsOf("OmcClientAccess::addConnection"),
            ElementsAre(format("Start. conn=%p.", static_cast<void*>(&client)), "Conn's ClientId is invalid.."));
    }
    EXPECT_EQ(access.getConnectionCount(), 0u);
}

TEST_F(OmcClientAccess, findConnectionListsItsMembersAndRefusesOtherIds)
{
    LogCapture log;
    OpenAccess open;
    NumberedClient low(0x1000, "low");
    NumberedClient high(0x1FFF, "high");
    open.addConnection(&high);
    open.addConnection(&low);
    auto const members = std::vector<std::string>{
        "<Main>checkMultipleClients. The clientId of the members in Access m_connMap is :0x1000..",
        "<Main>checkMultipleClients. The clientId of the members in Access m_connMap is :0x1FFF.."};

    for (unsigned int const cnid : {0x0FFFu, 0x2000u})
    {
        log.clear();
        EXPECT_EQ(open.findConnection(cnid), nullptr);
        EXPECT_THAT(log.textsOf("OmcClientAccess::findConnection"),
                    ElementsAre(format("Start. The conn to find has Id=0x%04X.", cnid), members[0], members[1],
                                " In !IsValidID(), ClientId is invalid. Will Return NULL!"));
    }

    log.clear();
    EXPECT_EQ(open.findConnection(0x1000), &low);
    EXPECT_THAT(log.textsOf("OmcClientAccess::findConnection"),
                ElementsAre("Start. The conn to find has Id=0x1000.", members[0], members[1],
                            " Succeed to find the ClientId in the ClientMap m_connMap, and will Return "
                            "OmIConnection*! cnid=0x1000, app=low"));

    log.clear();
    EXPECT_EQ(open.findConnection(0x1001), nullptr);
    EXPECT_THAT(log.textsOf("OmcClientAccess::findConnection"),
                ElementsAre("Start. The conn to find has Id=0x1001.", members[0], members[1],
                            " Can't find the ClientId in the ClientMap m_connMap. Will Return NULL!"));
}

TEST_F(OmcClientAccess, findConnectionForgetsAnEntryWithoutAConnection)
{
    LogCapture const log;
    OpenAccess open;
    open.m_connMap[0x1000] = nullptr;
    EXPECT_EQ(open.findConnection(0x1000), nullptr);
    EXPECT_EQ(open.getConnectionCount(), 0u);
    EXPECT_EQ(log.textsOf("OmcClientAccess::findConnection").back(),
              " Find connection failed, remove it! client=NULL!");
}

TEST_F(OmcClientAccess, removeConnectionForgetsWithoutDeleting)
{
    LogCapture log;
    OpenAccess open;
    NumberedClient client(0x1000, "kept");
    open.addConnection(&client);
    log.clear();
    open.removeConnection(&client);
    EXPECT_THAT(log.textsOf("OmcClientAccess::removeConnection"),
                ElementsAre("Start. The Client to remove has Id=0x1000, app=kept.",
                            "Succeed to find the ClientId in the ClientMap m_connMap, and will erase OmIConnection "
                            "from m_connMap!"));
    EXPECT_EQ(open.getConnectionCount(), 0u);
    EXPECT_EQ(client.getAppName(), "kept");

    log.clear();
    open.removeConnection(&client);
    EXPECT_THAT(log.textsOf("OmcClientAccess::removeConnection"),
                ElementsAre("Start. The Client to remove has Id=0x1000, app=kept.",
                            "Can't find the ClientId in the ClientMap m_connMap. Will Return!"));
}

TEST_F(OmcClientAccess, removeConnectionErasesWhateverHasTheId)
{
    LogCapture const log;
    OpenAccess open;
    NumberedClient filed(0x1000);
    NumberedClient other(0x1000);
    open.addConnection(&filed);
    open.removeConnection(&other);
    EXPECT_EQ(open.getConnectionCount(), 0u);
}

TEST_F(OmcClientAccess, removeConnectionRefusesNullAndIdsThatAreNoConnections)
{
    LogCapture const log;
    NumberedClient client(0x2000, "odd");
    access.removeConnection(nullptr);
    access.removeConnection(&client);
    EXPECT_THAT(log.textsOf("OmcClientAccess::removeConnection"),
                ElementsAre("The Client(Address=(nil)) to remove is NULL.",
                            "Start. The Client to remove has Id=0x2000, app=odd.", "The ClientId is invalid."));
}

TEST_F(OmcClientAccess, destroyConnectionByIdTellsTheServiceAndDisconnects)
{
    service.giveCnid(0x1100);
    connect("cinema");
    LogCapture const log;
    access.destroyConnection(0x1100u);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClientAccess::destroyConnection: Start. The Client to remove has Id=0x1100.",
                            "OmcClientAccess::findConnection: Start. The conn to find has Id=0x1100.",
                            "OmcClientAccess::findConnection: <Main>checkMultipleClients. The clientId of the members "
                            "in Access m_connMap is :0x1100..",
                            "OmcClientAccess::findConnection:  Succeed to find the ClientId in the ClientMap "
                            "m_connMap, and will Return OmIConnection*! cnid=0x1100, app=cinema",
                            "OmcClientAccess::destroyConnection: Start. The Client to destroy has Id=0x1100.",
                            "OmcClient::~OmcClient:  Called.", "OmcClient::~OmcClient: m_cnid=0x1100, appName=cinema",
                            "OmcClient::disconnect:  Called.", "OmcClient::disconnect: m_cnid=0x1100, appName=cinema",
                            "OmcClient::destroyPlayerAll: player list is empty!",
                            "OmcClient::destroyPreviewTool: Invalid Param! m_prevTool_p=NULL!",
                            "OmcClient::disconnect: RETURN 0"));
    EXPECT_TRUE(service.waitForDisconnects(1));
    EXPECT_THAT(sent(), ElementsAre("msg=0xA10D uid=0x0000 type=1 oneway"));
    EXPECT_EQ(access.getConnectionCount(), 0u);
}

TEST_F(OmcClientAccess, destroyConnectionRefusesNullAndUnknownOnes)
{
    LogCapture log;
    access.destroyConnection(nullptr);
    access.destroyConnection(0x1000u);
    EXPECT_THAT(log.textsOf("OmcClientAccess::destroyConnection"),
                ElementsAre("The Client(Address=(nil)) to destroy is NULL.",
                            "Start. The Client to remove has Id=0x1000.",
                            "The Client(Address=(nil)) to destroy is NULL."));
    log.clear();
    NumberedClient client(0x1000, "alive");
    access.destroyConnection(&client);
    EXPECT_THAT(log.textsOf("OmcClientAccess::destroyConnection"),
                ElementsAre("Start. The Client to destroy has Id=0x1000.",
                            "Can't find the ClientId in the ClientMap m_connMap. Will Return!"));
    EXPECT_EQ(client.getAppName(), "alive");
}

TEST_F(OmcClientAccess, destroyConnectionLeavesAnEntryWithoutAConnection)
{
    LogCapture const log;
    OpenAccess open;
    NumberedClient client(0x1000);
    open.m_connMap[0x1000] = nullptr;
    open.destroyConnection(&client);
    EXPECT_EQ(log.textsOf("OmcClientAccess::destroyConnection").back(), "Target that fdound from map is NULL!");
    EXPECT_EQ(open.getConnectionCount(), 1u);
}

TEST_F(OmcClientAccess, destroyConnectionOfADestroyedOneOnlyLogs)
{
    om::OmIConnection* const conn = &connect();
    access.destroyConnection(conn);
    LogCapture const log;
    access.destroyConnection(conn);
    access.removeConnection(conn);
    EXPECT_EQ(log.textsOf("OmcClientAccess::destroyConnection").back(),
              "Can't find the ClientId in the ClientMap m_connMap. Will Return!");
    EXPECT_EQ(log.textsOf("OmcClientAccess::removeConnection").back(),
              "Can't find the ClientId in the ClientMap m_connMap. Will Return!");
}

TEST_F(OmcClientAccess, destroyConnectionAllGoesUpTheIds)
{
    service.giveCnid(0x1002);
    void* const second = static_cast<om::OmIConnection*>(&connect("second"));
    service.giveCnid(0x1001);
    void* const first = static_cast<om::OmIConnection*>(&connect("first"));
    LogCapture const log;
    access.destroyConnectionAll();
    EXPECT_THAT(log.textsOf("OmcClientAccess::destroyConnectionAll"),
                ElementsAre("Start.", format("cnid=%d, client=%p", 0x1001, first),
                            format("cnid=%d, client=%p", 0x1002, second),
                            "Finish to delete and erase all the members in m_connMap, will Return.."));
    EXPECT_TRUE(service.waitForDisconnects(2));
    EXPECT_THAT(sent(), ElementsAre("msg=0xA10D uid=0x0000 type=1 oneway", "msg=0xA10D uid=0x0000 type=1 oneway"));
    EXPECT_EQ(access.getConnectionCount(), 0u);
}

TEST_F(OmcClientAccess, destroyConnectionAllPassesEntriesWithoutAConnection)
{
    LogCapture const log;
    OpenAccess open;
    open.m_connMap[0x1000] = nullptr;
    open.destroyConnectionAll();
    EXPECT_THAT(log.textsOf("OmcClientAccess::destroyConnectionAll"),
                ElementsAre("Start.", "cnid=4096, client=(nil)",
                            "Finish to delete and erase all the members in m_connMap, will Return.."));
}

TEST_F(OmcClientAccess, destroyConnectionAllOfNoneSaysSo)
{
    LogCapture const log;
    access.destroyConnectionAll();
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClientAccess::destroyConnectionAll: Start.",
                            "OmcClientAccess::destroyConnectionAll: m_connMap is empty, will Return.."));
}
