// SPDX-License-Identifier: Apache-2.0
// What the helpers of applications cost: URIs and timers. A Google Benchmark program of its own.
#include "orvane/om_timer.h"
#include "orvane/om_uri_util.h"
#include "tests/unit/uri_model.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

namespace tz::orvane::bench
{

namespace
{

std::string uriWithAllKeys()
{
    std::string uri = "https://media.example/films/clip.mp4";
    char separator = '?';
    for (char const* key : test::kUriKeys)
    {
        uri += separator + std::string(key) + "=1920";
        separator = '&';
    }
    return uri;
}

void uriParse(benchmark::State& state)
{
    std::string const uri = uriWithAllKeys();
    om::UriEntity entity(uri);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(entity.parseUri(uri));
    }
}
BENCHMARK(uriParse)->Name("URI, parsing one with all fourteen parameters");

void uriParsePlain(benchmark::State& state)
{
    om::UriEntity entity("");
    std::string const uri = "file:///media/clip.mp4";
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(entity.parseUri(uri));
    }
}
BENCHMARK(uriParsePlain)->Name("URI, parsing one without parameters");

class Listener final : public om::OmITimerListener
{
public:
    void onTimeout(unsigned int task_id) override { benchmark::DoNotOptimize(task_id); }
};

/// Ends a tick when it is told to, and measures what the thread does between two waits.
class SteppedClock
{
public:
    using Time = std::chrono::steady_clock;

    int wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_walk = std::chrono::duration<double>(Time::now() - m_resumed).count();
        m_waits = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_waits || m_released; });
        m_resumed = Time::now();
        return 0;
    }

    /// Before the first tick: waits until the thread waits.
    void start()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_waits; });
    }

    /// @return seconds that the thread spent on its list
    double tick()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_waits = false;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_waits; });
        return m_walk;
    }

    void release()
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_released = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Time::time_point m_resumed = Time::now();
    double m_walk = 0;
    bool m_waits = false;
    bool m_released = false;
};

/// Timers that hold so many tasks together, on a thread of their own.
class Timers
{
public:
    explicit Timers(int tasks)
        : m_former(om::OmTimerThread::exchangeInstance(&m_thread))
        , m_tasks(tasks)
    {
        for (int i = 0; i < tasks; i += kTasksOfATimer)
        {
            m_timers.emplace_back(&m_listener);
        }
    }

    Timers(Timers const&) = delete;
    Timers& operator=(Timers const&) = delete;

    ~Timers()
    {
        m_timers.clear();
        om::OmTimerThread::exchangeInstance(m_former);
        m_clock.release();
    }

    void arm(long long interval)
    {
        for (int i = 0; i < m_tasks; ++i)
        {
            timerOf(i).setTime(taskOf(i), interval, 1);
        }
    }

    void cancel()
    {
        for (int i = 0; i < m_tasks; ++i)
        {
            timerOf(i).cancel(taskOf(i));
        }
    }

    void cancelAll()
    {
        for (om::OmTimer& timer : m_timers)
        {
            timer.cancelAll();
        }
    }

    SteppedClock& clock() { return m_clock; }

private:
    static constexpr int kTasksOfATimer = om::OmTimer::kLastTaskId - om::OmTimer::kFirstTaskId + 1;

    om::OmTimer& timerOf(int task) { return m_timers[static_cast<std::size_t>(task / kTasksOfATimer)]; }
    static unsigned int taskOf(int task)
    {
        return om::OmTimer::kFirstTaskId + static_cast<unsigned int>(task % kTasksOfATimer);
    }

    SteppedClock m_clock;
    om::OmTimerThread m_thread{[this](int) { return m_clock.wait(); }};
    om::OmTimerThread* m_former;
    Listener m_listener;
    std::deque<om::OmTimer> m_timers;
    int m_tasks;
};

void tick(benchmark::State& state, long long interval)
{
    Timers timers(static_cast<int>(state.range(0)));
    timers.arm(interval);
    timers.clock().start();
    for (auto _ : state)
    {
        state.SetIterationTime(timers.clock().tick());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void tickCounts(benchmark::State& state)
{
    tick(state, LLONG_MAX);
}

void tickFires(benchmark::State& state)
{
    tick(state, 0);
}

BENCHMARK(tickCounts)
    ->Name("timer, tick on which no task is due")
    ->RangeMultiplier(10)
    ->Range(10, 10'000)
    ->UseManualTime();
BENCHMARK(tickFires)
    ->Name("timer, tick on which every task fires")
    ->RangeMultiplier(10)
    ->Range(10, 10'000)
    ->UseManualTime();

void timerArm(benchmark::State& state)
{
    Timers timers(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        timers.arm(LLONG_MAX);
        state.PauseTiming();
        timers.cancelAll();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(timerArm)->Name("timer, arming tasks one by one")->RangeMultiplier(10)->Range(10, 10'000);

void timerCancel(benchmark::State& state)
{
    Timers timers(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        state.PauseTiming();
        timers.arm(LLONG_MAX);
        state.ResumeTiming();
        timers.cancel();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(timerCancel)->Name("timer, cancelling tasks one by one")->RangeMultiplier(10)->Range(10, 10'000);

void timerCancelAll(benchmark::State& state)
{
    Timers timers(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        state.PauseTiming();
        timers.arm(LLONG_MAX);
        state.ResumeTiming();
        timers.cancelAll();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(timerCancelAll)->Name("timer, cancelling all tasks of each timer")->RangeMultiplier(10)->Range(10, 10'000);

} // namespace

} // namespace tz::orvane::bench

BENCHMARK_MAIN();
