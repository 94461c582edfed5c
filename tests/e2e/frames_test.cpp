// SPDX-License-Identifier: Apache-2.0
// Decoded pictures that are handed to the application.
#include "support/elementary_streams.h"
#include "support/frame_keeper.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include "orvane/om_enums.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Ge;
using testing::Le;

Viewer::Options const kRgb = {{om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_RGB}};

class Frames : public WithService
{
};

TEST_F(Frames, showTheMediumAtTheTimeThatTheyTell)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, kRgb));
    int before = -1;
    for (int sequence = 1; before < 1'500; ++sequence)
    {
        auto const frame = keeper.take();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->request, 0u);
        EXPECT_EQ(frame->properties.at(om::OM_FRAME_KEY_FORMAT), om::OM_FRAME_FORMAT_RGB);
        EXPECT_EQ(frame->properties.at(om::OM_FRAME_KEY_PAR), "1:1");
        EXPECT_EQ(frame->width(), 320);
        EXPECT_EQ(frame->height(), 180);
        EXPECT_EQ(frame->stride(), 960);
        EXPECT_EQ(frame->bytes.size(), 960u * 180);
        EXPECT_EQ(frame->sequence(), sequence);
        EXPECT_GT(frame->pts(), before) << "no picture comes twice";
        before = frame->pts();
        expectTestPicture(*frame);
    }
    EXPECT_GE(viewer.position(), 1'400);
}

TEST_F(Frames, comeInTheFormatThatWasAskedFor)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_DEFAULT,
                            {{om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_RGBA}}));
    auto const rgba = keeper.take();
    ASSERT_TRUE(rgba);
    EXPECT_EQ(rgba->properties.at(om::OM_FRAME_KEY_FORMAT), om::OM_FRAME_FORMAT_RGBA);
    EXPECT_EQ(rgba->stride(), 1280);
    EXPECT_EQ(rgba->bytes.size(), 1280u * 180);
    EXPECT_EQ(rgba->byteAt(3), 255) << "opaque";
    expectTestPicture(*rgba);

    // A width that makes rows end between the places where they may begin, and an odd height.
    ASSERT_TRUE(viewer.open(
        media("v.mp4"), om::OM_PREPARE_DEFAULT,
        {{om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_I420}, {om::OM_PREPARE_KEY_FRAME_INFO_SIZE, "300x169"}}));
    auto const i420 = keeper.take();
    ASSERT_TRUE(i420);
    EXPECT_EQ(i420->properties.at(om::OM_FRAME_KEY_FORMAT), om::OM_FRAME_FORMAT_I420);
    EXPECT_EQ(i420->width(), 300);
    EXPECT_EQ(i420->height(), 169);
    EXPECT_EQ(i420->stride(), 304);
    ASSERT_EQ(i420->bytes.size(), 304u * 170 * 3 / 2);
    std::size_t const blueAt = 304u * 140 + 60;
    std::size_t const halvedAt = 152u * 70 + 30;
    EXPECT_NEAR(i420->byteAt(blueAt), 41, 6) << "Y of blue";
    EXPECT_NEAR(i420->byteAt(304u * 170 + halvedAt), 240, 6) << "U of blue";
    EXPECT_NEAR(i420->byteAt(304u * 170 + 152u * 85 + halvedAt), 110, 6) << "V of blue";
}

TEST_F(Frames, areScaledDownIntoTheBoundAndKeepTheirShape)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    struct Case
    {
        char const* medium;
        char const* bound;
        int width;
        int height;
        char const* par;
    };
    for (Case const& row : {Case{"v.mp4", "160x160", 160, 90, "1:1"}, Case{"v.mp4", "1000x45", 80, 45, "1:1"},
                            Case{"v.mp4", "1000x1000", 320, 180, "1:1"}, Case{"sar.mp4", "180x144", 180, 144, "16:11"}})
    {
        Viewer::Options options = kRgb;
        options.emplace_back(om::OM_PREPARE_KEY_FRAME_INFO_SIZE, row.bound);
        ASSERT_TRUE(viewer.open(media(row.medium), om::OM_PREPARE_DEFAULT, options));
        auto const frame = keeper.take();
        ASSERT_TRUE(frame);
        EXPECT_EQ(std::make_tuple(frame->width(), frame->height()), std::make_tuple(row.width, row.height))
            << row.bound;
        EXPECT_EQ(frame->properties.at(om::OM_FRAME_KEY_PAR), row.par);
        EXPECT_EQ(frame->sequence(), 1);
        if (row.medium == std::string("v.mp4"))
        {
            expectTestPicture(*frame);
        }
    }
}

