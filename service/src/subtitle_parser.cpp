// SPDX-License-Identifier: Apache-2.0
// Reads files of subtitles.
#include "subtitle_parser.h"

#include "subtitle_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::service
{

namespace
{

constexpr char kSubRip[] = "application/x-subrip";
constexpr char kWebVtt[] = "text/vtt";
constexpr char kSami[] = "application/x-sami";
constexpr char kScript[] = "application/x-ass";

constexpr std::string_view kArrow = "-->";
constexpr std::int64_t kLatest = 1000LL * 3600 * 1000; ///< milliseconds; a later time is nonsense

std::string_view trim(std::string_view text)
{
    auto const isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && isBlank(text.front()))
    {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back()))
    {
        text.remove_suffix(1);
    }
    return text;
}

std::string lowered(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

bool startsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

/// Lines that end in LF, CR LF or CR.
std::vector<std::string_view> linesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty())
    {
        std::size_t const end = std::min(text.find_first_of("\r\n"), text.size());
        lines.push_back(text.substr(0, end));
        bool const pair = startsWith(text.substr(end), "\r\n");
        text.remove_prefix(std::min(end + (pair ? 2 : 1), text.size()));
    }
    return lines;
}

/// Takes digits away. @return nothing when there are none, or too many
std::optional<std::int64_t> takeNumber(std::string_view& text)
{
    std::int64_t number = 0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || number < 0 || number > kLatest)
    {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return number;
}

/// Takes "[hours:]minutes:seconds[.fraction]" away. @return milliseconds
std::optional<std::int64_t> takeTime(std::string_view& text)
{
    text = trim(text);
    std::int64_t seconds = 0;
    for (int field = 0; field < 3; ++field)
    {
        auto const number = takeNumber(text);
        if (!number)
        {
            return std::nullopt;
        }
        seconds = seconds * 60 + *number;
        if (text.empty() || text.front() != ':')
        {
            break;
        }
        text.remove_prefix(1);
    }
    std::int64_t fraction = 0;
    if (!text.empty() && (text.front() == '.' || text.front() == ','))
    {
        text.remove_prefix(1);
        int weight = 100;
        while (!text.empty() && std::isdigit(static_cast<unsigned char>(text.front())) != 0)
        {
            fraction += weight * (text.front() - '0');
            weight /= 10;
            text.remove_prefix(1);
        }
    }
    return seconds > kLatest / 1000 ? std::nullopt : std::optional<std::int64_t>(seconds * 1000 + fraction);
}

/// @return a cue without text, when the line holds two times and an arrow
std::optional<Cue> readTiming(std::string_view line)
{
    if (line.find(kArrow) == std::string_view::npos)
    {
        return std::nullopt;
    }
    auto const start = takeTime(line);
    line = trim(line);
    if (!start || !startsWith(line, kArrow))
    {
        return std::nullopt;
    }
    line.remove_prefix(kArrow.size());
    auto const end = takeTime(line);
    return end && *end > *start ? std::optional<Cue>(Cue{*start, *end, {}}) : std::nullopt;
}

bool isNumber(std::string_view line)
{
    line = trim(line);
    return !line.empty() && line.find_first_not_of("0123456789") == std::string_view::npos;
}

/// SubRip, and WebVTT, whose other blocks hold no times.
CueList parseTimedBlocks(std::vector<std::string_view> const& lines)
{
    CueList list;
    for (std::size_t at = 0; at < lines.size(); ++at)
    {
        auto cue = readTiming(lines[at]);
        if (!cue)
        {
            continue;
        }
        std::string text;
        std::size_t next = at + 1;
        for (; next < lines.size() && !trim(lines[next]).empty(); ++next)
        {
            bool const numbersNext =
                isNumber(lines[next]) && next + 1 < lines.size() && readTiming(lines[next + 1]).has_value();
            if (numbersNext || readTiming(lines[next]))
            {
                break; // the empty line between two cues is missing
            }
            text += lines[next];
            text += '\n';
        }
        at = next - 1;
        cue->text = tidy(stripTags(text));
        if (!cue->text.empty() && !list.add(std::move(*cue)))
        {
            break;
        }
    }
    return list;
}

/// The columns of an event of SubStation Alpha.
struct EventFormat
{
    std::size_t start = 1;
    std::size_t end = 2;
    std::size_t text = 9;

    void read(std::string_view columns)
    {
        std::size_t number = 0;
        while (true)
        {
            std::size_t const comma = std::min(columns.find(','), columns.size());
            std::string const name = lowered(trim(columns.substr(0, comma)));
            (name == "start" ? start : name == "end" ? end : text) = number; // the text is the last one
            if (comma == columns.size())
            {
                return;
            }
            columns.remove_prefix(comma + 1);
            ++number;
        }
    }
};

bool startsDrawing(std::string_view codes)
{
    constexpr std::string_view kDraw = "\\p";
    for (auto at = codes.find(kDraw); at != std::string_view::npos; at = codes.find(kDraw, at + 1))
    {
        std::string_view const scale = codes.substr(at + kDraw.size(), 1);
        if (scale >= "1" && scale <= "9")
        {
            return true;
        }
    }
    return false;
}

