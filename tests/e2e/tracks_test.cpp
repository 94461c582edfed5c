// SPDX-License-Identifier: Apache-2.0
// Switching of tracks: what is heard and shown afterwards, in any state and in any hurry.
#include "support/answers.h"
#include "support/http_server.h"
#include "support/picture.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <fstream>
#include <random>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Gt;
using testing::Lt;

class Tracks : public WithService
{
protected:
    struct Sound
    {
        std::string rate;
        std::string channels;
        bool operator==(Sound const& other) const { return rate == other.rate && channels == other.channels; }
    };

    inline static Sound const kFirst{"48000", "2"};
    inline static Sound const kSecond{"44100", "1"};

    /// What reaches the output.
    static Sound sound(Viewer& viewer)
    {
        Answers answers = askPatiently(viewer, om::OM_COMMAND_STATISTICS);
        return {answers[om::OM_STATISTIC_AUDIO_RATE], answers[om::OM_STATISTIC_AUDIO_CHANNELS]};
    }

    static bool comesToSound(Viewer& viewer, Sound const& wanted)
    {
        return eventually([&] { return sound(viewer) == wanted; });
    }

    static void choose(Viewer& viewer, unsigned int number)
    {
        viewer.player().setAudioTrackNo(number);
        ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_AUDIO, number));
        unsigned int selected = 99;
        EXPECT_EQ(viewer.player().getAudioTrackNo(selected), 0);
        EXPECT_EQ(selected, number);
        EXPECT_EQ(viewer.recorder().containerInfo().audio_selected, static_cast<int>(number));
    }

    static void refused(Viewer& viewer, om::om_error_e code, char const* command)
    {
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error) << command;
        EXPECT_EQ(error->code, static_cast<int>(code)) << command;
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), command);
    }
};

TEST_F(Tracks, theOtherSoundIsHeardWhileItPlays)
{
    for (char const* const name : {"multi.mkv", "multi.mp4", "chapters.mkv"})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media(name), om::OM_PREPARE_AUTO_START));
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
        EXPECT_TRUE(comesToSound(viewer, kFirst)) << name;
        choose(viewer, 1);
        EXPECT_TRUE(comesToSound(viewer, kSecond)) << name;
        choose(viewer, 0);
        EXPECT_TRUE(comesToSound(viewer, kFirst)) << name;
        EXPECT_EQ(viewer.state(), om::OM_STATE_PLAYING);
        EXPECT_TRUE(viewer.recorder().takePlayTime());
    }
}

TEST_F(Tracks, aSwitchWhilePausedKeepsPositionAndState)
{
    for (char const* const name : {"multi.mkv", "multi.mp4"})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media(name)));
        viewer.player().seek(5000, om::OM_SEEK_ACCURATE);
        ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
        choose(viewer, 1);
        EXPECT_EQ(viewer.state(), om::OM_STATE_PAUSED);
        EXPECT_EQ(viewer.position(), 5000) << name;
        Picture const picture = screenshot(viewer);
        EXPECT_EQ(picture.at(153, 90), kYellow) << name;
        viewer.player().resume();
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
        EXPECT_TRUE(comesToSound(viewer, kSecond)) << name;
        viewer.player().stop();
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
        for (Note const& note : viewer.recorder().notes())
        {
            EXPECT_NE(note.kind, Note::Kind::error);
        }
    }
}

TEST_F(Tracks, whatStandsIsSwitchedAtAnySpeedAndNearTheEnd)
{
    struct Case
    {
        om::om_play_speed_e speed;
        long long position;
    };
    for (Case const& each : {Case{om::OM_PLAY_SPEED_8X, 8'000}, Case{om::OM_PLAY_SPEED_2X, 9'500},
                             Case{om::OM_PLAY_SPEED_NORMAL, 9'950}, Case{om::OM_PLAY_SPEED_BACKWARD_8X, 3'000}})
    {
        SCOPED_TRACE(each.position);
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media("multi.mp4")));
        viewer.player().speed(each.speed, 0);
        viewer.player().seek(each.position, om::OM_SEEK_ACCURATE);
        ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
        choose(viewer, 1);
        EXPECT_EQ(viewer.state(), om::OM_STATE_PAUSED);
        EXPECT_NEAR(static_cast<double>(viewer.position()), static_cast<double>(each.position), 50);
        om::om_play_speed_e speed = om::OM_PLAY_SPEED_HALF;
        EXPECT_EQ(viewer.player().getSpeed(speed), 0);
        EXPECT_EQ(speed, each.speed);
        viewer.player().start(0);
        EXPECT_TRUE(comesToSound(viewer, kSecond));
    }
}

