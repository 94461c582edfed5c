// SPDX-License-Identifier: Apache-2.0
// Files from their opening to their end, as an application sees them.
#include "support/viewer.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::Gt;
using testing::Le;
using testing::Lt;

class Playback : public WithService
{
};

std::string mimeOf(om::om_media_info_t const& info)
{
    return info.mime_type;
}

TEST_F(Playback, aFilePlaysFromItsBeginningToItsEnd)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().start(8000);
    auto const playing = viewer.recorder().takeState(om::OM_STATE_PLAYING);
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(playing && end);
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(10'000), Le(10'100)));
    EXPECT_GE(end->at - playing->at, std::chrono::milliseconds(1'900));
    EXPECT_THAT(viewer.recorder().states(), ElementsAre("READY+1", "PAUSED", "PAUSED+4", "PLAYING", "PAUSED+16"));
    EXPECT_EQ(viewer.position(), end->number(om::OM_KEY_POSITION));
}

TEST_F(Playback, playTimeIsReportedFourTimesASecond)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    auto const first = viewer.recorder().takePlayTime();
    ASSERT_TRUE(first);
    std::optional<Note> last;
    for (int count = 0; count < 8; ++count)
    {
        last = viewer.recorder().takePlayTime();
        ASSERT_TRUE(last);
    }
    auto const passed = std::chrono::duration_cast<std::chrono::milliseconds>(last->at - first->at).count();
    EXPECT_THAT(passed, AllOf(Gt(1'000), Lt(4'000))) << "neither eight times a second nor twice";
    EXPECT_THAT(last->value - first->value, AllOf(Gt(1'000), Lt(4'000)));
}

