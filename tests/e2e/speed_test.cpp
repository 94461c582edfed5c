// SPDX-License-Identifier: Apache-2.0
// Faster, slower and backwards, measured against the clock.
#include "support/answers.h"
#include "support/feeders.h"
#include "support/http_server.h"
#include "support/wait.h"

#include "orvane/om_enums.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>

namespace tz::orvane::test
{
namespace
{

using std::chrono::milliseconds;

constexpr double kTone = -24.1; ///< of v.mp4
constexpr double kSilence = -700.0;

constexpr om::om_play_speed_e kForward[] = {om::OM_PLAY_SPEED_HALF, om::OM_PLAY_SPEED_2X, om::OM_PLAY_SPEED_4X,
                                            om::OM_PLAY_SPEED_8X};
constexpr om::om_play_speed_e kBackward[] = {om::OM_PLAY_SPEED_BACKWARD_1X, om::OM_PLAY_SPEED_BACKWARD_2X,
                                             om::OM_PLAY_SPEED_BACKWARD_4X, om::OM_PLAY_SPEED_BACKWARD_8X};

class Speed : public WithService
{
};

class SpeedOf : public WithService, public testing::WithParamInterface<char const*>
{
};

bool takeSpeed(Viewer& viewer, om::om_play_speed_e speed)
{
    viewer.player().speed(speed, 0);
    auto const changed = viewer.recorder().takeEvent(om::OM_EVENT_SPEED_CHANGED);
    return changed && changed->number(om::OM_KEY_SPEED) == speed;
}

/// Plays up to three seconds at a speed, up to the end of the medium or back to its beginning.
void playToTheEnd(Viewer& viewer, om::om_play_speed_e speed)
{
    SCOPED_TRACE(speed);
    long long const duration = viewer.recorder().mediaInfo().duration;
    double const times = std::abs(static_cast<double>(speed)) / om::OM_PLAY_SPEED_NORMAL;
    long long const way = std::min(duration, static_cast<long long>(3'000 * times));
    viewer.player().pause();
    viewer.player().seek(speed > 0 ? duration - way : way, om::OM_SEEK_DEFAULT);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
    ASSERT_TRUE(takeSpeed(viewer, speed));
    viewer.player().resume();
    auto const playing = viewer.recorder().takeState(om::OM_STATE_PLAYING);
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(playing && end);
    auto const took = std::chrono::duration_cast<milliseconds>(end->at - playing->at).count();
    auto const expected = static_cast<long long>(static_cast<double>(way) / times);
    // Bounds that the usual speed does not keep, where there is room for a busy machine in between.
    if (times < 1)
    {
        EXPECT_GT(took, way * 5 / 4);
    }
    else if (expected >= 1'000)
    {
        EXPECT_GE(took, expected / 2);
    }
    if (way - expected >= 2'000)
    {
        EXPECT_LT(took, way * 9 / 10);
    }
    EXPECT_EQ(end->number(om::OM_KEY_POSITION), speed > 0 ? duration : 0);
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
}

TEST_P(SpeedOf, forwardIsKept)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media(GetParam())));
    EXPECT_EQ(viewer.player().isSpeedable(), 1);
    for (om::om_play_speed_e const speed : kForward)
    {
        ASSERT_NO_FATAL_FAILURE(playToTheEnd(viewer, speed));
    }
}

INSTANTIATE_TEST_SUITE_P(Media, SpeedOf,
                         testing::Values("v.mp4", "v.mkv", "v.webm", "v.ts", "a.mp3", "a.flac", "a.ogg", "a.wav"));

class SpeedBackOf : public SpeedOf
{
};

TEST_P(SpeedBackOf, backwardIsKept)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media(GetParam())));
    for (om::om_play_speed_e const speed : kBackward)
    {
        ASSERT_NO_FATAL_FAILURE(playToTheEnd(viewer, speed));
    }
}

