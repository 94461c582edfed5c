// SPDX-License-Identifier: Apache-2.0
// The player's data paths: what applications feed it with and pull from it.
#include "player_fixture.h"

#include <utility>

namespace tz::orvane::test
{

namespace
{

using Lines = std::vector<std::string>;

class PlayerData : public PlayerFixture
{
};

TEST_F(PlayerData, pushDataSendsABlockOfAnySize)
{
    LogCapture log;
    EXPECT_EQ(m_player.pushData("\0\1\2", 3), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::pushData"), (Lines{"info: RETURN 0"}));
    std::string const large(300000, 'L');
    EXPECT_EQ(m_player.pushData(large.data(), 300000), 0);
    EXPECT_EQ(m_service.waitForCode(0xC221, 2).arguments.at(0).bytes, large);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC221 uid=0x2DEF type=5 oneway block(3: 000102)",
                                               "msg=0xC221 uid=0x2DEF type=5 oneway block(300000)"));
}

TEST_F(PlayerData, pushDataWithoutDataSendsNothing)
{
    for (auto const& [data, size] : {std::pair<char const*, unsigned int>{nullptr, 5}, {"x", 0}, {nullptr, 0}})
    {
        LogCapture log;
        EXPECT_EQ(m_player.pushData(data, size), -2);
        EXPECT_EQ(log.linesOf("OmcMediaPlayer::pushData"), (Lines{"error: invalid parameter", "info: RETURN -2"}));
    }
    EXPECT_THAT(sent(), ::testing::IsEmpty());
}

TEST_F(PlayerData, pushDataThatCannotBeSentGivesZeroAllTheSame)
{
    m_connection.disconnect();
    LogCapture log;
    EXPECT_EQ(m_player.pushData("x", 1), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::pushData"),
              (Lines{"error: call postMsg() fail, err=-107", "info: RETURN 0"}));
}

TEST_F(PlayerData, aBlockPastTheLimitOfAMessageIsNotSent)
{
    LogCapture log;
    EXPECT_EQ(m_player.pushData("x", 0x80000000), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::pushData"),
              (Lines{"error: call postMsg() fail, err=-90", "info: RETURN 0"}));
    EXPECT_THAT(sent(), ::testing::IsEmpty());
}

TEST_F(PlayerData, pullDataAsksAndTouchesNeitherArgument)
{
    m_service.answer(0xC222, [](mdt::MsgData& reply) { reply.writeData("abc", 3); });
    int here = 0;
    void* data = &here;
    unsigned int size = 77;
    LogCapture log;
    EXPECT_EQ(m_player.pullData(&data, size), 0);
    EXPECT_THAT(log.linesOf("OmcMediaPlayer::pullData"), ::testing::IsEmpty());
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC222 uid=0x2DEF type=6 query"));

    m_service.refuse(0xC222, -13);
    EXPECT_EQ(m_player.pullData(&data, size), -1);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::pullData"), (Lines{"error: call postMsg() fail, err=-13"}));
    EXPECT_EQ(data, &here);
    EXPECT_EQ(size, 77u);
}

TEST_F(PlayerData, freeDataMemSendsNoPointerAndPassesTheResultThrough)
{
    LogCapture log;
    int data = 0;
    int const result = m_player.freeDataMem(&data);
    EXPECT_GT(result, 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::freeDataMem"),
              (Lines{"debug: ENTER", "info: RETURN " + std::to_string(result)}));
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC223 uid=0x2DEF type=5 oneway"));

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_player.freeDataMem(nullptr), -107);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::freeDataMem"),
              (Lines{"debug: ENTER", "error: call postMsg() fail, err=-107", "info: RETURN -107"}));
}

TEST_F(PlayerData, openEsMediaSendsThreeBuffersAndAlwaysGivesZero)
{
    LogCapture log;
    EXPECT_EQ(m_player.openEsMedia("vi", 2, nullptr, 3, "x", 0), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::openEsMedia"), (Lines{"debug: ENTER", "info: RETURN 0"}));
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC226 uid=0x2DEF type=1 oneway data(2: 7669) data(0) data(0)"));

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_player.openEsMedia("vi", 2, "au", 2, "x", 1), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::openEsMedia"),
              (Lines{"debug: ENTER", "error: call postMsg() fail, err=-107", "info: RETURN 0"}));
}

TEST_F(PlayerData, pushEsDataSendsABlockAndThreeShortBuffers)
{
    LogCapture log;
    int const result = m_player.pushEsData("unit", 4, "t", 1, nullptr, 0, "ex", 2);
    EXPECT_GT(result, 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::pushEsData"),
              (Lines{"debug: ENTER", "info: RETURN " + std::to_string(result)}));
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC225 uid=0x2DEF type=5 oneway sint32(4) block(4: 756e6974) "
                                               "data(1: 74) data(0) data(2: 6578)"));

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_player.pushEsData("unit", 4, "t", 1, "c", 1, "e", 1), -107);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::pushEsData"), (Lines{"debug: ENTER", "info: RETURN -107"}));
}

TEST_F(PlayerData, pushEsDataWithoutAnAccessUnitSendsTwoZeroBytesInItsPlace)
{
    EXPECT_GT(m_player.pushEsData(nullptr, 5, "t", 1, "c", 1, "e", 1), 0);
    EXPECT_GT(m_player.pushEsData("unit", 0, "t", 1, "c", 1, "e", 1), 0);
    EXPECT_THAT(sent(),
                ::testing::ElementsAre("msg=0xC225 uid=0x2DEF type=5 oneway sint32(5) block(2: 0000) data(1: 74) "
                                       "data(1: 63) data(1: 65)",
                                       "msg=0xC225 uid=0x2DEF type=5 oneway sint32(0) block(2: 0000) data(1: 74) "
                                       "data(1: 63) data(1: 65)"));
}

TEST_F(PlayerData, anAccessUnitMayHaveAnySize)
{
    std::string const unit(70000, 'u');
    EXPECT_GT(m_player.pushEsData(unit.data(), 70000, "t", 1, "c", 1, "e", 1), 0);
    EXPECT_EQ(m_service.waitForCode(0xC225).arguments.at(1).bytes, unit);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC225 uid=0x2DEF type=5 oneway sint32(70000) block(70000) "
                                               "data(1: 74) data(1: 63) data(1: 65)"));
}

TEST_F(PlayerData, onlyTheLowerSixteenBitsOfAShortBuffersSizeCount)
{
    std::string const large(65538, 'z');
    EXPECT_GT(m_player.pushEsData("u", 1, large.data(), 65537, large.data(), 65536, large.data(), 65538), 0);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC225 uid=0x2DEF type=5 oneway sint32(1) block(1: 75) data(1: 7a) "
                                               "data(0) data(2: 7a7a)"));
    EXPECT_EQ(m_player.openEsMedia(large.data(), 65537, large.data(), 65535, large.data(), 65536), 0);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC226 uid=0x2DEF type=1 oneway data(1: 7a) data(65535) data(0)"));
}

} // namespace

} // namespace tz::orvane::test
