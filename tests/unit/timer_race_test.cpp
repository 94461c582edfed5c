// SPDX-License-Identifier: Apache-2.0
// Races around the timer thread's sleep, cancellation and destruction, run many times on ticks that take no time.
#include "orvane/om_timer.h"

#include "orvane/platform/om_debug.h"
#include "unit/hand_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <thread>

namespace tz::orvane::om
{

namespace
{

constexpr unsigned int kTask = 0xB101;

/// Lets the others at the mutex, as a tick of some length would.
int noTime(int)
{
    std::this_thread::yield();
    return 0;
}

/// Never sleeps, so that the next step comes as soon as can be.
template <class Condition> bool soon(Condition condition)
{
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

class CountingListener final : public OmITimerListener
{
public:
    void onTimeout(unsigned int) override
    {
        if (!allowed)
        {
            ++forbidden;
        }
        ++fired;
    }

    std::atomic<bool> allowed{true};
    std::atomic<int> fired{0};
    std::atomic<int> forbidden{0};
};

class TimerRace : public ::testing::Test
{
protected:
    TimerRace()
        : former(OmTimerThread::exchangeInstance(&thread))
    {
    }

    ~TimerRace() override { OmTimerThread::exchangeInstance(former); }

    OmTimerThread thread{&noTime};
    OmTimerThread* former;
};

TEST_F(TimerRace, aTaskArmedWhileTheThreadGoesToSleepFires)
{
    CountingListener listener;
    OmTimer timer(&listener);
    for (int round = 1; round <= 50'000; ++round)
    {
        // One-shot, so that the thread is on its way to sleep when the next one is armed.
        ASSERT_TRUE(soon([&] { return timer.setTime(kTask, 0, 0) == 0; })) << "round " << round;
        ASSERT_TRUE(soon([&] { return listener.fired == round; })) << "round " << round;
        // Either at once, or as soon as the thread says that it has nothing more to do.
        if (round % 2 == 0)
        {
            ASSERT_TRUE(soon([this] { return thread.mode() == OmTimerThread::Mode::waiting; }));
        }
    }
}

TEST_F(TimerRace, aTaskArmedBetweenTheLastLookAtTheListAndTheSleepFires)
{
    // The line that tells of the sleep stands between the two; whoever puts it out dawdles.
    std::atomic<bool> goingToSleep{false};
    platform::setDebugLevel(platform::DebugLevel::info);
    platform::setDebugSink(
        [](platform::DebugLevel, char const* line, void* flag)
        {
            if (std::strstr(line, "switch to waiting mode") != nullptr)
            {
                *static_cast<std::atomic<bool>*>(flag) = true;
                for (int i = 0; i < 100; ++i)
                {
                    std::this_thread::yield();
                }
            }
        },
        &goingToSleep);

    CountingListener listener;
    OmTimer timer(&listener);
    for (int round = 1; round <= 2000 && !HasFailure(); ++round)
    {
        goingToSleep = false;
        EXPECT_EQ(timer.setTime(kTask, 0, 0), 0);
        EXPECT_TRUE(soon([&] { return goingToSleep.load(); })) << "round " << round;
        EXPECT_EQ(timer.setTime(kTask, 0, 0), 0);
        EXPECT_TRUE(soon([&] { return listener.fired == 2 * round; })) << "round " << round;
        EXPECT_TRUE(soon([this] { return thread.mode() == OmTimerThread::Mode::waiting; }));
    }
    platform::setDebugLevel(platform::DebugLevel::error);
    platform::setDebugSink(nullptr, nullptr);
}

TEST_F(TimerRace, aTaskArmedBeforeTheThreadHasEverWaitedFires)
{
    for (int round = 0; round < 2000; ++round)
    {
        CountingListener listener;
        OmTimer timer(&listener);
        OmTimerThread fresh(&noTime);
        ASSERT_EQ(fresh.add(&timer, static_cast<int>(kTask), 0, 0), 0);
        ASSERT_TRUE(soon([&] { return listener.fired == 1; })) << "round " << round;
    }
}

TEST(TimerThreadRace, closingWakesTheThreadWhereverItIs)
{
    for (int round = 0; round < 2000; ++round)
    {
        CountingListener listener;
        OmTimer timer(&listener);
        OmTimerThread fresh(&noTime);
        if (round % 2 == 0)
        {
            ASSERT_EQ(fresh.add(&timer, static_cast<int>(kTask), 0, round % 4), 0);
        }
        fresh.close();
    }
}

TEST_F(TimerRace, nothingFiresAfterACancelThatCameBack)
{
    CountingListener listener;
    OmTimer timer(&listener);
    for (int round = 0; round < 5000; ++round)
    {
        int const before = listener.fired;
        listener.allowed = true;
        ASSERT_EQ(timer.setTime(kTask, 0, 1), 0);
        ASSERT_EQ(timer.setTime(kTask + 1, 0, 1), 0);
        ASSERT_TRUE(soon([&] { return listener.fired > before; }));
        if (round % 2 == 0)
        {
            ASSERT_EQ(timer.cancelAll(), 0);
        }
        else
        {
            ASSERT_EQ(timer.cancel(kTask), 0);
            ASSERT_EQ(timer.cancel(kTask + 1), 0);
        }
        listener.allowed = false;
    }
    EXPECT_EQ(listener.forbidden, 0);
}

TEST_F(TimerRace, timersAndListenersCanBeDestroyedWhileTheirTasksFire)
{
    for (int round = 0; round < 5000; ++round)
    {
        auto listener = std::make_unique<CountingListener>();
        auto timer = std::make_unique<OmTimer>(listener.get());
        ASSERT_EQ(timer->setTime(kTask, 0, 1), 0);
        ASSERT_EQ(timer->setTime(kTask + 1, 0, 0), 0);
        if (round % 2 == 0)
        {
            ASSERT_TRUE(soon([&] { return listener->fired > 0; }));
        }
        timer.reset();
        listener.reset();
    }
    EXPECT_TRUE(thread.isIdle());
}

TEST_F(TimerRace, threadsThatArmAndCancelTheSameTaskAgreeOnWhoDidIt)
{
    CountingListener listener;
    OmTimer timer(&listener);
    std::atomic<int> armed{0};
    std::atomic<int> cancelled{0};
    auto const work = [&]
    {
        for (int i = 0; i < 5000; ++i)
        {
            armed += timer.setTime(kTask, 1'000'000'000'000, 1) == 0 ? 1 : 0;
            cancelled += timer.cancel(kTask) == 0 ? 1 : 0;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_GE(armed, 5000);
    EXPECT_EQ(armed, cancelled);
    EXPECT_TRUE(thread.isIdle());
}

} // namespace

} // namespace tz::orvane::om
