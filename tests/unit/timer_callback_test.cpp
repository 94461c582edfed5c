// SPDX-License-Identifier: Apache-2.0
// What may and may not be done to timers inside a callback, and while one runs on another thread.
#include "orvane/om_timer.h"

#include "support/log_capture.h"
#include "unit/hand_clock.h"
#include "unit/waiting_caller.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using test::eventually;
using test::LogCapture;
using test::NotingListener;
using ::testing::ElementsAre;
using Mode = OmTimerThread::Mode;
using Fired = std::vector<unsigned int>;

using TimerCallback = test::HandTimedTest;

constexpr unsigned int kTask = 0xB101;
constexpr char kRefused[] = "error: <timer> Not allowed inside a timer's callback!";

TEST_F(TimerCallback, armingAndCancellingAreRefusedWithAnErrorLine)
{
    OmTimer timer(&listener);
    std::vector<int> results;
    listener.inside = [&](unsigned int) {
        results = {timer.setTime(kTask + 1, 100, 0), timer.cancel(kTask), timer.cancelAll()};
    };
    ASSERT_EQ(timer.setTime(kTask, 100, 1), 0);
    LogCapture log;
    ticks(1);
    EXPECT_EQ(results, (std::vector<int>{-2, -2, -2}));
    EXPECT_THAT(log.linesOf("OmTimerThread::add"), ElementsAre(kRefused));
    EXPECT_THAT(log.linesOf("OmTimerThread::remove"), ElementsAre(kRefused));
    EXPECT_THAT(log.linesOf("OmTimerThread::removeTaskOfTimer"), ElementsAre(kRefused));
    ticks(1);
    EXPECT_EQ(listener.fired(), (Fired{kTask, kTask})) << "it must be as it was";
}

TEST_F(TimerCallback, refusalEndsWithTheCallback)
{
    OmTimer timer(&listener);
    ASSERT_EQ(timer.setTime(kTask, 100, 0), 0);
    ticks(1);
    EXPECT_EQ(timer.setTime(kTask, 100, 0), 0);
    EXPECT_EQ(timer.cancel(kTask), 0);
}

TEST_F(TimerCallback, timersOfAnotherThreadObjectAreNotRefused)
{
    OmTimerThread other;
    OmTimer timer(&listener);
    int added = -1;
    int removed = -1;
    listener.inside = [&](unsigned int)
    {
        added = other.add(&timer, static_cast<int>(kTask), 1'000'000, 0);
        removed = other.removeTaskOfTimer(&timer);
    };
    ASSERT_EQ(timer.setTime(kTask, 100, 0), 0);
    ticks(1);
    EXPECT_EQ(added, 0);
    EXPECT_EQ(removed, 0);
}

TEST_F(TimerCallback, aTimerMayBeDestroyedInsideItsOwn)
{
    auto timer = std::make_unique<OmTimer>(&listener);
    listener.inside = [&](unsigned int) { timer.reset(); };
    ASSERT_EQ(timer->setTime(kTask, 100, 1), 0);
    ASSERT_EQ(timer->setTime(kTask + 1, 100, 1), 0);
    LogCapture log;
    ticks(1);
    EXPECT_EQ(listener.fired(), Fired{kTask}) << "the task behind it must not fire";
    EXPECT_EQ(thread.mode(), Mode::waiting);
    EXPECT_TRUE(log.contains("<timer> success2!"));
}

TEST_F(TimerCallback, timersBeforeAndBehindMayBeDestroyed)
{
    NotingListener others;
    auto before = std::make_unique<OmTimer>(&others);
    OmTimer timer(&listener);
    auto behind = std::make_unique<OmTimer>(&others);
    OmTimer last(&others);
    listener.inside = [&](unsigned int)
    {
        before.reset();
        behind.reset();
    };
    ASSERT_EQ(before->setTime(0xB201, 1000, 1), 0);
    ASSERT_EQ(timer.setTime(kTask, 100, 1), 0);
    ASSERT_EQ(behind->setTime(0xB202, 100, 1), 0);
    ASSERT_EQ(last.setTime(0xB203, 100, 1), 0);
    ticks(2);
    EXPECT_EQ(listener.fired(), (Fired{kTask, kTask}));
    EXPECT_EQ(others.fired(), (Fired{0xB203, 0xB203}));
}

