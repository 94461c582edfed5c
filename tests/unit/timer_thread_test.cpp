// SPDX-License-Identifier: Apache-2.0
// The timer thread by itself: opening and closing, its modes, what it refuses, and what ends the process.
#include "orvane/om_timer.h"

#include "support/log_capture.h"
#include "support/process_state.h"
#include "unit/hand_clock.h"
#include "unit/waiting_caller.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using test::eventually;
using test::LogCapture;
using test::NotingListener;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Mode = OmTimerThread::Mode;
using Fired = std::vector<unsigned int>;

using OmTimerThreadTest = test::HandTimedTest;

constexpr int kTask = 0xB101;

std::string pointerText(void const* pointer)
{
    char text[40];
    std::snprintf(text, sizeof text, "%p", pointer);
    return text;
}

std::string openingLine(OmTimerThread const* thread)
{
    return "debug: <timer> this(" + pointerText(thread) + ")";
}

TEST_F(OmTimerThreadTest, itWaitsTicksAndWaitsAgain)
{
    EXPECT_EQ(thread.mode(), Mode::waiting);
    EXPECT_TRUE(thread.isIdle());
    OmTimer timer(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, 200, 0), 0);
    EXPECT_EQ(thread.mode(), Mode::ticking);
    EXPECT_FALSE(thread.isIdle());
    ticks(2);
    EXPECT_EQ(thread.mode(), Mode::waiting);
    EXPECT_TRUE(thread.isIdle());
}

TEST_F(OmTimerThreadTest, noTickIsWaitedForWithoutTasks)
{
    OmTimer timer(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, 0, 0), 0);
    ticks(1);
    EXPECT_EQ(clock.begun(), 1);
}

TEST_F(OmTimerThreadTest, theLastCancelledTaskLetsItWaitAfterTheTick)
{
    OmTimer timer(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, 1000, 0), 0);
    waitUntilTicking();
    EXPECT_EQ(thread.remove(&timer, kTask), 0);
    ticks(1);
    EXPECT_EQ(thread.mode(), Mode::waiting);
}

TEST_F(OmTimerThreadTest, aTaskThatIsCancelledAtOnceLetsItWaitAgain)
{
    OmTimer timer(&listener);
    for (int round = 0; round < 200; ++round)
    {
        ASSERT_EQ(thread.add(&timer, kTask, 1000, 0), 0);
        ASSERT_EQ(thread.remove(&timer, kTask), 0);
        if (clock.isWaited())
        {
            ticks(1);
        }
        ASSERT_TRUE(eventually([this] { return clock.isWaited() || thread.mode() == Mode::waiting; }));
    }
    clock.release();
    EXPECT_TRUE(eventually([this] { return thread.mode() == Mode::waiting; }));
}

TEST_F(OmTimerThreadTest, nullAndNegativeIdsAreRefused)
{
    OmTimer timer(&listener);
    LogCapture log;
    EXPECT_EQ(thread.add(nullptr, kTask, 100, 0), -2);
    EXPECT_EQ(thread.add(&timer, -1, 100, 0), -2);
    EXPECT_EQ(thread.add(nullptr, -1, 100, 0), -2);
    EXPECT_EQ(thread.remove(nullptr, kTask), -2);
    EXPECT_EQ(thread.remove(&timer, -5), -2);
    EXPECT_EQ(thread.removeTaskOfTimer(nullptr), -2);
    std::string const null = "error: <timer> Invalid Param! timer=NULL!";
    EXPECT_THAT(log.linesOf("OmTimerThread::add"),
                ElementsAre(null, "error: <timer> Invalid Param! task_id=-1.", null));
    EXPECT_THAT(log.linesOf("OmTimerThread::remove"), ElementsAre(null, "error: <timer> Invalid Param! task_id=-5."));
    EXPECT_THAT(log.linesOf("OmTimerThread::removeTaskOfTimer"), ElementsAre(null));
    EXPECT_EQ(log.lines()[0].place, "om_timer: OmTimerThread::add");
    EXPECT_TRUE(thread.isIdle());
}

