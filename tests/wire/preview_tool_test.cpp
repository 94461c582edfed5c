// SPDX-License-Identifier: Apache-2.0
// The preview tool: its requests and the delivery of their results.
#include "orvane/omc_preview_tool.h"

#include "orvane/omc_listeners.h"
#include "support/ending.h"
#include "support/log_capture.h"
#include "support/message_parts.h"
#include "support/scripted_service.h"
#include "support/temp_dir.h"
#include "support/wire_connection.h"

#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace tz::orvane::test
{

namespace
{

using namespace om;

using Lines = std::vector<std::string>;

constexpr unsigned int kToolId = 0x4DEF;

class Recorder final : public omc::OmcIPreviewToolListener
{
public:
    void onPreviewInfoReply(OmIPreviewTool* tool, unsigned int reqId, int res, OmString const& output_path,
                            OmPropertyGroup const& props) override
    {
        lastTool = tool;
        calls.push_back(std::to_string(reqId) + " " + std::to_string(res) + " " + output_path + " " +
                        std::to_string(props.count()));
        if (act)
        {
            act();
        }
    }

    OmIPreviewTool* lastTool = nullptr;
    std::vector<std::string> calls;
    std::function<void()> act;
};

class PreviewTool : public ::testing::Test
{
protected:
    ~PreviewTool() override { m_connection.onMessage({}); }

    std::vector<std::string> sent() { return m_connection.sent(); }

    /// Lets the service send a result message of these parts.
    int deliver(std::vector<Fill> const& parts)
    {
        m_connection.onMessage([this](mdt::MsgData& msg) { return m_tool.dispatch(&msg); });
        return m_connection.deliver(kToolId, 0xA302, whole(parts));
    }

    SocketDir m_dir;
    ScriptedService m_service;
    WireConnection m_connection{m_service};
    omc::OmcPreviewInfoTool m_tool{kCnid, kToolId};
    Recorder m_recorder;
};

// Requests.

TEST_F(PreviewTool, creationAndDestructionSendNothing)
{
    LogCapture log;
    auto tool = std::make_unique<omc::OmcPreviewInfoTool>(kCnid, kToolId);
    EXPECT_EQ(tool->getClientID(), 0x1ABCu);
    EXPECT_EQ(tool->getToolID(), 0x4DEFu);
    tool.reset();
    EXPECT_THAT(sent(), ::testing::IsEmpty());
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::~OmcPreviewInfoTool"), Lines{"debug:  Called."});
}

TEST_F(PreviewTool, aRequestIdIsAskedOfTheConnection)
{
    m_service.answer(0xA301, number(4000000000));
    LogCapture log;
    EXPECT_EQ(m_tool.getRequestID(), 4000000000u);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA301 uid=0x0000 type=2 query"));
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::getRequestID"),
              (Lines{"debug:  Called.", "info:  Message data reply: cnid=6844, plid=0, type=2, cmd=41729",
                     "info:  Complete! req_id=4000000000"}));
    EXPECT_EQ(log.lines().front().place, "omc_preview_tool: OmcPreviewInfoTool::getRequestID");
}

TEST_F(PreviewTool, aRequestIdThatCannotBeHadIsZero)
{
    LogCapture log;
    m_service.refuse(0xA301, -13);
    EXPECT_EQ(m_tool.getRequestID(), 0u);
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::getRequestID"),
              (Lines{"debug:  Called.", "error:  Call MdtcMessenger::GetInstance().postMsg() Failed! result=-13"}));
    for (bool const text : {false, true})
    {
        log.clear();
        m_service.answer(0xA301,
                         [text](mdt::MsgData& reply)
                         {
                             if (text)
                             {
                                 reply.writeString("12");
                             }
                         });
        EXPECT_EQ(m_tool.getRequestID(), 0u);
        EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::getRequestID").back(),
                  "error:  Call msgDataOut.readUInt32() Failed! result=-71");
    }
}

struct Row
{
    char const* operation;
    std::function<int(OmIPreviewTool&)> call;
    char const* message;
};

std::vector<Row> rows()
{
    return {
        {"requestPreviewInfo",
         [](OmIPreviewTool& tool)
         {
             return tool.requestPreviewInfo("file:///a b.mp4", static_cast<om_location_mode_e>(-1), -5000000000, -7,
                                            OmPropertyGroup());
         },
         "msg=0xA302 uid=0x4DEF type=1 oneway string(file:///a b.mp4) sint32(-1) sint64(-5000000000) sint32(-7) "
         "data(9: 505230303030454400)"},
        {"stopPreview", [](OmIPreviewTool& tool) { return tool.stopPreview("file:///a b.mp4"); },
         "msg=0xA303 uid=0x4DEF type=1 oneway string(file:///a b.mp4)"},
        {"stopPreviewAll", [](OmIPreviewTool& tool) { return tool.stopPreviewAll(OmPropertyGroup()); },
         "msg=0xA304 uid=0x4DEF type=1 oneway data(9: 505230303030454400)"},
    };
}

