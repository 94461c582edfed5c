// SPDX-License-Identifier: Apache-2.0
// Timers of an application, and the one thread on which they all tick.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_itimer_listener.h"
#include "orvane/platform/om_thread.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace tz::orvane::platform
{
struct LogSite;
}

namespace tz::orvane::om
{

/// Any number of tasks that report to one listener, each once or again and again.
///
/// Time is counted in ticks of 100 ms: a task fires after its interval, rounded up to whole ticks, at the earliest one
/// tick after it was armed. Tasks that are due on the same tick fire in the order in which they were armed.
///
/// Any thread may call any operation, except those that OmITimerListener excludes from its callback. When `cancel`,
/// `cancelAll` or the destructor returns on another thread than the timers', a callback that was running has ended and
/// the cancelled tasks fire no more. Do not hold a lock over these calls that the listener takes.
///
/// In a forked child nothing is armed; its copies of timers may be used and destroyed, and the next task that is armed
/// starts a thread there. A child that was forked inside a callback must not return from it.
class ORVANE_API OmTimer
{
public:
    static constexpr unsigned int kFirstTaskId = 0xB101; ///< the lowest id of a task
    static constexpr unsigned int kLastTaskId = 0xB4FF;  ///< the highest id of a task

    /// Starts the timer thread when this is the first timer of the process.
    /// @param listener not owned, must outlive the timer; null is allowed and hears nothing
    explicit OmTimer(OmITimerListener* listener);
    OmTimer(OmTimer const&) = delete;
    OmTimer& operator=(OmTimer const&) = delete;

    /// Drops the tasks that are still armed.
    ~OmTimer();

    /// @return the number of this timer in log lines: 0xB001 to 0xB0FF, then on from 0
    unsigned int id() const;

    /// Arms a task.
    /// @param task_id  0xB101 to 0xB4FF, chosen by the caller
    /// @param interval milliseconds, not negative; 0 fires on the next tick
    /// @param period   0 fires once, anything else every `interval`
    /// @return 0; 1 when the task is armed already, which changes nothing; -2 for a bad argument or inside a callback
    int setTime(unsigned int task_id, long long interval, int period);

    /// Disarms a task.
    /// @return 0; 1 when no such task is armed; -2 for an id that no task can have or inside a callback
    int cancel(unsigned int task_id);

    /// Disarms all tasks of this timer. @return 0; -2 inside a callback
    int cancelAll();

    /// Calls the listener, as the timer thread does when a task expires.
    void fire(unsigned int task_id);

private:
    static unsigned int nextId();

    static std::atomic<unsigned int> s_id_counter;

    OmITimerListener* m_listener;
    unsigned int m_id;
};

/// One armed task.
struct OmTimerTaskInfo_t
{
    OmTimer* timer;                ///< null when the task is over and waits to be swept
    int task_id;                   ///< chosen by the caller
    alignas(8) long long interval; ///< milliseconds
    int period;                    ///< 0: once
    alignas(8) long long remain;   ///< milliseconds
};

/// The thread that counts the tasks of all timers down. It uses no processor time while no task is armed.
///
/// Applications need OmTimer only. A thread of their own is for tests that want to say when a tick is over. One mutex
/// guards everything and is held while a callback runs; any thread may call any operation except where stated. `open`
/// and `close` belong to the owner's thread; `close` inside a callback ends the process. A forked child must not use
/// its copy of one.
class ORVANE_API OmTimerThread
{
public:
    static constexpr int kTick = 100; ///< milliseconds

    /// What the thread is doing.
    enum class Mode : int
    {
        closed,  ///< there is no thread, or it is about to end
        waiting, ///< no task is armed
        ticking  ///< tasks are armed, or were until the tick that is under way
    };

    /// Waits for so many milliseconds. @return 0, or a negative number and errno; the tick counts all the same
    using Wait = std::function<int(int milliseconds)>;

    /// Opens the thread.
    /// @param wait lasts one tick, on the timer thread; an empty one waits in real time
    explicit OmTimerThread(Wait wait = {});
    OmTimerThread(OmTimerThread const&) = delete;
    OmTimerThread& operator=(OmTimerThread const&) = delete;

    /// Closes it.
    ~OmTimerThread();

    /// @return the thread that OmTimer uses, made when there is none yet. It lasts as long as the process.
    static OmTimerThread& instance();

    /// Gives OmTimer another thread to use, for tests. Timers that have tasks armed belong to the former one.
    /// @param thread null lets the next use make a new one
    /// @return the former one, null when there was none; it is the caller's now
    static OmTimerThread* exchangeInstance(OmTimerThread* thread);

    /// Drops all tasks and starts the thread unless it runs. A failure ends the process with status 1.
    void open();

    /// Stops the thread, waits for its end (one tick at most) and drops all tasks. Tasks that are added afterwards do
    /// not fire before `open`, which drops them. A failure ends the process with status 1.
    void close();

    /// Arms a task. @return 0; 1 when it is armed already; -2 for null, a negative id or inside a callback
    int add(OmTimer* timer, int task_id, long long interval, int period);

    /// Takes no lock: only for when no other thread uses this object, or inside a callback.
    /// @return the task, null when it is not armed; good until another is added or removed
    OmTimerTaskInfo_t* find(OmTimer* timer, int task_id);

    /// Disarms a task. @return 0; 1 when there is none; -2 for null, a negative id or inside a callback
    int remove(OmTimer* timer, int task_id);

    /// Disarms all tasks of a timer. @return 0; -2 for null or inside a callback
    int removeTaskOfTimer(OmTimer* timer);

    /// Drops all tasks.
    void clear();

    /// @return whether no task is armed
    bool isIdle() const;

    /// @return what the thread is doing
    Mode mode() const;

    /// The thread's function. @param arg the OmTimerThread. @return null
    static void* TickingThread(void* arg);

private:
    friend class OmTimer;

    using Index = std::map<std::pair<OmTimer const*, int>, std::size_t>; ///< to places in the list

    struct Armed
    {
        OmTimerTaskInfo_t task;
        Index::iterator entry; ///< of a task that is not over
    };

    struct Unopened
    {
    };

    OmTimerThread(Unopened, Wait wait);

    void open(bool dropsTasks);
    void forget(OmTimer const* timer);
    bool isInCallback() const;
    std::unique_lock<std::mutex> lock() const;
    Index::iterator drop(Index::iterator entry);
    void sweep();

    void ticking();
    void waitOneTick(platform::LogSite const& site);
    void walk(platform::LogSite const& site);
    void expire(OmTimerTaskInfo_t& task, platform::LogSite const& site);

    static std::atomic<OmTimerThread*> s_inst;

    Wait m_wait;
    platform::Thread m_thread;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_running = false;
    Mode m_mode = Mode::closed;
    std::vector<Armed> m_tasks; ///< in the order in which they were armed, some over and not yet swept
    Index m_index;              ///< the armed ones
};

} // namespace tz::orvane::om
