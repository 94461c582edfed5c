// SPDX-License-Identifier: Apache-2.0
// Where pictures come to lie on the screen.
#include "orientation.h"
#include "picture_layout.h"

#include <gtest/gtest.h>

namespace tz::orvane::test
{
namespace
{

using service::Area;
using service::Fitting;
using service::Placement;

constexpr Area kScreen{0, 0, 1280, 720};

void expectTarget(Placement const& placement, Area const& target)
{
    EXPECT_TRUE(placement.visible);
    EXPECT_EQ(placement.target.x, target.x);
    EXPECT_EQ(placement.target.y, target.y);
    EXPECT_EQ(placement.target.width, target.width);
    EXPECT_EQ(placement.target.height, target.height);
}

void expectCut(Placement const& placement, int left, int right, int top, int bottom)
{
    EXPECT_EQ(placement.left, left);
    EXPECT_EQ(placement.right, right);
    EXPECT_EQ(placement.top, top);
    EXPECT_EQ(placement.bottom, bottom);
}

TEST(PictureLayout, theWholePictureFitsWithBarsBesideIt)
{
    Fitting fitting;
    fitting.area = kScreen;
    Placement const placement = placePicture({640, 480, 1.0}, fitting, kScreen);
    expectTarget(placement, {160, 0, 960, 720});
    expectCut(placement, 0, 0, 0, 0);
}

TEST(PictureLayout, aStretchedPictureFillsItsArea)
{
    Fitting fitting;
    fitting.area = {100, 50, 400, 400};
    fitting.mode = om::OM_ZOOM_MODE_STRETCH;
    Placement const placement = placePicture({640, 480, 1.0}, fitting, kScreen);
    expectTarget(placement, {100, 50, 400, 400});
    expectCut(placement, 0, 0, 0, 0);
}

TEST(PictureLayout, whatHangsOverIsCutOffAtBothSides)
{
    Fitting fitting;
    fitting.area = kScreen;
    fitting.mode = om::OM_ZOOM_MODE_CROP;
    Placement const placement = placePicture({640, 480, 1.0}, fitting, kScreen);
    expectTarget(placement, kScreen);
    expectCut(placement, 0, 0, 60, 60);
}

TEST(PictureLayout, wideFilmPixelsMakeAWiderPicture)
{
    Fitting fitting;
    fitting.area = kScreen;
    expectTarget(placePicture({720, 576, 64.0 / 45}, fitting, kScreen), {0, 0, 1280, 720});
}

TEST(PictureLayout, magnificationCoversTheBarsBeforeItCuts)
{
    Fitting fitting;
    fitting.area = kScreen;
    fitting.magnification = 2;
    Placement const placement = placePicture({640, 480, 1.0}, fitting, kScreen);
    expectTarget(placement, kScreen);
    expectCut(placement, 107, 107, 120, 120);
}

TEST(PictureLayout, theEdgesOfThePictureStopItsMovement)
{
    Fitting fitting;
    fitting.area = kScreen;
    fitting.magnification = 2;
    fitting.centerX = 7;
    fitting.centerY = -7;
    Placement const placement = placePicture({640, 360, 1.0}, fitting, kScreen);
    expectTarget(placement, kScreen);
    expectCut(placement, 320, 0, 0, 180);
}

TEST(PictureLayout, whatLiesBesideTheScreenIsCutOff)
{
    Fitting fitting;
    fitting.area = {-640, 360, 1280, 720};
    Placement const placement = placePicture({640, 360, 1.0}, fitting, kScreen);
    expectTarget(placement, {0, 360, 640, 360});
    expectCut(placement, 320, 0, 0, 180);
    fitting.area = {1280, 0, 1280, 720};
    EXPECT_FALSE(placePicture({640, 360, 1.0}, fitting, kScreen).visible);
    fitting.area = {0, -720, 1280, 720};
    EXPECT_FALSE(placePicture({640, 360, 1.0}, fitting, kScreen).visible);
}

TEST(PictureLayout, somethingOfThePictureIsAlwaysLeftAndNothingLeavesTheScreen)
{
    for (int const size : {1, 2, 3, 17, 4000})
    {
        for (int const place : {-16384, -8000, -1, 0, 700, 1279})
        {
            for (int const length : {1, 2, 500, 16384})
            {
                for (double const magnification : {0.05, 1.0, 4.0})
                {
                    Fitting fitting;
                    fitting.area = {place, place / 2, length, length};
                    fitting.mode = om::OM_ZOOM_MODE_CROP;
                    fitting.magnification = magnification;
                    fitting.shift = place % 2 == 0 ? 0.3 : 0.0;
                    Placement const to = placePicture({size, 3, 1.0}, fitting, kScreen);
                    if (!to.visible)
                    {
                        continue;
                    }
                    ASSERT_LT(to.left + to.right, size);
                    ASSERT_LT(to.top + to.bottom, 3);
                    ASSERT_GE(to.left, 0);
                    ASSERT_GE(to.right, 0);
                    ASSERT_GE(to.target.x, 0);
                    ASSERT_GE(to.target.y, 0);
                    ASSERT_GT(to.target.width, 0);
                    ASSERT_LE(to.target.x + to.target.width, kScreen.width);
                    ASSERT_LE(to.target.y + to.target.height, kScreen.height);
                }
            }
        }
    }
}

TEST(PictureLayout, nothingHasNoPlace)
{
    Fitting fitting;
    fitting.area = kScreen;
    EXPECT_FALSE(placePicture({0, 480, 1.0}, fitting, kScreen).visible);
    EXPECT_FALSE(placePicture({640, 480, 0.0}, fitting, kScreen).visible);
    fitting.area = {};
    EXPECT_FALSE(placePicture({640, 480, 1.0}, fitting, kScreen).visible);
}

TEST(PictureOrientation, turnsAddUp)
{
    service::Orientation const upright;
    EXPECT_EQ(upright.turned(90).degrees(), 90);
    EXPECT_EQ(upright.turned(270).turned(180).degrees(), 90);
    EXPECT_EQ(upright.turned(90).method(), GST_VIDEO_ORIENTATION_90R);
    service::Orientation const mirrored{0, true};
    EXPECT_EQ(mirrored.method(), GST_VIDEO_ORIENTATION_HORIZ);
    EXPECT_EQ(mirrored.turned(180).method(), GST_VIDEO_ORIENTATION_VERT);
    EXPECT_EQ(service::orientationOf(nullptr).method(), GST_VIDEO_ORIENTATION_IDENTITY);
}

} // namespace
} // namespace tz::orvane::test
