// SPDX-License-Identifier: Apache-2.0
// Texts on the picture: which, when, and from where.
#include "support/http_server.h"
#include "support/subtitles.h"
#include "support/temp_dir.h"

#include <cstdio>
#include <fstream>

namespace tz::orvane::test
{
namespace
{

class Subtitles : public WithSubtitles
{
};

TEST_F(Subtitles, embeddedTextIsThereFromItsStartUntilItsEnd)
{
    for (char const* const name : {"multi.mkv", "multi.mp4", "chapters.mkv"})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media(name)));
        seek(viewer, 2000);
        EXPECT_FALSE(shown(viewer).there()) << name << ": none is chosen";
        choose(viewer, 0);
        EXPECT_TRUE(comesToShow(viewer)) << name;
        Text const text = shown(viewer);
        EXPECT_GT(text.top, 120) << name << ": not below";
        EXPECT_LT(std::abs(text.left + text.right - 320), 30) << name << ": not in the middle";
        seek(viewer, 3500);
        EXPECT_TRUE(comesToHide(viewer)) << name;
        seek(viewer, 5500);
        EXPECT_TRUE(comesToShow(viewer)) << name;
        seek(viewer, 1500);
        EXPECT_TRUE(comesToShow(viewer)) << name;
        seek(viewer, 500);
        EXPECT_TRUE(comesToHide(viewer)) << name;
    }
}

TEST_F(Subtitles, eachTrackHasItsOwnText)
{
    for (char const* const name : {"multi.mkv", "multi.mp4", "chapters.mkv"})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media(name)));
        seek(viewer, 2000);
        choose(viewer, 0);
        ASSERT_TRUE(comesToShow(viewer)) << name;
        Picture const english = screenshot(viewer);
        choose(viewer, 1);
        EXPECT_TRUE(eventually(
            [&]
            {
                Picture const now = screenshot(viewer);
                return textOf(now).there() && differenceOf(now, english) > 5;
            }))
            << name;
        choose(viewer, om::OM_TRACK_NONE);
        EXPECT_TRUE(comesToHide(viewer)) << name;
        choose(viewer, 0);
        EXPECT_TRUE(eventually([&] { return differenceOf(screenshot(viewer), english) == 0; })) << name;
    }
}

TEST_F(Subtitles, textComesAndGoesWhileItPlaysAtAnySpeed)
{
    for (char const* const name : {"multi.mkv", "multi.mp4"})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media(name)));
        choose(viewer, 0);
        for (om::om_play_speed_e const speed :
             {om::OM_PLAY_SPEED_NORMAL, om::OM_PLAY_SPEED_2X, om::OM_PLAY_SPEED_BACKWARD_2X})
        {
            auto const play = [&]
            {
                viewer.player().start(speed > 0 ? 0 : 7000);
                viewer.player().speed(speed, 0);
                return viewer.recorder().takeEvent(om::OM_EVENT_SPEED_CHANGED).has_value();
            };
            ASSERT_TRUE(play());
            bool there = false;
            int changes = 0;
            EXPECT_TRUE(eventually(
                [&]
                {
                    if (viewer.state() != om::OM_STATE_PLAYING) // a busy machine sees little of it the first time
                    {
                        EXPECT_TRUE(play());
                    }
                    Shot const shot = takeScreenshot(viewer);
                    bool const now = textOf(Picture(shot.path)).there();
                    changes += now != there ? 1 : 0;
                    there = now;
                    return changes >= 3;
                }))
                << name << " at " << speed;
        }
    }
}

TEST_F(Subtitles, aFileOfEachKindIsAnotherTrackAndIsShown)
{
    for (auto const& [name, type] :
         {std::pair("en.srt", "application/x-subrip"), std::pair("en.vtt", "text/vtt"),
          std::pair("en.ass", "application/x-ass"), std::pair("en.smi", "application/x-sami"),
          std::pair("ko_euckr.srt", "application/x-subrip")})
    {
        Viewer viewer;
        openWith(viewer, media(name));
        om::om_container_info_t const tracks = viewer.recorder().containerInfo();
        EXPECT_EQ(tracks.text_count, 1) << name;
        EXPECT_EQ(tracks.text_selected, 0) << name;
        EXPECT_STREQ(tracks.subtitle_detail[0].subtitle.title, name);
        EXPECT_STREQ(tracks.subtitle_detail[0].mime_type, type);
        EXPECT_EQ(tracks.subtitle_detail[0].subtitle.embtype, om::OM_SUBTITLE_EXTERNAL) << name;
        EXPECT_FALSE(shown(viewer).there()) << name;
        seek(viewer, 1500);
        EXPECT_TRUE(comesToShow(viewer)) << name;
        seek(viewer, 3950);
        EXPECT_TRUE(comesToHide(viewer)) << name;
    }
}

