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

class ExtendCommand : public PlayerFixture
{
};

constexpr char kEmptyImage[] = "505230303030454400";

TEST_F(ExtendCommand, anExtendedCommandSendsTheGroupAndBringsOneBack)
{
    OmPropertyGroup props;
    props.add("rate", "2");
    char* image = nullptr;
    int length = 0;
    props.getData(&image, &length);
    char firstByte[80];
    std::snprintf(firstByte, sizeof firstByte, "debug: Input parameters (The first OmString of properties =%p).",
                  static_cast<void*>(image));
    m_service.answer(0xA228, bytes(groupImage({{"answer", "42"}, {"more", "x"}})));
    LogCapture log;
    EXPECT_EQ(m_player.doExtendCommand("a command", props), 0);
    EXPECT_EQ(props.count(), 2);
    EXPECT_EQ(props.get("answer"), "42");
    EXPECT_EQ(props.get("rate"), "");
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::doExtendCommand"),
              (std::vector<std::string>{kStart, "debug: Input parameters (command=a command).",
                                        "debug: Input parameters (The length of properties =24.).", firstByte,
                                        "info: Succeeded to send msg or command from client to binder.",
                                        "info: msgDataOut (pid=0x1ABC, uid=0x2DEF, cmd=0xA228, type=2).",
                                        "info: Succeeded to readData from binder msgDataOut to client. ."}));
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
    OmPropertyGroup props;
    props.add("kept", "yes");
    m_service.answer(0xA228, bytes(""));
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(m_player.doExtendCommand("c", props), 0);
    EXPECT_THAT(::testing::internal::GetCapturedStdout(),
                ::testing::MatchesRegex("\\[PRG\\]\\[ERR\\] Invalid content!, group.m_arr=.*, group.m_size=-1.\n"));
    EXPECT_EQ(props.get("kept"), "yes");
}

TEST_F(ExtendCommand, anExtendedCommandWithoutAnAnswerGivesMinusOneAndKeepsTheGroup)
{
    OmPropertyGroup props;
    props.add("kept", "yes");
    for (bool const isNumber : {false, true})
    {
        m_service.answer(0xA228, isNumber ? number(1) : Fill());
        LogCapture log;
        EXPECT_EQ(m_player.doExtendCommand("c", props), -1);
        EXPECT_EQ(log.linesOf("OmcMediaPlayer::doExtendCommand").back(), "error: call msgDataOut.read() fail");
    }
    m_service.refuse(0xA228, -13);
    LogCapture log;
    EXPECT_EQ(m_player.doExtendCommand("c", props), -1);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::doExtendCommand").back(),
              "error: Error! Failed to send msg or command from client to binder. ErrorCode=-13.");
    EXPECT_EQ(props.get("kept"), "yes");
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
