// SPDX-License-Identifier: Apache-2.0
// The timer thread in real time: how long a task takes, and that an idle thread costs nothing.
#include "orvane/om_timer.h"

#include "support/log_capture.h"
#include "unit/hand_clock.h"
#include "unit/waiting_caller.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace tz::orvane::om
{

namespace
{

using test::eventually;
using test::NotingListener;

constexpr unsigned int kTask = 0xB101;

/// Where the kernel tells about the timer thread; empty while there is none.
std::string timerThreadFolder()
{
    for (auto const& task : std::filesystem::directory_iterator("/proc/self/task"))
    {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        if (name == "orvane-timer")
        {
            return task.path();
        }
    }
    return {};
}

/// How often the thread has left the processor since it was made; an idle one does so never again.
long contextSwitches(std::string const& folder)
{
    std::ifstream status(folder + "/status");
    long total = 0;
    for (std::string line; std::getline(status, line);)
    {
        if (line.find("ctxt_switches:") != std::string::npos)
        {
            total += std::stol(line.substr(line.find(':') + 1));
        }
    }
    return total;
}

TEST(TimerRealTime, aTaskOf250MillisecondsTakesThreeTicks)
{
    NotingListener listener;
    OmTimer timer(&listener);
    auto const start = std::chrono::steady_clock::now();
    ASSERT_EQ(timer.setTime(kTask, 250, 0), 0);
    ASSERT_TRUE(eventually([&] { return !listener.fired().empty(); }));
    auto const taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, std::chrono::milliseconds(300));
    EXPECT_LT(taken, std::chrono::seconds(5)); // the machine may be busy
    RecordProperty("milliseconds", std::to_string(std::chrono::duration<double, std::milli>(taken).count()));
}

TEST(TimerRealTime, anIdleThreadDoesNotRun)
{
    NotingListener listener;
    OmTimer timer(&listener);
    {
        test::LogCapture const log;
        ASSERT_EQ(timer.setTime(kTask, 0, 0), 0);
        ASSERT_TRUE(eventually([&] { return log.contains("<timer> switch to waiting mode."); }));
    }
    std::string const folder = timerThreadFolder();
    ASSERT_NE(folder, "");
    // A busy machine may wake it for reasons of its own, but not every second.
    long before = 0;
    long after = -1;
    for (int seconds = 0; seconds < 5 && after != before; ++seconds)
    {
        // From that line to the sleep it is a few instructions.
        ASSERT_TRUE(eventually(
            [&]
            {
                long const last = before;
                before = contextSwitches(folder);
                return before == last && test::sleeps(folder);
            }));
        std::this_thread::sleep_for(std::chrono::seconds(1)); // the second that is measured
        after = contextSwitches(folder);
    }
    EXPECT_EQ(after, before);
    RecordProperty("contextSwitchesInAQuietSecond", std::to_string(after - before));

    // The same measure sees a thread that ticks.
    ASSERT_EQ(timer.setTime(kTask, 200, 0), 0);
    ASSERT_TRUE(eventually([&] { return listener.fired().size() == 2; }));
    EXPECT_GE(contextSwitches(folder), before + 2);
}

} // namespace

} // namespace tz::orvane::om
