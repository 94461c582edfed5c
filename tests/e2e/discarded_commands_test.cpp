// SPDX-License-Identifier: Apache-2.0
// Commands that wait when their medium is left.
#include "support/viewer.h"

#include "orvane/om_enums.h"

#include <algorithm>

namespace tz::orvane::test
{
namespace
{

class DiscardedCommands : public WithService
{
};

TEST_F(DiscardedCommands, areNeverCarriedOutAndNothingIsToldOfThem)
{
    for (bool const stops : {true, false})
    {
        Viewer viewer;
        viewer.prepare("pushed", om::OM_PREPARE_PUSH); // opens for as long as nothing is pushed
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY, om::OM_ACT_OPENING));
        viewer.player().start(3'000);
        viewer.player().speed(om::OM_PLAY_SPEED_2X, 0);
        viewer.player().seek(5'000, om::OM_SEEK_ACCURATE);
        viewer.player().setAudioTrackNo(7);
        if (stops)
        {
            viewer.player().stop();
            ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
        }
        ASSERT_TRUE(viewer.open(media("v.mp4")));
        viewer.player().seek(2'000, om::OM_SEEK_ACCURATE);
        auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
        ASSERT_TRUE(done);
        EXPECT_EQ(done->number(om::OM_KEY_POSITION), 2'000);

        // Commands are carried out in order: what was sent before that seek would have been told by now.
        for (Note const& note : viewer.recorder().notes())
        {
            EXPECT_NE(note.kind, Note::Kind::error) << note.code;
            EXPECT_NE(note.kind, Note::Kind::track);
            bool const isEvent = note.kind == Note::Kind::event;
            EXPECT_FALSE(isEvent && note.code == om::OM_EVENT_SPEED_CHANGED);
            EXPECT_FALSE(isEvent && note.code == om::OM_EVENT_SEEK_DONE && note.at != done->at);
            EXPECT_FALSE(note.kind == Note::Kind::state && note.code == om::OM_STATE_PLAYING);
        }
    }
}

// Whoever waits for the end of a seek need not wait for longer than for the state behind it.
TEST_F(DiscardedCommands, thatAreUnderWayTellNothingBehindTheState)
{
    Viewer viewer;
    for (int round = 0; round < 10; ++round)
    {
        ASSERT_TRUE(viewer.open(media("v.mp4")));
        viewer.player().seek(5'000 + round, om::OM_SEEK_ACCURATE);
        viewer.player().seek(7'000 + round, om::OM_SEEK_ACCURATE);
        viewer.player().stop();
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
        viewer.player().stop();
        auto const next = viewer.recorder().take([](Note const& note) { return note.kind != Note::Kind::playTime; });
        ASSERT_TRUE(next);
        EXPECT_EQ(next->kind, Note::Kind::state) << round;
    }
}

} // namespace
} // namespace tz::orvane::test
