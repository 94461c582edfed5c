// SPDX-License-Identifier: Apache-2.0
// Decoded pictures that are handed over while the picture is held back for the sound.
#include "support/frame_keeper.h"

#include "orvane/om_enums.h"

namespace tz::orvane::test
{
namespace
{

class FrameDelay : public WithService
{
};

// Each picture stays for a second: one that is not held back itself comes when the one before is shown.
TEST_F(FrameDelay, holdsBackWhatIsHandedOverAsLongAsWhatIsShown)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    viewer.player().setExtraAudioAttribute(om::OM_AUDIO_ATTRIBUTE_DELAY, -2'000);
    ASSERT_TRUE(viewer.open(media("slow.mp4"), om::OM_PREPARE_AUTO_START,
                            {{om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_RGB}}));
    auto const frame = keeper.take([](KeptFrame const& kept) { return kept.pts() >= 2'000; });
    ASSERT_TRUE(frame);
    EXPECT_GE(viewer.position(), frame->pts() + 1'800);
}

} // namespace
} // namespace tz::orvane::test
