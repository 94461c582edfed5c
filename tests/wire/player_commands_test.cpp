// SPDX-License-Identifier: Apache-2.0
// The player's settings and actions: which message leaves, what comes back, what is logged.
#include "player_fixture.h"

namespace tz::orvane::test
{

namespace
{

using namespace om;

class PlayerCommands : public PlayerFixture
{
};

constexpr om_display_rect_t kRect{1, -2, 1920, 1080, 5};
constexpr om_subtiltile_style_t kStyle{1, 2, 3, 4, 5, 0x00FFFFFF, 0x10, 40, 106};

std::vector<CommandRow> rows()
{
    std::string const ids = "debug: Called. cnid=0x1abc, plid=0x2def";
    return {
        {"seek",
         [](OmIMediaPlayer& player) { return player.seek(-5000000000, 6); },
         "msg=0xC208 uid=0x2DEF type=1 oneway sint64(-5000000000) sint32(6)",
         {kStart, "debug: Input parameters (pos = -5000000000, flags = 6)."}},
        {"speed",
         [](OmIMediaPlayer& player) { return player.speed(static_cast<om_play_speed_e>(-32), 7); },
         "msg=0xA205 uid=0x2DEF type=1 oneway uint32(4294967264) uint32(7)",
         {kStart, "debug: Input parameters (speed = -32)."}},
        {"rotate",
         [](OmIMediaPlayer& player) { return player.rotate(static_cast<om_display_rotate_e>(270)); },
         "msg=0xA207 uid=0x2DEF type=1 oneway uint32(270)",
         {kStart, "debug: Input parameters (rotate angle = 270)."}},
        {"setDisplayRect",
         [](OmIMediaPlayer& player) { return player.setDisplayRect(kRect); },
         "msg=0xA209 uid=0x2DEF type=1 oneway data(20: 01000000feffffff800700003804000005000000)",
         {kStart, "debug: Input parameters (rect: px=1, py=-2, width=1920, height=1080)."}},
        {"setZoom",
         [](OmIMediaPlayer& player)
         { return player.setZoom(static_cast<om_zoom_mode_e>(2), static_cast<om_zoom_ratio_e>(300)); },
         "msg=0xA20B uid=0x2DEF type=1 oneway uint32(2) uint32(300)",
         {kStart, "debug: Input parameters (zoom = 2, ratio = 300)."}},
        {"moveTo",
         [](OmIMediaPlayer& player) { return player.moveTo(static_cast<om_photo_move_direction_e>(3), -40); },
         "msg=0xA20D uid=0x2DEF type=1 oneway sint32(3) sint32(-40)",
         {ids + ", direct=3, distance=-40."},
         "info: Complete!"},
        {"setAnimation",
         [](OmIMediaPlayer& player) { return player.setAnimation(static_cast<om_image_animation_e>(-1)); },
         "msg=0xA20E uid=0x2DEF type=1 oneway sint32(-1)",
         {ids + ", animation=-1."},
         "info: Complete!"},
        {"setVolume",
         [](OmIMediaPlayer& player) { return player.setVolume(-3); },
         "msg=0xA20F uid=0x2DEF type=1 oneway sint32(-3)",
         {kStart, "debug: Input parameters (volume = -3)."}},
        {"setAudioMute",
         [](OmIMediaPlayer& player) { return player.setAudioMute(1); },
         "msg=0xA210 uid=0x2DEF type=1 oneway uint32(1)",
         {kStart, "debug: Input parameters (the setting mute value= 1)."}},
        {"setVideoMute",
         [](OmIMediaPlayer& player) { return player.setVideoMute(-1); },
         "msg=0xA212 uid=0x2DEF type=1 oneway uint32(4294967295)",
         {kStart, "debug: Input parameters (the setting mute value= -1)."}},
        {"setAudioTrackNo",
         [](OmIMediaPlayer& player) { return player.setAudioTrackNo(4000000000); },
         "msg=0xA21C uid=0x2DEF type=1 oneway uint32(4000000000)",
         {kStart, "debug: Input parameters (TrackNumber =-294967296.)."}},
        {"setSubtitleTrackNo",
         [](OmIMediaPlayer& player) { return player.setSubtitleTrackNo(3); },
         "msg=0xA21F uid=0x2DEF type=1 oneway uint32(3)",
         {kStart, "debug: Input parameters (TrackNumber =3.)."}},
        {"setSubtitleVisible",
         [](OmIMediaPlayer& player) { return player.setSubtitleVisible(1); },
         "msg=0xA221 uid=0x2DEF type=1 oneway uint32(1)",
         {kStart}},
        {"setSubtitleFontPath",
         [](OmIMediaPlayer& player) { return player.setSubtitleFontPath("/fonts/a b.ttf"); },
         "msg=0xA223 uid=0x2DEF type=1 oneway string(/fonts/a b.ttf)",
         {kStart, "debug: Input parameters (SubtitleFontPath=/fonts/a b.ttf.)."}},
        {"setSubtitleUri",
         [](OmIMediaPlayer& player) { return player.setSubtitleUri("http://h/x%20.srt"); },
         "msg=0xA224 uid=0x2DEF type=1 oneway string(http://h/x%20.srt)",
         {kStart, "debug: Input parameters (uri=http://h/x%20.srt.)."}},
        {"setSubtitleStyle",
         [](OmIMediaPlayer& player) { return player.setSubtitleStyle(kStyle); },
         "msg=0xA225 uid=0x2DEF type=1 oneway "
         "data(36: 0100000002000000030000000400000005000000ffffff0010000000280000006a000000)",
         {kStart, "debug: Input parameters (style: sub_charset = 106, sub_font_size = 40.).",
          "debug: Input parameters (style: sub_colo r= 16777215,  sub_bg_color = 16.).",
          "debug: Input parameters (style: sub_rect px py width height = 1 2 3 4.)."}},
        {"setSubtitleDelay",
         [](OmIMediaPlayer& player) { return player.setSubtitleDelay(-1500); },
         "msg=0xA226 uid=0x2DEF type=1 oneway sint64(-1500)",
         {kStart, "debug: Input parameters (delay=-1500.)."}},
        {"setExtraAudioAttribute",
         [](OmIMediaPlayer& player) { return player.setExtraAudioAttribute(-8, 9); },
         "msg=0xA227 uid=0x2DEF type=1 oneway sint32(-8) sint32(9)",
         {kStart, "debug: Input parameters (the setting audioAttribute=-8, value=9)."}},
    };
}

TEST_F(PlayerCommands, eachSendsItsMessageAndGivesTheMessengersResult)
{
    for (CommandRow const& row : rows())
    {
        expectSent(row);
    }
}

TEST_F(PlayerCommands, eachGivesMinusOneWhenItCannotBeSent)
{
    m_connection.disconnect();
    for (CommandRow const& row : rows())
    {
        expectUnsent(row);
    }
}

TEST_F(PlayerCommands, emptyTextsAreSentToo)
{
    EXPECT_GT(m_player.setSubtitleFontPath(""), 0);
    EXPECT_GT(m_player.setSubtitleUri(""), 0);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA223 uid=0x2DEF type=1 oneway string()",
                                               "msg=0xA224 uid=0x2DEF type=1 oneway string()"));
}

