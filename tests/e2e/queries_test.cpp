// SPDX-License-Identifier: Apache-2.0
// What queries answer beside what is told by events, and what the library does by itself.
#include "support/viewer.h"
#include "support/wait.h"

#include <cerrno>
#include <cstring>
#include <memory>

namespace tz::orvane::test
{
namespace
{

class Queries : public WithService
{
protected:
    template <class Record> using Getter = int (om::OmIMediaPlayer::*)(Record&);

    template <class Record> static std::unique_ptr<Record> fullRecord()
    {
        auto record = std::make_unique<Record>();
        std::memset(static_cast<void*>(record.get()), 0x5A, sizeof(Record));
        return record;
    }

    /// @return a record that was full of something else before it was asked for
    template <class Record> static std::unique_ptr<Record> ask(Viewer& viewer, Getter<Record> getter, int result = 0)
    {
        auto record = fullRecord<Record>();
        EXPECT_EQ((viewer.player().*getter)(*record), result);
        return record;
    }

    template <class Record> static bool isAnswered(Viewer& viewer, Getter<Record> getter, Record const& told)
    {
        auto const asked = fullRecord<Record>();
        return (viewer.player().*getter)(*asked) == 0 && std::memcmp(asked.get(), &told, sizeof told) == 0;
    }

    static std::unique_ptr<om::om_container_info_t> tracks(Viewer& viewer)
    {
        return ask(viewer, &om::OmIMediaPlayer::getContainerInfo);
    }

    static void expectTracks(Viewer& viewer, Getter<om::om_stream_info_group_t> getter, int count,
                             om::om_stream_info_t const* streams)
    {
        auto const group = ask(viewer, getter);
        ASSERT_EQ(group->count, count);
        EXPECT_EQ(std::memcmp(group->streams, streams, sizeof *streams * static_cast<std::size_t>(count)), 0);
        EXPECT_EQ(group->streams[count].id, -1);
    }
};

TEST_F(Queries, answerWhatEventsHaveTold)
{
    Viewer viewer;
    for (char const* const name : {"multi.mkv", "named.mp4", "a.mp3", "p.jpg"})
    {
        SCOPED_TRACE(name);
        ASSERT_TRUE(viewer.open(media(name)));
        EXPECT_TRUE(eventually(
            [&]
            {
                // They are told again when more is learnt.
                return isAnswered(viewer, &om::OmIMediaPlayer::getMediaInfo, viewer.recorder().mediaInfo()) &&
                       isAnswered(viewer, &om::OmIMediaPlayer::getContainerInfo, viewer.recorder().containerInfo());
            }));
        om::om_container_info_t const told = viewer.recorder().containerInfo();
        expectTracks(viewer, &om::OmIMediaPlayer::getVideoTrackInfo, told.video_count, told.videos_detail);
        expectTracks(viewer, &om::OmIMediaPlayer::getAudioTrackInfo, told.audio_count, told.audios_detail);
        expectTracks(viewer, &om::OmIMediaPlayer::getSubtitleTrackInfo, told.text_count, told.subtitle_detail);
    }
}

TEST_F(Queries, knowNothingWithoutAMedium)
{
    Viewer viewer;
    ask(viewer, &om::OmIMediaPlayer::getMediaInfo, -ENODATA);
    ask(viewer, &om::OmIMediaPlayer::getContainerInfo, -ENODATA);
    ask(viewer, &om::OmIMediaPlayer::getVideoTrackInfo, -ENODATA);
    ask(viewer, &om::OmIMediaPlayer::getAudioTrackInfo, -ENODATA);
    ask(viewer, &om::OmIMediaPlayer::getSubtitleTrackInfo, -ENODATA);
    ask(viewer, &om::OmIMediaPlayer::getExifInfo, -ENODATA);
    ask(viewer, &om::OmIMediaPlayer::getCharpterInfo, -ENODATA);
    EXPECT_EQ(viewer.player().isSeekable(), 0);
    EXPECT_EQ(viewer.player().isSpeedable(), 0);
    EXPECT_EQ(viewer.position(), 0);
    EXPECT_EQ(viewer.state(), om::OM_STATE_NULL);
}

TEST_F(Queries, theListOfTracksSaysWhatIsChosenAndMuted)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mkv")));
    viewer.player().setSubtitleTrackNo(1);
    viewer.player().setAudioTrackNo(1);
    ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_AUDIO, 1));
    EXPECT_EQ(tracks(viewer)->audio_selected, 1);
    EXPECT_EQ(tracks(viewer)->text_selected, 1);

    auto const mutes = [&]
    {
        auto const now = tracks(viewer);
        return now->video_muted * 100 + now->audio_muted * 10 + now->text_muted;
    };
    EXPECT_EQ(mutes(), 0);
    viewer.player().setVideoMute(1);
    EXPECT_EQ(mutes(), 100);
    viewer.player().setAudioMute(1);
    EXPECT_EQ(mutes(), 110);
    viewer.player().setSubtitleVisible(0);
    viewer.player().setVideoMute(0);
    EXPECT_EQ(mutes(), 11);

    ASSERT_TRUE(viewer.open(media("v.mp4")));
    om::om_container_info_t const told = viewer.recorder().containerInfo();
    EXPECT_EQ(told.video_muted, 0);
    EXPECT_EQ(told.audio_muted, 1);
    EXPECT_EQ(told.text_muted, 1);
}

TEST_F(Queries, thePositionIsThatOfNowAlsoWhileACommandIsCarriedOut)
{
    Viewer::Options const noReports{{om::OM_PREPARE_KEY_PLAYTIME_INTERVAL, "0"}};
    Viewer viewer;
    Viewer clock("clock"); // asking would be remembered
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, noReports));
    ASSERT_TRUE(clock.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, noReports));
    ASSERT_TRUE(eventually([&] { return clock.position() > 1'500; }));
    viewer.player().pause();
    EXPECT_GT(viewer.position(), 500);
}

TEST_F(Queries, whatTheLibraryAnswersItselfDoesNotFollowTheService)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    viewer.player().seek(9'800, om::OM_SEEK_DEFAULT);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
    int flags = 77;
    EXPECT_EQ(viewer.player().getActStateFlags(flags), 0);
    EXPECT_EQ(flags, 77) << "they come with the state only";
    EXPECT_EQ(viewer.player().isSmallWindowMode(), -1);
    EXPECT_EQ(viewer.player().getRequestID(), 0u);
}

TEST_F(Queries, aPlayerThatIsAnnouncedAgainPlaysOn)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    std::size_t const states = viewer.recorder().states().size();
    EXPECT_GE(viewer.player().init(), 0);
    long long const before = viewer.position();
    EXPECT_TRUE(eventually([&] { return viewer.position() > before + 300; }));
    EXPECT_EQ(viewer.recorder().states().size(), states);
    for (Note const& note : viewer.recorder().notes())
    {
        EXPECT_NE(note.kind, Note::Kind::error);
    }
}

TEST_F(Queries, afterDeinitNobodyIsToldAndThePlayerPlaysOn)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    EXPECT_EQ(viewer.player().deinit(), 0);
    std::size_t const told = viewer.recorder().notes().size();
    long long const before = viewer.position();
    ASSERT_TRUE(eventually([&] { return viewer.position() > before + 1'000; }));
    EXPECT_EQ(viewer.recorder().notes().size(), told) << "four times a second it would have been told";
    viewer.player().addListener(&viewer.recorder());
    EXPECT_TRUE(viewer.recorder().takePlayTime());
}

} // namespace
} // namespace tz::orvane::test
