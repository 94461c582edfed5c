// SPDX-License-Identifier: Apache-2.0
// The DRM agent: buffers out and back, with and without a limit.
#include "orvane/omc_drm_agent.h"

#include "support/disguised_group.h"
#include "support/log_capture.h"
#include "support/message_parts.h"
#include "support/message_text.h"
#include "support/scripted_service.h"
#include "support/temp_dir.h"
#include "support/wire_connection.h"

#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tz::orvane::test
{

namespace
{

using namespace om;

using Lines = std::vector<std::string>;

constexpr unsigned int kAgentId = 0x6DEF;
constexpr char kCalled[] = "debug: Called. Client Id=6844, m_plid=28143.";
constexpr char kUnsent[] = "error: Error! Failed to send msg or command from client to binder. ErrorCode=-107.";
constexpr char kRefused[] = "error: Error! Failed to send msg or command from client to binder. ErrorCode=-13.";

class DrmAgent : public ::testing::Test
{
protected:
    std::vector<std::string> sent() { return m_connection.sent(); }

    SocketDir m_dir;
    ScriptedService m_service;
    WireConnection m_connection{m_service};
    omc::OmcDrmAgent m_agent{kCnid, kAgentId};
};

std::string placeOf(char const* operation)
{
    return std::string("OmcDrmAgent::") + operation;
}

std::string replyLine(int code)
{
    return "info: Called, pid = 6844, uid = 0x6def, type = 2, cmd = " + std::to_string(code);
}

// Operations without buffers.

struct PlainRow
{
    char const* operation;
    int code;
    int (OmIDrmAgent::*call)();
    char const* message;
};

constexpr PlainRow kPlainRows[] = {
    {"drmPluginCreate", 0xA517, &OmIDrmAgent::drmPluginCreate, "msg=0xA517 uid=0x6DEF type=2 query"},
    {"initialize", 0xA503, &OmIDrmAgent::initialize, "msg=0xA503 uid=0x6DEF type=2 query"},
    {"cleanup", 0xA50F, &OmIDrmAgent::cleanup, "msg=0xA50F uid=0x6DEF type=2 query"},
};

TEST_F(DrmAgent, idsAreThoseOfTheCreationWhichSendsNothing)
{
    EXPECT_EQ(m_agent.getAgentID(), 0x6DEFu);
    EXPECT_EQ(m_agent.getClientID(), 0x1ABCu);
    EXPECT_THAT(sent(), ::testing::IsEmpty());
}

TEST_F(DrmAgent, operationsWithoutBuffersGiveTheMessengersResultWhateverTheAnswerHolds)
{
    for (PlainRow const& row : kPlainRows)
    {
        SCOPED_TRACE(row.operation);
        for (bool const answered : {true, false})
        {
            m_service.answer(row.code, answered ? number(0xFFFFFFFF) : Fill());
            LogCapture log;
            EXPECT_GT((m_agent.*row.call)(), 0);
            EXPECT_EQ(log.linesOf(placeOf(row.operation)), (Lines{kCalled, replyLine(row.code)}));
            EXPECT_THAT(sent(), ::testing::ElementsAre(row.message));
        }
    }
}

TEST_F(DrmAgent, operationsWithoutBuffersThatFailGiveTheMessengersResult)
{
    for (PlainRow const& row : kPlainRows)
    {
        SCOPED_TRACE(row.operation);
        m_service.refuse(row.code, -13);
        LogCapture log;
        EXPECT_EQ((m_agent.*row.call)(), -13);
        EXPECT_EQ(log.linesOf(placeOf(row.operation)), (Lines{kCalled, kRefused}));
    }
}

// Buffer operations, in both forms.

using Unbounded = int (OmIDrmAgent::*)(void*, unsigned int, void**, unsigned int&);
using Bounded = int (OmIDrmAgent::*)(void*, unsigned int, void*, unsigned int, unsigned int&);

struct BufferRow
{
    char const* operation;
    int code;
    Unbounded call;
    Bounded boundedCall;
    char const* message;
};

constexpr BufferRow kBufferRows[] = {
    {"setServerCertificate", 0xA504, &OmIDrmAgent::setServerCertificate, &OmIDrmAgent::setServerCertificate,
     "msg=0xA504 uid=0x6DEF type=2 query data(3: 696e00)"},
    {"openSession", 0xA505, &OmIDrmAgent::openSession, &OmIDrmAgent::openSession,
     "msg=0xA505 uid=0x6DEF type=2 query data(3: 696e00)"},
    {"generateKeyRequest", 0xA506, &OmIDrmAgent::generateKeyRequest, &OmIDrmAgent::generateKeyRequest,
     "msg=0xA506 uid=0x6DEF type=2 query data(3: 696e00)"},
    {"updateSession", 0xA507, &OmIDrmAgent::updateSession, &OmIDrmAgent::updateSession,
     "msg=0xA507 uid=0x6DEF type=2 query data(3: 696e00)"},
    {"closeSession", 0xA508, &OmIDrmAgent::closeSession, &OmIDrmAgent::closeSession,
     "msg=0xA508 uid=0x6DEF type=2 query data(3: 696e00)"},
    {"getKeyStatuses", 0xA509, &OmIDrmAgent::getKeyStatuses, &OmIDrmAgent::getKeyStatuses,
     "msg=0xA509 uid=0x6DEF type=2 query data(3: 696e00)"},
    {"decrypt", 0xA50A, &OmIDrmAgent::decrypt, &OmIDrmAgent::decrypt,
     "msg=0xA50A uid=0x6DEF type=2 query data(3: 696e00)"},
    {"licenseQuery", 0xA50B, &OmIDrmAgent::licenseQuery, &OmIDrmAgent::licenseQuery,
     "msg=0xA50B uid=0x6DEF type=2 query data(3: 696e00)"},
    {"getMetrics", 0xA50C, &OmIDrmAgent::getMetrics, &OmIDrmAgent::getMetrics,
     "msg=0xA50C uid=0x6DEF type=2 query data(3: 696e00)"},
    {"getCertificateRequest", 0xA50D, &OmIDrmAgent::getCertificateRequest, &OmIDrmAgent::getCertificateRequest,
     "msg=0xA50D uid=0x6DEF type=2 query data(3: 696e00)"},
    {"parseAndLoadServiceCertificateResponse", 0xA50E, &OmIDrmAgent::parseAndLoadServiceCertificateResponse,
     &OmIDrmAgent::parseAndLoadServiceCertificateResponse, "msg=0xA50E uid=0x6DEF type=2 query data(3: 696e00)"},
};

/// The two lines with the result; pointers to the reply and to the caller's pointer may be anything.
testing::Matcher<std::string const&> resultLine(int result, int size, void const* target)
{
    char end[40];
    std::snprintf(end, sizeof end, ", *wdata = %p", target);
    return testing::AllOf(testing::StartsWith("info: Called, result = " + std::to_string(result) +
                                              ", size = " + std::to_string(size) + ", data = "),
                          testing::HasSubstr(", wdata = 0x"), testing::EndsWith(end));
}

TEST_F(DrmAgent, bufferOperationsSendTheInputAndCopyTheAnswer)
{
    for (BufferRow const& row : kBufferRows)
    {
        SCOPED_TRACE(row.operation);
        m_service.answer(row.code, bytes(std::string("\0answer", 7)));
        char in[] = "in\0";
        char out[] = "..........";
        void* target = out;
        unsigned int size = 77;
        LogCapture log;
        EXPECT_EQ((m_agent.*row.call)(in, 3, &target, size), 0);
        EXPECT_EQ(size, 7u);
        EXPECT_EQ(std::string(out, 10), std::string("\0answer...", 10));
        EXPECT_EQ(target, out);
        EXPECT_THAT(sent(), ::testing::ElementsAre(row.message));
        EXPECT_THAT(log.linesOf(placeOf(row.operation)),
                    ::testing::ElementsAre(kCalled, replyLine(row.code), resultLine(0, 7, out), resultLine(0, 7, out)));
        EXPECT_EQ(log.lines().front().place, "omc_drmAgent: " + placeOf(row.operation));
    }
}

TEST_F(DrmAgent, boundedOperationsAreTheSameOperationsWithALimit)
{
    for (BufferRow const& row : kBufferRows)
    {
        SCOPED_TRACE(row.operation);
        m_service.answer(row.code, bytes(std::string("\0answer", 7)));
        char in[] = "in\0";
        char out[] = "..........";
        unsigned int size = 77;
        LogCapture log;
        EXPECT_EQ((m_agent.*row.boundedCall)(in, 3, out, 7, size), 0);
        EXPECT_EQ(size, 7u);
        EXPECT_EQ(std::string(out, 10), std::string("\0answer...", 10));
        EXPECT_THAT(sent(), ::testing::ElementsAre(row.message));
        EXPECT_THAT(log.linesOf(placeOf(row.operation)),
                    ::testing::ElementsAre(kCalled, replyLine(row.code), resultLine(0, 7, out), resultLine(0, 7, out)));

        std::string const untouched(out, 10);
        size = 77;
        log.clear();
        EXPECT_EQ((m_agent.*row.boundedCall)(in, 3, out, 6, size), -7) << "too long";
        EXPECT_THAT(
            log.linesOf(placeOf(row.operation)),
            ::testing::ElementsAre(kCalled, replyLine(row.code), resultLine(0, 7, out), resultLine(-7, 7, out)));
        EXPECT_EQ(size, 7u);
        EXPECT_EQ(std::string(out, 10), untouched);
        EXPECT_EQ((m_agent.*row.boundedCall)(in, 3, nullptr, 100, size), -7) << "nowhere to copy to";
        EXPECT_THAT(sent(), ::testing::ElementsAre(row.message, row.message));
    }
}

TEST_F(DrmAgent, anEmptyAnswerCopiesNothing)
{
    for (BufferRow const& row : kBufferRows)
    {
        SCOPED_TRACE(row.operation);
        m_service.answer(row.code, bytes(""));
        char out[] = "...";
        void* target = out;
        unsigned int size = 77;
        EXPECT_EQ((m_agent.*row.call)(nullptr, 0, &target, size), 0);
        EXPECT_EQ(size, 0u);
        EXPECT_STREQ(out, "...");
        size = 77;
        EXPECT_EQ((m_agent.*row.boundedCall)(nullptr, 0, nullptr, 0, size), 0);
        EXPECT_EQ(size, 0u);
    }
}

TEST_F(DrmAgent, anAnswerThatIsNoBufferIsAFailedRead)
{
    for (bool const isNumber : {false, true})
    {
        for (BufferRow const& row : kBufferRows)
        {
            SCOPED_TRACE(row.operation);
            m_service.answer(row.code, isNumber ? number(1) : Fill());
            char out[] = "...";
            void* target = out;
            unsigned int size = 77;
            LogCapture log;
            EXPECT_EQ((m_agent.*row.call)(nullptr, 0, &target, size), -71);
            EXPECT_EQ(size, 0u);
            EXPECT_STREQ(out, "...");
            EXPECT_THAT(
                log.linesOf(placeOf(row.operation)),
                ::testing::ElementsAre(kCalled, replyLine(row.code), resultLine(-71, 0, out), resultLine(-71, 0, out)));

            size = 77;
            log.clear();
            EXPECT_EQ((m_agent.*row.boundedCall)(nullptr, 0, out, 3, size), -71);
            EXPECT_EQ(size, 0u);
            EXPECT_STREQ(out, "...");
            EXPECT_THAT(
                log.linesOf(placeOf(row.operation)),
                ::testing::ElementsAre(kCalled, replyLine(row.code), resultLine(-71, 0, out), resultLine(-71, 0, out)));
        }
    }
}

TEST_F(DrmAgent, bufferOperationsThatFailTouchNothing)
{
    for (BufferRow const& row : kBufferRows)
    {
        SCOPED_TRACE(row.operation);
        m_service.refuse(row.code, -13);
        char out[] = "...";
        void* target = out;
        unsigned int size = 77;
        LogCapture log;
        EXPECT_EQ((m_agent.*row.call)(nullptr, 0, &target, size), -13);
        EXPECT_EQ(log.linesOf(placeOf(row.operation)), (Lines{kCalled, kRefused}));
        EXPECT_EQ((m_agent.*row.boundedCall)(nullptr, 0, out, 3, size), -13);
        EXPECT_EQ(size, 77u);
        EXPECT_STREQ(out, "...");
    }
}

TEST_F(DrmAgent, onlyTheLowerSixteenBitsOfAnInputsSizeCount)
{
    std::string in(65539, 'i');
    char out[100];
    void* target = out;
    unsigned int size = 0;
    EXPECT_EQ(m_agent.decrypt(in.data(), 65539, &target, size), 0);
    EXPECT_EQ(m_agent.decrypt(in.data(), 65535, out, sizeof out, size), 0);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA50A uid=0x6DEF type=2 query data(3: 696969)",
                                               "msg=0xA50A uid=0x6DEF type=2 query data(65535)"));
}

