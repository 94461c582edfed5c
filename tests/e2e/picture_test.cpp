// SPDX-License-Identifier: Apache-2.0
// Where and how the picture of a video appears on the screen of 320 by 180 pixels, the size of the video.
#include "support/picture.h"
#include "support/wait.h"

#include <csignal>

namespace tz::orvane::test
{
namespace
{

class Pictures : public WithService
{
};

TEST_F(Pictures, aPictureIsTurnedClockwiseWhilePaused)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    om::om_display_rotate_e angle = om::OM_DISPLAY_ROTATE_180;
    EXPECT_EQ(viewer.player().getRotateAngle(angle), 0);
    EXPECT_EQ(angle, om::OM_DISPLAY_ROTATE_0);
    expectCorners(screenshot(viewer), kScreen, kUpright);

    viewer.player().rotate(om::OM_DISPLAY_ROTATE_90);
    Picture const right = screenshot(viewer);
    expectCorners(right, kOnItsSide, {kBlue, kRed, kWhite, kGreen});
    EXPECT_EQ(right.at(100, 90), kBlack);
    EXPECT_EQ(right.at(220, 90), kBlack);

    viewer.player().rotate(om::OM_DISPLAY_ROTATE_180);
    expectCorners(screenshot(viewer), kScreen, {kWhite, kBlue, kGreen, kRed});

    viewer.player().rotate(om::OM_DISPLAY_ROTATE_270);
    expectCorners(screenshot(viewer), kOnItsSide, {kGreen, kWhite, kRed, kBlue});
    EXPECT_EQ(viewer.player().getRotateAngle(angle), 0);
    EXPECT_EQ(angle, om::OM_DISPLAY_ROTATE_270);

    viewer.player().rotate(om::OM_DISPLAY_ROTATE_0);
    expectCorners(screenshot(viewer), kScreen, kUpright);
}

TEST_F(Pictures, aPictureIsTurnedWhileItPlays)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    viewer.player().rotate(om::OM_DISPLAY_ROTATE_180);
    expectCorners(screenshot(viewer), kScreen, {kWhite, kBlue, kGreen, kRed});
    EXPECT_EQ(viewer.state(), om::OM_STATE_PLAYING);
}

TEST_F(Pictures, aVideoThatWasTakenOnItsSideStandsUprightByItself)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("rot90.mp4")));
    // What the file asks for is told, and is what is seen; the file of the pictures lies on its side.
    int const told = viewer.recorder().mediaInfo().disp_rotation;
    EXPECT_EQ(told, 270);
    expectCorners(screenshot(viewer), kOnItsSide, {kGreen, kWhite, kRed, kBlue});

    viewer.player().rotate(om::OM_DISPLAY_ROTATE_90);
    expectCorners(screenshot(viewer), kScreen, kUpright);
    om::om_display_rotate_e angle = om::OM_DISPLAY_ROTATE_0;
    EXPECT_EQ(viewer.player().getRotateAngle(angle), 0);
    EXPECT_EQ(angle, om::OM_DISPLAY_ROTATE_90);
}

TEST_F(Pictures, aRectangleHoldsTheWholePictureAndNothingLiesBesideIt)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    om::om_display_rect_t const part{40, 20, 160, 90, 0};
    viewer.player().setDisplayRect(part);
    Picture const picture = screenshot(viewer);
    expectCorners(picture, part, kUpright);
    EXPECT_EQ(picture.at(34, 60), kBlack);
    EXPECT_EQ(picture.at(206, 60), kBlack);
    EXPECT_EQ(picture.at(120, 14), kBlack);
    EXPECT_EQ(picture.at(120, 116), kBlack);

    viewer.player().setDisplayRect({});
    expectCorners(screenshot(viewer), kScreen, kUpright);
}