TEST_F(Subtitles, aFileIsTheLastOfTheTracks)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mkv")));
    seek(viewer, 7500);
    viewer.player().setSubtitleUri("file://" + media("de_utf8.srt"));
    ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, 2));
    EXPECT_TRUE(comesToShow(viewer)); // the embedded ones have nothing there
    unsigned int number = 0;
    EXPECT_EQ(viewer.player().getSubtitleTrackNo(number), 0);
    EXPECT_EQ(number, 2u);
    om::om_stream_info_group_t group{};
    EXPECT_EQ(viewer.player().getSubtitleTrackInfo(group), 0);
    EXPECT_EQ(group.count, 3);
    choose(viewer, 0);
    EXPECT_TRUE(comesToHide(viewer));
    choose(viewer, 2);
    EXPECT_TRUE(comesToShow(viewer));

    viewer.player().setSubtitleUri("");
    ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, -1));
    EXPECT_EQ(viewer.recorder().containerInfo().text_count, 2);
    EXPECT_TRUE(comesToHide(viewer));
}

TEST_F(Subtitles, aFileBelongsToItsMedium)
{
    Viewer viewer;
    viewer.player().setSubtitleUri(media("en.srt")); // for the one that comes
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    seek(viewer, 1500);
    EXPECT_TRUE(comesToShow(viewer));
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    EXPECT_FALSE(shown(viewer).there() && screenshot(viewer).at(80, 40) == kRed);
    viewer.player().start(1500);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_TRUE(comesToShow(viewer));

    ASSERT_TRUE(viewer.open(media("v.mkv")));
    EXPECT_EQ(viewer.recorder().containerInfo().text_count, 0);
    seek(viewer, 1500);
    EXPECT_FALSE(shown(viewer).there());
}

TEST_F(Subtitles, aServerDeliversThemAsWell)
{
    HttpServer server(ORVANE_E2E_MEDIA);
    Viewer viewer;
    openWith(viewer, server.uri("plain/en.srt"));
    seek(viewer, 1500);
    EXPECT_TRUE(comesToShow(viewer));
    viewer.player().setSubtitleUri(server.uri("403/en.srt"));
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, static_cast<int>(om::OM_ERROR_FORBIDDEN));
    EXPECT_TRUE(shown(viewer).there());

    // One that never answers holds up nobody.
    viewer.player().setSubtitleUri(server.uri("hang/en.srt"));
    seek(viewer, 3500);
    EXPECT_TRUE(comesToHide(viewer));
    viewer.player().setSubtitleUri(media("de_utf8.srt"));
    ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, 0));
    EXPECT_TRUE(comesToShow(viewer));
    viewer.player().setSubtitleUri(server.uri("hang/en.srt"));
}

TEST_F(Subtitles, invisibleTextIsNotThereAndComesBack)
{
    Viewer viewer;
    EXPECT_EQ(viewer.player().isSubtitleVisible(), 1);
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    ASSERT_TRUE(comesToShow(viewer));
    viewer.player().setSubtitleVisible(0);
    EXPECT_EQ(viewer.player().isSubtitleVisible(), 0);
    EXPECT_TRUE(comesToHide(viewer));
    viewer.player().setSubtitleVisible(1);
    EXPECT_TRUE(comesToShow(viewer));
}

TEST_F(Subtitles, delayShiftsFilesAndEmbeddedText)
{
    for (char const* const name : {"v.mp4", "multi.mkv"})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media(name)));
        bool const embedded = std::string(name) == "multi.mkv";
        embedded ? choose(viewer, 0) : openWith(viewer, media("en.srt"));
        seek(viewer, 2500);
        ASSERT_TRUE(comesToShow(viewer)) << name;
        viewer.player().setSubtitleDelay(2000);
        EXPECT_TRUE(comesToHide(viewer)) << name;
        seek(viewer, 3500);
        EXPECT_TRUE(comesToShow(viewer)) << name;
        viewer.player().setSubtitleDelay(-1000);
        EXPECT_TRUE(comesToShow(viewer)) << name << ": the second text is early";
        viewer.player().setSubtitleDelay(0);
        EXPECT_TRUE(comesToHide(viewer)) << name;
    }
}

TEST_F(Subtitles, markupInATextIsOnlyText)
{
    TempDir folder;
    std::string const path = folder.path() + "/bad.srt";
    std::ofstream(path) << "1\n00:00:01,000 --> 00:00:03,000\n&amp;lt;span size='9999999'&gt; <b>x &amp; y < z\n";
    Viewer viewer;
    openWith(viewer, path);
    seek(viewer, 1500);
    EXPECT_TRUE(comesToShow(viewer));
}