TEST_F(Playback, playTimeComesAsOftenAsItWasAskedFor)
{
    Viewer often;
    Viewer never("quiet");
    ASSERT_TRUE(often.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, {{om::OM_PREPARE_KEY_PLAYTIME_INTERVAL, "50"}}));
    ASSERT_TRUE(never.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, {{om::OM_PREPARE_KEY_PLAYTIME_INTERVAL, "0"}}));
    auto const first = often.recorder().takePlayTime();
    std::optional<Note> last;
    for (int count = 0; count < 20; ++count)
    {
        last = often.recorder().takePlayTime();
    }
    ASSERT_TRUE(first && last);
    EXPECT_LT(last->at - first->at, std::chrono::milliseconds(4'500)) << "as a rule it takes five seconds";
    for (Note const& note : never.recorder().notes())
    {
        EXPECT_NE(note.kind, Note::Kind::playTime);
    }
}

TEST_F(Playback, theMediumIsDescribed)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    om::om_media_info_t const info = viewer.recorder().mediaInfo();
    EXPECT_EQ(info.media_type, om::OM_MEDIA_TYPE_VIDEO);
    EXPECT_EQ(mimeOf(info), "video/mp4");
    EXPECT_THAT(info.duration, AllOf(Ge(10'000), Le(10'100)));
    EXPECT_EQ(info.resolution.width, 320);
    EXPECT_EQ(info.resolution.height, 180);
    EXPECT_EQ(info.frame_rate, 25);
    EXPECT_EQ(info.color_depth, 8);
    EXPECT_EQ(info.hdr_type, om::OM_HDR_TYPE_NONE);
    EXPECT_EQ(info.par.num, 1);
    EXPECT_EQ(info.par.den, 1);
    EXPECT_EQ(info.video_codec, om::OM_VIDEO_CODEC_H264);
    EXPECT_EQ(info.audio_codec, om::OM_AUDIO_CODEC_AAC_LC);
    EXPECT_EQ(info.audio_channel, 2);
    EXPECT_EQ(info.sample_rate, 48'000);
    EXPECT_EQ(info.video_track_num, 1);
    EXPECT_EQ(info.audio_track_num, 1);
    EXPECT_EQ(info.text_track_num, 0);
    EXPECT_THAT(info.bit_rate, AllOf(Ge(40'000), Le(80'000)));
    EXPECT_GT(info.file_size, 50'000u);
    EXPECT_EQ(info.cap_flags, om::OM_CAP_SEEKABLE | om::OM_CAP_SPEEDABLE);

    om::om_media_info_t asked{};
    EXPECT_EQ(viewer.player().getMediaInfo(asked), 0);
    EXPECT_EQ(asked.duration, info.duration);
    EXPECT_EQ(viewer.player().isSeekable(), 1);
    EXPECT_EQ(viewer.player().isSpeedable(), 1);
}

TEST_F(Playback, tracksAreListed)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mkv")));
    om::om_container_info_t const tracks = viewer.recorder().containerInfo();
    EXPECT_EQ(mimeOf(viewer.recorder().mediaInfo()), "video/x-matroska");
    EXPECT_EQ(tracks.video_count, 1);
    EXPECT_EQ(tracks.video_selected, 0);
    EXPECT_EQ(tracks.videos_detail[0].video.width, 320);
    EXPECT_EQ(tracks.videos_detail[0].video.fps, 25);
    EXPECT_STREQ(tracks.videos_detail[0].mime_type, "video/avc");
    EXPECT_EQ(tracks.videos_detail[1].id, -1);
    EXPECT_EQ(tracks.audio_count, 2);
    EXPECT_EQ(tracks.audio_selected, 0);
    EXPECT_STREQ(tracks.audios_detail[0].audio.lang, "eng");
    EXPECT_EQ(tracks.audios_detail[0].audio.codec, om::OM_AUDIO_CODEC_AAC_LC);
    EXPECT_EQ(tracks.audios_detail[0].audio.ch, 2);
    EXPECT_STREQ(tracks.audios_detail[1].audio.lang, "deu");
    EXPECT_EQ(tracks.audios_detail[1].audio.codec, om::OM_AUDIO_CODEC_MPEG1_LAYER3);
    EXPECT_EQ(tracks.audios_detail[1].audio.samplerate, 44'100);
    EXPECT_EQ(tracks.audios_detail[1].audio.ch, 1);
    EXPECT_EQ(tracks.text_count, 2);
    EXPECT_EQ(tracks.text_selected, -1);
    EXPECT_STREQ(tracks.subtitle_detail[0].subtitle.lang, "eng");
    EXPECT_STREQ(tracks.subtitle_detail[1].subtitle.lang, "deu");

    om::om_stream_info_group_t audio{};
    EXPECT_EQ(viewer.player().getAudioTrackInfo(audio), 0);
    EXPECT_EQ(audio.count, 2);
    EXPECT_STREQ(audio.streams[1].audio.lang, "deu");
    unsigned int selected = 7;
    EXPECT_EQ(viewer.player().getAudioTrackNo(selected), 0);
    EXPECT_EQ(selected, 0u);
}

TEST_F(Playback, soundAloneIsAMedium)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("a.mp3")));
    om::om_media_info_t const info = viewer.recorder().mediaInfo();
    EXPECT_EQ(info.media_type, om::OM_MEDIA_TYPE_AUDIO);
    EXPECT_EQ(mimeOf(info), "audio/mpeg");
    EXPECT_EQ(info.audio_codec, om::OM_AUDIO_CODEC_MPEG1_LAYER3);
    EXPECT_EQ(info.resolution.width, -1);
    EXPECT_STREQ(info.tag.title, "Tone");
    EXPECT_STREQ(info.tag.artist, "Nobody");
    EXPECT_STREQ(info.tag.album, "Album");
    EXPECT_STREQ(info.tag.year, "2024");
    EXPECT_EQ(info.create_date.year, 2024);
    EXPECT_EQ(info.create_date.month, -1);
    viewer.player().start(0);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Playback, everyContainerOpens)
{
    struct Case
    {
        char const* file;
        char const* mime;
        int videoCodec;
        int audioCodec;
    };
    Viewer viewer;
    for (Case const& each : {Case{"v.mkv", "video/x-matroska", om::OM_VIDEO_CODEC_H264, om::OM_AUDIO_CODEC_AAC_LC},
                             Case{"v.ts", "video/mp2t", om::OM_VIDEO_CODEC_H264, om::OM_AUDIO_CODEC_AAC_LC},
                             Case{"v_end.mp4", "video/mp4", om::OM_VIDEO_CODEC_H264, om::OM_AUDIO_CODEC_AAC_LC},
                             Case{"vonly.mp4", "video/mp4", om::OM_VIDEO_CODEC_H264, om::OM_AUDIO_CODEC_UNKNOWN},
                             Case{"a.wav", "audio/wav", om::OM_VIDEO_CODEC_UNKNOWN, om::OM_AUDIO_CODEC_PCM}})
    {
        SCOPED_TRACE(each.file);
        ASSERT_TRUE(viewer.open("file://" + media(each.file)));
        om::om_media_info_t const info = viewer.recorder().mediaInfo();
        EXPECT_EQ(mimeOf(info), each.mime);
        EXPECT_EQ(info.video_codec, each.videoCodec);
        EXPECT_EQ(info.audio_codec, each.audioCodec);
    }
}

