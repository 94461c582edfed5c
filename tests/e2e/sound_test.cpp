// SPDX-License-Identifier: Apache-2.0
// What is heard: volume, mute, sides, delay.
#include "support/answers.h"
#include "support/feeders.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Ge;
using testing::Lt;

constexpr double kTone = -24.1; ///< of v.mp4
constexpr double kHalf = -18.1; ///< what half the volume takes away
constexpr double kSilence = -700.0;
constexpr double kSide = -23.0; ///< of sides.mkv
constexpr char const* kLeft = om::OM_STATISTIC_AUDIO_LEVEL_LEFT;
constexpr char const* kRight = om::OM_STATISTIC_AUDIO_LEVEL_RIGHT;

class Sound : public WithService
{
};

TEST_F(Sound, halfTheVolumeIsAnEighthOfTheAmplitude)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    EXPECT_TRUE(soundsLike(viewer, kTone));
    viewer.player().setVolume(50);
    EXPECT_TRUE(soundsLike(viewer, kTone + kHalf));
    viewer.player().setVolume(0);
    EXPECT_TRUE(soundsLike(viewer, kSilence));
    viewer.player().setVolume(100);
    EXPECT_TRUE(soundsLike(viewer, kTone));
    viewer.player().setVolume(101);
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "setVolume");
    EXPECT_TRUE(soundsLike(viewer, kTone));
}

TEST_F(Sound, aMuteSilencesAndKeepsTheVolume)
{
    Viewer viewer;
    viewer.player().setVolume(50);
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    EXPECT_TRUE(soundsLike(viewer, kTone + kHalf));
    viewer.player().setAudioMute(1);
    EXPECT_TRUE(soundsLike(viewer, kSilence));
    viewer.player().setAudioMute(0);
    EXPECT_TRUE(soundsLike(viewer, kTone + kHalf));
    viewer.player().pause();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_EQ(statistic(viewer, om::OM_STATISTIC_AUDIO_LEVEL), kSilence);
}

TEST_F(Sound, volumeAndMuteOutliveTheMedium)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    viewer.player().setVolume(50);
    EXPECT_TRUE(soundsLike(viewer, kTone + kHalf));
    ASSERT_TRUE(viewer.open(media("v.mkv"), om::OM_PREPARE_AUTO_START));
    EXPECT_TRUE(soundsLike(viewer, kTone + kHalf));
    viewer.player().setAudioMute(1);
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    ASSERT_TRUE(eventually([&] { return viewer.position() > 1'000; }));
    EXPECT_EQ(statistic(viewer, om::OM_STATISTIC_AUDIO_LEVEL), kSilence);
}

TEST_F(Sound, volumeHoldsForPushedContainers)
{
    Viewer viewer;
    ContainerFeeder feeder(viewer, media("v.mp4"), true);
    viewer.player().setVolume(50);
    feeder.prepare();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    EXPECT_TRUE(soundsLike(viewer, kTone + kHalf));
    viewer.player().setAudioMute(1);
    EXPECT_TRUE(soundsLike(viewer, kSilence));
}

TEST_F(Sound, volumeAndSidesHoldForElementaryStreams)
{
    Viewer viewer;
    StreamFeeder feeder(viewer);
    viewer.player().setVolume(50);
    feeder.open();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    EXPECT_TRUE(soundsLike(viewer, kTone + kHalf));
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_BALANCE, 100);
    EXPECT_TRUE(soundsLike(viewer, kSilence, kLeft));
    EXPECT_TRUE(soundsLike(viewer, kTone + kHalf, kRight));
    viewer.player().setAudioMute(1);
    EXPECT_TRUE(soundsLike(viewer, kSilence));
}

TEST_F(Sound, theBalanceTakesFromTheOtherSide)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    EXPECT_TRUE(soundsLike(viewer, kTone, kRight));
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_BALANCE, -100);
    EXPECT_TRUE(soundsLike(viewer, kSilence, kRight));
    EXPECT_TRUE(soundsLike(viewer, kTone, kLeft));
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_BALANCE, 50);
    EXPECT_TRUE(soundsLike(viewer, kTone - 6, kLeft));
    EXPECT_TRUE(soundsLike(viewer, kTone, kRight));
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_BALANCE, 0);
    EXPECT_TRUE(soundsLike(viewer, kTone, kLeft));
    EXPECT_TRUE(soundsLike(viewer, kTone, kRight));
}

TEST_F(Sound, oneChannelIsGivenTwoSidesAsLongAsTheyDiffer)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("a.mp3"), om::OM_PREPARE_AUTO_START));
    EXPECT_TRUE(eventually([&] { return statistic(viewer, om::OM_STATISTIC_AUDIO_CHANNELS) == 1; }));
    EXPECT_EQ(statistic(viewer, om::OM_STATISTIC_AUDIO_RATE), 44'100);
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_BALANCE, 100);
    EXPECT_TRUE(eventually([&] { return statistic(viewer, om::OM_STATISTIC_AUDIO_CHANNELS) == 2; }));
    EXPECT_TRUE(soundsLike(viewer, kSilence, kLeft));
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_BALANCE, 0);
    EXPECT_TRUE(eventually([&] { return statistic(viewer, om::OM_STATISTIC_AUDIO_CHANNELS) == 1; }));
}