TEST_F(PreviewTool, eachRequestSendsItsMessageAndGivesZero)
{
    for (Row const& row : rows())
    {
        SCOPED_TRACE(row.operation);
        LogCapture log;
        EXPECT_EQ(row.call(m_tool), 0);
        EXPECT_THAT(sent(), ::testing::ElementsAre(row.message));
        EXPECT_EQ(log.linesOf(std::string("OmcPreviewInfoTool::") + row.operation), Lines{"info:  Complete!"});
    }
}

TEST_F(PreviewTool, aRequestThatCannotBeSentGivesTheMessengersResult)
{
    m_connection.disconnect();
    for (Row const& row : rows())
    {
        SCOPED_TRACE(row.operation);
        LogCapture log;
        EXPECT_EQ(row.call(m_tool), -107);
        EXPECT_EQ(log.linesOf(std::string("OmcPreviewInfoTool::") + row.operation),
                  Lines{"error:  Call MdtcMessenger::GetInstance().postMsg() Failed! result=-107"});
    }
}

TEST_F(PreviewTool, aGroupTravelsWithARequest)
{
    OmPropertyGroup props;
    props.add("k", "v");
    EXPECT_EQ(m_tool.stopPreviewAll(props), 0);
    EXPECT_EQ(m_service.waitForCode(0xA304).arguments.at(0).bytes, std::string("PR0001000f0011k\0v\0ED\0", 21));
}

constexpr char kSent[] = "info: Succeeded to send msg or command from client to binder.";
constexpr char kReplied[] = "info: msgDataOut (pid=0x1ABC, uid=0x4DEF, cmd=0xA306, type=2).";
constexpr char kRead[] = "info: Succeeded to readData from binder msgDataOut to client. .";

/// What an extended command logs before it is sent.
Lines extendEntry(std::string const& command, OmPropertyGroup const& props, int expectedLength)
{
    char* image = nullptr;
    int length = 0;
    props.getData(&image, &length);
    char first[100];
    std::snprintf(first, sizeof first, "debug: Input parameters (The first OmString of properties =%p).",
                  static_cast<void*>(image));
    return {"debug: Start. cnid=0x1ABC, plid=0x4DEF.", "debug: Input parameters (command=" + command + ").",
            "debug: Input parameters (The length of properties =" + std::to_string(expectedLength) + ".).", first};
}

TEST_F(PreviewTool, anExtendedCommandIsAddressedToTheTool)
{
    m_service.answer(0xA306, bytes(groupImage({{"answer", "42"}})));
    OmPropertyGroup props;
    Lines const entry = extendEntry("c", props, 9);
    LogCapture log;
    EXPECT_EQ(m_tool.doExtendCommand("c", props), 0);
    EXPECT_EQ(props.get("answer"), "42");
    EXPECT_THAT(sent(),
                ::testing::ElementsAre("msg=0xA306 uid=0x4DEF type=2 query string(c) data(9: 505230303030454400)"));
    Lines lines = entry;
    lines.insert(lines.end(), {kSent, kReplied, kRead});
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::doExtendCommand"), lines);
    EXPECT_EQ(log.lines().front().place, "omc_preview_tool: OmcPreviewInfoTool::doExtendCommand");
}

TEST_F(PreviewTool, anExtendedCommandThatFailsGivesMinusOneAndKeepsTheGroup)
{
    OmPropertyGroup props;
    props.add("k", "v");
    Lines const entry = extendEntry("a b", props, 21);
    m_service.answer(0xA306, number(1));
    LogCapture log;
    EXPECT_EQ(m_tool.doExtendCommand("a b", props), -1);
    Lines lines = entry;
    lines.insert(lines.end(), {kSent, kReplied, "error: call msgDataOut.read() fail"});
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::doExtendCommand"), lines);

    m_service.refuse(0xA306, -13);
    log.clear();
    EXPECT_EQ(m_tool.doExtendCommand("a b", props), -1);
    lines = entry;
    lines.push_back("error: Error! Failed to send msg or command from client to binder. ErrorCode=-13.");
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::doExtendCommand"), lines);

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_tool.doExtendCommand("a b", props), -1);
    lines.back() = "error: Error! Failed to send msg or command from client to binder. ErrorCode=-107.";
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::doExtendCommand"), lines);
    EXPECT_EQ(props.get("k"), "v");
}

