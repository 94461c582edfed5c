// SPDX-License-Identifier: Apache-2.0
// Photos: how they stand, how they are moved, and how they appear.
#include "support/picture.h"
#include "support/wait.h"

#include <csignal>

namespace tz::orvane::test
{
namespace
{

class Photos : public WithService
{
};

TEST_F(Photos, aPhotoStandsUprightHoweverTheCameraWasHeld)
{
    struct Case
    {
        char const* file;
        int degrees;
        om::om_display_rect_t place;
        Corners corners;
    };
    Case const cases[] = {
        {"p.jpg", 0, kScreen, kUpright},
        {"p.png", 0, kScreen, kUpright},
        {"orientation2.jpg", 0, kScreen, {kGreen, kRed, kWhite, kBlue}},
        {"orientation3.jpg", 180, kScreen, {kWhite, kBlue, kGreen, kRed}},
        {"orientation4.jpg", 180, kScreen, {kBlue, kWhite, kRed, kGreen}},
        {"orientation5.jpg", 270, kOnItsSide, {kRed, kBlue, kGreen, kWhite}},
        {"orientation6.jpg", 90, kOnItsSide, {kBlue, kRed, kWhite, kGreen}},
        {"orientation7.jpg", 90, kOnItsSide, {kWhite, kGreen, kBlue, kRed}},
        {"orientation8.jpg", 270, kOnItsSide, {kGreen, kWhite, kRed, kBlue}},
        {"exif.jpg", 90, kOnItsSide, {kBlue, kRed, kWhite, kGreen}},
        {"exif.png", 180, kScreen, {kWhite, kBlue, kGreen, kRed}},
    };
    Viewer viewer;
    for (Case const& photo : cases)
    {
        SCOPED_TRACE(photo.file);
        ASSERT_TRUE(viewer.open(media(photo.file)));
        EXPECT_EQ(viewer.recorder().mediaInfo().media_type, om::OM_MEDIA_TYPE_PHOTO);
        EXPECT_EQ(viewer.recorder().mediaInfo().disp_rotation, photo.degrees);
        expectCorners(screenshot(viewer), photo.place, photo.corners);
    }
}

TEST_F(Photos, anUprightPhotoIsTurnedFurther)
{
    Viewer viewer;
    viewer.player().rotate(om::OM_DISPLAY_ROTATE_90);
    ASSERT_TRUE(viewer.open(media("exif.jpg")));
    expectCorners(screenshot(viewer), kScreen, {kWhite, kBlue, kGreen, kRed});
    viewer.player().rotate(om::OM_DISPLAY_ROTATE_270);
    expectCorners(screenshot(viewer), kScreen, kUpright);
    ASSERT_TRUE(viewer.open(media("orientation5.jpg"))); // mirrored as well
    expectCorners(screenshot(viewer), kScreen, {kBlue, kWhite, kRed, kGreen});
}

TEST(PhotoOnALargeScreen, aPhotoOfManyMillionPixelsDoesNotHoldUpTheScreen)
{
    SocketDir const directory;
    std::vector<std::string> command = serviceCommand();
    command.back() = "1920x1080";
    ServiceProcess service(command);
    ASSERT_TRUE(service.waitUntilReady());
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("huge.jpg")));
    EXPECT_EQ(viewer.recorder().mediaInfo().resolution.width, 8000);
    Corners const turned{kBlue, kRed, kWhite, kGreen};
    expectCorners(screenshot(viewer), {656, 0, 608, 1080, 0}, turned);
    viewer.player().setZoom(om::OM_ZOOM_MODE_CROP, om::OM_ZOOM_RATIO_400);
    expectCorners(screenshot(viewer), {0, 0, 1920, 1080, 0}, turned);
    service.signal(SIGTERM);
    EXPECT_EQ(service.wait(), 0);
}

/// Where the four quarters meet, as seen a few pixels beside it.
void expectMeeting(Viewer& viewer, int x, int y)
{
    Picture const picture = screenshot(viewer);
    expectCorners(picture, {x - 40, y - 40, 80, 80, 0}, kUpright);
    EXPECT_EQ(picture.at(x - 6, y), kBlack); // the band between them
}

