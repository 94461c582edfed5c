// SPDX-License-Identifier: Apache-2.0
// The way of a message from the service to its object, and the messages for the connection itself.
#include "wire/client_wire.h"

#include "orvane/om_property_group.h"
#include "orvane/platform/mdt_msg_data.h"

#include <cerrno>
#include <cstring>

using namespace tz::orvane;
using namespace tz::orvane::test;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::StartsWith;

namespace
{

class OmcClientDispatch : public ClientWire
{
protected:
    OmcClientDispatch()
    {
        service.giveCnid(kCnid);
        m_client = &connect();
        m_client->addListener(&first);
        m_client->addListener(&second);
    }

    // The listeners go after this.
    ~OmcClientDispatch() override { access.destroyConnectionAll(); }

    static constexpr int kCnid = 0x1001;

    omc::OmcClient& client() { return *m_client; }

    /// What the client says to a message that `fill` completes.
    int dispatch(int msg, ScriptedService::Fill const& fill = {})
    {
        mdt::MsgData message(kCnid, 0, msg, 1);
        if (fill)
        {
            fill(message);
        }
        return m_client->dispatch(&message);
    }

    ConnectionListener first;
    ConnectionListener second;

private:
    omc::OmcClient* m_client;
};

int deliver(int cnid, int plid, int msg, ScriptedService::Fill const& fill = {})
{
    mdt::MsgData message(cnid, plid, msg, 1);
    if (fill)
    {
        fill(message);
    }
    return omc::Global_CallbackToClient(&message);
}

void writeGroup(mdt::MsgData& message, std::string const& image)
{
    message.writeData(image.data(), static_cast<unsigned short>(image.size()));
}

std::string lastLine(LogCapture const& log)
{
    std::vector<std::string> const lines = clientLines(log);
    return lines.empty() ? "" : lines.back();
}

class AgentListener final : public omc::OmcIDrmAgentListener
{
public:
    std::string data;

    void onReceivedEvent(om::OmIDrmAgent*, unsigned int, unsigned int, unsigned int, unsigned long long, unsigned int,
                         std::string payload) override
    {
        data = std::move(payload);
    }
};

class ToolListener final : public omc::OmcIPreviewToolListener
{
public:
    std::string path;

    void onPreviewInfoReply(om::OmIPreviewTool*, unsigned int, int, om::OmString const& output_path,
                            om::OmPropertyGroup const&) override
    {
        path = output_path;
    }
};

class FrameListener final : public omc::OmcIMediaPlayerListener
{
public:
    std::string frame;

    void onFrameInfoUpdated(om::OmIMediaPlayer*, unsigned int, void* data, int size,
                            om::OmPropertyGroup const&) override
    {
        frame.assign(static_cast<char const*>(data), static_cast<std::size_t>(size));
    }
};

} // namespace

TEST_F(OmcClientDispatch, callbackRefusesNull)
{
    EXPECT_EQ(omc::Global_CallbackToClient(nullptr), -2);
}

TEST_F(OmcClientDispatch, callbackRefusesBadConnectionIdsWithoutTheRegistry)
{
    for (int const cnid : {0, 0x0FFF, 0x2000})
    {
        LogCapture const log;
        EXPECT_EQ(deliver(cnid, 0x2000, protocol::kMsgEvent), -2);
        EXPECT_THAT(clientLines(log),
                    ElementsAre(format("OmcClient::Global_CallbackToClient: Start.--pid=0x%04X, uid=0x2000, "
                                       "cmd=0xC214, type=1",
                                       static_cast<unsigned>(cnid)),
                                format("OmcClient::Global_CallbackToClient: Invalid Param! cnid=0x%04X.",
                                       static_cast<unsigned>(cnid))));
    }
}

