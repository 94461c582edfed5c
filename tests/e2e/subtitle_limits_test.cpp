// SPDX-License-Identifier: Apache-2.0
// Texts that are too many.
#include "support/subtitles.h"

#include <algorithm>

namespace tz::orvane::test
{
namespace
{

class SubtitleLimits : public WithSubtitles
{
protected:
    /// @return how many warnings there were until now
    static int warnings(Viewer& viewer)
    {
        auto const notes = viewer.recorder().notes();
        return static_cast<int>(std::count_if(
            notes.begin(), notes.end(),
            [](Note const& note) { return note.kind == Note::Kind::event && note.code == om::OM_EVENT_WARNING; }));
    }

    static void expectOneWarning(Viewer& viewer)
    {
        auto const warning = viewer.recorder().takeEvent(om::OM_EVENT_WARNING);
        ASSERT_TRUE(warning);
        EXPECT_EQ(warning->number(om::OM_KEY_CODE), om::OM_ERROR_LIMIT);
    }
};

TEST_F(SubtitleLimits, aFileWithTooManyTextsIsShownUpToTheLimitAndWarnsOnce)
{
    Viewer viewer;
    openWith(viewer, media("full.srt"));
    openWith(viewer, media("toomany.srt"));
    expectOneWarning(viewer);
    seek(viewer, 5'000);
    EXPECT_TRUE(comesToShow(viewer));
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    EXPECT_EQ(warnings(viewer), 1) << "what is just full is complete";
}

TEST_F(SubtitleLimits, embeddedTextsAreCountedInEachTrack)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("manytexts.mkv")));
    choose(viewer, 2);
    expectOneWarning(viewer);
    for (unsigned int const track : {0U, 1U, 2U})
    {
        choose(viewer, track);
        seek(viewer, 5'000);
        EXPECT_TRUE(comesToShow(viewer)) << track;
        choose(viewer, om::OM_TRACK_NONE);
        EXPECT_TRUE(comesToHide(viewer));
    }
    EXPECT_EQ(warnings(viewer), 1);
}

} // namespace
} // namespace tz::orvane::test
