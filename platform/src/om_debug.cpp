// SPDX-License-Identifier: Apache-2.0
// Debug output: level, sink and formatting.
#include "orvane/platform/om_debug.h"

#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>
#include <new>
#include <pthread.h>
#include <string>

namespace tz::orvane::platform
{

namespace
{

constexpr int kLevelUnset = static_cast<int>(DebugLevel::trace) + 1;
constexpr char const* kLevelNames[] = {"off", "error", "warning", "info", "debug", "trace"};

/// Where lines go. No lock is held while a sink runs: the lines that are on their way are counted, those to the present
/// sink apart from those to the one before, so that a change does not wait for lines that come after it.
class Outlet
{
public:
    /// Never destroyed: lines are put out at the very end of the process as well. A child that was forked while another
    /// thread was about to make it makes another, where a static variable would wait for ever.
    static Outlet& instance()
    {
        static pthread_once_t s_once = PTHREAD_ONCE_INIT;
        static std::atomic<Outlet*> s_outlet{nullptr};
        ::pthread_once(&s_once, [] { s_outlet = new Outlet; });
        return *s_outlet;
    }

    void putOut(DebugLevel level, char const* line)
    {
        Passage const passage(*this);
        if (passage.sink != nullptr)
        {
            passage.sink(level, line, passage.context);
        }
        else
        {
            std::fputs(line, stderr);
        }
    }

    /// Returns when no line is on its way to the former sink.
    void change(DebugSink sink, void* context)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_changing; });
        unsigned const former = m_turn;
        m_sink = sink;
        m_context = context;
        m_turn = 1 - former;
        m_changing = true;
        m_changed.wait(lock, [&] { return m_lines[former] == 0; });
        m_changing = false;
        m_changed.notify_all();
    }

private:
    /// A line on its way.
    struct Passage
    {
        explicit Passage(Outlet& outlet)
            : m_outlet(outlet)
        {
            std::lock_guard<std::mutex> lock(outlet.m_mutex);
            sink = outlet.m_sink;
            context = outlet.m_context;
            m_turn = outlet.m_turn;
            m_forks = outlet.m_forks;
            ++outlet.m_lines[m_turn];
        }

        Passage(Passage const&) = delete;
        Passage& operator=(Passage const&) = delete;

        ~Passage()
        {
            std::lock_guard<std::mutex> lock(m_outlet.m_mutex);
            bool const isCounted = m_forks == m_outlet.m_forks; // not when its sink has forked and this is the child
            if (isCounted && --m_outlet.m_lines[m_turn] == 0 && m_outlet.m_changing)
            {
                m_outlet.m_changed.notify_all();
            }
        }

        DebugSink sink = nullptr;
        void* context = nullptr;

    private:
        Outlet& m_outlet;
        unsigned m_turn = 0;
        unsigned m_forks = 0;
    };

    Outlet()
    {
        ::pthread_atfork([] { instance().m_mutex.lock(); }, [] { instance().m_mutex.unlock(); },
                         [] { instance().startAnew(); });
    }

    // In a forked child, where the threads do not exist whose lines were on their way.
    void startAnew()
    {
        m_lines[0] = 0;
        m_lines[1] = 0;
        m_changing = false;
        ++m_forks;
        new (&m_changed) std::condition_variable; // the former one may know of threads that waited
        m_mutex.unlock();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    DebugSink m_sink = nullptr;
    void* m_context = nullptr;
    unsigned m_turn = 0;      ///< which count is that of the present sink
    unsigned m_lines[2] = {}; ///< on their way
    bool m_changing = false;
    unsigned m_forks = 0; ///< of this process and its ancestors
};

int levelFromEnvironment()
{
    char const* name = std::getenv("ORVANE_DEBUG");
    for (int level = 0; name != nullptr && level < static_cast<int>(std::size(kLevelNames)); ++level)
    {
        if (std::strcmp(name, kLevelNames[level]) == 0)
        {
            return level;
        }
    }
    return static_cast<int>(DebugLevel::error);
}

// One line, built on the stack when it fits.
class LineBuffer
{
public:
    void append(char const* format, ...) __attribute__((format(printf, 2, 3)))
    {
        std::va_list arguments;
        va_start(arguments, format);
        appendList(format, arguments);
        va_end(arguments);
    }

    void appendList(char const* format, std::va_list arguments) __attribute__((format(printf, 2, 0)))
    {
        std::va_list again;
        va_copy(again, arguments);
        char* const target = m_long.empty() ? m_short + m_size : nullptr;
        std::size_t const room = m_long.empty() ? sizeof m_short - m_size : 0;
        int const length = std::vsnprintf(target, room, format, arguments);
        if (length > 0)
        {
            auto const bytes = static_cast<std::size_t>(length);
            if (bytes >= room)
            {
                if (m_long.empty())
                {
                    m_long.assign(m_short, m_size);
                }
                m_long.resize(m_size + bytes + 1);
                std::vsnprintf(m_long.data() + m_size, bytes + 1, format, again);
                m_long.resize(m_size + bytes);
            }
            m_size += bytes;
        }
        va_end(again);
    }

    char const* text() const { return m_long.empty() ? m_short : m_long.c_str(); }

private:
    char m_short[512] = "";
    std::string m_long;
    std::size_t m_size = 0;
};

} // namespace

namespace detail
{

std::atomic<int> g_debugLevel{kLevelUnset};

bool debugEnabledNow(DebugLevel level)
{
    int current = g_debugLevel.load(std::memory_order_relaxed);
    if (current == kLevelUnset)
    {
        int const fromEnvironment = levelFromEnvironment();
        current = g_debugLevel.compare_exchange_strong(current, fromEnvironment) ? fromEnvironment : current;
    }
    return static_cast<int>(level) <= current && level != DebugLevel::off;
}

} // namespace detail

void setDebugLevel(DebugLevel level)
{
    detail::g_debugLevel.store(static_cast<int>(level), std::memory_order_relaxed);
}

void setDebugSink(DebugSink sink, void* context)
{
    Outlet::instance().change(sink, context);
}

void debugPrint(DebugLevel level, char const* format, ...)
{
    LineBuffer line;
    std::va_list arguments;
    va_start(arguments, format);
    line.appendList(format, arguments);
    va_end(arguments);
    Outlet::instance().putOut(level, line.text());
}

void debugLog(DebugLevel level, LogSite const& site, char const* format, ...)
{
    LineBuffer line;
    line.append("%s:%d: %s::%s() ", site.file, site.line, site.className, site.function);
    std::va_list arguments;
    va_start(arguments, format);
    line.appendList(format, arguments);
    va_end(arguments);
    line.append("\n");
    Outlet::instance().putOut(level, line.text());
}

} // namespace tz::orvane::platform
