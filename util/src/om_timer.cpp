// SPDX-License-Identifier: Apache-2.0
// What an application holds of a timer: its id, its listener and the checks of what it asks for.
#include "orvane/om_timer.h"

#include "orvane/platform/om_debug.h"

namespace tz::orvane::om
{

namespace
{

constexpr char kLogFile[] = "om_timer";
constexpr char kLogClass[] = "OmTimer";

constexpr unsigned int kBeforeFirstId = 0xB000;
constexpr unsigned int kLastId = 0xB0FF;
constexpr int kBadArgument = -2;

bool isTaskId(unsigned int task_id)
{
    return task_id >= OmTimer::kFirstTaskId && task_id <= OmTimer::kLastTaskId;
}

} // namespace

std::atomic<unsigned int> OmTimer::s_id_counter{kBeforeFirstId};

OmTimer::OmTimer(OmITimerListener* listener)
    : m_listener(listener)
    , m_id(nextId())
{
    ORVANE_LOG_DEBUG("<timer> create OmTimer(o=%p), this(%p), id=%04x", static_cast<void*>(listener),
                     static_cast<void*>(this), m_id);
    OmTimerThread::instance();
}

OmTimer::~OmTimer()
{
    OmTimerThread* const thread = OmTimerThread::s_inst.load(std::memory_order_acquire);
    if (thread != nullptr)
    {
        thread->forget(this);
    }
}

unsigned int OmTimer::id() const
{
    return m_id;
}

int OmTimer::setTime(unsigned int task_id, long long interval, int period)
{
    ORVANE_LOG_DEBUG("<timer> set time. task_id=%u, interval=%d, period=%d.", task_id, static_cast<int>(interval),
                     period);
    if (!isTaskId(task_id))
    {
        ORVANE_LOG_ERROR("<timer> Invalid Param! id=%lld", static_cast<long long>(task_id));
        return kBadArgument;
    }
    if (interval < 0)
    {
        ORVANE_LOG_ERROR("<timer> Invalid Param! interval=%lld", interval);
        return kBadArgument;
    }
    return OmTimerThread::instance().add(this, static_cast<int>(task_id), interval, period);
}

int OmTimer::cancel(unsigned int task_id)
{
    ORVANE_LOG_DEBUG("<timer> cancel timer (id=%u).", task_id);
    if (!isTaskId(task_id))
    {
        return kBadArgument;
    }
    return OmTimerThread::instance().remove(this, static_cast<int>(task_id));
}

int OmTimer::cancelAll()
{
    ORVANE_LOG_DEBUG("<timer> cancel timer of all.");
    OmTimerThread* const thread = OmTimerThread::s_inst.load(std::memory_order_acquire);
    return thread == nullptr ? 0 : thread->removeTaskOfTimer(this);
}

void OmTimer::fire(unsigned int task_id)
{
    if (m_listener == nullptr)
    {
        ORVANE_LOG_ERROR("<timer> listener=NULL!.");
        return;
    }
    m_listener->onTimeout(task_id); // nothing behind this: the listener may have destroyed the timer
}

/// Behind the last id of the range the numbers go on from 0.
unsigned int OmTimer::nextId()
{
    unsigned int former = s_id_counter.load(std::memory_order_relaxed);
    unsigned int next = 0;
    do
    {
        next = former < kLastId ? former + 1 : former % kLastId;
    } while (!s_id_counter.compare_exchange_weak(former, next, std::memory_order_relaxed));
    return next;
}

} // namespace tz::orvane::om
