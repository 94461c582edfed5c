// SPDX-License-Identifier: Apache-2.0
// Collects the debug output of a test.
#pragma once

#include "orvane/platform/om_debug.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tz::orvane::test
{

/// While it lives, all lines of the given level and above go here instead of to standard error.
class LogCapture
{
public:
    explicit LogCapture(platform::DebugLevel level = platform::DebugLevel::debug);

    /// @param onLine called with the text of every line, on the thread that logs it; must call nothing of the library
    explicit LogCapture(std::function<void(std::string const&)> onLine);
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;
    ~LogCapture();

    struct Line
    {
        platform::DebugLevel level;
        std::string place; ///< "file: class::function", without the line number
        std::string text;  ///< behind the place, without the newline
        std::string whole; ///< as it was put out
    };

    std::vector<Line> lines() const;

    /// The texts of all lines, in order.
    std::vector<std::string> texts() const;

    /// The texts of the lines of one operation ("OmcClient::connect"), in order.
    std::vector<std::string> textsOf(std::string const& operation) const;

    /// As textsOf, with the level in front: "error: text".
    std::vector<std::string> linesOf(std::string const& operation) const;

    bool contains(std::string const& text) const;
    void clear();

private:
    static void take(platform::DebugLevel level, char const* line, void* context);

    std::vector<Line> linesFrom(std::string const& operation) const;

    std::function<void(std::string const&)> const m_onLine;
    mutable std::mutex m_mutex;
    std::vector<Line> m_lines;
};

} // namespace tz::orvane::test
