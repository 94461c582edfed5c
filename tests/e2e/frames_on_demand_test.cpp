// SPDX-License-Identifier: Apache-2.0
// Decoded pictures that the application pulls, and the memory that they take.
#include "support/frame_keeper.h"
#include "support/wait.h"

#include <fstream>

namespace tz::orvane::test
{
namespace
{

Viewer::Options onDemand(char const* format = om::OM_FRAME_FORMAT_RGB)
{
    return {{om::OM_PREPARE_KEY_FRAME_INFO, format}, {om::OM_PREPARE_KEY_FRAME_INFO_ON_DEMAND, "1"}};
}

class FramesOnDemand : public WithService
{
protected:
    /// @return whether it is taken
    static bool pull(Viewer& viewer)
    {
        void* data = nullptr;
        unsigned int size = 0;
        return viewer.player().pullData(&data, size) == 0;
    }

    static bool pull(Viewer& viewer, int times) { return times == 0 || (pull(viewer) && pull(viewer, times - 1)); }

    static bool seek(Viewer& viewer, int position)
    {
        viewer.player().seek(position, om::OM_SEEK_DEFAULT);
        return viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE).has_value();
    }

    static bool playTo(Viewer& viewer, int position)
    {
        return viewer.recorder()
            .take([=](Note const& note) { return note.kind == Note::Kind::playTime && note.value >= position; })
            .has_value();
    }

    static void expectRefusal(Viewer& viewer, om::om_error_e code)
    {
        EXPECT_FALSE(pull(viewer));
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, code);
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "pullData");
    }

    /// @return the bytes that the service's process has mapped for pictures
    std::size_t pictureMemory() const
    {
        std::ifstream maps("/proc/" + std::to_string(m_service.pid()) + "/maps");
        std::size_t bytes = 0;
        for (std::string line; std::getline(maps, line);)
        {
            if (line.find("/memfd:orvane-picture ") != std::string::npos)
            {
                std::size_t end = 0;
                auto const from = std::stoull(line, &end, 16);
                bytes += std::stoull(line.substr(end + 1), nullptr, 16) - from;
            }
        }
        return bytes;
    }
};

TEST_F(FramesOnDemand, comeOnePerPullAndNewest)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, onDemand()));
    ASSERT_TRUE(playTo(viewer, 1'000));
    EXPECT_EQ(keeper.count(), 0u) << "nobody has asked";
    int before = 100; // the newest one is behind the clock, but not as old as the first ones
    for (int sequence = 1; sequence <= 5; ++sequence)
    {
        ASSERT_TRUE(pull(viewer));
        auto const frame = keeper.take();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->sequence(), sequence);
        EXPECT_EQ(frame->dropped(), 0);
        EXPECT_GT(frame->pts(), before);
        before = frame->pts();
        expectTestPicture(*frame);
    }
    ASSERT_TRUE(playTo(viewer, before + 500));
    EXPECT_EQ(keeper.count(), 5u);
}

TEST_F(FramesOnDemand, areNotOfBeforeASeek)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_DEFAULT, onDemand()));
    int sequence = 0;
    for (int const position : {5'000, 9'000, 2'480, 7'000})
    {
        ASSERT_TRUE(seek(viewer, position));
        ASSERT_TRUE(pull(viewer));
        auto const frame = keeper.take();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->pts(), position);
        EXPECT_EQ(frame->sequence(), ++sequence);
        expectTestPicture(*frame);
    }
}

TEST_F(FramesOnDemand, thatWerePulledAheadComeAsSoonAsThereAreSome)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    viewer.prepare(media("v.mp4"), om::OM_PREPARE_DEFAULT, onDemand());
    ASSERT_TRUE(pull(viewer, 3));
    auto const first = keeper.take();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->pts(), 0);
    for (int const position : {5'000, 9'000})
    {
        ASSERT_TRUE(seek(viewer, position));
        auto const frame = keeper.take();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->pts(), position);
    }
    ASSERT_TRUE(seek(viewer, 3'000));
    ASSERT_TRUE(seek(viewer, 2'000));
    ASSERT_TRUE(pull(viewer));
    auto const last = keeper.take();
    ASSERT_TRUE(last);
    EXPECT_EQ(last->pts(), 2'000) << "three pulls were three pictures";
    EXPECT_EQ(last->sequence(), 4);
}

TEST_F(FramesOnDemand, ofAPhotoAreOne)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("p.png"), om::OM_PREPARE_AUTO_START, onDemand()));
    ASSERT_TRUE(pull(viewer));
    auto const frame = keeper.take();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->colorAt(80, 36), "red");
}