TEST_F(Pictures, theRectangleIsToldAsItLiesOnTheScreen)
{
    Viewer viewer;
    om::om_display_rect_t rect{};
    EXPECT_GE(viewer.player().getDisplayRect(rect), 0);
    EXPECT_EQ(rect.width, 320);
    EXPECT_EQ(rect.height, 180);
    EXPECT_EQ(rect.zoom, 100);

    viewer.player().setDisplayRect({-5, 6, 70, 80, 150});
    EXPECT_GE(viewer.player().getDisplayRect(rect), 0);
    EXPECT_EQ(rect.px, -5);
    EXPECT_EQ(rect.py, 6);
    EXPECT_EQ(rect.width, 70);
    EXPECT_EQ(rect.height, 80);
    EXPECT_EQ(rect.zoom, 150);
    om::om_zoom_mode_e mode = om::OM_ZOOM_MODE_CROP;
    om::om_zoom_ratio_e ratio = om::OM_ZOOM_RATIO_400;
    EXPECT_GE(viewer.player().getZoom(mode, ratio), 0);
    EXPECT_EQ(mode, om::OM_ZOOM_MODE_FIT);
    EXPECT_EQ(ratio, om::OM_ZOOM_RATIO_150);
}

TEST_F(Pictures, aRectangleMayReachBeyondTheScreen)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().setDisplayRect({-160, -90, 320, 180, 0});
    Picture picture = screenshot(viewer);
    EXPECT_EQ(picture.at(80, 45), kWhite);
    EXPECT_EQ(picture.at(170, 45), kBlack);
    EXPECT_EQ(picture.at(80, 100), kBlack);

    viewer.player().setDisplayRect({160, 90, 320, 180, 0});
    picture = screenshot(viewer);
    EXPECT_EQ(picture.at(240, 130), kRed);
    EXPECT_EQ(picture.at(150, 130), kBlack);

    viewer.player().setDisplayRect({400, 200, 320, 180, 0});
    picture = screenshot(viewer);
    EXPECT_EQ(picture.at(80, 45), kBlack);
    EXPECT_EQ(picture.at(310, 170), kBlack);

    // A rectangle so large that the screen sees the middle of the red quarter only.
    viewer.player().setDisplayRect({-4000, -2000, 16000, 9000, 0});
    expectCorners(screenshot(viewer), kScreen, {kRed, kRed, kRed, kRed});
}

TEST_F(Pictures, aPictureIsFittedIntoItsRectangleInThreeWays)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    om::om_display_rect_t const square{20, 20, 140, 140, 0};
    viewer.player().setDisplayRect(square);

    // 140 by 79 pixels in the middle.
    Picture picture = screenshot(viewer);
    EXPECT_EQ(picture.at(90, 40), kBlack);
    EXPECT_EQ(picture.at(90, 140), kBlack);
    expectCorners(picture, {20, 51, 140, 79, 0}, kUpright);
    EXPECT_EQ(picture.at(26, 80), kRed);

    viewer.player().setZoom(om::OM_ZOOM_MODE_STRETCH, om::OM_ZOOM_RATIO_100);
    picture = screenshot(viewer);
    EXPECT_EQ(picture.at(26, 26), kRed);
    EXPECT_EQ(picture.at(154, 154), kWhite);
    EXPECT_EQ(picture.at(90, 26 - 10), kBlack);
    // The bar is at the left edge of the picture, and the whole width is seen.
    EXPECT_EQ(picture.at(21, 90), kYellow);

    viewer.player().setZoom(om::OM_ZOOM_MODE_CROP, om::OM_ZOOM_RATIO_100);
    picture = screenshot(viewer);
    EXPECT_EQ(picture.at(26, 26), kRed);
    EXPECT_EQ(picture.at(154, 154), kWhite);
    EXPECT_EQ(picture.at(166, 90), kBlack);
    EXPECT_EQ(picture.at(14, 60), kBlack);
    EXPECT_EQ(picture.at(21, 90), kBlack); // the bar is cut off

    om::om_zoom_mode_e mode = om::OM_ZOOM_MODE_FIT;
    om::om_zoom_ratio_e ratio = om::OM_ZOOM_RATIO_400;
    EXPECT_GE(viewer.player().getZoom(mode, ratio), 0);
    EXPECT_EQ(mode, om::OM_ZOOM_MODE_CROP);
    EXPECT_EQ(ratio, om::OM_ZOOM_RATIO_100);
}

