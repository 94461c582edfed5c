// SPDX-License-Identifier: Apache-2.0
// Data that the application brings itself: containers and elementary streams.
#include "support/feeders.h"
#include "support/tool_process.h"
#include "support/viewer.h"

#include "orvane/om_enums.h"

#include <gmock/gmock.h>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Ge;
using testing::Le;

class Push : public WithService
{
};

TEST_F(Push, aContainerOfKnownSizePlaysAndCanBeSought)
{
    Viewer viewer;
    ContainerFeeder feeder(viewer, media("v.mp4"), true);
    feeder.prepare();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    om::om_media_info_t const info = viewer.recorder().mediaInfo();
    EXPECT_EQ(info.video_codec, om::OM_VIDEO_CODEC_H264);
    EXPECT_THAT(info.duration, AllOf(Ge(10'000), Le(10'100)));
    EXPECT_GT(info.file_size, 50'000u);
    EXPECT_EQ(viewer.player().isSeekable(), 1);
    viewer.player().start(8'500);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_THAT(viewer.position(), AllOf(Ge(8'480), Le(info.duration)));
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    viewer.player().seek(2'520, om::OM_SEEK_DEFAULT);
    auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
    ASSERT_TRUE(done);
    EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(2'500), Le(2'560)));
    viewer.player().start(9'500);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Push, anIndexAtTheEndIsAskedFor)
{
    Viewer viewer;
    ContainerFeeder feeder(viewer, media("v_end.mp4"), true);
    feeder.prepare();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_THAT(viewer.recorder().mediaInfo().duration, AllOf(Ge(10'000), Le(10'100)));
    viewer.player().start(9'000);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Push, aStreamOfUnknownSizePlaysUntilItsEndIsAnnounced)
{
    Viewer viewer;
    ContainerFeeder feeder(viewer, media("short.ts"), false);
    feeder.prepare();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_EQ(viewer.player().isSeekable(), 0);
    viewer.player().seek(1'000, om::OM_SEEK_DEFAULT);
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "seek");
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(2'500), Le(4'000)));
}

TEST_F(Push, whatWasStoppedAsksForItsDataAgain)
{
    Viewer viewer;
    {
        ContainerFeeder feeder(viewer, media("v.mp4"), true);
        feeder.prepare();
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    }
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    ContainerFeeder again(viewer, media("v.mp4"), true);
    viewer.player().start(9'000);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Push, dataBeyondTheBoundAreRefusedAndCanBePushedLater)
{
    Viewer viewer;
    std::string const bytes = fileContent(media("v.mp4"));
    std::string const block(1u << 20, '\0');
    viewer.prepare("pushed", om::OM_PREPARE_PUSH, {{om::OM_PREPARE_KEY_SIZE, std::to_string(std::size_t{1} << 30)}});
    viewer.player().pushData(bytes.data(), static_cast<unsigned int>(bytes.size()));
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    for (int count = 0; count < 80; ++count)
    {
        viewer.player().pushData(block.data(), static_cast<unsigned int>(block.size()));
    }
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_LIMIT);
    EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "pushData");
    EXPECT_EQ(viewer.command(om::OM_COMMAND_PUSH_FROM, {{om::OM_KEY_OFFSET, "1"}}), -1);
    EXPECT_EQ(viewer.command(om::OM_COMMAND_PUSH_FROM, {{om::OM_KEY_OFFSET, error->properties.at(om::OM_KEY_OFFSET)}}),
              0);
    EXPECT_EQ(viewer.state(), om::OM_STATE_PAUSED);
}

TEST_F(Push, elementaryStreamsPlayAndCanBeSought)
{
    Viewer viewer;
    StreamFeeder feeder(viewer);
    ASSERT_EQ(feeder.pictures(), 250u);
    feeder.open();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    om::om_media_info_t const info = viewer.recorder().mediaInfo();
    EXPECT_EQ(info.video_codec, om::OM_VIDEO_CODEC_H264);
    EXPECT_EQ(info.audio_codec, om::OM_AUDIO_CODEC_AAC_LC);
    EXPECT_EQ(info.resolution.width, 320);
    EXPECT_EQ(info.sample_rate, 48'000);
    EXPECT_EQ(info.duration, -1);
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    viewer.player().seek(8'520, om::OM_SEEK_DEFAULT);
    auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
    ASSERT_TRUE(done);
    EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(8'500), Le(9'000)));
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(9'900), Le(10'200)));
    viewer.player().seek(1'000, om::OM_SEEK_DEFAULT);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
}

TEST_F(Push, elementaryStreamsAreCheckedBeforeTheyAreOpened)
{
    Viewer viewer;
    om::om_es_format_t format{};
    format.codec = om::OM_VIDEO_CODEC_RV;
    auto const refusedWith = [&](om::om_error_e code)
    {
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, static_cast<int>(code));
    };
    viewer.player().openEsMedia(&format, sizeof format, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_UNSUPPORTED_CODEC);
    viewer.player().openEsMedia(&format, 5, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().openEsMedia(nullptr, 0, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().openEsMedia(&format, sizeof format, nullptr, 0, "junk", 4);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);

    om::om_es_unit_t unit{};
    unit.stream_type = om::OM_STREAM_TYPE_VIDEO;
    viewer.player().pushEsData("x", 1, &unit, sizeof unit, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_STATE);
    viewer.player().pushEsData("x", 1, &unit, 3, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().pushEsData("x", 1, &unit, sizeof unit, "key", 3, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);
}

} // namespace
} // namespace tz::orvane::test