TEST_F(Sound, aChannelCanBeHeardOnBothSides)
{
    struct Case
    {
        om::om_channel_mode_e mode;
        double left;
        double right;
    };
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("sides.mkv")));
    for (Case const& each :
         {Case{om::OM_CHANNEL_MODE_LEFT, kSide, kSide}, Case{om::OM_CHANNEL_MODE_MONO, kSide - 6, kSide - 6},
          Case{om::OM_CHANNEL_MODE_RIGHT, kSilence, kSilence}, Case{om::OM_CHANNEL_MODE_STEREO, kSide, kSilence}})
    {
        SCOPED_TRACE(each.mode);
        viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_CHANNEL_MODE, each.mode);
        viewer.player().start(0);
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
        EXPECT_TRUE(soundsLike(viewer, each.left, kLeft));
        EXPECT_TRUE(soundsLike(viewer, each.right, kRight));
        EXPECT_LT(viewer.position(), 4'000);
    }
}

TEST_F(Sound, attributesOutliveTheMedium)
{
    Viewer viewer;
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_CHANNEL_MODE, om::OM_CHANNEL_MODE_LEFT);
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_BALANCE, -50);
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    EXPECT_TRUE(soundsLike(viewer, kTone - 6, kRight));
    ASSERT_TRUE(viewer.open(media("sides.mkv"), om::OM_PREPARE_AUTO_START));
    EXPECT_TRUE(soundsLike(viewer, kSide, kLeft));
    EXPECT_TRUE(soundsLike(viewer, kSide - 6, kRight));
    EXPECT_LT(viewer.position(), 4'000);
}

TEST_F(Sound, unknownAttributesAndValuesAreRefused)
{
    Viewer viewer;
    for (auto const& [attribute, value] :
         {std::pair{0, 0}, std::pair{4, 0}, std::pair{1, 101}, std::pair{1, -101}, std::pair{2, 4}, std::pair{2, -1},
          std::pair{3, 2'001}, std::pair{3, -2'001}})
    {
        SCOPED_TRACE(attribute);
        viewer.player().setExtraAudioAttribute(attribute, value);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, om::OM_ERROR_BAD_ARGUMENT);
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "setExtraAudioAttribute");
    }
}

/// @return the position at which the right side of sides.mkv is heard first
long long rightSideBegins(Viewer& viewer)
{
    viewer.player().start(1'500);
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_TRUE(soundsLike(viewer, kSilence, kRight));
    EXPECT_TRUE(soundsLike(viewer, kSide, kRight));
    return viewer.position();
}

TEST_F(Sound, aDelayHoldsTheSoundBack)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("sides.mkv")));
    EXPECT_THAT(rightSideBegins(viewer), AllOf(Ge(3'900), Lt(5'400)));
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_DELAY, 1'500);
    EXPECT_GE(rightSideBegins(viewer), 5'400);
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_DELAY, 0);
    EXPECT_THAT(rightSideBegins(viewer), AllOf(Ge(3'900), Lt(5'400)));
}

TEST_F(Sound, aDelayHoldsForElementaryStreams)
{
    Viewer viewer;
    StreamFeeder feeder(viewer);
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_DELAY, 1'500);
    feeder.open();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    EXPECT_TRUE(soundsLike(viewer, kTone));
    EXPECT_GE(viewer.position(), 1'400);
}

/// The picture is two seconds behind the sound, and the position is the sound's.
void expectHeldBack(Viewer& viewer)
{
    constexpr double kInterval = 40; // of pictures
    double const decoded = statistic(viewer, om::OM_STATISTIC_FRAMES_DECODED);
    EXPECT_LE(decoded, std::max(0.0, static_cast<double>(viewer.position() - 2'000) / kInterval) + 5);
}

TEST_F(Sound, aNegativeDelayHoldsThePictureOfElementaryStreamsBack)
{
    Viewer viewer;
    StreamFeeder feeder(viewer);
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_DELAY, -2'000);
    feeder.open();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    EXPECT_TRUE(soundsLike(viewer, kTone));
    ASSERT_TRUE(eventually([&] { return viewer.position() > 500; }));
    expectHeldBack(viewer);
    EXPECT_TRUE(eventually([&] { return statistic(viewer, om::OM_STATISTIC_FRAMES_DECODED) > 20; }));
}

TEST_F(Sound, aNegativeDelayHoldsThePictureBack)
{
    Viewer viewer;
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_DELAY, -2'000);
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    EXPECT_TRUE(soundsLike(viewer, kTone));
    ASSERT_TRUE(eventually([&] { return viewer.position() > 500; }));
    expectHeldBack(viewer);
    EXPECT_TRUE(eventually([&] { return statistic(viewer, om::OM_STATISTIC_FRAMES_DECODED) > 20; }));
}

} // namespace
} // namespace tz::orvane::test
