// SPDX-License-Identifier: Apache-2.0
// Timers on a clock that the test moves: ids, ranges, results, log lines, when and in what order tasks fire.
#include "orvane/om_timer.h"

#include "support/log_capture.h"
#include "unit/hand_clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using platform::DebugLevel;
using test::LogCapture;
using test::NotingListener;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using OmTimerTest = test::HandTimedTest;
using Fired = std::vector<unsigned int>;

constexpr unsigned int kTask = 0xB101;

std::string alreadyExists(OmTimer const& timer, unsigned int task_id)
{
    return "warning: <timer> Already Exist! timer_id=" + std::to_string(timer.id()) +
           ", task_id=" + std::to_string(task_id) + ".";
}

TEST_F(OmTimerTest, taskIdsOutsideTheRangeAreRejected)
{
    OmTimer timer(&listener);
    LogCapture log;
    EXPECT_EQ(timer.setTime(0xB100, 1000, 0), -2);
    EXPECT_EQ(timer.setTime(0xB500, 1000, 0), -2);
    EXPECT_EQ(timer.setTime(0, 1000, 0), -2);
    EXPECT_EQ(timer.setTime(0xFFFFFFFF, 1000, 0), -2);
    EXPECT_TRUE(thread.isIdle());
    EXPECT_THAT(log.linesOf("OmTimer::setTime"),
                ElementsAre("debug: <timer> set time. task_id=45312, interval=1000, period=0.",
                            "error: <timer> Invalid Param! id=45312",
                            "debug: <timer> set time. task_id=46336, interval=1000, period=0.",
                            "error: <timer> Invalid Param! id=46336",
                            "debug: <timer> set time. task_id=0, interval=1000, period=0.",
                            "error: <timer> Invalid Param! id=0",
                            "debug: <timer> set time. task_id=4294967295, interval=1000, period=0.",
                            "error: <timer> Invalid Param! id=4294967295"));
    EXPECT_EQ(log.lines()[0].place, "om_timer: OmTimer::setTime");
}

TEST_F(OmTimerTest, taskIdsAtTheEndsOfTheRangeAreAccepted)
{
    OmTimer timer(&listener);
    EXPECT_EQ(timer.setTime(0xB101, 1000, 0), 0);
    EXPECT_EQ(timer.setTime(0xB4FF, 1000, 0), 0);
    ticks(10);
    EXPECT_EQ(listener.fired(), (Fired{0xB101, 0xB4FF}));
}

TEST_F(OmTimerTest, negativeIntervalIsRejected)
{
    OmTimer timer(&listener);
    LogCapture log;
    EXPECT_EQ(timer.setTime(kTask, -1, 0), -2);
    EXPECT_EQ(timer.setTime(kTask, LLONG_MIN, 1), -2);
    EXPECT_TRUE(thread.isIdle());
    EXPECT_THAT(log.linesOf("OmTimer::setTime"),
                ElementsAre("debug: <timer> set time. task_id=45313, interval=-1, period=0.",
                            "error: <timer> Invalid Param! interval=-1",
                            "debug: <timer> set time. task_id=45313, interval=0, period=1.",
                            "error: <timer> Invalid Param! interval=-9223372036854775808"));
}