TEST_F(Pictures, theMiddleIsMagnified)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    // At 5 seconds the bar's left edge is at 150 pixels; its right one at 156. Magnified it moves away from the middle.
    viewer.player().seek(5000, om::OM_SEEK_ACCURATE);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
    for (int const ratio : {100, 150, 200, 233, 300, 400})
    {
        viewer.player().setZoom(om::OM_ZOOM_MODE_FIT, static_cast<om::om_zoom_ratio_e>(ratio));
        Picture const picture = screenshot(viewer);
        SCOPED_TRACE(ratio);
        expectCorners(picture, kScreen, kUpright);
        int const barMiddle = 160 - 7 * ratio / 100;
        EXPECT_EQ(picture.at(barMiddle, 90), kYellow);
        EXPECT_EQ(picture.at(barMiddle - 7 * ratio / 100, 90), kBlack);
        EXPECT_EQ(picture.at(barMiddle + 7 * ratio / 100, 90), kBlack);
        // The black band is 8 pixels high.
        EXPECT_EQ(picture.at(40, 90 - 4 * ratio / 100 - 4), kRed);
        EXPECT_EQ(picture.at(40, 90 - 4 * ratio / 100 + 3), kBlack);
    }
}

TEST_F(Pictures, aMagnifiedPictureStaysInItsRectangle)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    om::om_display_rect_t const square{20, 20, 140, 140, 0};
    viewer.player().setDisplayRect(square);
    viewer.player().setZoom(om::OM_ZOOM_MODE_FIT, om::OM_ZOOM_RATIO_300);
    Picture const picture = screenshot(viewer);
    expectCorners(picture, square, kUpright); // no bars: there is more than enough of it
    EXPECT_EQ(picture.at(26, 26), kRed);
    EXPECT_EQ(picture.at(14, 60), kBlack);
    EXPECT_EQ(picture.at(166, 60), kBlack);
}

TEST_F(Pictures, pixelsThatAreNotSquareKeepTheirShape)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("narrow.mp4"))); // 160 by 180 pixels, each twice as wide as high
    Picture picture = screenshot(viewer);
    expectCorners(picture, kScreen, kUpright);
    EXPECT_EQ(picture.at(6, 40), kRed);

    viewer.player().rotate(om::OM_DISPLAY_ROTATE_90);
    picture = screenshot(viewer);
    expectCorners(picture, kOnItsSide, {kBlue, kRed, kWhite, kGreen});
    EXPECT_EQ(picture.at(100, 40), kBlack);
    EXPECT_EQ(picture.at(116, 40), kBlue);
}

TEST_F(Pictures, anInterlacedVideoIsSeenBesideAnother)
{
    Viewer second("second");
    second.player().setDisplayRect({0, 0, 32, 18, 0});
    ASSERT_TRUE(second.open(media("v.mp4")));
    EXPECT_EQ(screenshot(second).at(8, 4), kRed);
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("interlaced.mp4")));
    expectCorners(screenshot(viewer), kScreen, kUpright);
}

