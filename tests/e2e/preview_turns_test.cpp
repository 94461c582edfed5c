// SPDX-License-Identifier: Apache-2.0
// Whose preview is made next, and when the time of one begins.
#include "support/preview_service.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <sched.h>
#include <string>

namespace tz::orvane::test
{
namespace
{

using std::chrono::steady_clock;

class PreviewTurns : public WithPreviews
{
protected:
    /// Asks for previews of a server that never answers. @return how many run at once
    int fill(Previewer& previewer, int more)
    {
        int const places = previewer.status(om::OM_PREVIEW_KEY_SLOTS);
        for (int i = 0; i < places + more; ++i)
        {
            previewer.ask(m_server.uri("hang/v.mp4"), 0, 0, {{"timeout-ms", "120000"}});
        }
        EXPECT_TRUE(eventually([&] { return workers().size() >= static_cast<std::size_t>(places); }));
        return places;
    }

    /// Both numbers from one answer, since a request that waits may begin to run between two. @return -1 without any
    static int unanswered(Previewer& previewer)
    {
        om::OmPropertyGroup group;
        return previewer.tool().doExtendCommand(om::OM_PREVIEW_COMMAND_STATUS, group) < 0
                   ? -1
                   : std::stoi(group.get(om::OM_PREVIEW_KEY_RUNNING)) +
                         std::stoi(group.get(om::OM_PREVIEW_KEY_WAITING));
    }
};

/// Leaves one core to the service that is started behind it.
class OneCore
{
protected:
    OneCore()
    {
        cpu_set_t cores;
        EXPECT_EQ(sched_getaffinity(0, sizeof cores, &cores), 0);
        int first = 0;
        while (first < CPU_SETSIZE - 1 && !CPU_ISSET(first, &cores))
        {
            ++first;
        }
        CPU_ZERO(&cores);
        CPU_SET(first, &cores);
        EXPECT_EQ(sched_setaffinity(0, sizeof cores, &cores), 0);
    }
};

class PreviewTurnsOnOneCore : private OneCore, public PreviewTurns
{
};

TEST_F(PreviewTurns, asManyRunAtOnceAsThereAreCores)
{
    cpu_set_t cores;
    ASSERT_EQ(sched_getaffinity(0, sizeof cores, &cores), 0);
    Previewer previewer;
    int const places = fill(previewer, 3);
    EXPECT_EQ(places, CPU_COUNT(&cores));
    EXPECT_TRUE(eventually([&] { return previewer.status(om::OM_PREVIEW_KEY_WAITING) == 3; }));
    EXPECT_EQ(previewer.status(om::OM_PREVIEW_KEY_RUNNING), places);
    EXPECT_TRUE(eventually([&] { return workers().size() == static_cast<std::size_t>(places); }));
}

TEST_F(PreviewTurns, whoHoldsAllPlacesKeepsNobodyWaiting)
{
    Previewer hog;
    int const places = fill(hog, 20);
    Previewer other;
    EXPECT_EQ(other.get(media("v.mp4")).code, om::OM_ERROR_NONE);
    EXPECT_EQ(other.get(media("v.mkv")).code, om::OM_ERROR_NONE);
    EXPECT_TRUE(eventually([&] { return hog.status(om::OM_PREVIEW_KEY_WAITING) == 20; }));
    EXPECT_EQ(hog.status(om::OM_PREVIEW_KEY_RUNNING), places);
}

TEST_F(PreviewTurnsOnOneCore, noMoreThanTwiceAsManyRun)
{
    Previewer first;
    ASSERT_EQ(fill(first, 0), 1);
    Previewer second;
    second.ask(m_server.uri("hang/v.mp4"), 0, 0, {{"timeout-ms", "120000"}});
    EXPECT_TRUE(eventually([&] { return second.status(om::OM_PREVIEW_KEY_RUNNING) == 1; }));
    Previewer third;
    third.ask(media("v.mp4"));
    EXPECT_TRUE(eventually([&] { return third.status(om::OM_PREVIEW_KEY_WAITING) == 1; }));
    om::OmPropertyGroup none;
    second.tool().stopPreviewAll(none);
    EXPECT_EQ(third.take().code, om::OM_ERROR_NONE);
    EXPECT_EQ(first.status(om::OM_PREVIEW_KEY_RUNNING), 1);
}

TEST_F(PreviewTurnsOnOneCore, connectionsTakeTurns)
{
    Previewer first;
    Previewer second;
    ASSERT_EQ(fill(first, 0), 1);
    second.ask(m_server.uri("hang/v.mp4"), 0, 0, {{"timeout-ms", "120000"}});
    ASSERT_TRUE(eventually([&] { return second.status(om::OM_PREVIEW_KEY_RUNNING) == 1; }));

    Previewer early;
    Previewer late;
    constexpr int kEach = 4;
    for (Previewer* const previewer : {&early, &late})
    {
        for (int i = 0; i < kEach; ++i)
        {
            previewer->ask(media("v.mp4"));
        }
        ASSERT_TRUE(eventually([&] { return previewer->status(om::OM_PREVIEW_KEY_WAITING) == kEach; }));
    }
    om::OmPropertyGroup none;
    second.tool().stopPreviewAll(none); // one place is free now
    for (int i = 0; i < kEach; ++i)
    {
        EXPECT_EQ(early.take().code, om::OM_ERROR_NONE);
    }
    EXPECT_LE(unanswered(late), 1);
}

TEST_F(PreviewTurns, theTimeOfARequestBeginsWithItsWorker)
{
    Previewer previewer;
    ASSERT_TRUE(eventually([this] { return nursery() != 0; }));
    pid_t const parent = nursery();
    kill(parent, SIGSTOP);
    ASSERT_TRUE(eventually([parent] { return stateOf(parent) == 'T'; }));
    previewer.ask(media("v.mp4"), 0, 0, {{"timeout-ms", "10000"}});
    ASSERT_TRUE(eventually([&] { return unanswered(previewer) == 1; }));
    for (auto const end = steady_clock::now() + std::chrono::milliseconds(10'300); steady_clock::now() < end;)
    {
        ASSERT_EQ(unanswered(previewer), 1);
    }
    kill(parent, SIGCONT);
    PreviewReply const reply = previewer.take();
    EXPECT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
}

TEST_F(PreviewTurnsOnOneCore, nothingStartsWhileWorkersThatWereKilledDoNotEnd)
{
    Previewer first;
    Previewer second;
    ASSERT_EQ(fill(first, 0), 1);
    second.ask(m_server.uri("hang/v.mp4"), 0, 0, {{"timeout-ms", "120000"}});
    ASSERT_TRUE(eventually([this] { return workers().size() == 2; }));
    pid_t const parent = nursery();
    ASSERT_TRUE(eventually([parent] { return stateOf(parent) == 'S'; })); // it has told of them
    kill(parent, SIGSTOP);                                                // so that it does not end them
    ASSERT_TRUE(eventually([parent] { return stateOf(parent) == 'T'; }));
    om::OmPropertyGroup none;
    for (Previewer* const previewer : {&first, &second})
    {
        previewer->tool().stopPreviewAll(none);
        EXPECT_EQ(previewer->take().code, om::OM_ERROR_STOPPED);
    }
    first.ask(media("v.mp4"));
    PreviewReply const reply = first.take();
    EXPECT_EQ(reply.code, om::OM_ERROR_LIMIT);
    EXPECT_EQ(reply.at("text"), "earlier previews do not end");

    first.ask(media("v.mp4"));
    EXPECT_EQ(first.status(om::OM_PREVIEW_KEY_WAITING), 1);
    kill(parent, SIGCONT);
    EXPECT_EQ(first.take().code, om::OM_ERROR_NONE);
}

} // namespace
} // namespace tz::orvane::test
