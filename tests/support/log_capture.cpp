// SPDX-License-Identifier: Apache-2.0
// Collects the debug output of a test.
#include "support/log_capture.h"

#include <algorithm>

namespace tz::orvane::test
{

LogCapture::LogCapture(platform::DebugLevel level)
{
    platform::setDebugSink(&LogCapture::take, this);
    platform::setDebugLevel(level);
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
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> texts;
    for (Line const& line : m_lines)
    {
        if (line.place.size() > operation.size() &&
            line.place.compare(line.place.size() - operation.size() - 1, std::string::npos, " " + operation) == 0)
        {
            texts.push_back(line.text);
        }
    }
    return texts;
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
    std::lock_guard<std::mutex> lock(self->m_mutex);
    self->m_lines.push_back(std::move(entry));
}

} // namespace tz::orvane::test
