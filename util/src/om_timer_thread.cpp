// SPDX-License-Identifier: Apache-2.0
// The timer thread: the list of armed tasks, and the loop that counts them down.
#include "orvane/om_timer.h"

#include "orvane/platform/om_debug.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/select.h>
#include <utility>

namespace tz::orvane::om
{

namespace
{

constexpr char kLogFile[] = "om_timer";
constexpr char kLogClass[] = "OmTimerThread";
constexpr char kThreadName[] = "orvane-timer";

constexpr int kAlreadyDone = 1;
constexpr int kBadArgument = -2;

#if defined(__arm__)
static_assert(sizeof(OmTimerTaskInfo_t) == 32);
#endif

/// The object whose tasks this thread walks, hence whose mutex it holds while a callback runs.
thread_local OmTimerThread const* t_walking = nullptr;

/// Fired for the last time, or dropped by a callback.
bool isOver(OmTimerTaskInfo_t const& task)
{
    return task.timer == nullptr;
}

bool isBadParam(OmTimer const* timer, platform::LogSite const& site)
{
    if (timer == nullptr)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "<timer> Invalid Param! timer=NULL!");
    }
    return timer == nullptr;
}

bool isBadParam(OmTimer const* timer, int task_id, platform::LogSite const& site)
{
    if (isBadParam(timer, site))
    {
        return true;
    }
    if (task_id < 0)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "<timer> Invalid Param! task_id=%d.", task_id);
    }
    return task_id < 0;
}

bool isForbidden(bool inCallback, platform::LogSite const& site)
{
    if (inCallback)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "<timer> Not allowed inside a timer's callback!");
    }
    return inCallback;
}

/// Real time. A wait without descriptors, whose end only its timeout is.
int waitWithSelect(int milliseconds)
{
    timeval timeout{};
    timeout.tv_sec = milliseconds / 1000;
    timeout.tv_usec = (milliseconds % 1000) * 1000;
    return select(0, nullptr, nullptr, nullptr, &timeout);
}

} // namespace

std::atomic<OmTimerThread*> OmTimerThread::s_inst{nullptr};

OmTimerThread::OmTimerThread(Wait wait)
    : m_wait(wait ? std::move(wait) : Wait(&waitWithSelect))
{
    open();
}

OmTimerThread::~OmTimerThread()
{
    close();
}

OmTimerThread& OmTimerThread::instance()
{
    OmTimerThread* thread = s_inst.load(std::memory_order_acquire);
    if (thread == nullptr)
    {
        static std::mutex creation;
        std::lock_guard<std::mutex> const lock(creation);
        thread = s_inst.load(std::memory_order_acquire);
        if (thread == nullptr)
        {
            thread = new OmTimerThread; // never destroyed: timers may be used until the process ends
            s_inst.store(thread, std::memory_order_release);
        }
    }
    return *thread;
}

OmTimerThread* OmTimerThread::exchangeInstance(OmTimerThread* thread)
{
    return s_inst.exchange(thread, std::memory_order_acq_rel);
}

void OmTimerThread::open()
{
    ORVANE_LOG_DEBUG("<timer> this(%p)", static_cast<void*>(this));
    clear();
    if (m_thread.joinable())
    {
        ORVANE_LOG_INFO("<timer> thread exist.");
        return;
    }
    ORVANE_LOG_INFO("<timer> create thread.");
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_running = true;
        m_mode = Mode::waiting;
    }
    int const result = m_thread.start(kThreadName, [this] { TickingThread(this); });
    if (result != 0)
    {
        ORVANE_LOG_ERROR("[mpctrl-timer] create thread failed. errno=%d.", -result);
        std::exit(EXIT_FAILURE);
    }
}

void OmTimerThread::close()
{
    {
        auto const held = lock();
        m_mode = Mode::closed;
        m_running = false;
    }
    m_wake.notify_one();
    if (m_thread.joinable())
    {
        ORVANE_LOG_INFO("thread join.");
        int const result = m_thread.join();
        if (result != 0)
        {
            ORVANE_LOG_ERROR("join thread failed. err=%d", -result);
            std::exit(EXIT_FAILURE);
        }
    }
    clear();
}

int OmTimerThread::add(OmTimer* timer, int task_id, long long interval, int period)
{
    if (isBadParam(timer, task_id, ORVANE_LOG_SITE) || isForbidden(isInCallback(), ORVANE_LOG_SITE))
    {
        return kBadArgument;
    }
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        if (find(timer, task_id) != m_tasks.data() + m_tasks.size())
        {
            ORVANE_LOG_WARNING("<timer> Already Exist! timer_id=%d, task_id=%d.", static_cast<int>(timer->id()),
                               task_id);
            return kAlreadyDone;
        }
        m_tasks.push_back({timer, task_id, interval, period, interval});
        m_mode = Mode::ticking;
    }
    m_wake.notify_one();
    return 0;
}

OmTimerTaskInfo_t* OmTimerThread::find(OmTimer* timer, int task_id)
{
    OmTimerTaskInfo_t* const end = m_tasks.data() + m_tasks.size();
    if (isBadParam(timer, task_id, ORVANE_LOG_SITE))
    {
        return end;
    }
    return std::find_if(m_tasks.data(), end,
                        [&](OmTimerTaskInfo_t const& task) { return task.timer == timer && task.task_id == task_id; });
}

