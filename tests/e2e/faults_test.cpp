// SPDX-License-Identifier: Apache-2.0
// Media that cannot be played: each with an error that an application can act on.
#include "support/viewer.h"

#include <gmock/gmock.h>

namespace tz::orvane::test
{
namespace
{

class Faults : public WithService
{
};

TEST_F(Faults, eachHasACodeOfItsOwn)
{
    struct Case
    {
        std::string uri;
        om::om_error_e code;
    };
    Viewer viewer;
    for (Case const& each :
         {Case{"/no/such/file.mp4", om::OM_ERROR_NOT_FOUND}, Case{"file:///no/such/file.mp4", om::OM_ERROR_NOT_FOUND},
          Case{"gopher://host/file.mp4", om::OM_ERROR_UNKNOWN_SCHEME}, Case{"fd://0", om::OM_ERROR_UNKNOWN_SCHEME},
          Case{media("garbage.mp4"), om::OM_ERROR_UNSUPPORTED_FORMAT},
          Case{media("empty.mp4"), om::OM_ERROR_UNSUPPORTED_FORMAT},
          Case{media("text.txt"), om::OM_ERROR_UNSUPPORTED_FORMAT},
          Case{media("no_index.mp4"), om::OM_ERROR_BROKEN_FILE},
          Case{media("badcodec_only.mp4"), om::OM_ERROR_UNSUPPORTED_CODEC}})
    {
        SCOPED_TRACE(each.uri);
        viewer.prepare(each.uri);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, static_cast<int>(each.code)) << error->properties.at(om::OM_KEY_TEXT);
        EXPECT_EQ(error->properties.count(om::OM_KEY_COMMAND), 0u);
        EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_NULL));
        EXPECT_EQ(viewer.state(), om::OM_STATE_NULL);
    }
    EXPECT_TRUE(viewer.open(media("v.mp4"))) << "a player that failed opens the next medium";
}

TEST_F(Faults, theCodecThatIsMissingIsNamed)
{
    Viewer viewer;
    viewer.prepare(media("badcodec_only.mp4"));
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_THAT(error->properties, testing::Contains(testing::Key(om::OM_KEY_CODEC)));
}

TEST_F(Faults, soundGoesOnWithoutAPictureThatCannotBeDecoded)
{
    Viewer viewer;
    viewer.prepare(media("badcodec.mp4"));
    auto const warning = viewer.recorder().takeEvent(om::OM_EVENT_WARNING);
    ASSERT_TRUE(warning);
    EXPECT_EQ(warning->number(om::OM_KEY_CODE), om::OM_ERROR_UNSUPPORTED_CODEC);
    EXPECT_FALSE(warning->properties.at(om::OM_KEY_CODEC).empty());
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_EQ(viewer.recorder().mediaInfo().audio_codec, om::OM_AUDIO_CODEC_AAC_LC);
    viewer.player().start(9'000);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Faults, oneErrorIsReportedForOneFault)
{
    Viewer viewer;
    viewer.prepare("/no/such/file.mp4");
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_NULL));
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    int errors = 0;
    for (Note const& note : viewer.recorder().notes())
    {
        errors += note.kind == Note::Kind::error ? 1 : 0;
    }
    EXPECT_EQ(errors, 1);
}

} // namespace
} // namespace tz::orvane::test