TEST_F(TimerCallback, aTimerMayBeMade)
{
    OmTimer timer(&listener);
    std::unique_ptr<OmTimer> made;
    listener.inside = [&](unsigned int) { made = std::make_unique<OmTimer>(nullptr); };
    ASSERT_EQ(timer.setTime(kTask, 100, 0), 0);
    ticks(1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->setTime(kTask, 100, 0), 0);
}

TEST_F(TimerCallback, theStateOfTheThreadCanBeAskedFor)
{
    OmTimer timer(&listener);
    OmTimer other(&listener);
    bool idle = true;
    bool idleAfterClear = false;
    Mode mode = Mode::closed;
    listener.inside = [&](unsigned int)
    {
        mode = thread.mode();
        idle = thread.isIdle();
        thread.clear();
        idleAfterClear = thread.isIdle();
    };
    ASSERT_EQ(timer.setTime(kTask, 100, 1), 0);
    ASSERT_EQ(other.setTime(kTask, 100, 1), 0);
    ticks(1);
    EXPECT_EQ(mode, Mode::ticking);
    EXPECT_FALSE(idle);
    EXPECT_TRUE(idleAfterClear);
    EXPECT_EQ(listener.fired(), Fired{kTask});
}

/// Runs `operation` on another thread while a callback is held up; it must not come back before the callback has.
/// @param entry the line that the operation begins with, empty when it has none
void expectWaitsForCallback(NotingListener& listener, OmTimer& timer, std::string const& entry,
                            std::function<void()> const& operation)
{
    std::atomic<bool> entered{false};
    std::atomic<bool> letGo{false};
    std::atomic<bool> callbackOver{false};
    std::atomic<bool> overInTime{false};
    listener.inside = [&](unsigned int)
    {
        entered = true;
        eventually([&] { return letGo.load(); });
        callbackOver = true;
    };
    ASSERT_EQ(timer.setTime(kTask, 0, 1), 0);
    ASSERT_TRUE(eventually([&] { return entered.load(); }));
    LogCapture const log;
    test::WaitingCaller caller(
        [&]
        {
            operation();
            overInTime = callbackOver.load();
        });
    EXPECT_TRUE(eventually([&] { return entry.empty() || log.contains(entry); }));
    caller.expectWaits();
    letGo = true;
    caller.join();
    EXPECT_TRUE(overInTime);
    OmTimerThread::instance().clear(); // what the listener does ends with this function
}

TEST_F(TimerCallback, setTimeOnAnotherThreadWaitsForIt)
{
    clock.release();
    OmTimer timer(&listener);
    expectWaitsForCallback(listener, timer, "<timer> set time. task_id=45314, interval=1000000, period=0.",
                           [&] { EXPECT_EQ(timer.setTime(kTask + 1, 1'000'000, 0), 0); });
}

TEST_F(TimerCallback, cancelOnAnotherThreadWaitsForIt)
{
    clock.release();
    OmTimer timer(&listener);
    expectWaitsForCallback(listener, timer, "<timer> cancel timer (id=45313).",
                           [&] { EXPECT_EQ(timer.cancel(kTask), 0); });
}

TEST_F(TimerCallback, cancelAllOnAnotherThreadWaitsForIt)
{
    clock.release();
    OmTimer timer(&listener);
    expectWaitsForCallback(listener, timer, "<timer> cancel timer of all.", [&] { EXPECT_EQ(timer.cancelAll(), 0); });
}

TEST_F(TimerCallback, destructionOnAnotherThreadWaitsForIt)
{
    clock.release();
    auto timer = std::make_unique<OmTimer>(&listener);
    expectWaitsForCallback(listener, *timer, "", [&] { timer.reset(); });
}

TEST_F(TimerCallback, closingTheThreadWaitsForIt)
{
    clock.release();
    OmTimer timer(&listener);
    expectWaitsForCallback(listener, timer, "", [this] { thread.close(); });
    EXPECT_EQ(thread.mode(), Mode::closed);
    EXPECT_TRUE(thread.isIdle());
}

} // namespace

} // namespace tz::orvane::om