TEST_F(Frames, ofAPausedPlayerComeOnceForEachPlace)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_DEFAULT, kRgb));
    auto const first = keeper.take();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->pts(), 0);
    expectTestPicture(*first);
    int sequence = 1;
    for (int const position : {5'000, 9'000, 2'480})
    {
        viewer.player().seek(position, om::OM_SEEK_DEFAULT);
        ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
        auto const frame = keeper.take();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->pts(), position);
        EXPECT_EQ(frame->sequence(), ++sequence) << "nothing came in between";
        expectTestPicture(*frame);
    }
    // The picture that is there already does not come again when playing goes on.
    viewer.player().resume();
    auto const next = keeper.take();
    ASSERT_TRUE(next);
    EXPECT_GT(next->pts(), 2'480);
    EXPECT_EQ(next->sequence(), ++sequence);
}

TEST_F(Frames, areCountedFromEachOpening)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, kRgb));
    ASSERT_TRUE(keeper.take([](KeptFrame const& frame) { return frame.sequence() >= 5; }));
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    viewer.player().start(6'000);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const first = keeper.take([](KeptFrame const& frame) { return frame.sequence() == 1; });
    ASSERT_TRUE(first);
    auto const there = keeper.take([](KeptFrame const& frame) { return frame.pts() >= 6'000; });
    ASSERT_TRUE(there);
    expectTestPicture(*there);
}

TEST_F(Frames, keepTheIntervalThatWasAskedFor)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    Viewer::Options options = kRgb;
    options.emplace_back(om::OM_PREPARE_KEY_FRAME_INFO_INTERVAL, "400");
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, options));
    ASSERT_TRUE(viewer.recorder().take([](Note const& note)
                                       { return note.kind == Note::Kind::playTime && note.value >= 2'500; }));
    std::size_t const count = keeper.count();
    auto const first = keeper.take();
    ASSERT_TRUE(first);
    EXPECT_LE(first->dropped(), 2) << "what the interval leaves out does not count";
    EXPECT_THAT(static_cast<long long>(count), AllOf(Ge(3), Le(viewer.position() / 400 + 2)));
}

// Each picture fills half of what may wait for a client. On a device that is short of time the same happens.
TEST_F(Frames, neitherCutOffASlowApplicationNorPileUp)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("hd.mp4"), om::OM_PREPARE_DEFAULT,
                            {{om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_RGBA}}));
    auto const first = keeper.take();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->bytes.size(), 1920u * 1080 * 4);
    expectTestPicture(*first);

    keeper.hold();
    viewer.player().resume();
    ASSERT_TRUE(keeper.waitUntilHeld());
    ASSERT_TRUE(eventually([&] { return viewer.position() >= 1'600; })) << "playing goes on, queries are answered";
    std::size_t const count = keeper.count();
    keeper.release();
    auto const late = keeper.take([](KeptFrame const& frame) { return frame.pts() >= 1'500; });
    ASSERT_TRUE(late);
    EXPECT_GE(late->dropped(), 10);
    EXPECT_LE(late->sequence(), static_cast<int>(count) + 3) << "one was under way, the others made place for this one";
    expectTestPicture(*late);
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
}

TEST_F(Frames, ofTwoPlayersComeBesideEachOther)
{
    Viewer viewer;
    om::OmIMediaPlayer* const second = viewer.connection().createPlayer(nullptr);
    ASSERT_NE(second, nullptr);
    FrameKeeper keeper(viewer.player());
    FrameKeeper others(*second);
    om::OmPropertyGroup options;
    options.add(om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_RGBA);
    options.add(om::OM_PREPARE_KEY_TIMEOUT, "50000");
    second->prepare(media("vonly.mp4"), options, om::OM_PREPARE_AUTO_START);
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, kRgb));
    for (FrameKeeper* const each : {&keeper, &others})
    {
        auto const frame = each->take([](KeptFrame const& kept) { return kept.pts() >= 1'000; });
        ASSERT_TRUE(frame);
        EXPECT_GE(frame->sequence(), 3);
        expectTestPicture(*frame);
    }
}

TEST_F(Frames, comeToNobodyWhoDidNotAsk)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().start(9'000);
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    EXPECT_EQ(keeper.count(), 0u);

    // Nor of a medium that has no pictures.
    ASSERT_TRUE(viewer.open(media("a.mp3"), om::OM_PREPARE_AUTO_START, kRgb));
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    EXPECT_EQ(keeper.count(), 0u);
}

TEST_F(Frames, wrongWishesRefuseTheOpening)
{
    Viewer viewer;
    constexpr auto kKey = om::OM_PREPARE_KEY_FRAME_INFO;
    constexpr auto kSize = om::OM_PREPARE_KEY_FRAME_INFO_SIZE;
    constexpr auto kInterval = om::OM_PREPARE_KEY_FRAME_INFO_INTERVAL;
    constexpr auto kOnDemand = om::OM_PREPARE_KEY_FRAME_INFO_ON_DEMAND;
    for (Viewer::Options const& options :
         {Viewer::Options{{kKey, "RGB"}}, Viewer::Options{{kKey, "gray"}},
          Viewer::Options{{kKey, "rgb"}, {kSize, "320"}}, Viewer::Options{{kKey, "rgb"}, {kSize, "0x180"}},
          Viewer::Options{{kKey, "rgb"}, {kSize, "320x180x"}}, Viewer::Options{{kKey, "rgb"}, {kSize, "320x-1"}},
          Viewer::Options{{kKey, "rgb"}, {kSize, "99999999999x1"}}, Viewer::Options{{kKey, "rgb"}, {kInterval, "-1"}},
          Viewer::Options{{kKey, "rgb"}, {kInterval, "soon"}}, Viewer::Options{{kSize, "320x180"}},
          Viewer::Options{{kInterval, "100"}}, Viewer::Options{{kKey, "rgb"}, {kOnDemand, "yes"}},
          Viewer::Options{{kOnDemand, "1"}}, Viewer::Options{{kKey, "rgb"}, {kInterval, "9"}, {kOnDemand, "1"}}})
    {
        viewer.prepare(media("v.mp4"), om::OM_PREPARE_DEFAULT, options);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error) << options.back().first << "=" << options.back().second;
        EXPECT_EQ(error->code, om::OM_ERROR_BAD_ARGUMENT);
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "prepare");
    }
    EXPECT_EQ(viewer.state(), om::OM_STATE_NULL);
}

TEST_F(Frames, ofAPhotoAreOne)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    for (char const* const photo : {"p.png", "p.jpg"})
    {
        ASSERT_TRUE(viewer.open(media(photo), om::OM_PREPARE_AUTO_START, kRgb));
        auto const frame = keeper.take();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->sequence(), 1);
        EXPECT_EQ(frame->width(), 320);
        EXPECT_EQ(frame->colorAt(80, 36), "red");
        EXPECT_EQ(frame->colorAt(240, 144), "white");
    }
    EXPECT_EQ(keeper.count(), 2u);
}

