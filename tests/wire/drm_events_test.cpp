// SPDX-License-Identifier: Apache-2.0
// Events of a DRM agent on their way to its listeners.
#include "orvane/omc_drm_agent.h"
#include "orvane/omc_listeners.h"
#include "support/log_capture.h"
#include "support/message_parts.h"
#include "support/scripted_service.h"
#include "support/temp_dir.h"
#include "support/wait.h"
#include "support/wire_connection.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace tz::orvane::test
{

namespace
{

using namespace om;

using Lines = std::vector<std::string>;

constexpr unsigned int kAgentId = 0x6DEF;

class Recorder final : public omc::OmcIDrmAgentListener
{
public:
    void onReceivedEvent(OmIDrmAgent* agent, unsigned int msgType, unsigned int msgSubType, unsigned int arg3,
                         unsigned long long arg4, unsigned int arg5, std::string data) override
    {
        lastAgent = agent;
        calls.push_back(std::to_string(msgType) + " " + std::to_string(msgSubType) + " " + std::to_string(arg3) + " " +
                        std::to_string(arg4) + " " + std::to_string(arg5));
        payload = data;
        data.assign("changed by its listener");
        if (act)
        {
            act();
        }
    }

    OmIDrmAgent* lastAgent = nullptr;
    std::vector<std::string> calls;
    std::string payload;
    std::function<void()> act;
};

std::vector<Fill> wholeMessage()
{
    return {number(kAgentId),
            number(1),
            number(4000000000),
            number(3),
            [](mdt::MsgData& msg) { msg.writeSInt64(-4); },
            number(5),
            bytes(std::string("pay\0load", 8))};
}

constexpr char kCall[] = "1 4000000000 3 18446744073709551612 5";
constexpr char kInvocation[] = "info: To invoke listener->onReceivedEvent() function with params: msgType=1, "
                               "msgSubType=-294967296, size=8.";

class DrmEvents : public ::testing::Test
{
protected:
    DrmEvents()
    {
        m_agent.addListener(&m_recorder);
        m_connection.onMessage([this](mdt::MsgData& msg) { return m_agent.dispatch(&msg); });
    }

    ~DrmEvents() override { m_connection.onMessage({}); }

    int deliver(std::vector<Fill> const& parts, int code = 0xC228)
    {
        return m_connection.deliver(kAgentId, code, whole(parts));
    }

    /// The lines of a dispatch that knew its message, `rest` behind the common ones.
    static void expectLines(LogCapture const& log, Lines const& rest)
    {
        Lines lines{"debug: OmcDrmAgent Called. version=3", "debug: OmcDrmAgent Lock for releasing.",
                    "debug: Deal callback event. evt_id=0xC228"};
        lines.insert(lines.end(), rest.begin(), rest.end());
        EXPECT_EQ(log.linesOf("OmcDrmAgent::dispatch"), lines);
    }

    SocketDir m_dir;
    ScriptedService m_service;
    WireConnection m_connection{m_service};
    omc::OmcDrmAgent m_agent{kCnid, kAgentId};
    Recorder m_recorder;
};

TEST_F(DrmEvents, anEventReachesEveryListenerWithItsWholePayload)
{
    Recorder second;
    std::vector<Recorder const*> order;
    m_recorder.act = [&] { order.push_back(&m_recorder); };
    second.act = [&] { order.push_back(&second); };
    m_agent.addListener(&second);
    LogCapture log;
    EXPECT_EQ(deliver(wholeMessage()), 0);
    EXPECT_EQ(order, (std::vector<Recorder const*>{&m_recorder, &second}));
    for (Recorder const* const recorder : order)
    {
        EXPECT_EQ(recorder->calls, Lines{kCall});
        EXPECT_EQ(recorder->payload, std::string("pay\0load", 8));
        EXPECT_EQ(recorder->lastAgent, &m_agent);
    }
    expectLines(log, {kInvocation, "debug: 0000: 70 61 79 00 6c 6f 61 64"});
    EXPECT_EQ(log.lines().front().place, "omc_drmAgent: OmcDrmAgent::dispatch");
    m_agent.removeListener(&second);
}

TEST_F(DrmEvents, aLongPayloadIsDumpedInLinesOfSixteenBytes)
{
    std::vector<Fill> parts = wholeMessage();
    parts[6] = bytes(std::string(17, '\xA5'));
    LogCapture log;
    EXPECT_EQ(deliver(parts), 0);
    Lines const lines = log.linesOf("OmcDrmAgent::dispatch");
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[4], "debug: 0000: a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5");
    EXPECT_EQ(lines[5], "debug: 0010: a5");

    LogCapture quiet(platform::DebugLevel::info);
    EXPECT_EQ(deliver(parts), 0);
    EXPECT_EQ(quiet.linesOf("OmcDrmAgent::dispatch").size(), 1u);
}

TEST_F(DrmEvents, anEmptyPayloadIsDelivered)
{
    std::vector<Fill> parts = wholeMessage();
    parts[6] = bytes("");
    EXPECT_EQ(deliver(parts), 0);
    EXPECT_EQ(m_recorder.calls, Lines{kCall});
    EXPECT_EQ(m_recorder.payload, "");
}

TEST_F(DrmEvents, withoutAListenerAnEventIsDropped)
{
    m_agent.removeListener(&m_recorder);
    LogCapture log;
    EXPECT_EQ(deliver(wholeMessage()), 0);
    expectLines(log, {kInvocation, "debug: 0000: 70 61 79 00 6c 6f 61 64"});
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());
}