TEST_F(FramesOnDemand, thatAreTooLargeAnswerThePullWithAWarning)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    Viewer::Options options = onDemand();
    ASSERT_TRUE(viewer.open(media("huge.jpg"), om::OM_PREPARE_DEFAULT, options));
    ASSERT_TRUE(pull(viewer));
    auto const warning = viewer.recorder().takeEvent(om::OM_EVENT_WARNING);
    ASSERT_TRUE(warning);
    EXPECT_EQ(warning->number(om::OM_KEY_CODE), om::OM_ERROR_LIMIT);
    options.emplace_back(om::OM_PREPARE_KEY_FRAME_INFO_SIZE, "800x800");
    ASSERT_TRUE(viewer.open(media("huge.jpg"), om::OM_PREPARE_DEFAULT, options));
    ASSERT_TRUE(pull(viewer));
    auto const frame = keeper.take();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->sequence(), 1);
    EXPECT_EQ(frame->height(), 450);
}

TEST_F(FramesOnDemand, keepTheirMemoryUntilTheApplicationIsDone)
{
    constexpr std::size_t kPicture = 1920u * 1080 * 4;
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("hd.mp4"), om::OM_PREPARE_DEFAULT, onDemand(om::OM_FRAME_FORMAT_RGBA)));
    EXPECT_EQ(pictureMemory(), 0u) << "nothing is converted before it is wanted";
    viewer.player().freeDataMem(nullptr);
    for (int const position : {500, 1'000})
    {
        ASSERT_TRUE(pull(viewer));
        ASSERT_TRUE(keeper.take());
        EXPECT_EQ(pictureMemory(), kPicture);
        ASSERT_TRUE(seek(viewer, position));
        ASSERT_TRUE(pull(viewer));
        auto const next = keeper.take();
        ASSERT_TRUE(next);
        EXPECT_EQ(next->bytes.size(), kPicture);
        EXPECT_EQ(pictureMemory(), kPicture) << "the next one takes the place of the last one";
        viewer.player().freeDataMem(nullptr);
        EXPECT_TRUE(eventually([&] { return pictureMemory() == 0; }));
        ASSERT_TRUE(seek(viewer, position + 200));
    }
    ASSERT_TRUE(pull(viewer));
    ASSERT_TRUE(keeper.take());
    EXPECT_EQ(pictureMemory(), kPicture);
    viewer.player().stop();
    EXPECT_TRUE(eventually([&] { return pictureMemory() == 0; })) << "closing says so as well";
}

TEST_F(FramesOnDemand, areRefusedWhereTheOpeningDidNotAskForThem)
{
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    viewer.player().freeDataMem(nullptr);
    expectRefusal(viewer, om::OM_ERROR_BAD_STATE);
    Viewer::Options notOnDemand = onDemand();
    notOnDemand.back().second = "0";
    for (Viewer::Options const& options : {Viewer::Options{}, Viewer::Options{onDemand().front()}, notOnDemand})
    {
        ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_DEFAULT, options));
        viewer.player().freeDataMem(nullptr);
        expectRefusal(viewer, om::OM_ERROR_BAD_STATE);
    }
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_DEFAULT, onDemand()));
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    expectRefusal(viewer, om::OM_ERROR_BAD_STATE);
}

TEST_F(FramesOnDemand, areBoundedAheadAndForgottenWhenTheMediumIsClosed)
{
    constexpr int kMostPulls = 64;
    Viewer viewer;
    FrameKeeper keeper(viewer.player());
    ASSERT_TRUE(viewer.open(media("a.mp3"), om::OM_PREPARE_DEFAULT, onDemand()));
    ASSERT_TRUE(pull(viewer, kMostPulls));
    expectRefusal(viewer, om::OM_ERROR_LIMIT);
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, onDemand()));
    ASSERT_TRUE(playTo(viewer, 1'000));
    EXPECT_EQ(keeper.count(), 0u);
    ASSERT_TRUE(pull(viewer));
    EXPECT_TRUE(keeper.take());
}

} // namespace
} // namespace tz::orvane::test
