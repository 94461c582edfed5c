// SPDX-License-Identifier: Apache-2.0
// The processes that make previews: what they may use, and that each of them comes to an end.
#include "support/preview_service.h"
#include "support/temp_dir.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <utility>

namespace tz::orvane::test
{
namespace
{

using std::chrono::steady_clock;

class PreviewWorkers : public WithPreviews
{
};

/// @return soft and hard limit of a process's processor time in seconds
std::pair<int, int> processorTimeOf(pid_t process)
{
    std::istringstream limits(fileContent("/proc/" + std::to_string(process) + "/limits"));
    std::string const name = "Max cpu time";
    std::pair<int, int> seconds{0, 0};
    for (std::string line; std::getline(limits, line);)
    {
        if (line.compare(0, name.size(), name) == 0)
        {
            std::istringstream(line.substr(name.size())) >> seconds.first >> seconds.second;
        }
    }
    return seconds;
}

TEST_F(PreviewWorkers, whenMemoryRunsOutTheyGoBeforeAnyPlayer)
{
    Previewer previewer;
    std::string const worker = std::to_string(hang(previewer, m_server.uri("hang/v.mp4")));
    EXPECT_TRUE(eventually([&] { return fileContent("/proc/" + worker + "/oom_score_adj") == "1000\n"; }));
    EXPECT_NE(fileContent("/proc/" + std::to_string(m_service.pid()) + "/oom_score_adj"), "1000\n");
}

TEST_F(PreviewWorkers, oneThatUsesUpItsProcessorTimeEndsLikeOneThatIsTooLate)
{
    Previewer previewer;
    pid_t const worker = hang(previewer, m_server.uri("endless/film.ts"));
    ASSERT_GT(worker, 0);
    ASSERT_TRUE(eventually([&] { return processorTimeOf(worker).first > 0; }));
    EXPECT_EQ(processorTimeOf(worker), std::make_pair(122, 123));

    auto const begin = steady_clock::now();
    rlimit const little{1, 123};
    ASSERT_EQ(prlimit(worker, RLIMIT_CPU, &little, nullptr), 0);
    EXPECT_EQ(previewer.take().code, om::OM_ERROR_TIMED_OUT);
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(50)); // and not because of its deadline
}

TEST_F(PreviewWorkers, oneThatIsFedForEverEndsInItsTime)
{
    Previewer previewer;
    auto const begin = steady_clock::now();
    PreviewReply const reply = previewer.get(m_server.uri("endless/film.ts"), 0, 0, {{"timeout-ms", "1000"}});
    EXPECT_EQ(reply.code, om::OM_ERROR_TIMED_OUT) << reply.at("text");
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(30));
    EXPECT_TRUE(eventually([this] { return workers().empty(); }));
    EXPECT_EQ(ownFiles(), 0);
}

TEST_F(PreviewWorkers, oneEndsByItselfWhenNobodyCanEndIt)
{
    Previewer previewer;
    previewer.ask(m_server.uri("hang/v.mp4"), 0, 0, {{"timeout-ms", "5000"}});
    pid_t const worker = firstWorker();
    ASSERT_GT(worker, 0);
    pid_t const parent = nursery();
    ASSERT_TRUE(eventually([parent] { return stateOf(parent) == 'S'; })); // it has told of the worker
    kill(parent, SIGSTOP);
    EXPECT_EQ(previewer.take().code, om::OM_ERROR_TIMED_OUT);
    EXPECT_TRUE(eventually([worker] { return stateOf(worker) == 'Z'; })) << stateOf(worker);
    kill(parent, SIGCONT);
    EXPECT_TRUE(eventually([this] { return workers().empty(); }));
}

TEST_F(PreviewWorkers, theFileThatAClientNamesIsOpenedByOneOfThem)
{
    TempDir const folder;
    Previewer previewer;
    EXPECT_EQ(previewer.get(media("v.mp4")).code, om::OM_ERROR_NONE);
    pid_t const parent = nursery();
    kill(parent, SIGSTOP);
    previewer.ask(media("v.mp4"), 0, 0, {{"output-path", folder.path() + "/none/picture.jpg"}});
    EXPECT_TRUE(eventually([&] { return previewer.status(om::OM_PREVIEW_KEY_RUNNING) == 1; }));
    kill(parent, SIGCONT);
    EXPECT_EQ(previewer.take().code, om::OM_ERROR_NOT_FOUND);
}

TEST_F(PreviewWorkers, theFileThatAClientNamesIsNotThereBeforeItIsWhole)
{
    TempDir const folder;
    std::string const path = folder.path() + "/picture.jpg";
    Previewer previewer;
    previewer.ask(m_server.uri("hang/v.mp4"), 0, 0, {{"output-path", path}, {"timeout-ms", "60000"}});
    pid_t const worker = firstWorker();
    ASSERT_GT(worker, 0);
    ASSERT_TRUE(eventually([worker] { return stateOf(worker) == 'S'; }));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

    std::ofstream(path) << "somebody else's";
    EXPECT_EQ(previewer.tool().stopPreview(m_server.uri("hang/v.mp4")), 0);
    EXPECT_EQ(previewer.take().code, om::OM_ERROR_STOPPED);
    EXPECT_EQ(fileContent(path), "somebody else's");
}

} // namespace
} // namespace tz::orvane::test