TEST_F(DrmEvents, aMessageThatEndsTooSoonReachesNoListener)
{
    // The third, fourth and sixth part are not looked at: what fails is the part behind them.
    char const* const missing[] = {"error: Read 1 param failed!",
                                   "error: Read 2 param failed!",
                                   "error: Read 5 param failed!",
                                   "error: Read 5 param failed!",
                                   "error: Read 5 param failed!",
                                   "error: Read 7 param failed! result=-71.",
                                   "error: Read 7 param failed! result=-71."};
    for (std::size_t count = 0; count < std::size(missing); ++count)
    {
        std::vector<Fill> parts = wholeMessage();
        parts.resize(count);
        LogCapture log;
        EXPECT_EQ(deliver(parts), -1);
        expectLines(log, {missing[count]});
    }
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());
}

TEST_F(DrmEvents, uncheckedNumbersThatAreTooShortAreZero)
{
    std::vector<Fill> parts = wholeMessage();
    parts[2] = parts[3] = parts[5] = bytes("ab");
    EXPECT_EQ(deliver(parts), 0);
    EXPECT_EQ(m_recorder.calls, Lines{"1 0 0 18446744073709551612 0"});
}

TEST_F(DrmEvents, checkedNumbersThatAreTooShortAreMissing)
{
    struct Row
    {
        std::size_t part;
        char const* line;
    };
    for (Row const& row : {Row{0, "error: Read 1 param failed!"}, Row{1, "error: Read 2 param failed!"},
                           Row{4, "error: Read 5 param failed!"}})
    {
        std::vector<Fill> parts = wholeMessage();
        parts[row.part] = bytes("ab");
        LogCapture log;
        EXPECT_EQ(deliver(parts), -1);
        expectLines(log, {row.line});
    }
    std::vector<Fill> parts = wholeMessage();
    parts[6] = number(1);
    LogCapture log;
    EXPECT_EQ(deliver(parts), -1);
    expectLines(log, {"error: Read 7 param failed! result=-71."});
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());
}

TEST_F(DrmEvents, anEventForAnotherAgentIsDropped)
{
    std::vector<Fill> parts = wholeMessage();
    parts[0] = number(0x6DE0);
    LogCapture log;
    EXPECT_EQ(deliver(parts), -1);
    expectLines(log, {"error: PLID is not the same! plid=0x6DE0, this->plid=0x6DEF."});
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());
}