TEST_F(Pictures, whatWasCutOffOneDoesNotHarmTheNext)
{
    // A second player keeps the screen running, so that all the others take the same place on it, one after another.
    Viewer second("second");
    second.player().setDisplayRect({0, 0, 32, 18, 0});
    ASSERT_TRUE(second.open(media("v.mp4")));
    Viewer viewer;
    for (char const* const file : {"v.mp4", "red1x1.png", "sar.mp4", "cover.jpg", "red3x1.png", "a.m4a", "red1x300.png",
                                   "red16000x1.png", "v.mkv", "red17x5.png", "v.mp4"})
    {
        SCOPED_TRACE(file);
        ASSERT_TRUE(viewer.open(media(file)));
        viewer.player().setZoom(om::OM_ZOOM_MODE_CROP, om::OM_ZOOM_RATIO_400);
        for (int const angle : {0, 90, 180, 270})
        {
            viewer.player().rotate(static_cast<om::om_display_rotate_e>(angle));
            Picture const picture = screenshot(viewer);
            if (std::string(file).compare(0, 3, "red") == 0)
            {
                expectCorners(picture, kScreen, {kRed, kRed, kRed, kRed});
            }
        }
    }
    viewer.player().rotate(om::OM_DISPLAY_ROTATE_90);
    expectCorners(screenshot(viewer), kScreen, {kBlue, kRed, kWhite, kGreen});
    for (Note const& note : second.recorder().notes())
    {
        EXPECT_FALSE(note.kind == Note::Kind::event && note.code == om::OM_EVENT_WARNING) << note.code;
    }
}

TEST_F(Pictures, settingsOutliveTheirMedium)
{
    Viewer viewer;
    om::om_display_rect_t const part{160, 0, 160, 90, 0};
    viewer.player().rotate(om::OM_DISPLAY_ROTATE_180);
    viewer.player().setDisplayRect(part);
    viewer.player().setZoom(om::OM_ZOOM_MODE_STRETCH, om::OM_ZOOM_RATIO_200);
    Corners const turned{kWhite, kBlue, kGreen, kRed};
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    expectCorners(screenshot(viewer), part, turned);

    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    EXPECT_EQ(screenshot(viewer).at(240, 20), kBlack);
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    expectCorners(screenshot(viewer), part, turned);

    ASSERT_TRUE(viewer.open(media("v.mkv")));
    Picture const picture = screenshot(viewer);
    expectCorners(picture, part, turned);
    EXPECT_EQ(picture.at(80, 45), kBlack);
}

TEST_F(Pictures, twoPlayersShareTheScreen)
{
    Viewer one;
    Viewer other("other");
    one.player().setDisplayRect({0, 0, 160, 90, 0});
    other.player().setDisplayRect({160, 90, 160, 90, 0});
    other.player().rotate(om::OM_DISPLAY_ROTATE_180);
    ASSERT_TRUE(one.open(media("v.mp4")));
    ASSERT_TRUE(other.open(media("v.mkv")));
    for (Viewer* const viewer : {&one, &other})
    {
        Picture const picture = screenshot(*viewer);
        expectCorners(picture, {0, 0, 160, 90, 0}, kUpright);
        expectCorners(picture, {160, 90, 160, 90, 0}, {kWhite, kBlue, kGreen, kRed});
        EXPECT_EQ(picture.at(240, 40), kBlack);
    }

    // Who opened last covers the other one.
    other.player().setDisplayRect({0, 0, 160, 90, 0});
    expectCorners(screenshot(one), {0, 0, 160, 90, 0}, {kWhite, kBlue, kGreen, kRed});
    ASSERT_TRUE(one.open(media("v.mp4")));
    expectCorners(screenshot(one), {0, 0, 160, 90, 0}, kUpright);

    one.player().stop();
    ASSERT_TRUE(one.recorder().takeState(om::OM_STATE_READY));
    expectCorners(screenshot(other), {0, 0, 160, 90, 0}, {kWhite, kBlue, kGreen, kRed});
}