int OmTimerThread::remove(OmTimer* timer, int task_id)
{
    if (isBadParam(timer, task_id, ORVANE_LOG_SITE) || isForbidden(isInCallback(), ORVANE_LOG_SITE))
    {
        return kBadArgument;
    }
    std::lock_guard<std::mutex> const lock(m_mutex);
    OmTimerTaskInfo_t* const task = find(timer, task_id);
    if (task == m_tasks.data() + m_tasks.size())
    {
        ORVANE_LOG_WARNING("<timer> Already Exist! timer_id=%d, task_id=%d.", static_cast<int>(timer->id()), task_id);
        return kAlreadyDone;
    }
    m_tasks.erase(m_tasks.begin() + (task - m_tasks.data()));
    return 0;
}

int OmTimerThread::removeTaskOfTimer(OmTimer* timer)
{
    if (isBadParam(timer, ORVANE_LOG_SITE) || isForbidden(isInCallback(), ORVANE_LOG_SITE))
    {
        return kBadArgument;
    }
    forget(timer);
    return 0;
}

void OmTimerThread::clear()
{
    drop([](OmTimerTaskInfo_t const&) { return true; });
}

bool OmTimerThread::isIdle() const
{
    auto const held = lock();
    return std::all_of(m_tasks.begin(), m_tasks.end(), &isOver);
}

OmTimerThread::Mode OmTimerThread::mode() const
{
    auto const held = lock();
    return m_mode;
}

void OmTimerThread::forget(OmTimer const* timer)
{
    drop([timer](OmTimerTaskInfo_t const& task) { return task.timer == timer; });
}

bool OmTimerThread::isInCallback() const
{
    return t_walking == this;
}

/// Inside a callback the thread has the mutex already.
std::unique_lock<std::mutex> OmTimerThread::lock() const
{
    return isInCallback() ? std::unique_lock<std::mutex>() : std::unique_lock<std::mutex>(m_mutex);
}

/// Inside a callback the list is being walked, hence only marked.
template <class Predicate> void OmTimerThread::drop(Predicate predicate)
{
    auto const held = lock();
    for (OmTimerTaskInfo_t& task : m_tasks)
    {
        if (predicate(task))
        {
            task.timer = nullptr;
        }
    }
    if (!isInCallback())
    {
        sweep();
    }
}

void OmTimerThread::sweep()
{
    m_tasks.erase(std::remove_if(m_tasks.begin(), m_tasks.end(), &isOver), m_tasks.end());
}

void* OmTimerThread::TickingThread(void* arg)
{
    ORVANE_LOG_DEBUG("<timer> start.");
    if (arg == nullptr)
    {
        ORVANE_LOG_ERROR("<timer> itmer=NULL!");
        return nullptr;
    }
    static_cast<OmTimerThread*>(arg)->ticking();
    return nullptr;
}

void OmTimerThread::ticking()
{
    ORVANE_LOG_DEBUG("<timer> start (thr=%p)", static_cast<void*>(this));
    std::unique_lock<std::mutex> held(m_mutex);
    while (m_running)
    {
        m_wake.wait(held, [this] { return m_mode != Mode::waiting; });
        while (m_running && !m_tasks.empty())
        {
            held.unlock();
            waitOneTick();
            held.lock();
            if (m_running)
            {
                walk();
            }
        }
        if (m_running)
        {
            m_mode = Mode::waiting;
            ORVANE_LOG_INFO("<timer> switch to waiting mode.");
        }
    }
}

void OmTimerThread::waitOneTick()
{
    int const result = m_wait(kTick);
    if (result < 0)
    {
        ORVANE_LOG_ERROR("<timer> call select() failed res=%d, errno=%d", result, errno);
    }
    ORVANE_LOG_TRACE("<timer> one tick.....");
}

/// Nobody adds to the list meanwhile, so that its elements stay where they are.
void OmTimerThread::walk()
{
    t_walking = this;
    for (OmTimerTaskInfo_t& task : m_tasks)
    {
        if (isOver(task))
        {
            continue; // a callback of this walk destroyed its timer
        }
        ORVANE_LOG_TRACE("<timer> timer=%p, id=%04x, task=%04x, perviod=%d, intval=%lld, remain=%lld.",
                         static_cast<void*>(task.timer), task.timer->id(), static_cast<unsigned int>(task.task_id),
                         task.period, task.interval, task.remain);
        if (kTick < task.remain)
        {
            task.remain -= kTick;
        }
        else if (task.remain < 0)
        {
            ORVANE_LOG_WARNING("<timer>  Residue Task!");
        }
        else
        {
            expire(task);
        }
    }
    t_walking = nullptr;
    sweep();
}

void OmTimerThread::expire(OmTimerTaskInfo_t& task)
{
    auto const task_id = static_cast<unsigned int>(task.task_id);
    ORVANE_LOG_INFO("<timer> send timeout event! id=%04x, task=%04x.", task.timer->id(), task_id);
    task.timer->fire(task_id);
    ORVANE_LOG_INFO("<timer> success!");
    if (task.period == 0)
    {
        task.timer = nullptr;
    }
    task.remain = task.interval;
    ORVANE_LOG_INFO("<timer> success2!");
}

} // namespace tz::orvane::om
