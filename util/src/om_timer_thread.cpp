// SPDX-License-Identifier: Apache-2.0
// The timer thread: the list of armed tasks, and the loop that counts them down.
#include "orvane/om_timer.h"

#include "orvane/platform/om_debug.h"

#include <cerrno>
#include <cstdlib>
#include <pthread.h>
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

/// One text for both: the task is armed already, or it is not armed.
int alreadyDone(OmTimer const& timer, int task_id, platform::LogSite const& site)
{
    ORVANE_LOG_AT(platform::DebugLevel::warning, site, "<timer> Already Exist! timer_id=%d, task_id=%d.",
                  static_cast<int>(timer.id()), task_id);
    return kAlreadyDone;
}

/// Real time. A wait without descriptors, whose end only its timeout is.
int waitWithSelect(int milliseconds)
{
    timeval timeout{};
    timeout.tv_sec = milliseconds / 1000;
    timeout.tv_usec = (milliseconds % 1000) * 1000;
    return select(0, nullptr, nullptr, nullptr, &timeout);
}

std::mutex g_creation;

/// A child has no timer thread, and the mutexes of the one that it has a copy of may be locked for ever. Called before
/// the first one is made; pthread_once begins anew in a child whose fork came in between.
void prepareForForks()
{
    static pthread_once_t s_once = PTHREAD_ONCE_INIT;
    pthread_once(&s_once,
                 []
                 {
                     pthread_atfork([] { g_creation.lock(); }, [] { g_creation.unlock(); },
                                    []
                                    {
                                        OmTimerThread::exchangeInstance(nullptr);
                                        g_creation.unlock();
                                    });
                 });
}

} // namespace

std::atomic<OmTimerThread*> OmTimerThread::s_inst{nullptr};

OmTimerThread::OmTimerThread(Wait wait)
    : OmTimerThread(Unopened(), std::move(wait))
{
    open();
}

OmTimerThread::OmTimerThread(Unopened, Wait wait)
    : m_wait(wait ? std::move(wait) : Wait(&waitWithSelect))
{
}

OmTimerThread::~OmTimerThread()
{
    close();
}

OmTimerThread& OmTimerThread::instance()
{
    OmTimerThread* thread = s_inst.load(std::memory_order_acquire);
    if (thread != nullptr)
    {
        return *thread;
    }
    prepareForForks();
    {
        std::lock_guard<std::mutex> const lock(g_creation);
        thread = s_inst.load(std::memory_order_acquire);
        if (thread != nullptr)
        {
            return *thread;
        }
        // Never destroyed: timers may be used until the process ends.
        thread = new OmTimerThread(Unopened(), {});
        s_inst.store(thread, std::memory_order_release);
    }
    // Without the lock: a failure ends the process, and what that destroys may use timers. Others may have armed
    // tasks meanwhile.
    thread->open(false);
    return *thread;
}

OmTimerThread* OmTimerThread::exchangeInstance(OmTimerThread* thread)
{
    return s_inst.exchange(thread, std::memory_order_acq_rel);
}

void OmTimerThread::open()
{
    open(true);
}

void OmTimerThread::open(bool dropsTasks)
{
    ORVANE_LOG_DEBUG("<timer> this(%p)", static_cast<void*>(this));
    if (dropsTasks)
    {
        clear();
    }
    if (m_thread.joinable())
    {
        ORVANE_LOG_INFO("<timer> thread exist.");
        return;
    }
    ORVANE_LOG_INFO("<timer> create thread.");
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_running = true;
        m_mode = m_index.empty() ? Mode::waiting : Mode::ticking;
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
        auto const [entry, added] = m_index.try_emplace({timer, task_id}, m_tasks.size());
        if (!added)
        {
            return alreadyDone(*timer, task_id, ORVANE_LOG_SITE);
        }
        m_tasks.push_back({{timer, task_id, interval, period, interval}, entry});
        m_mode = Mode::ticking;
    }
    m_wake.notify_one();
    return 0;
}

OmTimerTaskInfo_t* OmTimerThread::find(OmTimer* timer, int task_id)
{
    if (isBadParam(timer, task_id, ORVANE_LOG_SITE))
    {
        return nullptr;
    }
    auto const entry = m_index.find({timer, task_id});
    return entry == m_index.end() ? nullptr : &m_tasks[entry->second].task;
}

