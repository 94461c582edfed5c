// SPDX-License-Identifier: Apache-2.0
// The pictures that the service keeps, and those that a service has left which was killed.
#include "preview_shelf.h"

#include "descriptor.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace tz::orvane::service
{
namespace
{

class KeptPreviews : public testing::Test
{
protected:
    std::string path(int number) const { return ownPreviewPath(m_folder.path(), 1, number, false); }

    bool keep(PreviewShelf& shelf, int number, std::size_t bytes)
    {
        auto file = std::make_unique<PreviewFile>(path(number));
        Descriptor const opened(file->create());
        EXPECT_EQ(writeAll(opened.get(), std::string(bytes, 'x')), 0);
        return shelf.keep(std::move(file));
    }

    std::ptrdiff_t files() const
    {
        return std::distance(std::filesystem::directory_iterator(m_folder.path()),
                             std::filesystem::directory_iterator());
    }

    test::TempDir m_folder;
};

TEST_F(KeptPreviews, areOnlySoManyUnlessOneIsTaken)
{
    PreviewShelf shelf(3, 1000);
    EXPECT_TRUE(keep(shelf, 1, 1));
    EXPECT_TRUE(shelf.hasPlace(1));
    EXPECT_FALSE(shelf.hasPlace(2));
    EXPECT_TRUE(keep(shelf, 2, 1));
    EXPECT_TRUE(keep(shelf, 3, 1));
    EXPECT_FALSE(shelf.hasPlace(0));
    std::filesystem::rename(path(2), m_folder.path() + "/mine.jpg");
    EXPECT_TRUE(shelf.hasPlace(0));
    EXPECT_FALSE(shelf.hasPlace(1));
}

TEST_F(KeptPreviews, haveOnlySoManyBytesUnlessOneIsTaken)
{
    PreviewShelf shelf(10, 1000);
    EXPECT_TRUE(keep(shelf, 1, 600));
    EXPECT_TRUE(keep(shelf, 2, 400));
    EXPECT_FALSE(keep(shelf, 3, 1));
    EXPECT_FALSE(std::filesystem::exists(path(3)));
    std::filesystem::remove(path(1));
    EXPECT_TRUE(keep(shelf, 4, 600));
    EXPECT_FALSE(keep(shelf, 5, 1));
}

TEST_F(KeptPreviews, goWithTheirShelf)
{
    {
        PreviewShelf shelf(10, 1000);
        EXPECT_TRUE(keep(shelf, 1, 600));
        shelf.clear();
        EXPECT_EQ(files(), 0);
        EXPECT_TRUE(keep(shelf, 2, 1000));
        EXPECT_EQ(files(), 1);
    }
    EXPECT_EQ(files(), 0);
}

TEST_F(KeptPreviews, thatWereLeftAreRemovedAndNothingElse)
{
    std::ofstream(path(1)) << "x";
    std::ofstream(ownPreviewPath(m_folder.path(), 65'535, 4'294'967'295U, true)) << "x";
    for (char const* const other :
         {"preview-of-a-film.jpg", "preview-1-2-3.jpeg", "preview-1-2-3.jpg.old", "preview-1-2.jpg", "x-1-2-3.jpg"})
    {
        std::ofstream(m_folder.path() + "/" + other) << "x";
    }
    EXPECT_EQ(files(), 7);
    removeLeftPreviews(m_folder.path());
    EXPECT_EQ(files(), 5);
    EXPECT_FALSE(std::filesystem::exists(path(1)));
    removeLeftPreviews(m_folder.path() + "/none");
}

} // namespace
} // namespace tz::orvane::service
