// SPDX-License-Identifier: Apache-2.0
// Collects the debug output of a test.
#include "support/log_capture.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tz::orvane::test
{

LogCapture::LogCapture(platform::DebugLevel level)
{
    platform::setDebugSink(&LogCapture::take, this);
    platform::setDebugLevel(level);
}

LogCapture::LogCapture(std::function<void(std::string const&)> onLine)
    : m_onLine(std::move(onLine))
{
    platform::setDebugSink(&LogCapture::take, this);
    platform::setDebugLevel(platform::DebugLevel::debug);
}

LogCapture::~LogCapture()
{
    platform::setDebugLevel(platform::DebugLevel::error);
    platform::setDebugSink(nullptr, nullptr);
}

std::vector<LogCapture::Line> LogCapture::lines() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

std::vector<std::string> LogCapture::texts() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> texts;
    for (Line const& line : m_lines)
    {
        texts.push_back(line.text);
    }
    return texts;
}

std::vector<std::string> LogCapture::textsOf(std::string const& operation) const
{
    std::vector<std::string> texts;
    for (Line const& line : linesFrom(operation))
    {
        texts.push_back(line.text);
    }
    return texts;
}

std::vector<std::string> LogCapture::linesOf(std::string const& operation) const
{
    constexpr char const* kLevelNames[] = {"off", "error", "warning", "info", "debug", "trace"};
    std::vector<std::string> lines;
    for (Line const& line : linesFrom(operation))
    {
        lines.push_back(std::string(kLevelNames[static_cast<int>(line.level)]) + ": " + line.text);
    }
    return lines;
}

std::vector<LogCapture::Line> LogCapture::linesFrom(std::string const& operation) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Line> lines;
    std::copy_if(m_lines.begin(), m_lines.end(), std::back_inserter(lines),
                 [&](Line const& line)
                 {
                     std::size_t const size = operation.size() + 1;
                     return line.place.size() >= size &&
                            line.place.compare(line.place.size() - size, size, " " + operation) == 0;
                 });
    return lines;
}

bool LogCapture::contains(std::string const& text) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return std::any_of(m_lines.begin(), m_lines.end(), [&](Line const& line) { return line.text == text; });
}

void LogCapture::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.clear();
}

void LogCapture::take(platform::DebugLevel level, char const* line, void* context)
{
    Line entry{level, "", line, line};
    if (!entry.text.empty() && entry.text.back() == '\n')
    {
        entry.text.pop_back();
    }
    // "file:line: class::function() text"
    std::size_t const colon = entry.text.find(':');
    std::size_t const place = entry.text.find(": ");
    std::size_t const end = entry.text.find("() ");
    if (colon != std::string::npos && place != std::string::npos && end != std::string::npos && place < end)
    {
        entry.place = entry.text.substr(0, colon) + entry.text.substr(place, end - place);
        entry.text = entry.text.substr(end + 3);
    }
    auto* self = static_cast<LogCapture*>(context);
    std::string const text = entry.text;
    {
        std::lock_guard<std::mutex> lock(self->m_mutex);
        self->m_lines.push_back(std::move(entry));
    }
    if (self->m_onLine)
    {
        self->m_onLine(text);
    }
}

} // namespace tz::orvane::test
