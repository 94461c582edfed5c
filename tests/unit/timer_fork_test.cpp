// SPDX-License-Identifier: Apache-2.0
// Timers of a forked child, which has no timer thread until it arms a task.
#include "orvane/om_timer.h"

#include "unit/hand_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tz::orvane::om
{

namespace
{

using test::eventually;

constexpr unsigned int kTask = 0xB101;

/// Counts. Until `letGo` its callback does not come back.
class HoldingListener final : public OmITimerListener
{
public:
    void onTimeout(unsigned int) override
    {
        ++fired;
        eventually([this] { return letGo.load(); });
    }

    std::atomic<int> fired{0};
    std::atomic<bool> letGo{false};
};

/// What a child does with its copy of a timer of which a task is armed.
/// @return which of its steps went wrong, 0 for none
int useInChild(std::unique_ptr<OmTimer>& timer, HoldingListener& listener)
{
    listener.letGo = true;
    int const before = listener.fired;
    if (timer->cancelAll() != 0)
    {
        return 1;
    }
    if (timer->cancel(kTask) != 1)
    {
        return 2; // armed in the parent only
    }
    if (timer->setTime(kTask, 0, 0) != 0 || !eventually([&] { return listener.fired == before + 1; }))
    {
        return 3;
    }
    timer.reset();
    return 0;
}

/// @return the exit status of a child that runs `body`; a child that hangs is killed, which gives -1
int statusOfChild(std::function<int()> const& body)
{
    pid_t const child = fork();
    if (child == 0)
    {
        alarm(30);
        _exit(body());
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class TimerFork : public ::testing::Test
{
protected:
    /// @param letsGo whether callbacks end at once
    void armAndWaitForCallback(bool letsGo)
    {
        listener.letGo = letsGo;
        ASSERT_EQ(timer->setTime(kTask, 0, 1), 0);
        ASSERT_TRUE(eventually([this] { return listener.fired > 0; }));
    }

    /// Tries it in a fork of this process, which has threads.
    static bool childrenMayHaveThreads()
    {
        return statusOfChild(
                   []
                   {
                       std::thread([] {}).join();
                       return 0;
                   }) == 0;
    }

    ~TimerFork() override { listener.letGo = true; }

    static constexpr char kNoThreads[] = "an emulator or a sanitizer allows no new threads in a fork";

    HoldingListener listener;
    std::unique_ptr<OmTimer> timer = std::make_unique<OmTimer>(&listener);
};

TEST_F(TimerFork, aChildStartsAThreadOfItsOwn)
{
    armAndWaitForCallback(true);
    if (!childrenMayHaveThreads())
    {
        GTEST_SKIP() << kNoThreads;
    }
    EXPECT_EQ(statusOfChild([this] { return useInChild(timer, listener); }), 0);
    int const before = listener.fired;
    EXPECT_TRUE(eventually([&] { return listener.fired > before; })) << "the parent's goes on";
}

TEST_F(TimerFork, aChildThatWasForkedDuringACallbackDoesNotWaitForIt)
{
    armAndWaitForCallback(false);
    if (!childrenMayHaveThreads())
    {
        GTEST_SKIP() << kNoThreads;
    }
    EXPECT_EQ(statusOfChild([this] { return useInChild(timer, listener); }), 0);
    listener.letGo = true;
    EXPECT_EQ(timer->cancel(kTask), 0) << "the parent's is still armed";
}

TEST_F(TimerFork, aChildThatWasForkedDuringACallbackMayDestroyItsTimers)
{
    armAndWaitForCallback(false);
    EXPECT_EQ(statusOfChild(
                  [this]
                  {
                      int const result = timer->cancelAll();
                      timer.reset();
                      return result;
                  }),
              0);
}

TEST_F(TimerFork, aChildThatWasForkedWhileAThreadIsMadeCanMakeOne)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "this sanitizer's allocator may be locked for ever in the child of a process with threads";
#endif
    if (!childrenMayHaveThreads())
    {
        GTEST_SKIP() << kNoThreads;
    }
    for (int round = 0; round < 20; ++round)
    {
        std::unique_ptr<OmTimerThread> const former(OmTimerThread::exchangeInstance(nullptr));
        std::thread maker([] { OmTimerThread::instance(); });
        EXPECT_EQ(statusOfChild(
                      [this]
                      {
                          listener.letGo = true;
                          bool const armed = timer->setTime(kTask, 0, 0) == 0;
                          return armed && eventually([this] { return listener.fired == 1; }) ? 0 : 1;
                      }),
                  0);
        maker.join();
    }
}

} // namespace

} // namespace tz::orvane::om