TEST_F(OmTimerThreadTest, findGivesTheTaskOrNull)
{
    OmTimer timer(&listener);
    OmTimer other(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, 1000, 0), 0);
    ASSERT_EQ(thread.add(&timer, kTask + 1, 2000, 1), 0);
    OmTimerTaskInfo_t const* const first = thread.find(&timer, kTask);
    OmTimerTaskInfo_t const* const second = thread.find(&timer, kTask + 1);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->task_id, kTask);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->timer, &timer);
    EXPECT_EQ(second->task_id, kTask + 1);
    EXPECT_EQ(second->interval, 2000);
    EXPECT_EQ(second->period, 1);
    EXPECT_EQ(second->remain, 2000);
    EXPECT_EQ(thread.find(&timer, kTask + 2), nullptr);
    EXPECT_EQ(thread.find(&other, kTask), nullptr);
    LogCapture log;
    EXPECT_EQ(thread.find(nullptr, kTask), nullptr);
    EXPECT_EQ(thread.find(&timer, -1), nullptr);
    EXPECT_THAT(log.linesOf("OmTimerThread::find"),
                ElementsAre("error: <timer> Invalid Param! timer=NULL!", "error: <timer> Invalid Param! task_id=-1."));
}

TEST_F(OmTimerThreadTest, aTaskWithNegativeTimeLeftIsReportedAndStays)
{
    OmTimer timer(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, -1, 0), 0);
    LogCapture log;
    ticks(2);
    EXPECT_THAT(log.linesOf("OmTimerThread::ticking"),
                ElementsAre("warning: <timer>  Residue Task!", "warning: <timer>  Residue Task!"));
    EXPECT_THAT(listener.fired(), IsEmpty());
    EXPECT_EQ(thread.remove(&timer, kTask), 0);
}

TEST_F(OmTimerThreadTest, clearDropsTheTasksOfAllTimers)
{
    OmTimer timer(&listener);
    OmTimer other(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, 100, 1), 0);
    ASSERT_EQ(thread.add(&other, kTask, 100, 1), 0);
    waitUntilTicking();
    thread.clear();
    EXPECT_TRUE(thread.isIdle());
    ticks(1);
    EXPECT_THAT(listener.fired(), IsEmpty());
}

TEST_F(OmTimerThreadTest, openingAnOpenThreadDropsItsTasksAndSaysThatItExists)
{
    OmTimer timer(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, 100, 1), 0);
    LogCapture log;
    thread.open();
    EXPECT_THAT(log.linesOf("OmTimerThread::open"), ElementsAre(openingLine(&thread), "info: <timer> thread exist."));
    EXPECT_TRUE(thread.isIdle());
}

TEST_F(OmTimerThreadTest, closingEndsTheThreadAndDropsTheTasks)
{
    OmTimer timer(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, 100, 1), 0);
    clock.release();
    ASSERT_TRUE(eventually([this] { return !listener.fired().empty(); }));
    LogCapture log;
    thread.close();
    std::size_t const fired = listener.fired().size();
    EXPECT_THAT(log.linesOf("OmTimerThread::close"), ElementsAre("info: thread join."));
    EXPECT_EQ(thread.mode(), Mode::closed);
    EXPECT_TRUE(thread.isIdle());
    EXPECT_EQ(listener.fired().size(), fired);
    thread.close();
    EXPECT_THAT(log.linesOf("OmTimerThread::close"), ElementsAre("info: thread join.")) << "there is nothing to join";
}

TEST_F(OmTimerThreadTest, closingWaitsForTheTickThatIsUnderWayAndForNoOther)
{
    OmTimer timer(&listener);
    ASSERT_EQ(thread.add(&timer, kTask, 0, 1), 0);
    waitUntilTicking();
    LogCapture const log;
    test::WaitingCaller closer([this] { thread.close(); });
    ASSERT_TRUE(eventually([&] { return log.contains("thread join."); }));
    closer.expectWaits();
    clock.tick(thread);
    closer.join();
    EXPECT_EQ(clock.begun(), 1);
    EXPECT_THAT(listener.fired(), IsEmpty());
}