/// @return the first of the reported positions that is behind another one
long long positionBehind(Viewer& viewer, long long position)
{
    auto const note = viewer.recorder().take([position](Note const& each)
                                             { return each.kind == Note::Kind::playTime && each.value > position; });
    return note ? note->value : -1;
}

TEST_P(SpeedBackOf, forwardAgainItGoesOnBeyondWhereItTurned)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media(GetParam())));
    viewer.player().seek(1'000, om::OM_SEEK_DEFAULT);
    ASSERT_TRUE(takeSpeed(viewer, om::OM_PLAY_SPEED_BACKWARD_1X));
    viewer.player().resume();
    ASSERT_TRUE(eventually([&] { return viewer.position() < 900; }));
    ASSERT_TRUE(takeSpeed(viewer, om::OM_PLAY_SPEED_NORMAL));
    long long const duration = viewer.recorder().mediaInfo().duration;
    EXPECT_LT(positionBehind(viewer, 1'100), duration) << "it has not ended there";
    viewer.player().pause();
    viewer.player().seek(duration - 200, om::OM_SEEK_DEFAULT);
    auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
    ASSERT_TRUE(done);
    EXPECT_GE(done->number(om::OM_KEY_POSITION), duration - 300);
}

TEST_P(SpeedBackOf, fromItsBeginningItStartsAnew)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media(GetParam())));
    viewer.player().seek(300, om::OM_SEEK_DEFAULT);
    ASSERT_TRUE(takeSpeed(viewer, om::OM_PLAY_SPEED_BACKWARD_1X));
    viewer.player().resume();
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    viewer.player().start(-1);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_LT(positionBehind(viewer, 400), viewer.recorder().mediaInfo().duration) << "it has not ended there";
}

INSTANTIATE_TEST_SUITE_P(Media, SpeedBackOf, testing::Values("v.mp4", "v.mkv", "v.webm", "a.mp3", "a.flac", "a.ogg"));

/// @return whether it is refused as something that the medium cannot do, and the speed stays normal
bool cannotGoBack(Viewer& viewer)
{
    viewer.player().speed(om::OM_PLAY_SPEED_BACKWARD_1X, 0);
    auto const error = viewer.recorder().takeError();
    om::om_play_speed_e speed = om::OM_PLAY_SPEED_8X;
    viewer.player().getSpeed(speed);
    return error && error->code == om::OM_ERROR_NOT_SUPPORTED && speed == om::OM_PLAY_SPEED_NORMAL &&
           error->properties.at(om::OM_KEY_COMMAND) == "speed";
}

TEST_F(Speed, aTransportStreamDoesNotGoBackAndPlaysOn)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.ts")));
    viewer.player().start(5'000);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_TRUE(cannotGoBack(viewer));
    EXPECT_TRUE(soundsLike(viewer, kTone));
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Speed, plainSamplesDoNotGoBack)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("a.wav")));
    EXPECT_TRUE(cannotGoBack(viewer));
    playToTheEnd(viewer, om::OM_PLAY_SPEED_2X);
}

TEST_F(Speed, aRefusedSpeedDoesNotHideTheEnd)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.ts")));
    for (int round = 0; round < 3; ++round)
    {
        viewer.player().start(9'700);
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
        viewer.player().speed(om::OM_PLAY_SPEED_BACKWARD_1X, 0);
        bool ended = false;
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!ended && std::chrono::steady_clock::now() < deadline)
        {
            // At every moment one is under way or waits.
            viewer.player().speed(om::OM_PLAY_SPEED_BACKWARD_1X, 0);
            auto const note = viewer.recorder().take(
                [](Note const& each)
                {
                    return each.kind == Note::Kind::error ||
                           (each.kind == Note::Kind::event &&
                            each.code == static_cast<int>(om::OM_EVENT_END_OF_STREAM));
                });
            ended = note && note->kind == Note::Kind::event;
        }
        EXPECT_TRUE(ended);
    }
}