TEST_F(OmTimerTest, ofALongIntervalTheEntryLineShowsTheLowest32Bits)
{
    OmTimer timer(&listener);
    LogCapture log;
    EXPECT_EQ(timer.setTime(kTask, 5'000'000'000, 0), 0);
    EXPECT_THAT(log.linesOf("OmTimer::setTime"),
                ElementsAre("debug: <timer> set time. task_id=45313, interval=705032704, period=0."));
    OmTimerTaskInfo_t const* const task = thread.find(&timer, static_cast<int>(kTask));
    ASSERT_NE(task, nullptr);
    EXPECT_EQ(task->interval, 5'000'000'000);
}

TEST_F(OmTimerTest, constructionIsLogged)
{
    LogCapture log;
    OmTimer const timer(&listener);
    char line[200];
    std::snprintf(line, sizeof line, "debug: <timer> create OmTimer(o=%p), this(%p), id=%04x",
                  static_cast<void*>(&listener), static_cast<void const*>(&timer), timer.id());
    EXPECT_THAT(log.linesOf("OmTimer::OmTimer"), ElementsAre(line));
}

TEST_F(OmTimerTest, oneShotTaskFiresOnceOnTheTickThatRoundsItsIntervalUp)
{
    struct
    {
        long long interval;
        int expectedTicks;
    } const cases[] = {{0, 1}, {1, 1}, {99, 1}, {100, 1}, {101, 2}, {200, 2}, {250, 3}, {1000, 10}, {1001, 11}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.interval);
        NotingListener one;
        OmTimer timer(&one);
        ASSERT_EQ(timer.setTime(kTask, c.interval, 0), 0);
        ticks(c.expectedTicks - 1);
        EXPECT_THAT(one.fired(), IsEmpty());
        ticks(1);
        EXPECT_EQ(one.fired(), Fired{kTask});
        EXPECT_TRUE(thread.isIdle());
        EXPECT_EQ(timer.cancel(kTask), 1) << "it must be gone";
    }
    EXPECT_EQ(clock.lastMilliseconds(), 100);
}

TEST_F(OmTimerTest, periodicTaskFiresAgainAndAgain)
{
    OmTimer timer(&listener);
    ASSERT_EQ(timer.setTime(kTask, 250, 1), 0);
    for (std::size_t round = 1; round <= 4; ++round)
    {
        ticks(2);
        EXPECT_EQ(listener.fired().size(), round - 1);
        ticks(1);
        EXPECT_EQ(listener.fired().size(), round);
    }
    EXPECT_FALSE(thread.isIdle());
}

TEST_F(OmTimerTest, anyPeriodButZeroRepeats)
{
    OmTimer timer(&listener);
    ASSERT_EQ(timer.setTime(kTask, 0, -7), 0);
    ticks(3);
    EXPECT_EQ(listener.fired().size(), 3U);
}

TEST_F(OmTimerTest, theLongestIntervalIsCountedDownWithoutOverflow)
{
    OmTimer timer(&listener);
    ASSERT_EQ(timer.setTime(kTask, LLONG_MAX, 0), 0);
    ticks(3);
    EXPECT_THAT(listener.fired(), IsEmpty());
    EXPECT_EQ(timer.cancel(kTask), 0);
}

TEST_F(OmTimerTest, tasksThatAreDueTogetherFireInTheOrderInWhichTheyWereArmed)
{
    OmTimer first(&listener);
    OmTimer second(&listener);
    ASSERT_EQ(second.setTime(0xB203, 150, 0), 0);
    ASSERT_EQ(first.setTime(0xB202, 120, 1), 0);
    ASSERT_EQ(first.setTime(0xB201, 100, 0), 0);
    ASSERT_EQ(second.setTime(0xB204, 200, 0), 0);
    ticks(1);
    EXPECT_EQ(listener.fired(), Fired{0xB201});
    ticks(1);
    EXPECT_EQ(listener.fired(), (Fired{0xB201, 0xB203, 0xB202, 0xB204}));
}

TEST_F(OmTimerTest, armingTwiceGivesOneAndLeavesTheFirstUntouched)
{
    OmTimer timer(&listener);
    ASSERT_EQ(timer.setTime(kTask, 300, 0), 0);
    ticks(1);
    LogCapture log;
    EXPECT_EQ(timer.setTime(kTask, 5000, 1), 1);
    EXPECT_THAT(log.linesOf("OmTimerThread::add"), ElementsAre(alreadyExists(timer, kTask)));
    ticks(2);
    EXPECT_EQ(listener.fired(), Fired{kTask});
    EXPECT_TRUE(thread.isIdle());
}

TEST_F(OmTimerTest, timersDoNotShareTaskIds)
{
    NotingListener other;
    OmTimer timer(&listener);
    OmTimer otherTimer(&other);
    EXPECT_EQ(timer.setTime(kTask, 100, 0), 0);
    EXPECT_EQ(otherTimer.setTime(kTask, 100, 0), 0);
    EXPECT_EQ(timer.cancel(kTask), 0);
    ticks(1);
    EXPECT_THAT(listener.fired(), IsEmpty());
    EXPECT_EQ(other.fired(), Fired{kTask});
}

TEST_F(OmTimerTest, cancelOfATaskThatIsNotArmedGivesOne)
{
    OmTimer timer(&listener);
    LogCapture log;
    EXPECT_EQ(timer.cancel(0xB4FF), 1);
    EXPECT_THAT(log.linesOf("OmTimer::cancel"), ElementsAre("debug: <timer> cancel timer (id=46335)."));
    EXPECT_THAT(log.linesOf("OmTimerThread::remove"), ElementsAre(alreadyExists(timer, 0xB4FF)));
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(OmTimerTest, cancelLeavesTheOtherTasks)
{
    OmTimer timer(&listener);
    ASSERT_EQ(timer.setTime(0xB101, 100, 0), 0);
    ASSERT_EQ(timer.setTime(0xB102, 100, 0), 0);
    ASSERT_EQ(timer.setTime(0xB103, 100, 0), 0);
    EXPECT_EQ(timer.cancel(0xB102), 0);
    ticks(1);
    EXPECT_EQ(listener.fired(), (Fired{0xB101, 0xB103}));
}

TEST_F(OmTimerTest, cancelOutsideTheRangeDoesNothingAndMakesNoThread)
{
    OmTimer timer(&listener);
    ASSERT_EQ(OmTimerThread::exchangeInstance(nullptr), &thread);
    LogCapture log;
    EXPECT_EQ(timer.cancel(0xB100), -2);
    EXPECT_EQ(timer.cancel(0xB500), -2);
    EXPECT_THAT(log.linesOf("OmTimer::cancel"),
                ElementsAre("debug: <timer> cancel timer (id=45312).", "debug: <timer> cancel timer (id=46336)."));
    EXPECT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(OmTimerThread::exchangeInstance(&thread), nullptr);
}

TEST_F(OmTimerTest, cancelAllMakesNoThread)
{
    OmTimer timer(&listener);
    ASSERT_EQ(OmTimerThread::exchangeInstance(nullptr), &thread);
    LogCapture log;
    EXPECT_EQ(timer.cancelAll(), 0);
    EXPECT_THAT(log.linesOf("OmTimer::cancelAll"), ElementsAre("debug: <timer> cancel timer of all."));
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(OmTimerThread::exchangeInstance(&thread), nullptr);
}

TEST_F(OmTimerTest, cancelAllTakesTheTasksOfThisTimerOnly)
{
    NotingListener other;
    OmTimer timer(&listener);
    OmTimer otherTimer(&other);
    for (unsigned int task = 0xB101; task < 0xB111; ++task)
    {
        ASSERT_EQ(timer.setTime(task, 100, 1), 0);
        ASSERT_EQ(otherTimer.setTime(task, 100, 1), 0);
    }
    LogCapture log;
    EXPECT_EQ(timer.cancelAll(), 0);
    EXPECT_THAT(log.linesOf("OmTimer::cancelAll"), ElementsAre("debug: <timer> cancel timer of all."));
    ticks(1);
    EXPECT_THAT(listener.fired(), IsEmpty());
    EXPECT_EQ(other.fired().size(), 16U);
    EXPECT_EQ(timer.cancelAll(), 0) << "with nothing armed";
}

TEST_F(OmTimerTest, destroyingATimerDropsItsTasksWithoutAWord)
{
    auto timer = std::make_unique<OmTimer>(&listener);
    ASSERT_EQ(timer->setTime(0xB101, 100, 1), 0);
    ASSERT_EQ(timer->setTime(0xB102, 200, 0), 0);
    waitUntilTicking();
    LogCapture log;
    timer.reset();
    EXPECT_TRUE(thread.isIdle());
    EXPECT_THAT(log.linesOf("OmTimer::~OmTimer"), IsEmpty());
    EXPECT_THAT(log.linesOf("OmTimerThread::forget"), IsEmpty());
    EXPECT_THAT(log.linesOf("OmTimerThread::removeTaskOfTimer"), IsEmpty());
    ticks(1);
    EXPECT_THAT(listener.fired(), IsEmpty());
}

TEST_F(OmTimerTest, aTimerWithoutListenerSaysSoAndGoesOn)
{
    OmTimer timer(nullptr);
    ASSERT_EQ(timer.setTime(kTask, 100, 1), 0);
    LogCapture log;
    ticks(2);
    EXPECT_THAT(log.linesOf("OmTimer::fire"),
                ElementsAre("error: <timer> listener=NULL!.", "error: <timer> listener=NULL!."));
}

TEST_F(OmTimerTest, fireCallsTheListener)
{
    OmTimer timer(&listener);
    timer.fire(7);
    EXPECT_EQ(listener.fired(), Fired{7});
}

TEST_F(OmTimerTest, eachTickIsLogged)
{
    OmTimer timer(&listener);
    ASSERT_EQ(timer.setTime(kTask, 150, 0), 0);
    LogCapture log(DebugLevel::trace);
    ticks(2);
    ASSERT_TRUE(test::eventually([&] { return log.contains("<timer> switch to waiting mode."); }));
    char tasks[2][200];
    for (int i = 0; i < 2; ++i)
    {
        std::snprintf(tasks[i], sizeof tasks[i],
                      "trace: <timer> timer=%p, id=%04x, task=b101, perviod=0, intval=150, remain=%d.",
                      static_cast<void*>(&timer), timer.id(), 150 - 100 * i);
    }
    char sent[200];
    std::snprintf(sent, sizeof sent, "info: <timer> send timeout event! id=%04x, task=b101.", timer.id());
    EXPECT_THAT(log.linesOf("OmTimerThread::ticking"),
                ElementsAre("trace: <timer> one tick.....", tasks[0], "trace: <timer> one tick.....", tasks[1], sent,
                            "info: <timer> success!", "info: <timer> success2!",
                            "info: <timer> switch to waiting mode."));
    EXPECT_EQ(log.lines().size(), 8U) << "nobody else says anything";
}

TEST_F(OmTimerTest, aWaitThatFailsIsLoggedAndCounted)
{
    OmTimer timer(&listener);
    ASSERT_EQ(timer.setTime(kTask, 200, 0), 0);
    LogCapture log;
    clock.fail();
    ticks(1);
    EXPECT_THAT(log.linesOf("OmTimerThread::ticking"),
                ElementsAre("error: <timer> call select() failed res=-1, errno=" + std::to_string(EINTR)));
    EXPECT_THAT(listener.fired(), IsEmpty());
    ticks(1);
    EXPECT_EQ(listener.fired(), Fired{kTask});
}

/// Notes whose task it was as well.
class NamedListener final : public OmITimerListener
{
public:
    using Heard = std::vector<std::pair<std::size_t, unsigned int>>;

    NamedListener(std::size_t name, Heard& heard)
        : m_name(name)
        , m_heard(heard)
    {
    }

    void onTimeout(unsigned int task_id) override { m_heard.emplace_back(m_name, task_id); }

private:
    std::size_t m_name;
    Heard& m_heard;
};

TEST_F(OmTimerTest, ofTenThousandOneShotTasksEachFiresOnceAtItsTickInTheOrderOfArming)
{
    constexpr unsigned int kTasks = 10'000;
    constexpr unsigned int kTasksOfATimer = 1000;
    constexpr int kTicks = 5;
    NamedListener::Heard heard; // looked at between ticks only
    std::deque<NamedListener> listeners;
    std::deque<OmTimer> timers;
    NamedListener::Heard expected[kTicks + 1];
    for (unsigned int i = 0; i < kTasks; ++i)
    {
        if (i % kTasksOfATimer == 0)
        {
            timers.emplace_back(&listeners.emplace_back(timers.size(), heard));
        }
        unsigned int const task = kTask + i % kTasksOfATimer;
        int const interval = static_cast<int>(i * 7919 % 500);
        ASSERT_EQ(timers.back().setTime(task, interval, 0), 0);
        expected[interval == 0 ? 1 : (interval + 99) / 100].emplace_back(timers.size() - 1, task);
    }
    for (int tick = 1; tick <= kTicks; ++tick)
    {
        ticks(1);
        EXPECT_GT(heard.size(), kTasks / 10);
        EXPECT_TRUE(heard == expected[tick]) << "tick " << tick << ", " << heard.size() << " fired";
        heard.clear();
    }
    EXPECT_TRUE(thread.isIdle());
}

} // namespace

} // namespace tz::orvane::om
