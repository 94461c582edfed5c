// SPDX-License-Identifier: Apache-2.0
// Debug output: level, sink and formatting.
#include "orvane/platform/om_debug.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unistd.h>

namespace tz::orvane::platform
{

namespace
{

constexpr int kLevelUnset = static_cast<int>(DebugLevel::trace) + 1;
constexpr char const* kLevelNames[] = {"off", "error", "warning", "info", "debug", "trace"};

// Readers are the threads that put out a line, the writer is setDebugSink: it returns when no line is on its way.
std::shared_mutex s_sinkMutex;
DebugSink s_sink = nullptr;
void* s_sinkContext = nullptr;

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

void putOut(DebugLevel level, char const* line)
{
    std::shared_lock<std::shared_mutex> lock(s_sinkMutex);
    if (s_sink != nullptr)
    {
        s_sink(level, line, s_sinkContext);
    }
    else
    {
        std::fputs(line, stderr);
    }
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
    std::unique_lock<std::shared_mutex> lock(s_sinkMutex);
    s_sink = sink;
    s_sinkContext = context;
}

void debugPrint(DebugLevel level, char const* format, ...)
{
    LineBuffer line;
    std::va_list arguments;
    va_start(arguments, format);
    line.appendList(format, arguments);
    va_end(arguments);
    putOut(level, line.text());
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
    putOut(level, line.text());
}

} // namespace tz::orvane::platform