TEST_F(OmTimerThreadTest, aThreadCanBeOpenedAgain)
{
    OmTimer timer(&listener);
    thread.close();
    EXPECT_EQ(thread.add(&timer, kTask, 100, 0), 0);
    LogCapture log;
    thread.open();
    EXPECT_THAT(log.linesOf("OmTimerThread::open"), ElementsAre(openingLine(&thread), "info: <timer> create thread."));
    EXPECT_TRUE(thread.isIdle());
    ASSERT_EQ(thread.add(&timer, kTask, 100, 0), 0);
    ticks(1);
    EXPECT_EQ(listener.fired(), Fired{kTask});
}

TEST(OmTimerThread, leavesNoThreadBehind)
{
    test::ProcessState const state;
    for (int i = 0; i < 50; ++i)
    {
        OmTimerThread const thread;
    }
}

TEST(OmTimerThread, saysWhenItsThreadStarts)
{
    LogCapture log;
    OmTimerThread const thread;
    std::string const start = "<timer> start (thr=" + pointerText(&thread) + ")";
    ASSERT_TRUE(eventually([&] { return log.contains(start); }));
    EXPECT_THAT(log.linesOf("OmTimerThread::TickingThread"), ElementsAre("debug: <timer> start."));
    EXPECT_THAT(log.linesOf("OmTimerThread::ticking"), ElementsAre("debug: " + start));
}

TEST(OmTimerThread, itsFunctionRefusesNull)
{
    LogCapture log;
    EXPECT_EQ(OmTimerThread::TickingThread(nullptr), nullptr);
    EXPECT_THAT(log.linesOf("OmTimerThread::TickingThread"),
                ElementsAre("debug: <timer> start.", "error: <timer> itmer=NULL!"));
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST(OmTimerThread, isMadeByTheFirstTimerAndSharedByAll)
{
    std::unique_ptr<OmTimerThread> const former(OmTimerThread::exchangeInstance(nullptr)); // of another test
    LogCapture const log;
    OmTimerThread* made = nullptr;
    {
        OmTimer const first(nullptr);
        OmTimer const second(nullptr);
        made = &OmTimerThread::instance();
    }
    EXPECT_EQ(&OmTimerThread::instance(), made) << "it outlives the timers";
    EXPECT_THAT(log.linesOf("OmTimerThread::open"), ElementsAre(openingLine(made), "info: <timer> create thread."));
}

TEST(OmTimerThread, isMadeOnceByThreadsThatRaceForIt)
{
    for (int round = 0; round < 50; ++round)
    {
        std::unique_ptr<OmTimerThread> const former(OmTimerThread::exchangeInstance(nullptr));
        std::atomic<bool> go{false};
        OmTimerThread* seen[3] = {};
        std::vector<std::thread> threads;
        for (OmTimerThread*& slot : seen)
        {
            threads.emplace_back(
                [&go, &slot]
                {
                    while (!go)
                    {
                    }
                    slot = &OmTimerThread::instance();
                });
        }
        go = true;
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        ASSERT_EQ(seen[0], seen[1]);
        ASSERT_EQ(seen[0], seen[2]);
    }
}

TEST(OmTimerThread, endsTheProcessWhenNoThreadCanBeMade)
{
    EXPECT_EXIT(
        {
            // No process has room for a stack of that size.
            pthread_attr_t attributes;
            pthread_attr_init(&attributes);
            pthread_attr_setstacksize(&attributes, (SIZE_MAX / 16 * 15) & ~static_cast<std::size_t>(0xFFFF));
            pthread_setattr_default_np(&attributes);
            OmTimerThread const thread;
        },
        ::testing::ExitedWithCode(1), "\\[mpctrl-timer\\] create thread failed\\. errno=[0-9]+\\.");
}

TEST(OmTimerThread, endsTheProcessWhenItIsClosedFromInsideACallback)
{
    EXPECT_EXIT(
        {
            OmTimerThread thread([](int) { return 0; });
            NotingListener listener;
            OmTimer timer(&listener);
            listener.inside = [&](unsigned int) { thread.close(); };
            thread.add(&timer, kTask, 0, 0);
            eventually([] { return false; });
        },
        ::testing::ExitedWithCode(1), "join thread failed\\. err=[0-9]+");
}

} // namespace

} // namespace tz::orvane::om