TEST_F(PlayerCommands, nothingIsLoggedBelowTheLevel)
{
    LogCapture log(platform::DebugLevel::error);
    m_player.setVolume(1);
    EXPECT_TRUE(log.linesOf("OmcMediaPlayer::setVolume").empty());
}

class Renamed : public omc::OmcMediaPlayer
{
public:
    Renamed()
        : OmcMediaPlayer(0x1FFE, kPlid)
    {
    }

    unsigned int getPlayerID() override { return 0x2ABC; }
    unsigned int getClientID() override { return kCnid; }
};

TEST_F(PlayerCommands, messagesCarryTheIdsOfTheVirtualGetters)
{
    Renamed player; // nothing is connected under the id that it was made with
    LogCapture log;
    EXPECT_GT(player.setVolume(1), 0);
    EXPECT_GT(player.moveTo(OM_PHOTO_MOVE_UP, 1), 0);
    EXPECT_EQ(player.isSeekable(), 1);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA20F uid=0x2ABC type=1 oneway sint32(1)",
                                               "msg=0xA20D uid=0x2ABC type=1 oneway sint32(0) sint32(1)",
                                               "msg=0xA203 uid=0x2ABC type=2 query"));
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::setVolume").front(), "debug: Start. cnid=0x1ABC, plid=0x2ABC.");
}

} // namespace

} // namespace tz::orvane::test
