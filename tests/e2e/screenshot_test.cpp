// SPDX-License-Identifier: Apache-2.0
// Pictures of the screen.
#include "support/picture.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include <csignal>
#include <fstream>
#include <sys/stat.h>

namespace tz::orvane::test
{
namespace
{

class Screenshots : public WithService
{
};

bool exists(std::string const& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

TEST_F(Screenshots, theOpenedFilesFirstPictureIsSeen)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    Picture const picture = screenshot(viewer);
    EXPECT_EQ(picture.width(), 320);
    EXPECT_EQ(picture.height(), 180);
    EXPECT_EQ(picture.at(80, 40), kRed);
    EXPECT_EQ(picture.at(240, 40), kGreen);
    EXPECT_EQ(picture.at(80, 140), kBlue);
    EXPECT_EQ(picture.at(240, 140), kWhite);
    EXPECT_EQ(picture.at(3, 90), kYellow);
    EXPECT_EQ(picture.at(300, 90), kBlack);
}

TEST_F(Screenshots, aPositionThatWasSoughtIsSeenAtOnce)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    for (int const second : {5, 2, 8, 1})
    {
        viewer.player().seek(second * 1000, om::OM_SEEK_ACCURATE);
        ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
        Shot const shot = takeScreenshot(viewer);
        EXPECT_EQ(shot.position, second * 1000);
        Picture const picture(shot.path);
        EXPECT_EQ(picture.at(30 * second + 3, 90), kYellow) << second;
        EXPECT_EQ(picture.at(30 * second - 6, 90), kBlack) << second;
    }
}

TEST_F(Screenshots, theFileIsItsOwnersAloneAndIsReplacedByTheNextOne)
{
    std::string last;
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media("v.mp4")));
        std::string const first = takeScreenshot(viewer).path;
        struct stat status = {};
        ASSERT_EQ(stat(first.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600u);
        last = takeScreenshot(viewer).path;
        EXPECT_TRUE(exists(last));
        EXPECT_FALSE(exists(first));
    }
    EXPECT_TRUE(eventually([&] { return !exists(last); }));
}

TEST_F(Screenshots, theScreenIsBlackWhenNothingIsOpen)
{
    Viewer viewer;
    EXPECT_EQ(screenshot(viewer).at(80, 40), kBlack);
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    Picture const picture = screenshot(viewer);
    EXPECT_EQ(picture.width(), 320);
    EXPECT_EQ(picture.at(80, 40), kBlack);
}

TEST(KilledService, leavesScreenshotsToBeRemovedByTheNextOneAndNothingElse)
{
    SocketDir const directory;
    ServiceProcess service(serviceCommand());
    ASSERT_TRUE(service.waitUntilReady());
    std::string const other = directory.path() + "/screenshot-1.png";
    std::ofstream(other) << "somebody's";
    Viewer viewer;
    std::string const left = takeScreenshot(viewer).path;
    service.signal(SIGKILL);
    EXPECT_EQ(service.wait(), 128 + SIGKILL);
    EXPECT_TRUE(exists(left));
    ServiceProcess next(serviceCommand());
    ASSERT_TRUE(next.waitUntilReady());
    EXPECT_FALSE(exists(left));
    EXPECT_EQ(fileContent(other), "somebody's");
}

} // namespace
} // namespace tz::orvane::test
