// SPDX-License-Identifier: Apache-2.0
// Debug output: levels, one sink, and the macro that puts a place in front of a line.
#pragma once

#include "orvane/om_export.h"

#include <atomic>

namespace tz::orvane::platform
{

/// The environment variable ORVANE_DEBUG (off, error, warning, info, debug, trace) sets the level; default error.
enum class DebugLevel : int
{
    off,
    error,
    warning,
    info,
    debug,
    trace
};

namespace detail
{
extern ORVANE_API std::atomic<int> g_debugLevel; ///< above every level until the environment has been asked
ORVANE_API bool debugEnabledNow(DebugLevel level);
} // namespace detail

/// @return whether lines of this level are put out. One relaxed load and a branch when they are not. Any thread.
inline bool debugEnabled(DebugLevel level)
{
    return static_cast<int>(level) <= detail::g_debugLevel.load(std::memory_order_relaxed) &&
           detail::debugEnabledNow(level);
}

/// Formats a line and hands it to the sink. Check debugEnabled first: this does not. Any thread.
ORVANE_API void debugPrint(DebugLevel level, char const* format, ...) __attribute__((format(printf, 2, 3)));

/// Sets the level for the whole process. Any thread.
ORVANE_API void setDebugLevel(DebugLevel level);

/// Receives a whole line, its newline included. May be called by several threads at once.
using DebugSink = void (*)(DebugLevel level, char const* line, void* context);

/// Sends all lines to `sink`; null sends them to standard error again. When this returns, the former sink is called
/// no more. Not from inside a sink.
ORVANE_API void setDebugSink(DebugSink sink, void* context);

/// Where a line comes from: the stem of the source's name, line, class and function.
struct LogSite
{
    char const* file;      ///< stem of the source's name
    int line;              ///< of the source
    char const* className; ///< of the operation
    char const* function;  ///< the operation
};

/// Puts out "file:line: class::function() ", the formatted text and one newline. Check debugEnabled first. Any thread.
ORVANE_API void debugLog(DebugLevel level, LogSite const& site, char const* format, ...)
    __attribute__((format(printf, 3, 4)));

} // namespace tz::orvane::platform

/// The place of the line that says this; needs the constants kLogFile and kLogClass in scope. A helper that works for
/// several operations takes a LogSite and logs with its caller's.
#define ORVANE_LOG_SITE (::tz::orvane::platform::LogSite{kLogFile, __LINE__, kLogClass, __func__})

/// Logs one line; nothing is evaluated or formatted when the level is off.
#define ORVANE_LOG_AT(level, site, ...)                                                                                \
    do                                                                                                                 \
    {                                                                                                                  \
        if (::tz::orvane::platform::debugEnabled(level))                                                               \
        {                                                                                                              \
            ::tz::orvane::platform::debugLog(level, site, __VA_ARGS__);                                                \
        }                                                                                                              \
    } while (false)

#define ORVANE_LOG_ERROR(...) ORVANE_LOG_AT(::tz::orvane::platform::DebugLevel::error, ORVANE_LOG_SITE, __VA_ARGS__)
#define ORVANE_LOG_WARNING(...) ORVANE_LOG_AT(::tz::orvane::platform::DebugLevel::warning, ORVANE_LOG_SITE, __VA_ARGS__)
#define ORVANE_LOG_INFO(...) ORVANE_LOG_AT(::tz::orvane::platform::DebugLevel::info, ORVANE_LOG_SITE, __VA_ARGS__)
#define ORVANE_LOG_DEBUG(...) ORVANE_LOG_AT(::tz::orvane::platform::DebugLevel::debug, ORVANE_LOG_SITE, __VA_ARGS__)
#define ORVANE_LOG_TRACE(...) ORVANE_LOG_AT(::tz::orvane::platform::DebugLevel::trace, ORVANE_LOG_SITE, __VA_ARGS__)