TEST_F(PreviewTool, anEmptyAnswerLeavesTheGroupOfAnExtendedCommandAsItWas)
{
    OmPropertyGroup props;
    props.add("k", "v");
    Lines lines = extendEntry("c", props, 21);
    lines.insert(lines.end(), {kSent, kReplied, kRead});
    m_service.answer(0xA306, bytes(""));
    LogCapture log;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(m_tool.doExtendCommand("c", props), 0);
    EXPECT_THAT(::testing::internal::GetCapturedStdout(),
                ::testing::MatchesRegex("\\[PRG\\]\\[ERR\\] Invalid content!, group.m_arr=.*, group.m_size=-1.\n"));
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::doExtendCommand"), lines);
    EXPECT_EQ(props.count(), 1);
    EXPECT_EQ(props.get("k"), "v");
}

TEST(PreviewToolAlone, anAnswerThatIsNoGroupEndsTheProcess)
{
    SocketDir const dir; // cleared here: the child has no time for it
    expectAbort("[PRG][ERR] Invalid END! end=EX\n",
                []
                {
                    ScriptedService service;
                    WireConnection const connection(service);
                    service.answer(0xA306, bytes(std::string("PR0000EX\0", 9)));
                    omc::OmcPreviewInfoTool tool(kCnid, kToolId);
                    OmPropertyGroup props;
                    tool.doExtendCommand("c", props);
                });
}

TEST_F(PreviewTool, reservedOperationsDoNothing)
{
    OmIPreviewTool& tool = m_tool;
    tool.reserved1();
    tool.reserved2();
    EXPECT_THAT(sent(), ::testing::IsEmpty());
}

class Renamed final : public omc::OmcPreviewInfoTool
{
public:
    Renamed()
        : OmcPreviewInfoTool(0x1FFE, kToolId)
    {
    }
    unsigned int getClientID() override { return kCnid; }
    unsigned int getToolID() override { return 0x4111; }
};

TEST_F(PreviewTool, messagesCarryTheIdsOfTheVirtualGetters)
{
    Renamed tool;
    EXPECT_EQ(tool.stopPreview("u"), 0);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA303 uid=0x4111 type=1 oneway string(u)"));
}

// Results.

std::vector<Fill> wholeMessage()
{
    return {number(kToolId), number(0x00AB), [](mdt::MsgData& msg) { msg.writeSInt32(-3); },
            [](mdt::MsgData& msg) { msg.writeString("/out/a b.jpg"); }, bytes(groupImage({{"k", "v"}}))};
}

constexpr char kName[] = "debug: Deal callback event. evt_id=OM_TRANS_MSG_ID_REQ_PREVIEW_INFO.";
constexpr char kInvocation[] =
    "info: To invoke listener->onPreviewInfoReply() with params: reqId=0x00AB, res-3, output_path=/out/a b.jpg.";

TEST_F(PreviewTool, aResultReachesTheListener)
{
    m_tool.setListener(&m_recorder);
    LogCapture log;
    EXPECT_EQ(deliver(wholeMessage()), 0);
    EXPECT_EQ(m_recorder.calls, Lines{"171 -3 /out/a b.jpg 1"});
    EXPECT_EQ(m_recorder.lastTool, &m_tool);
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::dispatch"), (Lines{kName, kInvocation}));
}

TEST_F(PreviewTool, withoutAListenerAResultIsDropped)
{
    LogCapture log;
    EXPECT_EQ(deliver(wholeMessage()), 0);
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::dispatch"), (Lines{kName, kInvocation}));
    m_tool.setListener(&m_recorder);
    m_tool.setListener(nullptr);
    EXPECT_EQ(deliver(wholeMessage()), 0);
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());
}

constexpr char const* kMissing[] = {"error: Read 1st param failed!", "error: Read 2nd param failed!",
                                    "error: Read 3rd param failed!", "error: Read 4th param failed!"};

TEST_F(PreviewTool, aMissingPartIsLoggedAndReachesNoListener)
{
    m_tool.setListener(&m_recorder);
    for (std::size_t missing = 0; missing < std::size(kMissing); ++missing)
    {
        std::vector<Fill> parts = wholeMessage();
        parts.resize(missing);
        LogCapture log;
        EXPECT_EQ(deliver(parts), -1);
        EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::dispatch"), (Lines{kName, kMissing[missing]}));
    }
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());
}