TEST_F(Frames, ofPushedDataComeToo)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    std::string bytes = fileContent(media("v.mp4"));
    Viewer::Options options = kRgb;
    options.emplace_back(om::OM_PREPARE_KEY_SIZE, std::to_string(bytes.size()));
    viewer.prepare("pushed", om::OM_PREPARE_PUSH | om::OM_PREPARE_AUTO_START, options);
    viewer.player().pushData(bytes.data(), static_cast<unsigned int>(bytes.size()));
    auto const frame = keeper.take([](KeptFrame const& kept) { return kept.pts() >= 500; });
    ASSERT_TRUE(frame);
    expectTestPicture(*frame);
}

TEST_F(Frames, ofElementaryStreamsComeToo)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    om::om_es_format_t format{};
    format.codec = om::OM_VIDEO_CODEC_H264;
    om::OmPropertyGroup group;
    group.add(om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_RGB);
    char* options = nullptr;
    int size = 0;
    group.getData(&options, &size);
    viewer.player().openEsMedia(&format, sizeof format, nullptr, 0, options, static_cast<unsigned int>(size));
    for (AccessUnit& access : readH264(media("v.h264")))
    {
        auto const bytes = static_cast<unsigned int>(access.bytes.size());
        viewer.player().pushEsData(access.bytes.data(), bytes, &access.unit, sizeof access.unit, nullptr, 0, nullptr,
                                   0);
    }
    auto const first = keeper.take();
    ASSERT_TRUE(first);
    expectTestPicture(*first);
    viewer.player().start(0);
    auto const later = keeper.take([](KeptFrame const& kept) { return kept.pts() >= 500; });
    ASSERT_TRUE(later);
    expectTestPicture(*later);
}

} // namespace
} // namespace tz::orvane::test