TEST_F(Photos, aMagnifiedPhotoIsMovedAsFarAsThereIsMoreOfIt)
{
    Viewer viewer;
    viewer.player().setZoom(om::OM_ZOOM_MODE_FIT, om::OM_ZOOM_RATIO_200);
    ASSERT_TRUE(viewer.open(media("p.jpg")));
    expectMeeting(viewer, 160, 90);
    viewer.player().moveTo(om::OM_PHOTO_MOVE_RIGHT, 60);
    expectMeeting(viewer, 220, 90);
    viewer.player().moveTo(om::OM_PHOTO_MOVE_DOWN, 30);
    expectMeeting(viewer, 220, 120);
    viewer.player().moveTo(om::OM_PHOTO_MOVE_LEFT, 120);
    expectMeeting(viewer, 100, 120);
    viewer.player().moveTo(om::OM_PHOTO_MOVE_UP, 60);
    expectMeeting(viewer, 100, 60);

    viewer.player().moveTo(om::OM_PHOTO_MOVE_LEFT, INT32_MAX);
    Picture const end = screenshot(viewer);
    EXPECT_EQ(end.at(3, 20), kGreen);
    EXPECT_EQ(end.at(316, 160), kWhite);
    // It has not gone further than its edge, so the way back is just as long.
    viewer.player().moveTo(om::OM_PHOTO_MOVE_RIGHT, 160);
    expectMeeting(viewer, 160, 60);

    // The next one begins in its middle.
    ASSERT_TRUE(viewer.open(media("p.png")));
    expectMeeting(viewer, 160, 90);
}

TEST_F(Photos, aPhotoThatIsSeenAsAWholeStaysWhereItIs)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("p.jpg")));
    viewer.player().moveTo(om::OM_PHOTO_MOVE_RIGHT, 60);
    viewer.player().moveTo(om::OM_PHOTO_MOVE_UP, 60);
    expectCorners(screenshot(viewer), kScreen, kUpright);
    EXPECT_TRUE(viewer.recorder().states() == std::vector<std::string>({"READY+1", "PAUSED"}));

    // What is seen of one that lies on its side can be moved along its height only.
    viewer.player().setZoom(om::OM_ZOOM_MODE_CROP, om::OM_ZOOM_RATIO_100);
    viewer.player().rotate(om::OM_DISPLAY_ROTATE_90);
    viewer.player().moveTo(om::OM_PHOTO_MOVE_RIGHT, 60);
    viewer.player().moveTo(om::OM_PHOTO_MOVE_DOWN, 1000);
    Picture const picture = screenshot(viewer);
    EXPECT_EQ(picture.at(80, 10), kBlue);
    EXPECT_EQ(picture.at(80, 170), kBlue);
    EXPECT_EQ(picture.at(240, 170), kRed);
}