TEST_F(Playback, aPhotoStaysOnTheScreenAndDoesNotEnd)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("p.jpg")));
    EXPECT_EQ(viewer.recorder().mediaInfo().media_type, om::OM_MEDIA_TYPE_PHOTO);
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    EXPECT_EQ(viewer.state(), om::OM_STATE_PLAYING);
}

TEST_F(Playback, theTurnOfThePictureIsKnown)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("rot90.mp4")));
    EXPECT_EQ(viewer.recorder().mediaInfo().disp_rotation, 270);
}

TEST_F(Playback, pausingStopsTimeAndResumingLetsItRun)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    viewer.player().pause();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    long long const stood = viewer.position();
    EXPECT_GT(stood, 0);
    EXPECT_EQ(viewer.position(), stood);
    EXPECT_EQ(viewer.state(), om::OM_STATE_PAUSED);
    auto const resumed = std::chrono::steady_clock::now();
    viewer.player().resume();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const later = viewer.recorder().takePlayTime();
    ASSERT_TRUE(later);
    auto const passed = std::chrono::duration_cast<std::chrono::milliseconds>(later->at - resumed).count();
    EXPECT_THAT(later->value, AllOf(Ge(stood), Le(stood + passed + 200)));
}

TEST_F(Playback, whatWasStoppedStartsAgainFromTheBeginning)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().start(5'000);
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    EXPECT_EQ(viewer.position(), 0);
    viewer.player().start(-1);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const time = viewer.recorder().takePlayTime();
    ASSERT_TRUE(time);
    EXPECT_LT(time->value, 5'000);
}

TEST_F(Playback, startingAtAPositionBeginsThere)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().start(4'520);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const time = viewer.recorder().takePlayTime();
    ASSERT_TRUE(time);
    EXPECT_THAT(time->value, AllOf(Ge(4'520), Le(9'000)));
}

TEST_F(Playback, seekingGoesToTheFrameOrToAKeyFrame)
{
    struct Case
    {
        long long position;
        int flags;
        long long least;
        long long most;
    };
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    for (Case const& each :
         {Case{4'520, om::OM_SEEK_DEFAULT, 4'500, 4'560}, Case{2'480, om::OM_SEEK_ACCURATE, 2'460, 2'520},
          Case{4'520, om::OM_SEEK_KEY_UNIT | om::OM_SEEK_SNAP_BEFORE, 3'980, 4'040},
          Case{4'520, om::OM_SEEK_KEY_UNIT | om::OM_SEEK_SNAP_AFTER, 4'980, 5'040}})
    {
        SCOPED_TRACE(each.flags);
        viewer.player().seek(each.position, each.flags);
        auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
        ASSERT_TRUE(done);
        EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(each.least), Le(each.most)));
        EXPECT_THAT(viewer.position(), AllOf(Ge(each.least), Le(each.most)));
    }
}

TEST_F(Playback, aTransportStreamIsSoughtExactlyWhateverIsAskedFor)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.ts")));
    for (int const flags : {om::OM_SEEK_KEY_UNIT | om::OM_SEEK_SNAP_BEFORE, om::OM_SEEK_KEY_UNIT + 0})
    {
        viewer.player().seek(4'520, flags);
        auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
        ASSERT_TRUE(done);
        EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(4'400), Le(4'640)));
    }
}

TEST_F(Playback, seekingWhilePlayingGoesOnFromThere)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    viewer.player().seek(9'000, om::OM_SEEK_DEFAULT);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Playback, seekingToTheEndEndsEveryTime)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    for (int count = 0; count < 10; ++count)
    {
        viewer.player().start(5'000);
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
        viewer.player().seek(60'000, om::OM_SEEK_DEFAULT);
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
    }
}

TEST_F(Playback, whatHasEndedPlaysAgain)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().start(9'800);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
    viewer.player().resume();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_LT(viewer.position(), 9'800) << "where it was started before";
    viewer.player().seek(9'800, om::OM_SEEK_DEFAULT);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Playback, speedChangesHowFastTimeRuns)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    viewer.player().speed(om::OM_PLAY_SPEED_4X, 0);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SPEED_CHANGED));
    om::om_play_speed_e speed = om::OM_PLAY_SPEED_NORMAL;
    EXPECT_EQ(viewer.player().getSpeed(speed), 0);
    EXPECT_EQ(speed, om::OM_PLAY_SPEED_4X);
    EXPECT_THAT(speedUpToTheEnd(viewer.recorder()), AllOf(Gt(2.5), Lt(7)));
}

TEST_F(Playback, backwardsItEndsAtTheBeginning)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().seek(2'000, om::OM_SEEK_DEFAULT);
    viewer.player().speed(om::OM_PLAY_SPEED_BACKWARD_2X, 0);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SPEED_CHANGED));
    viewer.player().resume();
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->number(om::OM_KEY_POSITION), 0);
    viewer.player().start(-1);
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    om::om_play_speed_e speed = om::OM_PLAY_SPEED_2X;
    viewer.player().getSpeed(speed);
    EXPECT_EQ(speed, om::OM_PLAY_SPEED_NORMAL);
}

TEST_F(Playback, mutesAreKeptAndAnswered)
{
    Viewer viewer;
    EXPECT_EQ(viewer.player().isAudioMute(), 0);
    viewer.player().setAudioMute(1);
    viewer.player().setVideoMute(1);
    viewer.player().setVolume(30);
    EXPECT_EQ(viewer.player().isAudioMute(), 1);
    EXPECT_EQ(viewer.player().isVideoMute(), 1);
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    viewer.player().setAudioMute(0);
    EXPECT_EQ(viewer.player().isAudioMute(), 0);
    EXPECT_EQ(viewer.player().isVideoMute(), 1);
}

TEST_F(Playback, twoPlayersPlayAtOnce)
{
    Viewer one("one");
    Viewer other("other");
    ASSERT_TRUE(one.open(media("v.mp4")));
    ASSERT_TRUE(other.open(media("v.mkv")));
    one.player().start(9'000);
    other.player().start(8'500);
    EXPECT_TRUE(one.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    EXPECT_TRUE(other.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Playback, commandsThatAreSentAtOnceAreCarriedOutInOrder)
{
    Viewer viewer;
    viewer.prepare(media("v.mp4"));
    viewer.player().start(3'000);
    viewer.player().pause();
    viewer.player().seek(6'000, om::OM_SEEK_DEFAULT);
    viewer.player().resume();
    viewer.player().pause();
    auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
    ASSERT_TRUE(done);
    EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(5'980), Le(6'040)));
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_THAT(viewer.position(), AllOf(Ge(5'980), Le(8'000)));
}

} // namespace
} // namespace tz::orvane::test