int OmTimerThread::remove(OmTimer* timer, int task_id)
{
    if (isBadParam(timer, task_id, ORVANE_LOG_SITE) || isForbidden(isInCallback(), ORVANE_LOG_SITE))
    {
        return kBadArgument;
    }
    std::lock_guard<std::mutex> const lock(m_mutex);
    auto const entry = m_index.find({timer, task_id});
    if (entry == m_index.end())
    {
        return alreadyDone(*timer, task_id, ORVANE_LOG_SITE);
    }
    drop(entry);
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
    auto const held = lock();
    for (auto entry = m_index.begin(); entry != m_index.end();)
    {
        entry = drop(entry);
    }
}

bool OmTimerThread::isIdle() const
{
    auto const held = lock();
    return m_index.empty();
}

OmTimerThread::Mode OmTimerThread::mode() const
{
    auto const held = lock();
    return m_mode;
}

void OmTimerThread::forget(OmTimer const* timer)
{
    auto const held = lock();
    for (auto entry = m_index.lower_bound({timer, 0}); entry != m_index.end() && entry->first.first == timer;)
    {
        entry = drop(entry);
    }
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

/// Only marks the task: a callback runs while the list is walked, and one sweep for many costs little for each.
/// @return the next entry
OmTimerThread::Index::iterator OmTimerThread::drop(Index::iterator entry)
{
    m_tasks[entry->second].task.timer = nullptr;
    auto const next = m_index.erase(entry);
    if (!isInCallback() && m_tasks.size() > 2 * m_index.size())
    {
        sweep();
    }
    return next;
}

void OmTimerThread::sweep()
{
    std::size_t kept = 0;
    for (Armed const& armed : m_tasks)
    {
        if (!isOver(armed.task))
        {
            armed.entry->second = kept;
            m_tasks[kept++] = armed;
        }
    }
    m_tasks.erase(m_tasks.begin() + static_cast<std::ptrdiff_t>(kept), m_tasks.end());
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
        while (m_running && !m_index.empty())
        {
            held.unlock();
            waitOneTick(ORVANE_LOG_SITE);
            held.lock();
            if (m_running)
            {
                walk(ORVANE_LOG_SITE);
            }
        }
        if (m_running)
        {
            m_mode = Mode::waiting;
            ORVANE_LOG_INFO("<timer> switch to waiting mode.");
        }
    }
}

void OmTimerThread::waitOneTick(platform::LogSite const& site)
{
    int const result = m_wait(kTick);
    if (result < 0)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "<timer> call select() failed res=%d, errno=%d", result,
                      errno);
    }
    ORVANE_LOG_AT(platform::DebugLevel::trace, site, "<timer> one tick.....");
}

/// Nobody adds to the list or takes anything out of it meanwhile.
void OmTimerThread::walk(platform::LogSite const& site)
{
    t_walking = this;
    for (Armed& armed : m_tasks)
    {
        OmTimerTaskInfo_t& task = armed.task;
        if (isOver(task))
        {
            continue;
        }
        ORVANE_LOG_AT(platform::DebugLevel::trace, site,
                      "<timer> timer=%p, id=%04x, task=%04x, perviod=%d, intval=%lld, remain=%lld.",
                      static_cast<void*>(task.timer), task.timer->id(), static_cast<unsigned int>(task.task_id),
                      task.period, task.interval, task.remain);
        if (kTick < task.remain)
        {
            task.remain -= kTick;
        }
        else if (task.remain < 0)
        {
            ORVANE_LOG_AT(platform::DebugLevel::warning, site, "<timer>  Residue Task!");
        }
        else
        {
            expire(task, site);
        }
    }
    t_walking = nullptr;
    if (m_tasks.size() != m_index.size())
    {
        sweep();
    }
}

void OmTimerThread::expire(OmTimerTaskInfo_t& task, platform::LogSite const& site)
{
    auto const task_id = static_cast<unsigned int>(task.task_id);
    ORVANE_LOG_AT(platform::DebugLevel::info, site, "<timer> send timeout event! id=%04x, task=%04x.", task.timer->id(),
                  task_id);
    task.timer->fire(task_id);
    ORVANE_LOG_AT(platform::DebugLevel::info, site, "<timer> success!");
    if (task.period == 0 && !isOver(task))
    {
        drop(m_index.find({task.timer, task.task_id}));
    }
    task.remain = task.interval;
    ORVANE_LOG_AT(platform::DebugLevel::info, site, "<timer> success2!");
}

} // namespace tz::orvane::om