TEST_F(Subtitles, whatCannotBeIsRefusedAndChangesNothing)
{
    Viewer viewer;
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    ASSERT_TRUE(comesToShow(viewer));
    auto const refused = [&](om::om_error_e code, char const* command)
    {
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error) << command;
        EXPECT_EQ(error->code, static_cast<int>(code)) << command;
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), command);
    };
    viewer.player().setSubtitleUri(media("nothing.srt"));
    refused(om::OM_ERROR_NOT_FOUND, "setSubtitleUri");
    viewer.player().setSubtitleUri(media("text.txt"));
    refused(om::OM_ERROR_UNSUPPORTED_FORMAT, "setSubtitleUri");
    viewer.player().setSubtitleUri("en.srt");
    refused(om::OM_ERROR_BAD_ARGUMENT, "setSubtitleUri");
    viewer.player().setSubtitleUri("rtsp://host/en.srt");
    refused(om::OM_ERROR_UNKNOWN_SCHEME, "setSubtitleUri");
    viewer.player().setSubtitleFontPath(media("nothing.ttf"));
    refused(om::OM_ERROR_NOT_FOUND, "setSubtitleFontPath");
    viewer.player().setSubtitleFontPath(media("garbage.mp4"));
    refused(om::OM_ERROR_UNSUPPORTED_FORMAT, "setSubtitleFontPath");
    viewer.player().setSubtitleFontPath("No Such Family");
    refused(om::OM_ERROR_NOT_FOUND, "setSubtitleFontPath");
    viewer.player().setSubtitleDelay(1LL << 40);
    refused(om::OM_ERROR_BAD_ARGUMENT, "setSubtitleDelay");
    viewer.player().setSubtitleTrackNo(1);
    refused(om::OM_ERROR_BAD_ARGUMENT, "setSubtitleTrackNo");
    for (int field = 0; field < 6; ++field)
    {
        om::om_subtiltile_style_t style = usualStyle();
        style.subtitle_x = field == 0 ? 1001 : field == 1 ? 600 : -1;
        style.subtitle_width = field == 1 ? 500 : -1;
        style.subtitle_height = field == 2 ? 0 : -1;
        style.subtitle_fontsize = field == 3 ? 0 : field == 4 ? 1001 : 200;
        style.subtitle_charset = field == 5 ? 18 : -1;
        viewer.player().setSubtitleStyle(style);
        refused(om::OM_ERROR_BAD_ARGUMENT, "setSubtitleStyle");
    }
    EXPECT_TRUE(shown(viewer).there());
}

TEST_F(Subtitles, anotherCharsetReadsTheFileAgain)
{
    Viewer viewer;
    openWith(viewer, media("de_latin1.srt"));
    seek(viewer, 1500);
    ASSERT_TRUE(comesToShow(viewer));
    Picture const western = screenshot(viewer);
    om::om_subtiltile_style_t style = usualStyle();
    style.subtitle_charset = om::OM_SUBTITLE_CHARSET_CYRILLIC;
    viewer.player().setSubtitleStyle(style);
    whenItLooks(viewer, [&](Picture const& now) { return textOf(now).there() && differenceOf(now, western) > 5; });
}

TEST_F(Subtitles, anotherCharsetChangesNoChoice)
{
    for (bool const embedded : {false, true})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media(embedded ? "multi.mkv" : "v.mp4")));
        int const count = viewer.recorder().containerInfo().text_count;
        viewer.player().setSubtitleUri(media("de_latin1.srt"));
        ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, count));
        choose(viewer, embedded ? 0 : om::OM_TRACK_NONE);
        om::om_subtiltile_style_t style = usualStyle();
        style.subtitle_charset = om::OM_SUBTITLE_CHARSET_CYRILLIC;
        viewer.player().setSubtitleStyle(style);
        EXPECT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, embedded ? 0 : -1)) << "it is read again";
        unsigned int number = 0;
        EXPECT_EQ(viewer.player().getSubtitleTrackNo(number), 0);
        EXPECT_EQ(number, embedded ? 0 : om::OM_TRACK_NONE);
    }
}

TEST_F(Subtitles, aFileThatIsGoneWhenItIsReadAgainIsTheStylesFault)
{
    TempDir const folder;
    std::string const file = folder.path() + "/de.srt";
    std::ofstream(file) << "1\n00:00:01,000 --> 00:00:03,000\nText\n";
    Viewer viewer;
    openWith(viewer, file);
    ASSERT_EQ(std::remove(file.c_str()), 0);
    om::om_subtiltile_style_t style = usualStyle();
    style.subtitle_charset = om::OM_SUBTITLE_CHARSET_CYRILLIC;
    viewer.player().setSubtitleStyle(style);
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, static_cast<int>(om::OM_ERROR_NOT_FOUND));
    EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "setSubtitleStyle");
    seek(viewer, 1500);
    EXPECT_TRUE(comesToShow(viewer)) << "what was read before stays";
}

} // namespace
} // namespace tz::orvane::test
