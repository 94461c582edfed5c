// SPDX-License-Identifier: Apache-2.0
// The exchange of named commands, as the player makes it.
#include "player_fixture.h"
#include "support/disguised_group.h"
#include "support/ending.h"
#include "support/message_parts.h"

#include <cstdio>

namespace tz::orvane::test
{

namespace
{

using om::OmPropertyGroup;

using Lines = std::vector<std::string>;

constexpr char kSent[] = "info: Succeeded to send msg or command from client to binder.";
constexpr char kReplied[] = "info: msgDataOut (pid=0x1ABC, uid=0x2DEF, cmd=0xA228, type=2).";
constexpr char kRead[] = "info: Succeeded to readData from binder msgDataOut to client. .";

class ExtendCommand : public PlayerFixture
{
protected:
    /// Sends the command "c" with a group of one entry, which must be kept, and compares what is logged.
    void expectKept(int result, Lines const& behindTheEntry)
    {
        OmPropertyGroup props;
        props.add("kept", "yes");
        Lines lines = entryOf("c", props);
        lines.insert(lines.end(), behindTheEntry.begin(), behindTheEntry.end());
        LogCapture log;
        EXPECT_EQ(m_player.doExtendCommand("c", props), result);
        EXPECT_EQ(log.linesOf("OmcMediaPlayer::doExtendCommand"), lines);
        EXPECT_EQ(props.count(), 1);
        EXPECT_EQ(props.get("kept"), "yes");
    }

    /// What is logged before a command is sent.
    static Lines entryOf(std::string const& command, OmPropertyGroup const& props)
    {
        char* image = nullptr;
        int length = 0;
        props.getData(&image, &length);
        char firstByte[80];
        std::snprintf(firstByte, sizeof firstByte, "debug: Input parameters (The first OmString of properties =%p).",
                      static_cast<void*>(image));
        return {kStart, "debug: Input parameters (command=" + command + ").",
                "debug: Input parameters (The length of properties =" + std::to_string(length) + ".).", firstByte};
    }
};

constexpr char kEmptyImage[] = "505230303030454400";

TEST_F(ExtendCommand, anExtendedCommandSendsTheGroupAndBringsOneBack)
{
    OmPropertyGroup props;
    props.add("rate", "2");
    Lines lines = entryOf("a command", props);
    EXPECT_EQ(lines[2], "debug: Input parameters (The length of properties =24.).");
    lines.insert(lines.end(), {kSent, kReplied, kRead});
    m_service.answer(0xA228, bytes(groupImage({{"answer", "42"}, {"more", "x"}})));
    LogCapture log;
    EXPECT_EQ(m_player.doExtendCommand("a command", props), 0);
    EXPECT_EQ(props.count(), 2);
    EXPECT_EQ(props.get("answer"), "42");
    EXPECT_EQ(props.get("rate"), "");
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::doExtendCommand"), lines);
    EXPECT_EQ(log.lines().front().place, "omc_mediaplayer: OmcMediaPlayer::doExtendCommand");
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA228 uid=0x2DEF type=2 query string(a command) data(24: "
                                               "505230303031303031323030313472617465003200454400)"));
}

TEST_F(ExtendCommand, anEmptyGroupTravelsAsNineBytes)
{
    OmPropertyGroup props;
    EXPECT_EQ(m_player.doExtendCommand("", props), 0);
    EXPECT_THAT(sent(), ::testing::ElementsAre(std::string("msg=0xA228 uid=0x2DEF type=2 query string() data(9: ") +
                                               kEmptyImage + ")"));
}

TEST_F(ExtendCommand, anEmptyAnswerLeavesTheGroupOfAnExtendedCommandAsItWas)
{
    m_service.answer(0xA228, bytes(""));
    ::testing::internal::CaptureStdout();
    expectKept(0, {kSent, kReplied, kRead});
    EXPECT_THAT(::testing::internal::GetCapturedStdout(),
                ::testing::MatchesRegex("\\[PRG\\]\\[ERR\\] Invalid content!, group.m_arr=.*, group.m_size=-1.\n"));
}

TEST_F(ExtendCommand, anExtendedCommandWithoutAnAnswerGivesMinusOneAndKeepsTheGroup)
{
    for (bool const isNumber : {false, true})
    {
        m_service.answer(0xA228, isNumber ? number(1) : Fill());
        expectKept(-1, {kSent, kReplied, "error: call msgDataOut.read() fail"});
    }
}

TEST_F(ExtendCommand, anExtendedCommandThatIsNotTakenGivesMinusOneAndKeepsTheGroup)
{
    m_service.refuse(0xA228, -13);
    expectKept(-1, {"error: Error! Failed to send msg or command from client to binder. ErrorCode=-13."});
    m_connection.disconnect();
    expectKept(-1, {"error: Error! Failed to send msg or command from client to binder. ErrorCode=-107."});
}

TEST_F(ExtendCommand, aDerivedGroupMaySendOtherBytes)
{
    DisguisedGroup props;
    props.add("not", "sent");
    LogCapture log;
    m_player.doExtendCommand("c", props);
    EXPECT_THAT(log.linesOf("OmcMediaPlayer::doExtendCommand"),
                ::testing::Contains("debug: Input parameters (The length of properties =6.)."));
    EXPECT_THAT(sent(), ::testing::ElementsAre(
                            "msg=0xA228 uid=0x2DEF type=2 query string(c) data(6: " + hexOf("masked") + ")"));
}

TEST(ExtendCommandAlone, anAnswerThatIsNoGroupEndsTheProcess)
{
    SocketDir const dir; // cleared here: the child has no time for it
    expectAbort("[PRG][ERR] Invalid END! end=EX\n",
                []
                {
                    ScriptedService service;
                    WireConnection const connection(service);
                    service.answer(0xA228, bytes(std::string("PR0000EX\0", 9)));
                    omc::OmcMediaPlayer player(kCnid, kPlid);
                    OmPropertyGroup props;
                    player.doExtendCommand("c", props);
                });
}

} // namespace

} // namespace tz::orvane::test