/// Takes away what is between braces, and reads line ends. @return an empty text for a drawing
std::string plainEvent(std::string_view text)
{
    std::string plain;
    while (!text.empty())
    {
        if (text.front() == '{')
        {
            std::size_t const end = std::min(text.find('}'), text.size() - 1);
            if (startsDrawing(text.substr(0, end)))
            {
                return {};
            }
            text.remove_prefix(end + 1);
            continue;
        }
        bool const isCode = startsWith(text, "\\N") || startsWith(text, "\\n") || startsWith(text, "\\h");
        plain += isCode ? (text[1] == 'h' ? ' ' : '\n') : text.front();
        text.remove_prefix(isCode ? 2 : 1);
    }
    return plain;
}

std::optional<Cue> readEvent(std::string_view event, EventFormat const& format)
{
    std::optional<std::int64_t> start;
    std::optional<std::int64_t> end;
    for (std::size_t column = 0; column < format.text; ++column)
    {
        std::size_t const comma = event.find(',');
        if (comma == std::string_view::npos)
        {
            return std::nullopt;
        }
        std::string_view field = event.substr(0, comma);
        if (column == format.start)
        {
            start = takeTime(field);
        }
        else if (column == format.end)
        {
            end = takeTime(field);
        }
        event.remove_prefix(comma + 1);
    }
    return start && end && *end > *start ? std::optional<Cue>(Cue{*start, *end, tidy(plainEvent(event))})
                                         : std::nullopt;
}

CueList parseEvents(std::vector<std::string_view> const& lines)
{
    constexpr std::string_view kFormat = "Format:";
    constexpr std::string_view kDialogue = "Dialogue:";
    CueList list;
    EventFormat format;
    bool inEvents = false;
    for (std::string_view const whole : lines)
    {
        std::string_view const line = trim(whole);
        if (startsWith(line, "["))
        {
            inEvents = lowered(line) == "[events]";
        }
        else if (inEvents && startsWith(line, kFormat))
        {
            format.read(line.substr(kFormat.size()));
        }
        else if (inEvents && startsWith(line, kDialogue))
        {
            auto cue = readEvent(line.substr(kDialogue.size()), format);
            if (cue && !cue->text.empty() && !list.add(std::move(*cue)))
            {
                break;
            }
        }
    }
    return list;
}

/// @return what an attribute of the tag at the beginning of a text says, in lower case
std::string attributeOf(std::string_view lower, std::string_view name)
{
    std::string_view const tag = lower.substr(0, lower.find('>'));
    std::size_t const at = tag.find(name);
    if (at == std::string_view::npos)
    {
        return {};
    }
    std::string_view value = trim(tag.substr(at + name.size()));
    if (!startsWith(value, "="))
    {
        return {};
    }
    value = trim(value.substr(1));
    bool const quoted = startsWith(value, "\"") || startsWith(value, "'");
    value.remove_prefix(quoted ? 1 : 0);
    return std::string(value.substr(0, value.find_first_of("\"' \t\r\n")));
}

/// SAMI: each text lasts until the next. Of several languages the first is taken.
CueList parseSami(std::string_view text)
{
    constexpr std::string_view kSync = "<sync";
    constexpr std::string_view kParagraph = "<p";
    std::string const lower = lowered(text);
    std::string_view const all = lower;
    std::string language;
    CueList list;
    std::size_t at = all.find(kSync);
    while (at != std::string_view::npos)
    {
        std::size_t const next = all.find(kSync, at + 1);
        std::string_view const part = all.substr(at, next == std::string_view::npos ? next : next - at);
        std::string const start = attributeOf(part, "start");
        std::string_view digits = start;
        auto const time = takeNumber(digits);
        std::size_t const paragraph = part.find(kParagraph);
        if (time && paragraph != std::string_view::npos)
        {
            std::string const name = attributeOf(part.substr(paragraph), "class");
            language = language.empty() ? name : language;
            std::size_t const second = part.find(kParagraph, paragraph + 1);
            std::size_t const length = std::min(second, part.size()) - paragraph;
            if (name == language &&
                !list.add({*time, Cue::kUntilNext, tidy(stripTags(text.substr(at + paragraph, length)))}))
            {
                break;
            }
        }
        at = next;
    }
    return list;
}

} // namespace

char const* subtitleTypeOf(std::string_view text)
{
    constexpr std::size_t kHead = 4096;
    std::string const head = lowered(text.substr(0, kHead));
    if (head.find("<sami") != std::string::npos)
    {
        return kSami;
    }
    if (head.find("[script info]") != std::string::npos || head.find("[events]") != std::string::npos)
    {
        return kScript;
    }
    return startsWith(head, "webvtt") ? kWebVtt : kSubRip;
}

CueList parseSubtitles(std::string_view text)
{
    std::string_view const type = subtitleTypeOf(text);
    if (type == kSami)
    {
        return parseSami(text);
    }
    auto const lines = linesOf(text);
    return type == kScript ? parseEvents(lines) : parseTimedBlocks(lines);
}

} // namespace tz::orvane::service
