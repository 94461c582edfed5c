// SPDX-License-Identifier: Apache-2.0
// What the preview tool reads from its command line and makes of results.
#include "presentation/preview_report.h"
#include "presentation/preview_target.h"

#include "orvane/om_service.h"

#include <gmock/gmock.h>

namespace tz::orvane::tools
{
namespace
{

TEST(PreviewPlace, isSecondsATimeOrAPart)
{
    EXPECT_EQ(parsePlace("12.5")->position, 12'500);
    EXPECT_EQ(parsePlace("0")->position, 0);
    EXPECT_EQ(parsePlace("2:03")->position, 123'000);
    EXPECT_EQ(parsePlace("1:02:03.5")->position, 3'723'500);
    EXPECT_FALSE(parsePlace("1:02:03.5")->inPercent);
    EXPECT_EQ(parsePlace("30%")->position, 30);
    EXPECT_TRUE(parsePlace("30%")->inPercent);
    EXPECT_EQ(parsePlace("100%")->position, 100);
}

TEST(PreviewPlace, isNothingElse)
{
    for (char const* const text :
         {"", "%", "101%", "-1", "noon", "1:2:3:4", ":", "1:", ":1", "1e9", "0x10", ".", "1.2.3", "99999999999"})
    {
        EXPECT_FALSE(parsePlace(text)) << text;
    }
}

TEST(PreviewSize, isTwoSidesInBounds)
{
    EXPECT_TRUE(isPictureSize("16x16"));
    EXPECT_TRUE(isPictureSize("4096x4096"));
    for (char const* const text :
         {"", "x", "15x16", "16x4097", "16", "16x", "x16", "16x16x16", " 16x16", "16X16", "-16x16"})
    {
        EXPECT_FALSE(isPictureSize(text)) << text;
    }
}

TEST(PreviewName, itsEndTellsTheFormat)
{
    EXPECT_EQ(formatOfName("a.png"), PictureFormat::png);
    EXPECT_EQ(formatOfName("A.JPG"), PictureFormat::jpeg);
    EXPECT_EQ(formatOfName("a.jpeg"), PictureFormat::jpeg);
    EXPECT_FALSE(formatOfName("a.gif"));
    EXPECT_FALSE(formatOfName("png"));
}

TEST(PreviewName, isGivenOnceAndStaysInItsFolder)
{
    PictureNames names(PictureFormat::jpeg);
    EXPECT_EQ(names.next("/a/film.mp4"), "film.jpg");
    EXPECT_EQ(names.next("/b/film.mkv"), "film-2.jpg");
    EXPECT_EQ(names.next("http://host/x/film.ts?y=1"), "film-3.jpg");
    EXPECT_EQ(names.next("/a/.hidden"), ".hidden.jpg");
    EXPECT_EQ(names.next("/a/.."), "picture.jpg");
    EXPECT_EQ(names.next("/a/noend"), "noend.jpg");
    EXPECT_EQ(names.next("http://host").find('/'), std::string::npos);
    EXPECT_LT(names.next("/" + std::string(1000, 'x')).size(), 255u);
    EXPECT_EQ(PictureNames(PictureFormat::png).next("film.mp4"), "film.png");
}

PreviewOutcome film()
{
    return {"/a/film.mp4",
            om::OM_ERROR_NONE,
            "film.jpg",
            {{om::OM_PREVIEW_KEY_MEDIA_TYPE, "1"},
             {om::OM_PREVIEW_KEY_TITLE, "A \"title\"\x1b[31m"},
             {om::OM_PREVIEW_KEY_DURATION, "83000"},
             {om::OM_PREVIEW_KEY_FILE_SIZE, "1000"},
             {om::OM_PREVIEW_KEY_VIDEO_CODEC, "8"},
             {om::OM_PREVIEW_KEY_PICTURE_SIZE, "320x180"},
             {om::OM_PREVIEW_KEY_POSITION, "4000"}}};
}

TEST(PreviewReport, hasALineForEachFactAndNothingThatSteersATerminal)
{
    EXPECT_EQ(previewReport(film()),
              "File:        /a/film.mp4\nType:        video\nTitle:       A \"title\"\xEF\xBF\xBD[31m\n"
              "Duration:    1:23\nSize:        1000 bytes\nVideo:       H.264\n"
              "Picture:     film.jpg (320x180, at 0:04)\n");
}

TEST(PreviewReport, isALineOfJson)
{
    EXPECT_EQ(previewJson(film()),
              "{\"uri\":\"/a/film.mp4\",\"ok\":true,\"type\":\"video\",\"title\":\"A \\\"title\\\"\xEF\xBF\xBD[31m\","
              "\"duration-ms\":83000,\"size\":1000,\"video-codec\":\"H.264\",\"picture\":\"film.jpg\","
              "\"picture-size\":\"320x180\",\"position-ms\":4000}\n");
    EXPECT_EQ(previewJson({"x\xff", om::OM_ERROR_STOPPED, "", {{om::OM_KEY_TEXT, "why"}}}),
              "{\"uri\":\"x\xEF\xBF\xBD\",\"ok\":false,\"error\":{\"code\":18,\"text\":\"stopped (why)\"}}\n");
}

TEST(PreviewReport, saysInItsOwnWordsWhatTheToolCouldNotDo)
{
    PreviewOutcome outcome = film();
    outcome.code = om::OM_ERROR_FORBIDDEN;
    outcome.fault = "film.jpg cannot be written";
    EXPECT_EQ(previewFault(outcome), "film.jpg cannot be written");
    EXPECT_THAT(previewJson(outcome), testing::HasSubstr("\"text\":\"film.jpg cannot be written\"}"));
}

TEST(PreviewProgress, fillsItsBarAndKeepsToItsColumns)
{
    EXPECT_EQ(previewProgress(0, 2, "a", 80), "[>-----------------------------] 0/2 a");
    EXPECT_EQ(previewProgress(1, 2, "a", 80), "[===============>--------------] 1/2 a");
    EXPECT_EQ(previewProgress(2, 2, "a", 80), "[==============================] 2/2 a");
    EXPECT_EQ(previewProgress(1, 2, "a", 5), "[====");
}

} // namespace
} // namespace tz::orvane::tools
