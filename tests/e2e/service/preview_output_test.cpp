// SPDX-License-Identifier: Apache-2.0
// The file that a client named for its preview, with and without file systems that know files without a name.
#include "preview_output.h"

#include "support/temp_dir.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace tz::orvane::service
{
namespace
{

class PreviewOutputOfKind : public testing::TestWithParam<PreviewOutput::Kind>
{
protected:
    bool isEmpty() const { return std::filesystem::is_empty(m_folder.path()); }

    test::TempDir m_folder;
    std::string m_path = m_folder.path() + "/picture.jpg";
};

TEST_P(PreviewOutputOfKind, appearsWhole)
{
    {
        PreviewOutput output(m_path, GetParam());
        ASSERT_EQ(output.open(), 0);
        EXPECT_TRUE(isEmpty());
        ASSERT_EQ(output.write("pixels"), 0);
        EXPECT_EQ(output.publish(), 0);
    }
    EXPECT_EQ(test::fileContent(m_path), "pixels");
    struct stat status
    {
    };
    ASSERT_EQ(stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    EXPECT_EQ(status.st_nlink, 1u);
}

TEST_P(PreviewOutputOfKind, leavesNothingWhenItIsNotPublished)
{
    {
        PreviewOutput output(m_path, GetParam());
        ASSERT_EQ(output.open(), 0);
        ASSERT_EQ(output.write("pixels"), 0);
    }
    EXPECT_TRUE(isEmpty());
}

TEST_P(PreviewOutputOfKind, whatComesMeanwhileIsNeitherReplacedNorRemoved)
{
    {
        PreviewOutput output(m_path, GetParam());
        ASSERT_EQ(output.open(), 0);
        std::ofstream(m_path) << "another's";
        int const written = output.write("pixels");
        EXPECT_EQ(written < 0 ? written : output.publish(), -EEXIST);
    }
    EXPECT_EQ(test::fileContent(m_path), "another's");
}

TEST_P(PreviewOutputOfKind, whatIsPutInItsPlaceStays)
{
    {
        PreviewOutput output(m_path, GetParam());
        ASSERT_EQ(output.open(), 0);
        ASSERT_EQ(output.write("pixels"), 0);
        std::ofstream(m_path + ".new") << "another's";
        std::filesystem::rename(m_path + ".new", m_path);
    }
    EXPECT_EQ(test::fileContent(m_path), "another's");
}

TEST_P(PreviewOutputOfKind, nothingThatExistsIsOpened)
{
    std::filesystem::create_symlink(m_folder.path() + "/target.jpg", m_path);
    EXPECT_EQ(PreviewOutput(m_path, GetParam()).open(), -EEXIST);
    EXPECT_EQ(PreviewOutput(m_folder.path(), GetParam()).open(), -EEXIST);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path() + "/target.jpg"));
}

INSTANTIATE_TEST_SUITE_P(Preview, PreviewOutputOfKind,
                         testing::Values(PreviewOutput::Kind::unnamed, PreviewOutput::Kind::named),
                         [](auto const& kind)
                         { return kind.param == PreviewOutput::Kind::unnamed ? "unnamed" : "named"; });

TEST(PreviewOutput, tellsWhyItCannotBe)
{
    test::TempDir const folder;
    EXPECT_EQ(PreviewOutput(folder.path() + "/none/picture.jpg").open(), -ENOENT);
    std::ofstream(folder.path() + "/file") << "x";
    EXPECT_EQ(PreviewOutput(folder.path() + "/file/picture.jpg").open(), -ENOTDIR);
    EXPECT_EQ(outputError(ENOENT), om::OM_ERROR_NOT_FOUND);
    EXPECT_EQ(outputError(ENOTDIR), om::OM_ERROR_NOT_FOUND);
    EXPECT_EQ(outputError(EEXIST), om::OM_ERROR_FORBIDDEN);
    EXPECT_EQ(outputError(EACCES), om::OM_ERROR_FORBIDDEN);
    EXPECT_EQ(outputError(ENOSPC), om::OM_ERROR_LIMIT);
}

} // namespace
} // namespace tz::orvane::service
