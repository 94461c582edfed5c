// SPDX-License-Identifier: Apache-2.0
// Chapters: the one being played, and each by its number.
#include "support/http_server.h"
#include "support/viewer.h"

#include <utility>

namespace tz::orvane::test
{
namespace
{

class ChaptersOf : public WithService
{
};

TEST_F(ChaptersOf, theChapterIsTheOneThatIsPlayed)
{
    Viewer viewer;
    om::om_chapter_info_t chapter{};
    EXPECT_LT(viewer.player().getCharpterInfo(chapter), 0);
    for (char const* const file : {"multi.mp4", "chapters.mkv"})
    {
        SCOPED_TRACE(file);
        ASSERT_TRUE(viewer.open(media(file)));
        for (auto const& [position, title] :
             {std::pair<int, char const*>{0, "Intro"}, {2'900, "Intro"}, {3'000, "Middle"}, {9'000, "End"}})
        {
            viewer.player().seek(position, om::OM_SEEK_ACCURATE);
            ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
            ASSERT_EQ(viewer.player().getCharpterInfo(chapter), 0);
            EXPECT_STREQ(chapter.name, title);
            EXPECT_LE(chapter.start_pos, position);
            EXPECT_GT(chapter.end_pos, position);
        }
    }
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    EXPECT_LT(viewer.player().getCharpterInfo(chapter), 0);
}

TEST_F(ChaptersOf, chaptersAreAskedForByTheirNumber)
{
    Viewer viewer;
    om::OmPropertyGroup group;
    EXPECT_LT(viewer.command(om::OM_COMMAND_CHAPTER), 0) << "nothing is open";
    ASSERT_TRUE(viewer.open(media("chapters.mkv")));
    viewer.player().seek(8'000, om::OM_SEEK_ACCURATE);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
    EXPECT_GE(viewer.player().doExtendCommand(om::OM_COMMAND_CHAPTER, group), 0);
    EXPECT_EQ(group.get(om::OM_KEY_INDEX), "2");
    EXPECT_EQ(group.get(om::OM_KEY_TITLE), "End");
    for (char const* const index : {"3", "-1", "x", "1x", "99999999999999999999"})
    {
        EXPECT_LT(viewer.command(om::OM_COMMAND_CHAPTER, {{om::OM_KEY_INDEX, index}}), 0) << index;
    }
}

TEST_F(ChaptersOf, chaptersAreThereOverTheNetwork)
{
    HttpServer server(ORVANE_E2E_MEDIA);
    Viewer viewer;
    for (char const* const file : {"chapters.mkv", "chapters.mp3"})
    {
        SCOPED_TRACE(file);
        ASSERT_TRUE(viewer.open(server.uri(std::string("plain/") + file)));
        om::OmPropertyGroup group;
        EXPECT_GE(viewer.player().doExtendCommand(om::OM_COMMAND_CHAPTER, group), 0);
        EXPECT_EQ(group.get(om::OM_KEY_COUNT), "3");
        EXPECT_EQ(group.get(om::OM_KEY_TITLE), "Intro");
    }
}

} // namespace
} // namespace tz::orvane::test