TEST_F(Tracks, aSwitchThatMeetsTheEndIsRefusedForThat)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mp4")));
    viewer.player().start(9'900);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    viewer.player().setAudioTrackNo(1);
    refused(viewer, om::OM_ERROR_BAD_STATE, "setAudioTrackNo");
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    viewer.player().start(0);
    EXPECT_TRUE(comesToSound(viewer, kFirst));
    choose(viewer, 1);
    EXPECT_TRUE(comesToSound(viewer, kSecond));
}

TEST_F(Tracks, speedIsKept)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mkv"), om::OM_PREPARE_AUTO_START));
    viewer.player().speed(om::OM_PLAY_SPEED_2X, 0);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SPEED_CHANGED));
    choose(viewer, 1);
    EXPECT_THAT(speedUpToTheEnd(viewer.recorder()), AllOf(Gt(1.25), Lt(3.5)));
}

TEST_F(Tracks, aNewOpeningBeginsWithTheFirstTrack)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mkv")));
    choose(viewer, 1);
    viewer.player().setSubtitleTrackNo(1);
    ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, 1));
    viewer.player().stop();
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_EQ(viewer.recorder().containerInfo().audio_selected, 0);
    EXPECT_EQ(viewer.recorder().containerInfo().text_selected, -1);
    EXPECT_TRUE(comesToSound(viewer, kFirst));
    unsigned int number = 5;
    EXPECT_EQ(viewer.player().getSubtitleTrackNo(number), 0);
    EXPECT_EQ(number, om::OM_TRACK_NONE);
}

TEST_F(Tracks, whatIsChosenAlreadyIsToldOnceMore)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    choose(viewer, 0);
    viewer.player().setSubtitleTrackNo(om::OM_TRACK_NONE);
    EXPECT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, -1));
}

TEST_F(Tracks, aNumberOutsideOfTheListIsRefused)
{
    Viewer viewer;
    viewer.player().setAudioTrackNo(0);
    refused(viewer, om::OM_ERROR_BAD_STATE, "setAudioTrackNo");
    unsigned int number = 0;
    EXPECT_LT(viewer.player().getSubtitleTrackNo(number), 0);
    ASSERT_TRUE(viewer.open(media("multi.mkv")));
    for (unsigned int const wrong : {2U, 18U, 0x80000000U, om::OM_TRACK_NONE})
    {
        viewer.player().setAudioTrackNo(wrong);
        refused(viewer, om::OM_ERROR_BAD_ARGUMENT, "setAudioTrackNo");
    }
    for (unsigned int const wrong : {2U, 20U, 0x80000000U, om::OM_TRACK_NONE - 1})
    {
        viewer.player().setSubtitleTrackNo(wrong);
        refused(viewer, om::OM_ERROR_BAD_ARGUMENT, "setSubtitleTrackNo");
    }
    EXPECT_EQ(viewer.recorder().containerInfo().audio_selected, 0);
}

TEST_F(Tracks, whatHasEndedPlaysNothingToSwitch)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mkv")));
    viewer.player().start(9500);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
    viewer.player().setAudioTrackNo(1);
    refused(viewer, om::OM_ERROR_BAD_STATE, "setAudioTrackNo");
}

