// SPDX-License-Identifier: Apache-2.0
// The exchange of named commands, as the player makes it.
#include "player_fixture.h"

#include <csignal>
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
    std::snprintf(firstByte, sizeof firstByte, "Input parameters (The first OmString of properties =%p).",
                  static_cast<void*>(image));
    m_service.answer(0xA228,
                     [](mdt::MsgData& reply)
                     {
                         std::string const group = groupImage({{"answer", "42"}, {"more", "x"}});
                         reply.writeData(group.data(), static_cast<unsigned short>(group.size()));
                     });
    LogCapture log;
    EXPECT_EQ(m_player.doExtendCommand("a command", props), 0);
    EXPECT_EQ(props.count(), 2);
    EXPECT_EQ(props.get("answer"), "42");
    EXPECT_EQ(props.get("rate"), "");
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::doExtendCommand"),
              (std::vector<std::string>{kStart, "Input parameters (command=a command).",
                                        "Input parameters (The length of properties =24.).", firstByte,
                                        "Succeeded to send msg or command from client to binder.",
                                        "msgDataOut (pid=0x1ABC, uid=0x2DEF, cmd=0xA228, type=2).",
                                        "Succeeded to readData from binder msgDataOut to client. ."}));
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
    m_service.answer(0xA228, [](mdt::MsgData& reply) { reply.writeData(nullptr, 0); });
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
    for (bool const number : {false, true})
    {
        m_service.answer(0xA228,
                         [number](mdt::MsgData& reply)
                         {
                             if (number)
                             {
                                 reply.writeUInt32(1);
                             }
                         });
        LogCapture log;
        EXPECT_EQ(m_player.doExtendCommand("c", props), -1);
        EXPECT_EQ(log.textsOf("OmcMediaPlayer::doExtendCommand").back(), "call msgDataOut.read() fail");
    }
    m_service.refuse(0xA228, -13);
    LogCapture log;
    EXPECT_EQ(m_player.doExtendCommand("c", props), -1);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::doExtendCommand").back(),
              "Error! Failed to send msg or command from client to binder. ErrorCode=-13.");
    EXPECT_EQ(props.get("kept"), "yes");
}

TEST_F(ExtendCommand, anAnswerThatIsNoGroupEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    m_service.answer(0xA228, [](mdt::MsgData& reply) { reply.writeData("PR0000EX", 9); });
    OmPropertyGroup props;
    EXPECT_EXIT(m_player.doExtendCommand("c", props), ::testing::KilledBySignal(SIGABRT), "");
}

} // namespace

} // namespace tz::orvane::test