class Opened final : public omc::OmcDrmAgent
{
public:
    using OmcDrmAgent::boundedOperation;
    using OmcDrmAgent::OmcDrmAgent;
    unsigned int getAgentID() override { return 0x6111; }
    unsigned int getClientID() override { return kCnid; }
};

TEST_F(DrmAgent, anOperationThatDoesNotExistIsRefused)
{
    Opened agent(kCnid, kAgentId);
    unsigned int size = 77;
    EXPECT_EQ(agent.boundedOperation(-1, nullptr, 0, nullptr, 0, size), -22);
    EXPECT_EQ(agent.boundedOperation(11, nullptr, 0, nullptr, 0, size), -22);
    EXPECT_EQ(size, 77u);
    EXPECT_THAT(sent(), ::testing::IsEmpty());
}

TEST_F(DrmAgent, messagesCarryTheIdsOfTheVirtualGetters)
{
    Opened agent(0x1FFE, kAgentId); // nothing is connected under this id
    LogCapture log;
    EXPECT_GT(agent.initialize(), 0);
    EXPECT_GT(agent.doExtendCommand("c", OmPropertyGroup()), 0);
    EXPECT_EQ(log.linesOf("OmcDrmAgent::initialize").front(), "debug: Called. Client Id=6844, m_plid=24849.");
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA503 uid=0x6111 type=2 query",
                                               "msg=0xA228 uid=0x6111 type=1 oneway string(c) data(9: "
                                               "505230303030454400)"));
}

TEST_F(DrmAgent, aDerivedGroupMaySendOtherBytes)
{
    EXPECT_GT(m_agent.doExtendCommand("c", DisguisedGroup()), 0);
    EXPECT_THAT(sent(), ::testing::ElementsAre(
                            "msg=0xA228 uid=0x6DEF type=1 oneway string(c) data(6: " + hexOf("masked") + ")"));
}

TEST_F(DrmAgent, anExtendedCommandWaitsForNothing)
{
    OmPropertyGroup props;
    LogCapture log;
    EXPECT_GT(m_agent.doExtendCommand("a command", props), 0);
    EXPECT_EQ(log.linesOf("OmcDrmAgent::doExtendCommand"), Lines{kCalled});
    EXPECT_THAT(sent(), ::testing::ElementsAre(
                            "msg=0xA228 uid=0x6DEF type=1 oneway string(a command) data(9: 505230303030454400)"));

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_agent.doExtendCommand("a command", props), 0);
    EXPECT_EQ(log.linesOf("OmcDrmAgent::doExtendCommand"), (Lines{kCalled, kUnsent}));
}

} // namespace

} // namespace tz::orvane::test
