// SPDX-License-Identifier: Apache-2.0
// Texts that are too many, and tracks and files of texts that are of no use.
#include "support/http_server.h"
#include "support/subtitles.h"

#include <algorithm>

namespace tz::orvane::test
{
namespace
{

class SubtitleLimits : public WithSubtitles
{
protected:
    static void expectRefusal(Viewer& viewer, om::om_error_e code, char const* command)
    {
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error) << command;
        EXPECT_EQ(error->code, static_cast<int>(code));
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), command);
    }

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

TEST_F(SubtitleLimits, veryManyTextsHoldUpNobodyElse)
{
    Viewer other("other");
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("sametime.mkv")));
    viewer.player().setSubtitleTrackNo(0);
    ASSERT_TRUE(eventually(
        [&]
        {
            EXPECT_EQ(other.state(), om::OM_STATE_NULL) << "there was no answer in time";
            return warnings(viewer) > 0;
        }))
        << "all tracks together have a limit";
    viewer.player().stop();
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
}

TEST_F(SubtitleLimits, tracksThatAreTooManyAreToldOnce)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("toomanytracks.mkv")));
    choose(viewer, 0);
    EXPECT_TRUE(eventually([&] { return warnings(viewer) > 0; })); // perhaps while it was opened
    seek(viewer, 5'000);
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    EXPECT_EQ(warnings(viewer), 1);
}

TEST_F(SubtitleLimits, aFileFindsNoPlaceInAListThatIsFull)
{
    constexpr int kFull = om::om_container_info_t::kTextCapacity;
    Viewer viewer;
    viewer.player().setSubtitleUri(media("en.srt")); // for the one that comes
    viewer.prepare(media("manytracks.mkv"));
    expectRefusal(viewer, om::OM_ERROR_LIMIT, "setSubtitleUri");
    ASSERT_TRUE(eventually([&] { return viewer.recorder().containerInfo().text_count == kFull; }));
    ASSERT_TRUE(eventually([&] { return viewer.state() == om::OM_STATE_PAUSED; }));
    EXPECT_EQ(viewer.recorder().containerInfo().text_selected, -1);
    viewer.player().setSubtitleUri(media("en.srt"));
    expectRefusal(viewer, om::OM_ERROR_LIMIT, "setSubtitleUri");
    choose(viewer, kFull - 1);
    seek(viewer, 1'500);
    EXPECT_TRUE(comesToShow(viewer));
}

TEST_F(SubtitleLimits, aFileThatComesTooLateForAFullListChangesNothing)
{
    HttpServer server(ORVANE_E2E_MEDIA);
    Viewer viewer;
    viewer.player().setSubtitleUri(server.uri("held/en.srt"));
    ASSERT_TRUE(viewer.open(media("manytracks.mkv")));
    choose(viewer, 3);
    server.release();
    expectRefusal(viewer, om::OM_ERROR_LIMIT, "setSubtitleUri");
    unsigned int number = 0;
    EXPECT_EQ(viewer.player().getSubtitleTrackNo(number), 0);
    EXPECT_EQ(number, 3U);
    seek(viewer, 1'500);
    EXPECT_TRUE(comesToShow(viewer));
}

TEST_F(SubtitleLimits, soundAloneTakesNoTexts)
{
    Viewer viewer;
    viewer.player().setSubtitleUri(media("en.srt")); // for the one that comes
    viewer.prepare(media("lyrics.mka"));
    expectRefusal(viewer, om::OM_ERROR_NOT_SUPPORTED, "setSubtitleUri");
    ASSERT_TRUE(eventually([&] { return viewer.recorder().containerInfo().text_count == 1; }));
    ASSERT_TRUE(eventually([&] { return viewer.state() == om::OM_STATE_PAUSED; }));
    viewer.player().setSubtitleUri(media("en.srt"));
    expectRefusal(viewer, om::OM_ERROR_NOT_SUPPORTED, "setSubtitleUri");
    viewer.player().setSubtitleTrackNo(0);
    expectRefusal(viewer, om::OM_ERROR_NOT_SUPPORTED, "setSubtitleTrackNo");
    choose(viewer, om::OM_TRACK_NONE);
    viewer.player().setSubtitleUri("");

    // The next film takes some again.
    openWith(viewer, media("en.srt"));
    seek(viewer, 1'500);
    EXPECT_TRUE(comesToShow(viewer));
}

TEST_F(SubtitleLimits, tracksThatArePicturesAreRefused)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("pictures.mkv")));
    om::om_container_info_t const tracks = viewer.recorder().containerInfo();
    EXPECT_EQ(tracks.text_count, 2);
    EXPECT_EQ(tracks.subtitle_detail[0].subtitle.drawtype, om::OM_SUBTITLE_DRAW_PICTURE);
    EXPECT_EQ(tracks.subtitle_detail[1].subtitle.drawtype, om::OM_SUBTITLE_DRAW_TEXT);
    choose(viewer, 1);
    viewer.player().setSubtitleTrackNo(0);
    expectRefusal(viewer, om::OM_ERROR_NOT_SUPPORTED, "setSubtitleTrackNo");
    unsigned int number = 0;
    EXPECT_EQ(viewer.player().getSubtitleTrackNo(number), 0);
    EXPECT_EQ(number, 1U);
    seek(viewer, 1'500);
    EXPECT_TRUE(comesToShow(viewer)) << "the other one is still shown";
}

} // namespace
} // namespace tz::orvane::test