TEST_F(Tracks, aServersTracksAreSwitchedAsWell)
{
    HttpServer server(ORVANE_E2E_MEDIA);
    for (char const* const name : {"plain/multi.mkv", "plain/multi.mp4"})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(server.uri(name)));
        viewer.player().seek(1500, om::OM_SEEK_ACCURATE);
        ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
        for (unsigned int const number : {0U, om::OM_TRACK_NONE}) // nothing is left of what was chosen once
        {
            viewer.player().setSubtitleTrackNo(number);
        }
        ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, -1));
        Picture const none = screenshot(viewer);
        auto const changesFrom = [&](Picture const& before)
        {
            return eventually(
                [&]
                {
                    Picture const now = screenshot(viewer);
                    int different = 0;
                    for (int y = 110; y < now.height(); ++y)
                    {
                        for (int x = 0; x < now.width(); ++x)
                        {
                            different += now.at(x, y) == before.at(x, y) ? 0 : 1;
                        }
                    }
                    return different > 5;
                });
        };
        viewer.player().setSubtitleTrackNo(0);
        ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, 0));
        EXPECT_TRUE(changesFrom(none)) << name;
        Picture const english = screenshot(viewer);
        viewer.player().setSubtitleTrackNo(1);
        ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, 1));
        EXPECT_EQ(viewer.position(), 1500) << name;
        EXPECT_TRUE(changesFrom(english)) << name;
        EXPECT_TRUE(changesFrom(none)) << name << ": nothing is shown";
        viewer.player().resume();
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
        choose(viewer, 1);
        EXPECT_TRUE(comesToSound(viewer, kSecond)) << name;
    }
}

TEST_F(Tracks, pushedTracksAreSwitchedWhileTheyPlay)
{
    Viewer viewer;
    std::ifstream file(media("multi.mkv"), std::ios::binary);
    std::string content;
    content.resize(400'000);
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(file.gcount()));
    viewer.prepare("pushed", om::OM_PREPARE_PUSH);
    viewer.player().pushData(content.data(), static_cast<unsigned int>(content.size()));
    EXPECT_EQ(viewer.command(om::OM_COMMAND_END_OF_DATA), 0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().setAudioTrackNo(1);
    refused(viewer, om::OM_ERROR_NOT_SUPPORTED, "setAudioTrackNo"); // it could not go back to where it stands
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    choose(viewer, 1);
    EXPECT_TRUE(comesToSound(viewer, kSecond));
}

TEST_F(Tracks, noHurryMakesItHang)
{
    for (char const* const name : {"multi.mkv", "multi.mp4"})
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media(name), om::OM_PREPARE_AUTO_START));
        std::mt19937 random(20231101);
        for (int count = 0; count < 40; ++count)
        {
            switch (random() % 6)
            {
            case 0:
                viewer.player().pause();
                break;
            case 1:
                viewer.player().resume();
                break;
            case 2:
                viewer.player().seek(static_cast<long long>(random() % 8000), om::OM_SEEK_ACCURATE);
                break;
            case 3:
                viewer.player().setSubtitleTrackNo(random() % 2);
                break;
            default:
                viewer.player().setAudioTrackNo(random() % 2);
                break;
            }
        }
        // Commands stay in order, so that the answer to the last one says that all were carried out.
        viewer.player().seek(3000, om::OM_SEEK_ACCURATE);
        viewer.player().setSubtitleTrackNo(om::OM_TRACK_NONE);
        ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, -1)) << name;
        for (Note const& note : viewer.recorder().notes())
        {
            bool const isRefusal = note.kind == Note::Kind::error && note.properties.count(om::OM_KEY_COMMAND) != 0;
            EXPECT_TRUE(note.kind != Note::Kind::error || isRefusal) << name << ": error " << note.code;
        }
        EXPECT_GE(viewer.state(), om::OM_STATE_PAUSED) << name;
    }
}

TEST_F(Tracks, aStopInTheMiddleOfASwitchIsCarriedOutAtOnce)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mkv"), om::OM_PREPARE_AUTO_START));
    for (unsigned int const number : {1U, 0U, 1U})
    {
        viewer.player().setAudioTrackNo(number);
        viewer.player().stop();
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
        viewer.player().start(2000);
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    }
    choose(viewer, 1);
    EXPECT_TRUE(comesToSound(viewer, kSecond));
}

} // namespace
} // namespace tz::orvane::test
