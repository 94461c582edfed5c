// SPDX-License-Identifier: Apache-2.0
// Where a seek leads, read from the picture: its yellow bar moves by 30 pixels a second.
#include "support/picture.h"
#include "support/wait.h"

#include "orvane/om_enums.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tz::orvane::test
{
namespace
{

constexpr int kBarRow = 90;
constexpr int kPixelsASecond = 30;

class Seek : public WithService, public testing::WithParamInterface<char const*>
{
};

/// @return the left edge of the bar, -1 when it is not there
int barAt(Picture const& picture)
{
    for (int x = 0; x < picture.width(); ++x)
    {
        Color const color = picture.at(x, kBarRow);
        if (color.red > 128 && color.green > 128 && color.blue < 128)
        {
            return x;
        }
    }
    return -1;
}

/// Waits until the picture of that time is there, or one that compression blurs.
bool shows(Viewer& viewer, int milliseconds)
{
    int const expected = milliseconds * kPixelsASecond / 1'000;
    return eventually([&] { return std::abs(barAt(screenshot(viewer)) - expected) <= 2; });
}

TEST_P(Seek, leadsToThePictureOfThatTime)
{
    struct Case
    {
        int position;
        int flags;
        int picture;
    };
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media(GetParam())));
    for (Case const& each : {Case{4'520, om::OM_SEEK_ACCURATE, 4'520}, Case{2'480, om::OM_SEEK_DEFAULT, 2'480},
                             Case{4'520, om::OM_SEEK_KEY_UNIT | om::OM_SEEK_SNAP_BEFORE, 4'000},
                             Case{4'520, om::OM_SEEK_KEY_UNIT | om::OM_SEEK_SNAP_AFTER, 5'000},
                             Case{9'600, om::OM_SEEK_ACCURATE, 9'600}, Case{200, om::OM_SEEK_ACCURATE, 200}})
    {
        SCOPED_TRACE(each.position + each.flags);
        viewer.player().seek(each.position, each.flags);
        ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
        EXPECT_TRUE(shows(viewer, each.picture)) << "the bar is at " << barAt(screenshot(viewer));
    }
}

INSTANTIATE_TEST_SUITE_P(Media, Seek, testing::Values("v.mp4", "v.mkv"));

class SeekFurther : public WithService
{
};

TEST_F(SeekFurther, aTransportStreamShowsAPictureOfThatTime)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.ts")));
    for (int const flags : {om::OM_SEEK_ACCURATE + 0, om::OM_SEEK_KEY_UNIT | om::OM_SEEK_SNAP_BEFORE})
    {
        viewer.player().seek(4'520, flags);
        ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
        EXPECT_TRUE(shows(viewer, 4'400)) << "the bar is at " << barAt(screenshot(viewer)); // its clock begins earlier
    }
}

TEST_F(SeekFurther, backwardsThePictureGoesBackToTheFirstOne)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().seek(3'000, om::OM_SEEK_DEFAULT);
    viewer.player().speed(om::OM_PLAY_SPEED_BACKWARD_2X, 0);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SPEED_CHANGED));
    EXPECT_TRUE(shows(viewer, 3'000)) << "the bar is at " << barAt(screenshot(viewer));
    viewer.player().resume();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
    EXPECT_TRUE(shows(viewer, 0)) << "the bar is at " << barAt(screenshot(viewer));
}

} // namespace
} // namespace tz::orvane::test