TEST_F(OmcClientDispatch, callbackRefusesUnknownConnections)
{
    LogCapture const log;
    EXPECT_EQ(deliver(0x1FFF, 0, protocol::kMsgEvent), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::Global_CallbackToClient: Invalid Param! client=NULL!");
}

TEST_F(OmcClientDispatch, callbackDropsIdsOfNoKind)
{
    for (int const plid : {1, 0x1000, 0x1FFF, 0x3000, 0x3FFF, 0x5000, 0x7000})
    {
        LogCapture const log;
        EXPECT_EQ(deliver(kCnid, plid, protocol::kMsgEvent), 0);
        EXPECT_EQ(lastLine(log),
                  format("OmcClient::Global_CallbackToClient: Unknown ID! plid=0x%04X.", static_cast<unsigned>(plid)));
    }
    EXPECT_THAT(first.calls(), ElementsAre());
}

TEST_F(OmcClientDispatch, callbackReportsObjectsThatDoNotExist)
{
    LogCapture log;
    EXPECT_EQ(deliver(kCnid, 0x2000, protocol::kMsgPlayerEvent), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::Global_CallbackToClient: Invalid Param! player=NULL!");
    EXPECT_EQ(deliver(kCnid, 0x4000, protocol::kMsgPreviewInfo), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::Global_CallbackToClient: Invalid Param! player=NULL!");
    EXPECT_EQ(deliver(kCnid, 0x6000, protocol::kMsgDrmEvent), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::Global_CallbackToClient: Invalid Param! drm=NULL!");
    log.clear();
}

TEST_F(OmcClientDispatch, callbackGivesZeroForTheConnectionWhateverItSaid)
{
    EXPECT_EQ(dispatch(protocol::kMsgEvent), -1);
    EXPECT_EQ(deliver(kCnid, 0, protocol::kMsgEvent), 0);
}

TEST_F(OmcClientDispatch, callbackReachesPlayersThroughTheirDispatch)
{
    om::OmIMediaPlayer* const player = client().createPlayer(nullptr);
    PlayerListener listener;
    player->addListener(&listener);
    EXPECT_EQ(deliver(kCnid, 0x2000, protocol::kMsgPlayerStateChanged,
                      [](mdt::MsgData& message)
                      {
                          message.writeUInt32(0x2000);
                          message.writeUInt32(0);
                          message.writeUInt32(4);
                          message.writeUInt32(0);
                          writeGroup(message, groupImage());
                      }),
              0);
    EXPECT_EQ(listener.calls, 1);
    EXPECT_EQ(deliver(kCnid, 0x2000, protocol::kMsgPlayerStateChanged), -1);
    player->removeListener(&listener);
}

TEST_F(OmcClientDispatch, callbackReachesPlayersThroughTheirExtendedDispatchForFramesOnly)
{
    om::OmIMediaPlayer* const player = client().createPlayer(nullptr);
    FrameListener listener;
    player->addListener(&listener);
    LogCapture const log;
    EXPECT_EQ(deliver(kCnid, 0x2000, protocol::kMsgPlayerFrameInfoUpdated,
                      [](mdt::MsgData& message)
                      {
                          message.writeUInt32(0x2000);
                          message.writeUInt32(0);
                          char frame[] = {'r', 'g', 'b'};
                          message.writeData(frame, sizeof frame);
                          writeGroup(message, groupImage());
                      }),
              0);
    EXPECT_EQ(listener.frame, "rgb");
    EXPECT_FALSE(log.textsOf("OmcMediaPlayer::dispatchEx").empty());
    EXPECT_TRUE(log.textsOf("OmcMediaPlayer::dispatch").empty());
    player->removeListener(&listener);
}

TEST_F(OmcClientDispatch, callbackReachesThePreviewToolOfTheSameId)
{
    om::OmIPreviewTool* const tool = client().createPreviewTool(nullptr);
    ToolListener listener;
    tool->setListener(&listener);
    auto const reply = [](mdt::MsgData& message)
    {
        message.writeUInt32(0x4000);
        message.writeUInt32(1);
        message.writeSInt32(0);
        message.writeString("/tmp/preview.jpg");
        writeGroup(message, groupImage());
    };
    EXPECT_EQ(deliver(kCnid, 0x4000, protocol::kMsgPreviewInfo, reply), 0);
    EXPECT_EQ(listener.path, "/tmp/preview.jpg");
    listener.path.clear();
    LogCapture const log;
    EXPECT_EQ(deliver(kCnid, 0x4001, protocol::kMsgPreviewInfo, reply), -1);
    EXPECT_EQ(lastLine(log),
              "OmcClient::Global_CallbackToClient: PLID is not the same! prev_plid=0x4000, plid=0x4001.");
    EXPECT_EQ(listener.path, "");
    tool->setListener(nullptr);
}

TEST_F(OmcClientDispatch, callbackReachesDrmAgents)
{
    auto const agent = client().createDrmAgent(1);
    AgentListener listener;
    agent->addListener(&listener);
    EXPECT_EQ(deliver(kCnid, 0x6000, protocol::kMsgDrmEvent,
                      [](mdt::MsgData& message)
                      {
                          message.writeUInt32(0x6000);
                          message.writeUInt32(1);
                          message.writeUInt32(2);
                          message.writeUInt32(3);
                          message.writeSInt64(4);
                          message.writeUInt32(5);
                          message.writeData("a\0b", 3);
                      }),
              0);
    EXPECT_EQ(listener.data, std::string("a\0b", 3));
    agent->removeListener(&listener);
}

TEST_F(OmcClientDispatch, callbackIgnoresConnectionsOfAnotherClass)
{
    class Other : public om::OmIConnection
    {
    public:
        unsigned int getClientID() override { return 0x1ABC; }
        int connect(om::OmString const&, unsigned int) override { return 0; }
        int disconnect() override { return 0; }
        int setConfig(om::OmPropertyGroup const&) override { return 0; }
        om::OmIMediaPlayer* createPlayer(om::OmPropertyGroup*) override { return nullptr; }
        om::OmIMediaPlayer* findPlayer(unsigned int) override { return nullptr; }
        void destroyPlayer(unsigned int) override {}
        void destroyPlayer(om::OmIMediaPlayer*) override {}
        void destroyPlayerAll() override {}
        void stopPlayerAll() override {}
        om::OmIPreviewTool* createPreviewTool(om::OmPropertyGroup*) override { return nullptr; }
        void destroyPreviewTool() override {}
        std::shared_ptr<om::OmIDrmAgent> createDrmAgent(unsigned int) override { return nullptr; }
        std::shared_ptr<om::OmIDrmAgent> findDrmAgent(unsigned int) override { return nullptr; }
        void destroyDrmAgent(unsigned int) override {}
        void destroyDrmAgent(std::shared_ptr<om::OmIDrmAgent>) override {}
    };
    Other other;
    ASSERT_EQ(access.addConnection(&other), 0);
    LogCapture const log;
    EXPECT_EQ(deliver(0x1ABC, 0, protocol::kMsgConnectionDied), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::Global_CallbackToClient: Invalid Param! client=NULL!");
    access.removeConnection(&other);
}

TEST_F(OmcClientDispatch, refusesNull)
{
    LogCapture const log;
    EXPECT_EQ(client().dispatch(nullptr), -2);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::dispatch: Called.", "OmcClient::dispatch: Invalid Param! event=NULL!"));
}

TEST_F(OmcClientDispatch, deathNeedsNoArgumentsAndReachesEveryListener)
{
    for (int const msg : {protocol::kMsgConnectionDied, protocol::kMsgConnectionDiedOld})
    {
        LogCapture const log;
        EXPECT_EQ(dispatch(msg), 0);
        EXPECT_THAT(clientLines(log),
                    ElementsAre("OmcClient::dispatch: Called.",
                                "OmcClient::dispatch: Deal callback event. evt_id=OM_TRANS_MSG_ID_CONNECTION_DIED."));
        EXPECT_THAT(log.linesOf("OmcClient::dispatch"), Each(StartsWith("debug: ")));
    }
    EXPECT_THAT(first.calls(), ElementsAre("changed 0xA004", "changed 0xA004"));
    EXPECT_THAT(second.calls(), ElementsAre("changed 0xA004", "changed 0xA004"));
    EXPECT_EQ(client().getClientID(), 0x1001u);
    EXPECT_EQ(client().getClientStatus(), 0xA000);
}

TEST_F(OmcClientDispatch, changesCarryTheirStatus)
{
    LogCapture const log;
    EXPECT_EQ(dispatch(protocol::kMsgConnectionChanged,
                       [](mdt::MsgData& message)
                       {
                           message.writeUInt32(kCnid);
                           message.writeUInt32(0xA002);
                       }),
              0);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::dispatch: Called.",
                            "OmcClient::dispatch: Deal callback event. evt_id=OM_TRANS_MSG_ID_CONNECTION_CHANGED.",
                            format("OmcClient::dispatch: To call onConnectionChanged() function with params: "
                                   "status=%d.",
                                   0xA002)));
    EXPECT_THAT(log.linesOf("OmcClient::dispatch"),
                ElementsAre(StartsWith("debug: "), StartsWith("debug: Deal"), StartsWith("info: To call")));
    EXPECT_THAT(first.calls(), ElementsAre("changed 0xA002"));
    EXPECT_THAT(second.calls(), ElementsAre("changed 0xA002"));
    EXPECT_EQ(client().getClientStatus(), 0xA000);
}

TEST_F(OmcClientDispatch, changesThatAreIncompleteOrForOthersAreDropped)
{
    LogCapture const log;
    EXPECT_EQ(dispatch(protocol::kMsgConnectionChanged), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::dispatch: Read 1st param failed!");
    EXPECT_EQ(dispatch(protocol::kMsgConnectionChanged, [](mdt::MsgData& message) { message.writeUInt32(kCnid); }), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::dispatch: Read 2nc param failed!.");
    EXPECT_EQ(dispatch(protocol::kMsgConnectionChanged,
                       [](mdt::MsgData& message)
                       {
                           message.writeUInt32(0x1002);
                           message.writeUInt32(0xA002);
                       }),
              -1);
    EXPECT_EQ(lastLine(log), "OmcClient::dispatch: CNID is not the same! cnid=0x1002, this->cnid=0x1001.");
    EXPECT_THAT(first.calls(), ElementsAre());
}

TEST_F(OmcClientDispatch, eventsCarryTheirGroup)
{
    LogCapture const log;
    EXPECT_EQ(dispatch(protocol::kMsgEvent,
                       [](mdt::MsgData& message)
                       {
                           message.writeUInt32(kCnid);
                           message.writeUInt32(42);
                           writeGroup(message, groupImage({{"why", "test"}}));
                       }),
              0);
    EXPECT_THAT(clientLines(log),
                ElementsAre("OmcClient::dispatch: Called.",
                            "OmcClient::dispatch: Deal callback event. evt_id=OM_TRANS_MSG_ID_EVENT.",
                            "OmcClient::dispatch: To invoke listener->onEvent() function with params: evt=42."));
    EXPECT_THAT(first.calls(), ElementsAre("event 42 why=test"));
    EXPECT_THAT(second.calls(), ElementsAre("event 42 why=test"));
}

TEST_F(OmcClientDispatch, eventsWithoutAGroupArriveWithAnEmptyOne)
{
    auto const start = [](mdt::MsgData& message)
    {
        message.writeUInt32(kCnid);
        message.writeUInt32(7);
    };
    EXPECT_EQ(dispatch(protocol::kMsgEvent, start), 0);
    EXPECT_EQ(dispatch(protocol::kMsgEvent,
                       [&](mdt::MsgData& message)
                       {
                           start(message);
                           message.writeData(nullptr, 0);
                       }),
              0);
    EXPECT_THAT(first.calls(), ElementsAre("event 7", "event 7"));
    EXPECT_THAT(second.calls(), ElementsAre("event 7", "event 7"));
}

TEST_F(OmcClientDispatch, eventsThatAreIncompleteOrForOthersAreDropped)
{
    LogCapture const log;
    EXPECT_EQ(dispatch(protocol::kMsgEvent), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::dispatch: Read 1st param failed!");
    EXPECT_EQ(dispatch(protocol::kMsgEvent, [](mdt::MsgData& message) { message.writeUInt32(0x1002); }), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::dispatch: CNID is not the same! cnid=0x1002, this->cnid=0x1001.");
    EXPECT_EQ(dispatch(protocol::kMsgEvent, [](mdt::MsgData& message) { message.writeUInt32(kCnid); }), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::dispatch: Read 3rd param failed!");
    EXPECT_EQ(dispatch(protocol::kMsgEvent,
                       [](mdt::MsgData& message)
                       {
                           message.writeUInt32(kCnid);
                           message.writeUInt32(1);
                           message.writeUInt32(2);
                       }),
              -1);
    EXPECT_EQ(lastLine(log), format("OmcClient::dispatch: Read 4th param failed! result=%d.", -EPROTO));
    EXPECT_THAT(first.calls(), ElementsAre());
    EXPECT_THAT(second.calls(), ElementsAre());
}

TEST_F(OmcClientDispatch, aMalformedGroupEndsTheProcess)
{
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(dispatch(protocol::kMsgEvent,
                          [](mdt::MsgData& message)
                          {
                              message.writeUInt32(kCnid);
                              message.writeUInt32(1);
                              writeGroup(message, "no property group");
                          }),
                 "");
}

TEST_F(OmcClientDispatch, otherMessagesAreUnknown)
{
    LogCapture const log;
    EXPECT_EQ(dispatch(0xC2FF), 0);
    EXPECT_EQ(lastLine(log), "OmcClient::dispatch: Unknown Event! evt_id=0xC2FF.");
}

TEST_F(OmcClientDispatch, comparesTheIdThatItsGetterGives)
{
    class Renamed : public NumberedClient
    {
    public:
        Renamed()
            : NumberedClient(0x1ABC)
        {
        }
        unsigned int getClientID() override { return 0x1DEF; }
    };
    LogCapture const log;
    Renamed renamed;
    mdt::MsgData message(kCnid, 0, protocol::kMsgConnectionChanged, 1);
    message.writeUInt32(0x1ABC);
    EXPECT_EQ(renamed.dispatch(&message), -1);
    EXPECT_EQ(lastLine(log), "OmcClient::dispatch: CNID is not the same! cnid=0x1ABC, this->cnid=0x1DEF.");
}

TEST_F(OmcClientDispatch, listenersAreCalledInTheOrderOfAdding)
{
    std::string order;
    first.onCall = [&](om::OmIConnection* conn)
    {
        EXPECT_EQ(conn, &client());
        order += "first ";
    };
    second.onCall = [&](om::OmIConnection*) { order += "second "; };
    dispatch(protocol::kMsgConnectionDied);
    client().removeListener(&first);
    client().addListener(&first);
    dispatch(protocol::kMsgConnectionDied);
    EXPECT_EQ(order, "first second second first ");
}

TEST_F(OmcClientDispatch, eventsOfTheServiceArriveOnTheReceiveThread)
{
    std::thread::id thread;
    client().removeListener(&second); // listeners are not changed while they may be called
    second.onCall = [&](om::OmIConnection*) { thread = std::this_thread::get_id(); };
    client().addListener(&second);
    EXPECT_EQ(service.postEvent(kCnid, 0, protocol::kMsgEvent,
                                [](mdt::MsgData& message)
                                {
                                    message.writeUInt32(kCnid);
                                    message.writeUInt32(42);
                                    writeGroup(message, groupImage({{"why", "test"}}));
                                }),
              0);
    EXPECT_TRUE(eventually([&] { return !second.calls().empty(); }));
    EXPECT_THAT(first.calls(), ElementsAre("event 42 why=test"));
    client().removeListener(&second); // waits for the call
    EXPECT_NE(thread, std::thread::id());
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_F(OmcClientDispatch, theEndOfTheServiceIsReportedOnce)
{
    service.stop();
    EXPECT_TRUE(eventually([&] { return !second.calls().empty(); }));
    // What follows on the receive thread would be heard before this message.
    EXPECT_EQ(client().removeListener(&second), 0);
    EXPECT_THAT(first.calls(), ElementsAre("changed 0xA004"));
    EXPECT_EQ(client().getClientID(), 0x1001u);
}

TEST_F(OmcClientDispatch, theServiceMayAnnounceItsEndItself)
{
    EXPECT_EQ(service.postEvent(kCnid, 0, protocol::kMsgConnectionDied), 0);
    service.stop();
    EXPECT_TRUE(eventually([&] { return !second.calls().empty(); }));
    access.destroyConnection(kCnid); // no delivery goes on after this
    EXPECT_THAT(first.calls(), ElementsAre("changed 0xA004"));
}