class Renamed final : public omc::OmcDrmAgent
{
public:
    using OmcDrmAgent::OmcDrmAgent;
    unsigned int getAgentID() override { return 0x6111; }
};

TEST_F(DrmEvents, theIdOfAnEventIsComparedWithTheVirtualGetters)
{
    Renamed agent(kCnid, kAgentId);
    agent.addListener(&m_recorder);
    std::vector<Fill> parts = wholeMessage();
    mdt::MsgData mine(kCnid, kAgentId, 0xC228, 1);
    whole(parts)(mine);
    LogCapture log;
    EXPECT_EQ(agent.dispatch(&mine), -1);
    expectLines(log, {"error: PLID is not the same! plid=0x6DEF, this->plid=0x6111."});
    EXPECT_THAT(m_recorder.calls, ::testing::IsEmpty());

    parts[0] = number(0x6111);
    mdt::MsgData its(kCnid, kAgentId, 0xC228, 1);
    whole(parts)(its);
    EXPECT_EQ(agent.dispatch(&its), 0);
    EXPECT_EQ(m_recorder.calls, Lines{kCall});
}

TEST_F(DrmEvents, aDispatchWaitsForTheOneBeforeIt)
{
    std::atomic<bool> inside{false};
    std::atomic<bool> goOn{false};
    m_recorder.act = [&]
    {
        inside = true;
        EXPECT_TRUE(eventually([&] { return goOn.load(); }));
    };
    std::thread first(
        [&]
        {
            mdt::MsgData message(kCnid, kAgentId, 0xC228, 1);
            whole(wholeMessage())(message);
            EXPECT_EQ(m_agent.dispatch(&message), 0);
        });
    EXPECT_TRUE(eventually([&] { return inside.load(); }));
    LogCapture log;
    std::thread second([&] { EXPECT_EQ(m_agent.dispatch(nullptr), -2); });
    EXPECT_TRUE(eventually([&] { return log.contains("OmcDrmAgent Lock for releasing."); }));
    for (int i = 0; i < 20; ++i) // some time, in which it would get on without the lock
    {
        m_service.settle(kCnid);
    }
    EXPECT_FALSE(log.contains("Invalid Param! event=NULL!"));
    goOn = true;
    first.join();
    second.join();
    EXPECT_TRUE(log.contains("Invalid Param! event=NULL!"));
}

TEST_F(DrmEvents, unknownMessagesAreIgnoredAndNoneGivesMinusTwo)
{
    LogCapture log;
    EXPECT_EQ(deliver({}, 0xC212), 0);
    EXPECT_EQ(log.linesOf("OmcDrmAgent::dispatch"),
              (Lines{"debug: OmcDrmAgent Called. version=3", "debug: OmcDrmAgent Lock for releasing.",
                     "error: Unknown Event! evt_id=0xC212."}));
    log.clear();
    EXPECT_EQ(m_agent.dispatch(nullptr), -2);
    EXPECT_EQ(log.linesOf("OmcDrmAgent::dispatch"),
              (Lines{"debug: OmcDrmAgent Called. version=3", "debug: OmcDrmAgent Lock for releasing.",
                     "error: Invalid Param! event=NULL!"}));
}

TEST_F(DrmEvents, aListenerMayAskTheService)
{
    int result = -1;
    m_recorder.act = [&] { result = m_agent.initialize(); };
    EXPECT_EQ(deliver(wholeMessage()), 0);
    EXPECT_GT(result, 0);
}

class Silent final : public omc::OmcIDrmAgentListener
{
};

TEST_F(DrmEvents, aListenerMethodThatIsNotOverriddenOnlyLogs)
{
    Silent silent;
    m_agent.addListener(&silent);
    LogCapture log;
    EXPECT_EQ(deliver(wholeMessage()), 0);
    EXPECT_EQ(log.linesOf("OmcIDrmAgentListener::onReceivedEvent"), Lines{"info:  Implemet by USER."});
    m_agent.removeListener(&silent);
}

} // namespace

} // namespace tz::orvane::test
