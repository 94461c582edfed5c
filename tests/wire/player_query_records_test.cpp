// SPDX-License-Identifier: Apache-2.0
// The player's getters of more than one value: answers that are there in part, and records that the caller sends along.
#include "orvane/om_type_util.h"
#include "player_fixture.h"
#include "support/message_parts.h"

#include <cstring>
#include <memory>
#include <random>

namespace tz::orvane::test
{

namespace
{

using namespace om;

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr char kSent[] = "Succeeded to send msg or command from client to binder.";
constexpr char kReadNumberFailed[] =
    "error: Error! Failed to readUInt32 from binder msgDataOut to client. ErrorCode=-71.";
constexpr char kReadRecordFailed[] =
    "error: Error! Failed to readData from binder msgDataOut to client. ErrorCode=-71.";

class PlayerQueryRecords : public PlayerFixture
{
protected:
    /// Asks for both, which were 77 before. @return the result was the messenger's own, which is never 0
    bool getZoom()
    {
        m_mode = static_cast<om_zoom_mode_e>(77);
        m_ratio = static_cast<om_zoom_ratio_e>(77);
        return m_player.getZoom(m_mode, m_ratio) > 0;
    }

    std::string zoom() const { return std::to_string(m_mode) + " " + std::to_string(m_ratio); }

    om_zoom_mode_e m_mode{};
    om_zoom_ratio_e m_ratio{};
};

TEST_F(PlayerQueryRecords, aRectangleThatIsTooShortIsPartlyOldAndStillNoFailure)
{
    om_display_rect_t rectangle{7, 7, 7, 7, 7};
    m_service.answer(0xA20A, bytes(std::string("\1\0\0\0\2\0\0\0", 8)));
    LogCapture log;
    EXPECT_GT(m_player.getDisplayRect(rectangle), 0);
    EXPECT_EQ(rectangle.px, 1);
    EXPECT_EQ(rectangle.py, 2);
    EXPECT_EQ(rectangle.width, 7);
    EXPECT_EQ(rectangle.height, 7);
    EXPECT_EQ(rectangle.zoom, 7);
    EXPECT_THAT(log.linesOf("OmcMediaPlayer::getDisplayRect"), Contains(kReadRecordFailed));
}

TEST_F(PlayerQueryRecords, aChapterThatIsTooShortIsPartlyOldAndAFailedRead)
{
    om_chapter_info_t info{7, 8, "old name", "old"};
    m_service.answer(0xA219, bytes(std::string("\1\0\0\0\2\0\0\0", 8)));
    LogCapture log;
    EXPECT_EQ(m_player.getCharpterInfo(info), -71);
    EXPECT_EQ(info.start_pos, 0x200000001);
    EXPECT_EQ(info.end_pos, 8);
    EXPECT_STREQ(info.name, "old name");
    EXPECT_STREQ(info.lang, "old");
    EXPECT_THAT(log.linesOf("OmcMediaPlayer::getCharpterInfo"),
                ElementsAre(kStart, std::string("info: ") + kSent, StartsWith("info:  msgDataOut (pid=0x1ABC, "),
                            kReadRecordFailed));
}

TEST_F(PlayerQueryRecords, ofAZoomThatIsHalfThereTheOtherHalfIsZero)
{
    m_service.answer(0xA20C, number(2));
    LogCapture log;
    EXPECT_TRUE(getZoom());
    EXPECT_EQ(zoom(), "2 0");
    EXPECT_THAT(log.linesOf("OmcMediaPlayer::getZoom"), Contains(kReadNumberFailed).Times(1));
}

TEST_F(PlayerQueryRecords, aModeThatCannotBeReadDoesNotCostTheRatio)
{
    m_service.answer(0xA20C, whole({bytes("mode"), number(300)}));
    LogCapture log;
    EXPECT_TRUE(getZoom());
    EXPECT_EQ(zoom(), "0 300");
    EXPECT_THAT(log.linesOf("OmcMediaPlayer::getZoom"), Contains(kReadNumberFailed).Times(1));
}

TEST_F(PlayerQueryRecords, aZoomIsZeroFromBeforeTheQuestionUntilItsAnswerIsRead)
{
    std::string whenAsked;
    std::string whenAnswered;
    m_service.answer(0xA20C,
                     [&](mdt::MsgData& reply)
                     {
                         whenAsked = zoom();
                         whole({number(2), number(300)})(reply);
                     });
    LogCapture log([&](std::string const& text) { whenAnswered += text == kSent ? zoom() : ""; });
    EXPECT_TRUE(getZoom());
    EXPECT_EQ(whenAsked, "0 0");
    EXPECT_EQ(whenAnswered, "0 0");
    EXPECT_EQ(zoom(), "2 300");
}

TEST_F(PlayerQueryRecords, theRecordsOfTheCallerTravelWithTheQuestion)
{
    om_media_info_t info{};
    info.media_type = 0x01020304;
    info.cap_flags = 0x05060708;
    m_player.getMediaInfo(info);
    RecordedMessage const question = m_service.waitForCode(0xA216);
    ASSERT_EQ(question.arguments.size(), 1u);
    EXPECT_EQ(hexOf(question.arguments[0].bytes.substr(0, 4)), "04030201");
    EXPECT_EQ(hexOf(question.arguments[0].bytes.substr(180, 4)), "08070605");
}

TEST_F(PlayerQueryRecords, aRecordThatWasCopiedTravelsAsTheOneThatItWasCopiedFrom)
{
    std::string content(sizeof(om_container_info_t), '\0');
    std::mt19937 random(1);
    for (char& byte : content)
    {
        byte = static_cast<char>(random());
    }
    auto const original = std::make_unique<om_container_info_t>();
    std::memcpy(static_cast<void*>(original.get()), content.data(), content.size());
    auto const container = std::make_unique<om_container_info_t>();
    OmTypeUtil::copy(*original, *container);
    m_player.getContainerInfo(*container);
    std::vector<RecordedArgument> const arguments = m_service.waitForCode(0xA217).arguments;
    ASSERT_EQ(arguments.size(), 1u);
    EXPECT_TRUE(arguments[0].bytes == content); // too long to be shown
}

} // namespace

} // namespace tz::orvane::test
