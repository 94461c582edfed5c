// SPDX-License-Identifier: Apache-2.0
// Clients that start and stop previews faster than processes come and go.
#include "support/preview_service.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <string>
#include <thread>

namespace tz::orvane::test
{
namespace
{

constexpr int kAtOnce = 4;
constexpr int kRounds = 500;

class PreviewFloods : public WithPreviews
{
protected:
    /// Starts and stops some, so that the service has begun with them in between.
    static void startAndStop(Previewer& previewer, std::string const& uri)
    {
        for (int i = 0; i < kAtOnce; ++i)
        {
            previewer.askPlainly(uri, {{"timeout-ms", "120000"}});
        }
        previewer.status(om::OM_PREVIEW_KEY_RUNNING);
        om::OmPropertyGroup none;
        previewer.tool().stopPreviewAll(none);
        previewer.status(om::OM_PREVIEW_KEY_RUNNING);
    }

    /// Stops the process that has the workers. @return it
    pid_t stopNursery() const
    {
        EXPECT_TRUE(eventually([this] { return nursery() != 0 && stateOf(nursery()) == 'S'; }));
        pid_t const parent = nursery();
        kill(parent, SIGSTOP);
        EXPECT_TRUE(eventually([parent] { return stateOf(parent) == 'T'; }));
        return parent;
    }
};

TEST_F(PreviewFloods, leaveAllPlacesToOthersAndNoWorkersBehind)
{
    Previewer other;
    auto const most = 4 * static_cast<std::size_t>(other.status(om::OM_PREVIEW_KEY_SLOTS));
    {
        Previewer flooder;
        std::atomic<bool> ends{false};
        std::atomic<std::size_t> workersSeen{0};
        std::thread flood(
            [&]
            {
                while (!ends)
                {
                    startAndStop(flooder, m_server.uri("hang/v.mp4"));
                    workersSeen = std::max(workersSeen.load(), workers().size());
                }
            });
        for (int i = 0; i < 40; ++i)
        {
            PreviewReply const reply = other.get(media("v.mp4"));
            EXPECT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
        }
        ends = true;
        flood.join();
        EXPECT_GT(workersSeen, 0u);
        EXPECT_LE(workersSeen, most);
    }
    EXPECT_TRUE(eventually([this] { return workers().empty(); }));
}

TEST_F(PreviewFloods, waitForAProcessThatDoesNotReadItsOrders)
{
    std::string const longest = "/" + std::string(8191, ' '); // many times as long as an order is as a rule
    Previewer flooder;
    pid_t const parent = stopNursery();
    for (int i = 0; i < kRounds; ++i)
    {
        startAndStop(flooder, longest);
    }
    Previewer other;
    unsigned int const id = other.ask(media("v.mp4"));
    kill(parent, SIGCONT);
    PreviewReply const reply = other.take();
    EXPECT_EQ(reply.id, id);
    EXPECT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
    for (int i = 0; i < kRounds * kAtOnce; ++i)
    {
        EXPECT_EQ(flooder.take().code, om::OM_ERROR_STOPPED);
    }
    EXPECT_TRUE(eventually([this] { return workers().empty(); }));
    EXPECT_EQ(nursery(), parent);
}

TEST_F(PreviewFloods, findOutThatTheProcessBehindAllWorkersAnswersNothing)
{
    Previewer other;
    pid_t const parent = stopNursery();
    {
        Previewer flooder;
        for (int i = 0; i < kRounds; ++i)
        {
            startAndStop(flooder, media("v.mp4"));
        }
        PreviewReply const reply = other.get(media("v.mp4"));
        EXPECT_THAT(reply.code, testing::AnyOf(om::OM_ERROR_LIMIT, om::OM_ERROR_NONE)) // as there is room for orders
            << reply.at("text");
    }
    EXPECT_TRUE(eventually([parent] { return stateOf(parent) == '-'; }));
    EXPECT_EQ(other.get(media("v.mp4")).code, om::OM_ERROR_NONE);
}

} // namespace
} // namespace tz::orvane::test