TEST_F(Pictures, aPlayerThatComesLaterIsSeenAtOnce)
{
    // The first one has run for a while: a source that joins then begins at the time of the screen.
    Viewer one;
    one.player().setDisplayRect({0, 0, 160, 90, 0});
    ASSERT_TRUE(one.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    ASSERT_TRUE(eventually([&] { return one.position() > 1500; }));
    Viewer other("other");
    other.player().setDisplayRect({160, 90, 160, 90, 0});
    ASSERT_TRUE(other.open(media("v.mkv")));
    Picture const picture = screenshot(other);
    expectCorners(picture, {0, 0, 160, 90, 0}, kUpright);
    expectCorners(picture, {160, 90, 160, 90, 0}, kUpright);
}

TEST_F(Pictures, aMutedPictureIsBlackAndKeepsItsSettings)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().setVideoMute(1);
    EXPECT_EQ(viewer.player().isVideoMute(), 1);
    expectCorners(screenshot(viewer), kScreen, {kBlack, kBlack, kBlack, kBlack});

    viewer.player().rotate(om::OM_DISPLAY_ROTATE_180);
    expectCorners(screenshot(viewer), kScreen, {kBlack, kBlack, kBlack, kBlack});
    ASSERT_TRUE(viewer.open(media("v.mkv")));
    expectCorners(screenshot(viewer), kScreen, {kBlack, kBlack, kBlack, kBlack});

    viewer.player().setVideoMute(0);
    EXPECT_EQ(viewer.player().isVideoMute(), 0);
    expectCorners(screenshot(viewer), kScreen, {kWhite, kBlue, kGreen, kRed});
}

TEST_F(Pictures, whatMakesNoSenseIsRefusedAndChangesNothing)
{
    Viewer viewer;
    om::om_display_rect_t const part{40, 20, 160, 90, 0};
    viewer.player().setDisplayRect(part);
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    auto const isRefused = [&](char const* command)
    {
        auto const error = viewer.recorder().takeError();
        return error && error->code == om::OM_ERROR_BAD_ARGUMENT && error->properties.at(om::OM_KEY_COMMAND) == command;
    };
    for (int const angle : {45, -90, 360, 1 << 30})
    {
        viewer.player().rotate(static_cast<om::om_display_rotate_e>(angle));
        EXPECT_TRUE(isRefused("rotate")) << angle;
    }
    om::om_display_rect_t const rectangles[] = {
        {0, 0, -1, 10, 0},         {0, 0, 10, 0, 0},        {5, 0, 0, 0, 0},  {0, 0, 100'000, 10, 0},
        {INT32_MAX, 0, 10, 10, 0}, {0, INT32_MIN, 9, 9, 0}, {0, 0, 9, 9, 99}, {0, 0, 9, 9, 401}};
    for (om::om_display_rect_t const& rect : rectangles)
    {
        viewer.player().setDisplayRect(rect);
        EXPECT_TRUE(isRefused("setDisplayRect")) << rect.px << " " << rect.width << " " << rect.zoom;
    }
    int const zooms[][2] = {{0, 99}, {0, 401}, {3, 100}, {-1, 100}, {1, -200}};
    for (auto const& [mode, ratio] : zooms)
    {
        viewer.player().setZoom(static_cast<om::om_zoom_mode_e>(mode), static_cast<om::om_zoom_ratio_e>(ratio));
        EXPECT_TRUE(isRefused("setZoom")) << mode << " " << ratio;
    }
    expectCorners(screenshot(viewer), part, kUpright);
}

TEST(PictureWindow, aWindowThatCannotBeOpenedCostsNothingButTheWindow)
{
    SocketDir const directory;
    setenv("DISPLAY", ":47", 1);
    std::vector<std::string> command = serviceCommand();
    command[2] = "x11";
    ServiceProcess service(command);
    ASSERT_TRUE(service.waitUntilReady());
    Viewer viewer;
    viewer.prepare(media("v.mp4"), om::OM_PREPARE_AUTO_START);
    auto const warning = viewer.recorder().takeEvent(om::OM_EVENT_WARNING);
    ASSERT_TRUE(warning);
    EXPECT_EQ(warning->number(om::OM_KEY_CODE), om::OM_ERROR_INTERNAL);
    ASSERT_TRUE(eventually([&] { return viewer.state() == om::OM_STATE_PLAYING; }));
    expectCorners(screenshot(viewer), kScreen, kUpright);
    service.signal(SIGTERM);
    EXPECT_EQ(service.wait(), 0);
}

} // namespace
} // namespace tz::orvane::test
