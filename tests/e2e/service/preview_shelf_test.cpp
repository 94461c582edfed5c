// SPDX-License-Identifier: Apache-2.0
// The pictures that the service keeps.
#include "preview_shelf.h"

#include "descriptor.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

namespace tz::orvane::service
{
namespace
{

class KeptPreviews : public testing::Test
{
protected:
    std::string path(int number) const { return ownPreviewPath(m_folder.path(), 1, number, false); }

    bool keep(PreviewShelf& shelf, int number, std::size_t bytes,
              PreviewShelf::Clock::time_point now = PreviewShelf::Clock::now())
    {
        auto file = std::make_unique<PreviewFile>(path(number));
        Descriptor const opened(file->create());
        EXPECT_EQ(writeAll(opened.get(), std::string(bytes, 'x')), 0);
        return shelf.keep(std::move(file), now);
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
    EXPECT_TRUE(shelf.hasPlace(1, 1));
    EXPECT_FALSE(shelf.hasPlace(2, 1));
    EXPECT_TRUE(keep(shelf, 2, 1));
    EXPECT_TRUE(keep(shelf, 3, 1));
    EXPECT_FALSE(shelf.hasPlace(0, 1));
    std::filesystem::rename(path(2), m_folder.path() + "/mine.jpg");
    EXPECT_TRUE(shelf.hasPlace(0, 1));
    EXPECT_FALSE(shelf.hasPlace(1, 1));
}

TEST_F(KeptPreviews, areLookedAtOnceASecondWhenThereAreMany)
{
    constexpr int kMany = 100;
    auto const now = PreviewShelf::Clock::now();
    auto const soon = now + std::chrono::milliseconds(900);
    auto const later = now + std::chrono::seconds(1);
    PreviewShelf byNumber(kMany, 1000);
    PreviewShelf byBytes(1000, kMany);
    for (int i = 0; i < kMany; ++i)
    {
        ASSERT_TRUE(keep(byNumber, i, 1));
        ASSERT_TRUE(keep(byBytes, kMany + i, 1));
    }
    EXPECT_FALSE(byNumber.hasPlace(0, 1, now));
    EXPECT_FALSE(keep(byBytes, 2 * kMany, 1, now));
    std::filesystem::remove(path(50));
    std::filesystem::remove(path(kMany + 50));
    EXPECT_FALSE(byNumber.hasPlace(0, 1, soon));
    EXPECT_FALSE(byBytes.hasPlace(0, 1, soon));
    EXPECT_FALSE(keep(byBytes, 2 * kMany, 1, soon));
    EXPECT_TRUE(byNumber.hasPlace(0, 1, later));
    EXPECT_TRUE(keep(byBytes, 2 * kMany, 1, later));
}

TEST_F(KeptPreviews, areNotMadeWhenOneLikeTheLastWouldHaveNoRoom)
{
    PreviewShelf shelf(10, 1000);
    EXPECT_TRUE(keep(shelf, 1, 600));
    EXPECT_FALSE(shelf.hasPlace(0, 700)) << "it would have 600";
    EXPECT_TRUE(shelf.hasPlace(0, 400)) << "it cannot have 600";
    EXPECT_TRUE(keep(shelf, 2, 200));
    EXPECT_TRUE(shelf.hasPlace(0, 700));
    EXPECT_FALSE(keep(shelf, 3, 300));
    EXPECT_FALSE(shelf.hasPlace(0, 700)) << "also one that was not kept is like the next";
    std::filesystem::remove(path(2));
    EXPECT_TRUE(shelf.hasPlace(0, 700));
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

TEST_F(KeptPreviews, mayBeOneThatIsLargerThanAllOthersTogether)
{
    PreviewShelf shelf(10, 1000);
    EXPECT_TRUE(keep(shelf, 1, 1001));
    EXPECT_FALSE(keep(shelf, 2, 1));
    std::filesystem::remove(path(1));
    EXPECT_TRUE(keep(shelf, 3, 1));
    EXPECT_FALSE(keep(shelf, 4, 1001));
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

} // namespace
} // namespace tz::orvane::service
