// SPDX-License-Identifier: Apache-2.0
// Commands of all kinds in any order and at any moment: whatever came before, what comes last holds.
#include "support/viewer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>
#include <thread>

namespace tz::orvane::test
{
namespace
{

/// Speeds that no other step asks for, which tell that all commands in front of them were carried out.
constexpr auto kLast = static_cast<om::om_play_speed_e>(24);

class Interleavings : public WithService, public testing::WithParamInterface<unsigned int>
{
protected:
    Interleavings()
        : m_random(GetParam())
    {
    }

    /// @return one of 0 to `count` - 1
    int any(int count) { return static_cast<int>(m_random() % static_cast<unsigned int>(count)); }

    template <class T, std::size_t count> T oneOf(T const (&values)[count])
    {
        return values[any(static_cast<int>(count))];
    }

    void doAnything(om::OmIMediaPlayer& player)
    {
        constexpr int kSeeks[] = {om::OM_SEEK_DEFAULT, om::OM_SEEK_ACCURATE, om::OM_SEEK_KEY_UNIT};
        constexpr om::om_play_speed_e kSpeeds[] = {om::OM_PLAY_SPEED_HALF,        om::OM_PLAY_SPEED_NORMAL,
                                                   om::OM_PLAY_SPEED_2X,          om::OM_PLAY_SPEED_8X,
                                                   om::OM_PLAY_SPEED_BACKWARD_1X, om::OM_PLAY_SPEED_BACKWARD_8X};
        constexpr unsigned int kTexts[] = {0, 1, om::OM_TRACK_NONE};
        switch (any(9))
        {
        case 0:
            player.seek(any(12'000), oneOf(kSeeks));
            break;
        case 1:
            player.seek(9'700 + any(400), om::OM_SEEK_ACCURATE);
            break;
        case 2:
            player.speed(oneOf(kSpeeds), 0);
            break;
        case 3:
            player.pause();
            break;
        case 4:
            player.resume();
            break;
        case 5:
            player.setAudioTrackNo(static_cast<unsigned int>(any(2)));
            break;
        case 6:
            player.setSubtitleTrackNo(oneOf(kTexts));
            break;
        case 7:
            player.start(any(3) > 0 ? -1 : any(9'000));
            break;
        default:
            any(3) > 0 ? static_cast<void>(player.setVolume(any(100))) : static_cast<void>(player.stop());
            break;
        }
    }

private:
    std::mt19937 m_random;
};

TEST_P(Interleavings, leaveAPlayerThatDoesWhatItIsTold)
{
    static constexpr char const* kMedia[] = {"multi.mkv", "multi.mp4", "v.mp4", "a.mp3"};
    Viewer viewer;
    om::OmIMediaPlayer& player = viewer.player();
    for (char const* const name : kMedia)
    {
        SCOPED_TRACE(name);
        ASSERT_TRUE(viewer.open(media(name), any(2) == 0 ? om::OM_PREPARE_DEFAULT : om::OM_PREPARE_AUTO_START));
        for (int step = 0; step < 25; ++step)
        {
            doAnything(player);
            if (any(3) == 0)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(any(any(4) == 0 ? 600 : 60)));
            }
        }
        player.start(0);
        player.pause();
        player.seek(2'000, om::OM_SEEK_ACCURATE);
        player.speed(kLast, 0);
        auto const isLast = [](Note const& note)
        {
            return note.kind == Note::Kind::event && note.code == static_cast<int>(om::OM_EVENT_SPEED_CHANGED) &&
                   note.number(om::OM_KEY_SPEED) == kLast;
        };
        ASSERT_TRUE(viewer.recorder().take(isLast));
        EXPECT_EQ(viewer.state(), om::OM_STATE_PAUSED);
        EXPECT_NEAR(static_cast<double>(viewer.position()), 2'000, 60);
    }
}

INSTANTIATE_TEST_SUITE_P(Seed, Interleavings, testing::Range(1U, 9U));

} // namespace
} // namespace tz::orvane::test
