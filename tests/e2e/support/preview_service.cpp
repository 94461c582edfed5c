// SPDX-License-Identifier: Apache-2.0
// The service of a test that looks at what previews leave behind and at the processes that make them.
#include "support/preview_service.h"

#include "support/tool_process.h"
#include "support/wait.h"

#include <filesystem>
#include <sstream>

namespace tz::orvane::test
{

std::vector<pid_t> childrenOf(pid_t parent)
{
    std::string const number = std::to_string(parent);
    std::istringstream list(fileContent("/proc/" + number + "/task/" + number + "/children"));
    std::vector<pid_t> children;
    for (pid_t child = 0; list >> child;)
    {
        children.push_back(child);
    }
    return children;
}

int previewFiles(std::string const& folder)
{
    int count = 0;
    for (auto const& entry : std::filesystem::directory_iterator(folder))
    {
        count += entry.path().filename().string().rfind("preview-", 0) == 0 ? 1 : 0;
    }
    return count;
}

void makeNoise(std::string const& file)
{
    ToolProcess encoder({"/usr/bin/env", "ffmpeg", "-loglevel", "error", "-nostdin", "-f", "lavfi", "-i",
                         "color=gray:s=2048x2048,noise=alls=100:allf=t", "-frames:v", "1", file});
    EXPECT_EQ(encoder.wait(), 0) << encoder.err();
}

pid_t WithPreviews::nursery() const
{
    auto const children = childrenOf(m_service.pid());
    return children.empty() ? 0 : children.front();
}

std::vector<pid_t> WithPreviews::workers() const
{
    pid_t const parent = nursery();
    return parent == 0 ? std::vector<pid_t>() : childrenOf(parent);
}

pid_t WithPreviews::firstWorker() const
{
    std::vector<pid_t> running;
    EXPECT_TRUE(eventually(
        [&]
        {
            running = workers();
            return !running.empty();
        }));
    return running.empty() ? 0 : running.front();
}

pid_t WithPreviews::hang(Previewer& previewer, std::string const& uri)
{
    previewer.ask(uri, 0, 0, {{"timeout-ms", "60000"}});
    return firstWorker();
}

char stateOf(pid_t process)
{
    std::string const line = fileContent("/proc/" + std::to_string(process) + "/stat");
    auto const end = line.rfind(')');
    return end == std::string::npos || end + 2 >= line.size() ? '-' : line[end + 2];
}

} // namespace tz::orvane::test
