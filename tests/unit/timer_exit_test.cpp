// SPDX-License-Identifier: Apache-2.0
// The end of a process that still has timers.
#include "orvane/om_timer.h"

#include "unit/hand_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace tz::orvane::om
{

namespace
{

using test::eventually;

constexpr unsigned int kTask = 0xB101;

class CountingListener final : public OmITimerListener
{
public:
    void onTimeout(unsigned int) override { ++fired; }

    std::atomic<int> fired{0};
};

/// Ticks come as fast as they can, so that the end of the process meets a walk.
void tickAtOnce()
{
    OmTimerThread::exchangeInstance(new OmTimerThread(
        [](int)
        {
            std::this_thread::yield();
            return 0;
        }));
}

/// Arms a task of a timer of its own when the process ends.
class ArmsAtExit
{
public:
    ~ArmsAtExit()
    {
        OmTimer timer(nullptr);
        if (timer.setTime(kTask, 0, 1) == 0)
        {
            std::fputs("armed at exit\n", stderr);
        }
    }
};

TEST(TimerExit, aProcessEndsWhileAPeriodicTaskIsArmed)
{
    EXPECT_EXIT(
        {
            alarm(30); // kills what hangs
            static CountingListener listener;
            auto* const timer = new OmTimer(&listener); // never destroyed
            timer->setTime(kTask, 0, 1);
            std::exit(eventually([] { return listener.fired > 0; }) ? 0 : 2);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(TimerExit, aProcessEndsWhileTheTaskOfAStaticTimerFires)
{
    for (int round = 0; round < 5; ++round)
    {
        EXPECT_EXIT(
            {
                alarm(30);
                tickAtOnce();
                static CountingListener listener;
                static OmTimer timer(&listener);
                timer.setTime(kTask, 0, 1);
                std::exit(eventually([] { return listener.fired > 0; }) ? 0 : 2);
            },
            ::testing::ExitedWithCode(0), "");
    }
}

TEST(TimerExit, staticObjectsMayArmTimersAfterNoThreadCouldBeMade)
{
    EXPECT_EXIT(
        {
            alarm(30);
            static ArmsAtExit const last;
            // No process has room for a stack of that size.
            pthread_attr_t attributes;
            pthread_attr_init(&attributes);
            pthread_attr_setstacksize(&attributes, (SIZE_MAX / 16 * 15) & ~static_cast<std::size_t>(0xFFFF));
            pthread_setattr_default_np(&attributes);
            OmTimer const timer(nullptr);
        },
        ::testing::ExitedWithCode(1), "create thread failed\\. errno=[0-9]+\\.\n.*armed at exit");
}

} // namespace

} // namespace tz::orvane::om
