// SPDX-License-Identifier: Apache-2.0
// Changing the debug sink while lines are on their way, from other threads, from sinks and across forks.
#include "orvane/platform/om_debug.h"
#include "support/wait.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tz::orvane::test
{

namespace
{

using platform::DebugLevel;
using platform::debugPrint;
using platform::setDebugSink;

class DebugSink : public testing::Test
{
protected:
    ~DebugSink() override { setDebugSink(nullptr, nullptr); }

    static void count(DebugLevel, char const*, void* context) { ++*static_cast<std::atomic<int>*>(context); }

    /// Waits for the end of a child; kills one that does not come to it. @return its exit status, or -1
    static int statusOf(pid_t child)
    {
        int status = -1;
        if (!eventually([&] { return ::waitpid(child, &status, WNOHANG) == child; }))
        {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
            return -1;
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// What a child does that has no reason to wait: 0 when its line has come.
    [[noreturn]] static void changeAndEnd()
    {
        std::atomic<int> lines{0};
        setDebugSink(&count, &lines);
        debugPrint(DebugLevel::error, "x");
        setDebugSink(nullptr, nullptr);
        ::_exit(lines == 1 ? 0 : 1);
    }
};

/// Threads that put out lines without a pause, through a sink that takes its time.
class Chatter
{
public:
    Chatter()
    {
        for (int i = 0; i < 6; ++i)
        {
            m_threads.emplace_back(
                [this]
                {
                    while (!m_quiet)
                    {
                        debugPrint(DebugLevel::error, "%s", "");
                    }
                });
        }
    }

    Chatter(Chatter const&) = delete;
    Chatter& operator=(Chatter const&) = delete;
    ~Chatter() { end(); }

    void end()
    {
        m_quiet = true;
        for (std::thread& thread : m_threads)
        {
            thread.join();
        }
        m_threads.clear();
    }

private:
    std::atomic<bool> m_quiet{false};
    std::vector<std::thread> m_threads;
};

struct Target
{
    std::atomic<int> lines{0};
    std::atomic<bool> isGone{false};
    std::atomic<int> linesAfterwards{0};

    static void take(DebugLevel, char const*, void* context)
    {
        auto* const self = static_cast<Target*>(context);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        ++self->lines;
        self->linesAfterwards += self->isGone ? 1 : 0;
    }
};

} // namespace

TEST_F(DebugSink, isChangedHoweverManyLinesAreOnTheirWay)
{
    std::vector<Target> targets(20);
    setDebugSink(&Target::take, &targets[0]);
    Chatter chatter;
    auto changes = std::async(std::launch::async,
                              [&]
                              {
                                  for (Target& target : targets)
                                  {
                                      setDebugSink(&Target::take, &target);
                                      if (&target != targets.data())
                                      {
                                          (&target - 1)->isGone = true;
                                      }
                                      eventually([&] { return target.lines > 0; });
                                  }
                              });
    EXPECT_EQ(changes.wait_for(std::chrono::minutes(1)), std::future_status::ready) << "lines keep the change waiting";
    chatter.end();
    changes.wait();
    setDebugSink(nullptr, nullptr);
    for (Target const& target : targets)
    {
        EXPECT_EQ(target.linesAfterwards, 0) << "a former sink was called";
    }
}

TEST_F(DebugSink, isChangedByTwoThreadsAtOnce)
{
    Target targets[2];
    setDebugSink(&Target::take, &targets[0]);
    Chatter chatter;
    auto const change = [&](Target& target)
    {
        for (int i = 0; i < 50; ++i)
        {
            setDebugSink(&Target::take, &target);
        }
    };
    std::thread other(change, std::ref(targets[0]));
    change(targets[1]);
    other.join();
    setDebugSink(nullptr, nullptr);
    targets[0].isGone = true;
    targets[1].isGone = true;
    chatter.end();
    EXPECT_EQ(targets[0].linesAfterwards + targets[1].linesAfterwards, 0);
}

TEST_F(DebugSink, mayPutOutALineItselfWhileItIsChanged)
{
    struct Nesting
    {
        std::atomic<int> outer{0};
        std::atomic<int> inner{0};
    } nesting;
    auto const nest = [](DebugLevel level, char const*, void* context)
    {
        auto* const self = static_cast<Nesting*>(context);
        if (level == DebugLevel::trace)
        {
            ++self->inner;
            return;
        }
        debugPrint(DebugLevel::trace, "inner");
        ++self->outer;
    };
    setDebugSink(nest, &nesting);
    {
        Chatter const chatter;
        for (int i = 0; i < 50; ++i)
        {
            setDebugSink(nest, &nesting);
        }
        eventually([&] { return nesting.outer > 0; });
    }
    EXPECT_GT(nesting.outer, 0);
    EXPECT_EQ(nesting.inner, nesting.outer);
}

TEST_F(DebugSink, isChangedInAChildForkedWhileALineWasOnItsWay)
{
    struct Held
    {
        std::promise<void> entered;
        std::promise<void> release;
    } held;
    setDebugSink(
        [](DebugLevel, char const*, void* context)
        {
            auto* const self = static_cast<Held*>(context);
            self->entered.set_value();
            self->release.get_future().wait();
        },
        &held);
    std::thread line([] { debugPrint(DebugLevel::error, "x"); });
    held.entered.get_future().wait();
    auto change = std::async(std::launch::async, [] { setDebugSink(nullptr, nullptr); });
    pid_t const child = ::fork();
    if (child == 0)
    {
        changeAndEnd();
    }
    EXPECT_EQ(statusOf(child), 0);
    held.release.set_value();
    line.join();
    change.wait();
}

TEST_F(DebugSink, isChangedInAChildForkedInASink)
{
    pid_t child = -1;
    setDebugSink([](DebugLevel, char const*, void* context) { *static_cast<pid_t*>(context) = ::fork(); }, &child);
    debugPrint(DebugLevel::error, "x");
    if (child == 0)
    {
        changeAndEnd();
    }
    EXPECT_EQ(statusOf(child), 0);
}

} // namespace tz::orvane::test
