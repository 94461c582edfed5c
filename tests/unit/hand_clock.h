// SPDX-License-Identifier: Apache-2.0
// A timer thread whose ticks the test makes, and listeners that note what they hear.
#pragma once

#include "orvane/om_timer.h"
#include "support/log_capture.h"
#include "support/wait.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace tz::orvane::test
{

/// Lets a timer thread wait until the test says that a tick is over.
class HandClock
{
public:
    /// What the timer thread calls.
    om::OmTimerThread::Wait wait()
    {
        return [this](int milliseconds) { return waitOneTick(milliseconds); };
    }

    /// One tick: returns when the thread has been through its list and waits again, for a tick or for tasks.
    void tick(om::OmTimerThread const& thread)
    {
        ASSERT_TRUE(eventually([this] { return isWaited(); })) << "no tick is waited for";
        int const before = begun();
        grant(1);
        ASSERT_TRUE(eventually([&] { return begun() > before || thread.mode() != om::OmTimerThread::Mode::ticking; }));
    }

    /// From now on no tick takes any time.
    void release()
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_released = true;
        m_changed.notify_all();
    }

    /// Ends one wait with a failure.
    void fail()
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_failing = true;
    }

    /// Whether the thread waits for the end of a tick.
    bool isWaited() const
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        return m_begun > m_ended;
    }

    /// Ticks that were asked for.
    int begun() const
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        return m_begun;
    }

    int lastMilliseconds() const
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        return m_milliseconds;
    }

private:
    int waitOneTick(int milliseconds)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        ++m_begun;
        m_milliseconds = milliseconds;
        m_changed.wait(lock, [this] { return m_released || m_granted > 0; });
        m_granted -= m_released ? 0 : 1;
        ++m_ended;
        if (std::exchange(m_failing, false))
        {
            errno = EINTR;
            return -1;
        }
        return 0;
    }

    void grant(int ticks)
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_granted += ticks;
        m_changed.notify_all();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_begun = 0;
    int m_ended = 0;
    int m_granted = 0;
    int m_milliseconds = 0;
    bool m_released = false;
    bool m_failing = false;
};

/// Notes the ids in order and does what the test wants done inside the callback.
class NotingListener final : public om::OmITimerListener
{
public:
    void onTimeout(unsigned int task_id) override
    {
        {
            std::lock_guard<std::mutex> const lock(m_mutex);
            m_fired.push_back(task_id);
        }
        if (inside)
        {
            inside(task_id);
        }
    }

    std::vector<unsigned int> fired() const
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        return m_fired;
    }

    std::function<void(unsigned int)> inside; ///< set it while nothing is armed

private:
    mutable std::mutex m_mutex;
    std::vector<unsigned int> m_fired;
};

/// OmTimer uses a thread whose ticks the test makes.
class HandTimedTest : public ::testing::Test
{
private:
    std::optional<LogCapture> m_startLog{std::in_place};

protected:
    /// The lines of the thread's start do not get into what a test collects.
    HandTimedTest()
        : former(om::OmTimerThread::exchangeInstance(&thread))
    {
        char start[80];
        std::snprintf(start, sizeof start, "<timer> start (thr=%p)", static_cast<void*>(&thread));
        EXPECT_TRUE(eventually([&] { return m_startLog->contains(start); }));
        m_startLog.reset();
    }

    ~HandTimedTest() override
    {
        om::OmTimerThread::exchangeInstance(former);
        clock.release();
    }

    void ticks(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            clock.tick(thread);
        }
    }

    /// Until then, what was armed may go without the thread having noticed.
    void waitUntilTicking()
    {
        ASSERT_TRUE(test::eventually([this] { return clock.isWaited(); }));
    }

    HandClock clock;
    om::OmTimerThread thread{clock.wait()};
    om::OmTimerThread* former;
    NotingListener listener;
};

} // namespace tz::orvane::test