TEST_F(Photos, onlyAPhotoIsMoved)
{
    Viewer viewer;
    auto const refusal = [&]
    {
        auto const error = viewer.recorder().takeError();
        return error && error->properties.at(om::OM_KEY_COMMAND) == "moveTo" ? error->code : -1;
    };
    viewer.player().moveTo(om::OM_PHOTO_MOVE_LEFT, 1);
    EXPECT_EQ(refusal(), om::OM_ERROR_BAD_STATE);
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().moveTo(om::OM_PHOTO_MOVE_LEFT, 1);
    EXPECT_EQ(refusal(), om::OM_ERROR_NOT_SUPPORTED);
    ASSERT_TRUE(viewer.open(media("p.jpg")));
    viewer.player().moveTo(static_cast<om::om_photo_move_direction_e>(4), 1);
    EXPECT_EQ(refusal(), om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().moveTo(om::OM_PHOTO_MOVE_UP, -1);
    EXPECT_EQ(refusal(), om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().setAnimation(static_cast<om::om_image_animation_e>(5));
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "setAnimation");
}

/// Opens a photo that takes its time to appear, and watches it. @return whether it looked so on its way and was whole
/// in the end
bool appears(Viewer& viewer, om::om_image_animation_e animation, std::function<bool(Picture const&)> const& onItsWay)
{
    viewer.player().setAnimation(animation);
    for (int attempt = 0; attempt < 4; ++attempt) // a busy machine may see too little of it
    {
        if (!viewer.open(media("p.jpg"), om::OM_PREPARE_DEFAULT, {{om::OM_PREPARE_KEY_ANIMATION, "5000"}}))
        {
            return false;
        }
        bool seen = false;
        bool const whole = eventually(
            [&]
            {
                Picture const picture = screenshot(viewer);
                seen = seen || onItsWay(picture);
                return picture.at(8, 8) == kRed && picture.at(312, 8) == kGreen && picture.at(8, 172) == kBlue &&
                       picture.at(312, 172) == kWhite;
            });
        if (seen || !whole)
        {
            return whole;
        }
    }
    return false;
}

TEST_F(Photos, aPhotoFadesIn)
{
    Viewer viewer;
    EXPECT_TRUE(appears(viewer, om::OM_IMAGE_ANIMATION_FADE,
                        [](Picture const& picture)
                        {
                            int const red = picture.at(80, 40).red;
                            return red > 20 && red < 235 && picture.at(240, 140).blue < 235;
                        }));
}

TEST_F(Photos, aPhotoSlidesInToTheLeft)
{
    Viewer viewer;
    EXPECT_TRUE(appears(viewer, om::OM_IMAGE_ANIMATION_SLIDE_LEFT,
                        [](Picture const& picture)
                        { return picture.at(8, 40) == kBlack && picture.at(312, 40) == kRed; }));
}

TEST_F(Photos, aPhotoSlidesInToTheRight)
{
    Viewer viewer;
    EXPECT_TRUE(appears(viewer, om::OM_IMAGE_ANIMATION_SLIDE_RIGHT,
                        [](Picture const& picture)
                        { return picture.at(312, 40) == kBlack && picture.at(8, 40) == kGreen; }));
}

TEST_F(Photos, aPhotoGrows)
{
    Viewer viewer;
    EXPECT_TRUE(appears(viewer, om::OM_IMAGE_ANIMATION_ZOOM_IN,
                        [](Picture const& picture)
                        {
                            return picture.at(8, 8) == kBlack && picture.at(312, 172) == kBlack &&
                                   picture.at(140, 80) == kRed && picture.at(180, 100) == kWhite;
                        }));
}

TEST_F(Photos, aSlidingPhotoStaysInItsRectangle)
{
    Viewer viewer;
    viewer.player().setDisplayRect({100, 45, 160, 90, 0});
    viewer.player().setAnimation(om::OM_IMAGE_ANIMATION_SLIDE_LEFT);
    ASSERT_TRUE(viewer.open(media("p.jpg"), om::OM_PREPARE_DEFAULT, {{om::OM_PREPARE_KEY_ANIMATION, "1000"}}));
    Picture picture;
    EXPECT_TRUE(eventually(
        [&]
        {
            picture = screenshot(viewer);
            EXPECT_EQ(picture.at(270, 70), kBlack);
            EXPECT_EQ(picture.at(90, 70), kBlack);
            return picture.at(106, 70) == kRed;
        }));
}

TEST_F(Photos, withoutAnAnimationAPhotoIsThereAtOnceAndSoIsAVideo)
{
    Viewer viewer;
    Viewer::Options const slow{{om::OM_PREPARE_KEY_ANIMATION, "10000"}};
    ASSERT_TRUE(viewer.open(media("p.jpg"), om::OM_PREPARE_DEFAULT, slow));
    expectCorners(screenshot(viewer), kScreen, kUpright);
    viewer.player().setAnimation(om::OM_IMAGE_ANIMATION_FADE);
    expectCorners(screenshot(viewer), kScreen, kUpright); // it concerns the next one
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_DEFAULT, slow));
    expectCorners(screenshot(viewer), kScreen, kUpright);
}

} // namespace
} // namespace tz::orvane::test