TEST_F(PreviewTool, aShortNumberOrATextWithoutItsEndIsMissing)
{
    m_tool.setListener(&m_recorder);
    for (std::size_t part = 0; part < std::size(kMissing); ++part)
    {
        std::vector<Fill> parts = wholeMessage();
        parts[part] = bytes("ab");
        LogCapture log;
        EXPECT_EQ(deliver(parts), -1);
        EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::dispatch"), (Lines{kName, kMissing[part]}));
    }
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());
}

TEST_F(PreviewTool, anEmptyPathIsDelivered)
{
    m_tool.setListener(&m_recorder);
    std::vector<Fill> parts = wholeMessage();
    parts[3] = [](mdt::MsgData& msg) { msg.writeString(""); };
    EXPECT_EQ(deliver(parts), 0);
    EXPECT_EQ(m_recorder.calls, Lines{"171 -3  1"});
}

TEST_F(PreviewTool, anAbsentOrEmptyGroupIsAnEmptyOneAndANumberIsAFailedRead)
{
    m_tool.setListener(&m_recorder);
    std::vector<Fill> parts = wholeMessage();
    parts.pop_back();
    EXPECT_EQ(deliver(parts), 0);
    parts.push_back(bytes(""));
    EXPECT_EQ(deliver(parts), 0);
    EXPECT_EQ(m_recorder.calls, (Lines{"171 -3 /out/a b.jpg 0", "171 -3 /out/a b.jpg 0"}));

    parts.back() = number(1);
    LogCapture log;
    EXPECT_EQ(deliver(parts), -1);
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::dispatch"), (Lines{kName, "error: Read 5th param failed! result=-71"}));
    EXPECT_EQ(m_recorder.calls.size(), 2u);
}

TEST_F(PreviewTool, aResultForAnotherToolIsDropped)
{
    m_tool.setListener(&m_recorder);
    std::vector<Fill> parts = wholeMessage();
    parts[0] = number(0x4DE0);
    LogCapture log;
    EXPECT_EQ(deliver(parts), -1);
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::dispatch"),
              (Lines{kName, "error: PLID is not the same! plid=0x4DE0, this->plid=0x4DEF."}));
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());
}

TEST_F(PreviewTool, unknownMessagesAreIgnoredAndNoneGivesMinusTwo)
{
    LogCapture log;
    mdt::MsgData other(kCnid, kToolId, 0xA303, 1);
    EXPECT_EQ(m_tool.dispatch(&other), 0);
    EXPECT_EQ(m_tool.dispatch(nullptr), -2);
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::dispatch"),
              (Lines{"error: Unknown Event! evt_id=msgId.", "error: Invalid Param! event=NULL!"}));
}

TEST_F(PreviewTool, theListenerMayAskTheService)
{
    unsigned int id = 0;
    m_service.answer(0xA301, number(12));
    m_recorder.act = [&] { id = m_tool.getRequestID(); };
    m_tool.setListener(&m_recorder);
    EXPECT_EQ(deliver(wholeMessage()), 0);
    EXPECT_EQ(id, 12u);
}

TEST_F(PreviewTool, theIdOfAResultIsComparedWithTheVirtualGetters)
{
    Renamed tool;
    tool.setListener(&m_recorder);
    std::vector<Fill> parts = wholeMessage();
    mdt::MsgData mine(kCnid, kToolId, 0xA302, 1);
    whole(parts)(mine);
    LogCapture log;
    EXPECT_EQ(tool.dispatch(&mine), -1);
    EXPECT_EQ(log.linesOf("OmcPreviewInfoTool::dispatch"),
              (Lines{kName, "error: PLID is not the same! plid=0x4DEF, this->plid=0x4111."}));
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());

    parts[0] = number(0x4111);
    mdt::MsgData its(kCnid, kToolId, 0xA302, 1);
    whole(parts)(its);
    EXPECT_EQ(tool.dispatch(&its), 0);
    EXPECT_EQ(m_recorder.calls, Lines{"171 -3 /out/a b.jpg 1"});
}

TEST(PreviewToolUnconnected, aGroupThatIsNoneEndsTheProcess)
{
    expectAbort("[PRG][ERR] Invalid END! end=0ED\n",
                []
                {
                    omc::OmcPreviewInfoTool tool(kCnid, kToolId);
                    std::vector<Fill> parts = wholeMessage();
                    parts.back() = bytes("PR0000ED");
                    mdt::MsgData msg(kCnid, kToolId, 0xA302, 1);
                    whole(parts)(msg);
                    tool.dispatch(&msg);
                });
}

} // namespace

} // namespace tz::orvane::test
