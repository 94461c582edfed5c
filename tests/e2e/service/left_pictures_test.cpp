// SPDX-License-Identifier: Apache-2.0
// Which pictures are taken for left ones of a service that was killed.
#include "left_pictures.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tz::orvane::service
{
namespace
{

/// @return the number of a process that has ended
std::string endedProcess()
{
    pid_t const child = fork();
    if (child == 0)
    {
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return std::to_string(child);
}

class LeftPictures : public testing::Test
{
protected:
    void make(std::vector<std::string> const& names) const
    {
        for (std::string const& name : names)
        {
            std::ofstream(m_folder.path() + "/" + name) << "x";
        }
    }

    test::TempDir m_folder;
};

TEST_F(LeftPictures, ofProcessesThatHaveEndedAreRemoved)
{
    std::string const gone = endedProcess();
    make(
        {"preview-" + gone + "-65535-4294967295.jpg", "preview-" + gone + "-1-2.png", "screenshot-" + gone + "-3.png"});
    removeLeftPictures(m_folder.path());
    EXPECT_EQ(m_folder.names(), std::vector<std::string>());
}

TEST_F(LeftPictures, ofAnEarlierProcessOfTheSameNumberAreRemoved)
{
    make({"preview-" + std::to_string(getpid()) + "-1-2.jpg", "screenshot-" + std::to_string(getpid()) + "-1.png"});
    removeLeftPictures(m_folder.path());
    EXPECT_EQ(m_folder.names(), std::vector<std::string>());
}

TEST_F(LeftPictures, ofAServiceThatRunsStay)
{
    std::string const alive = std::to_string(getppid());
    std::vector<std::string> const names{"preview-" + alive + "-1-2.jpg", "screenshot-" + alive + "-3.png"};
    make(names);
    removeLeftPictures(m_folder.path());
    EXPECT_EQ(m_folder.names(), names);
}

TEST_F(LeftPictures, areToldFromAllOtherFiles)
{
    std::string const gone = endedProcess();
    std::vector<std::string> const names{"preview-" + gone + "-1-2.jpeg", "preview-" + gone + "-1-2.jpg.old",
                                         "preview-" + gone + "-1.jpg",    "preview-of-a-film.jpg",
                                         "screenshot-" + gone + "-1.jpg", "screenshot-" + gone + ".png",
                                         "x-" + gone + "-1-2.jpg"};
    make(names);
    removeLeftPictures(m_folder.path());
    EXPECT_EQ(m_folder.names(), names);
}

TEST_F(LeftPictures, areNotLookedForWhereThereIsNoFolder)
{
    removeLeftPictures(m_folder.path() + "/none");
    EXPECT_EQ(m_folder.names(), std::vector<std::string>());
}

} // namespace
} // namespace tz::orvane::service
