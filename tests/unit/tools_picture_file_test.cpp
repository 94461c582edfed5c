// SPDX-License-Identifier: Apache-2.0
// How the preview tool writes pictures beside what others have in the same folder.
#include "omc_preview/picture_file.h"

#include "support/temp_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

namespace tz::orvane::tools
{
namespace
{

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class PictureFile : public testing::Test
{
protected:
    std::string path(std::string const& name) const { return m_folder.path() + "/" + name; }

    test::TempDir m_folder;
};

TEST_F(PictureFile, hasTheModeThatFilesOfTheUserHave)
{
    ::umask(S_IWGRP | S_IROTH | S_IWOTH);
    EXPECT_EQ(replaceFile(path("a.png"), "new"), "");
    EXPECT_EQ(contentOfFile(path("a.png")), "new");
    EXPECT_EQ(fs::status(path("a.png")).permissions(), fs::perms{0640});
    EXPECT_THAT(m_folder.names(), ElementsAre("a.png"));
}

TEST_F(PictureFile, takesThePlaceOfALinkAndLeavesItsTargetAlone)
{
    std::ofstream(path("target")) << "old";
    fs::create_symlink(path("target"), path("a.png"));
    EXPECT_EQ(replaceFile(path("a.png"), "new"), "");
    EXPECT_EQ(contentOfFile(path("target")), "old");
    EXPECT_FALSE(fs::is_symlink(path("a.png")));
    EXPECT_EQ(contentOfFile(path("a.png")), "new");
}

TEST_F(PictureFile, replacesNothingThatIsNoFile)
{
    ASSERT_EQ(::mkfifo(path("pipe.png").c_str(), 0600), 0);
    fs::create_directory(path("folder.png"));
    EXPECT_THAT(replaceFile(path("pipe.png"), "new"), HasSubstr("pipe.png is no file"));
    EXPECT_THAT(replaceFile(path("folder.png"), "new"), HasSubstr("folder.png is no file"));
    EXPECT_TRUE(fs::is_fifo(path("pipe.png")));
    EXPECT_THAT(m_folder.names(), UnorderedElementsAre("pipe.png", "folder.png"));
}

TEST_F(PictureFile, leavesTheOldOneAndNothingElseWhenItCannotBeWritten)
{
    std::ofstream(path("a.png")) << "old";
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit const small{1000, RLIM_INFINITY};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THAT(replaceFile(path("a.png"), std::string(5000, 'x')),
                HasSubstr("a.png cannot be written: File too large"));
    EXPECT_EQ(contentOfFile(path("a.png")), "old");
    EXPECT_THAT(m_folder.names(), ElementsAre("a.png"));
}

TEST_F(PictureFile, saysWhyWhenItsFolderIsMissing)
{
    EXPECT_EQ(replaceFile(path("missing/a.png"), "new"),
              path("missing/a.png") + " cannot be written: No such file or directory");
}

} // namespace
} // namespace tz::orvane::tools
