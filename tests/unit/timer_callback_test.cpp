// SPDX-License-Identifier: Apache-2.0
// What may and may not be done to timers inside a callback, and while one runs on another thread.
#include "orvane/om_timer.h"

#include "support/log_capture.h"
#include "unit/hand_clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using platform::DebugLevel;
using test::eventually;
using test::LogCapture;
using test::NotingListener;
using ::testing::ElementsAre;
using Mode = OmTimerThread::Mode;
using Fired = std::vector<unsigned int>;

using TimerCallback = test::HandTimedTest;

constexpr unsigned int kTask = 0xB101;
constexpr char kRefused[] = "<timer> Not allowed inside a timer's callback!";

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
    EXPECT_THAT(log.textsOf("OmTimerThread::add"), ElementsAre(kRefused));
    EXPECT_THAT(log.textsOf("OmTimerThread::remove"), ElementsAre(kRefused));
    EXPECT_THAT(log.textsOf("OmTimerThread::removeTaskOfTimer"), ElementsAre(kRefused));
    for (LogCapture::Line const& line : log.lines())
    {
        if (line.text == kRefused)
        {
            EXPECT_EQ(line.level, DebugLevel::error);
        }
    }
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
void expectWaitsForCallback(NotingListener& listener, OmTimer& timer, std::function<void()> const& operation)
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
    std::atomic<bool> started{false};
    std::thread caller(
        [&]
        {
            started = true;
            operation();
            overInTime = callbackOver.load();
        });
    ASSERT_TRUE(eventually([&] { return started.load(); }));
    for (int i = 0; i < 1000; ++i)
    {
        std::this_thread::yield(); // a caller that does not wait comes back meanwhile
    }
    letGo = true;
    caller.join();
    EXPECT_TRUE(overInTime);
}

TEST_F(TimerCallback, cancelOnAnotherThreadWaitsForIt)
{
    clock.release();
    OmTimer timer(&listener);
    expectWaitsForCallback(listener, timer, [&] { EXPECT_EQ(timer.cancel(kTask), 0); });
}

TEST_F(TimerCallback, cancelAllOnAnotherThreadWaitsForIt)
{
    clock.release();
    OmTimer timer(&listener);
    expectWaitsForCallback(listener, timer, [&] { EXPECT_EQ(timer.cancelAll(), 0); });
}

TEST_F(TimerCallback, destructionOnAnotherThreadWaitsForIt)
{
    clock.release();
    auto timer = std::make_unique<OmTimer>(&listener);
    expectWaitsForCallback(listener, *timer, [&] { timer.reset(); });
}

} // namespace

} // namespace tz::orvane::om