TEST_F(Speed, pushedMediaGoForward)
{
    Viewer viewer;
    ContainerFeeder feeder(viewer, media("v.mp4"), true);
    feeder.prepare();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_EQ(viewer.player().isSpeedable(), 1);
    EXPECT_TRUE(cannotGoBack(viewer));
    playToTheEnd(viewer, om::OM_PLAY_SPEED_4X);
}

TEST_F(Speed, elementaryStreamsGoForward)
{
    Viewer viewer;
    StreamFeeder feeder(viewer);
    feeder.open();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_EQ(viewer.player().isSpeedable(), 1);
    EXPECT_TRUE(cannotGoBack(viewer));
    ASSERT_TRUE(takeSpeed(viewer, om::OM_PLAY_SPEED_4X));
    viewer.player().resume();
    auto const playing = viewer.recorder().takeState(om::OM_STATE_PLAYING);
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(playing && end);
    EXPECT_LT(end->at - playing->at, milliseconds(9'000)) << "at the usual speed it takes ten seconds";
}

TEST_F(Speed, whatComesFromAServerGoesForward)
{
    HttpServer server(media(""));
    Viewer viewer;
    ASSERT_TRUE(viewer.open(server.uri("plain/v.mp4")));
    EXPECT_EQ(viewer.player().isSpeedable(), 1);
    EXPECT_TRUE(cannotGoBack(viewer));
    playToTheEnd(viewer, om::OM_PLAY_SPEED_2X);
    ASSERT_TRUE(viewer.open(server.uri("norange/v.mp4")));
    EXPECT_EQ(viewer.player().isSpeedable(), 0);
    viewer.player().speed(om::OM_PLAY_SPEED_2X, 0);
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_NOT_SUPPORTED);
}

TEST_F(Speed, soundIsHeardUpToTwiceTheSpeedAndForwardOnly)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    for (auto const& [speed, level] :
         {std::pair{om::OM_PLAY_SPEED_HALF, kTone}, std::pair{om::OM_PLAY_SPEED_2X, kTone},
          std::pair{om::OM_PLAY_SPEED_4X, kSilence}, std::pair{om::OM_PLAY_SPEED_BACKWARD_1X, kSilence}})
    {
        SCOPED_TRACE(speed);
        viewer.player().seek(4'000, om::OM_SEEK_DEFAULT);
        ASSERT_TRUE(takeSpeed(viewer, speed));
        ASSERT_TRUE(viewer.recorder().takePlayTime());
        EXPECT_TRUE(soundsLike(viewer, level));
    }
    viewer.player().start(0);
    EXPECT_TRUE(soundsLike(viewer, kTone));
}

TEST_F(Speed, theSpeedOutlivesASeekAndAPause)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    ASSERT_TRUE(takeSpeed(viewer, om::OM_PLAY_SPEED_4X));
    viewer.player().pause();
    viewer.player().seek(2'000, om::OM_SEEK_DEFAULT);
    viewer.player().resume();
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
    auto const playing = viewer.recorder().takeState(om::OM_STATE_PLAYING);
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(playing && end);
    EXPECT_GE(end->at - playing->at, milliseconds(1'400));
    EXPECT_LT(end->at - playing->at, milliseconds(7'500)) << "at the usual speed it takes eight seconds";
}

TEST_F(Speed, wrongArgumentsAreRefused)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    for (auto const& [speed, param] : {std::pair{0, 0}, std::pair{129, 0}, std::pair{-129, 0}, std::pair{32, 1}})
    {
        SCOPED_TRACE(speed);
        viewer.player().speed(static_cast<om::om_play_speed_e>(speed), param);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, om::OM_ERROR_BAD_ARGUMENT);
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "speed");
    }
    om::om_play_speed_e speed = om::OM_PLAY_SPEED_8X;
    viewer.player().getSpeed(speed);
    EXPECT_EQ(speed, om::OM_PLAY_SPEED_NORMAL);
}

} // namespace
} // namespace tz::orvane::test
