// SPDX-License-Identifier: Apache-2.0
// Text of subtitles: out of any encoding, without any markup.
#include "subtitle_text.h"

#include "orvane/om_service.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <glib.h>
#include <iconv.h>
#include <memory>

namespace tz::orvane::service
{

namespace
{

constexpr char kReplacement[] = "\xEF\xBF\xBD";
constexpr std::size_t kMostBytesOfCue = 1024;
constexpr std::size_t kLongestReference = 10;
constexpr std::size_t kLongestTime = 14; ///< of a word, as a tag

struct Mark
{
    std::string_view bytes;
    char const* encoding;
};

// The mark of UTF-32 begins with that of UTF-16.
constexpr Mark kMarks[] = {
    {std::string_view("\xEF\xBB\xBF", 3), "UTF-8"},    {std::string_view("\xFF\xFE\0\0", 4), "UTF-32LE"},
    {std::string_view("\0\0\xFE\xFF", 4), "UTF-32BE"}, {std::string_view("\xFF\xFE", 2), "UTF-16LE"},
    {std::string_view("\xFE\xFF", 2), "UTF-16BE"},
};

struct Charset
{
    std::int32_t number;
    char const* encoding;
};

constexpr Charset kCharsets[] = {
    {om::OM_SUBTITLE_CHARSET_AUTO, "WINDOWS-1252"},
    {om::OM_SUBTITLE_CHARSET_UTF_8, "UTF-8"},
    {om::OM_SUBTITLE_CHARSET_WESTERN, "WINDOWS-1252"},
    {om::OM_SUBTITLE_CHARSET_CENTRAL_EUROPEAN, "WINDOWS-1250"},
    {om::OM_SUBTITLE_CHARSET_CYRILLIC, "WINDOWS-1251"},
    {om::OM_SUBTITLE_CHARSET_GREEK, "WINDOWS-1253"},
    {om::OM_SUBTITLE_CHARSET_TURKISH, "WINDOWS-1254"},
    {om::OM_SUBTITLE_CHARSET_HEBREW, "WINDOWS-1255"},
    {om::OM_SUBTITLE_CHARSET_ARABIC, "WINDOWS-1256"},
    {om::OM_SUBTITLE_CHARSET_BALTIC, "WINDOWS-1257"},
    {om::OM_SUBTITLE_CHARSET_VIETNAMESE, "WINDOWS-1258"},
    {om::OM_SUBTITLE_CHARSET_THAI, "TIS-620"},
    {om::OM_SUBTITLE_CHARSET_KOREAN, "CP949"},
    {om::OM_SUBTITLE_CHARSET_JAPANESE, "CP932"},
    {om::OM_SUBTITLE_CHARSET_SIMPLIFIED_CHINESE, "GB18030"},
    {om::OM_SUBTITLE_CHARSET_TRADITIONAL_CHINESE, "BIG5"},
    {om::OM_SUBTITLE_CHARSET_UTF_16_LE, "UTF-16LE"},
    {om::OM_SUBTITLE_CHARSET_UTF_16_BE, "UTF-16BE"},
    {om::OM_SUBTITLE_CHARSET_KOI8_R, "KOI8-R"},
};

bool isUtf8(std::string_view bytes)
{
    return g_utf8_validate_len(bytes.data(), bytes.size(), nullptr) != FALSE;
}

std::string convert(std::string_view bytes, char const* encoding)
{
    auto* const converter = iconv_open("UTF-8", encoding);
    if (converter == reinterpret_cast<iconv_t>(-1))
    {
        return {};
    }
    std::string converted;
    char* from = const_cast<char*>(bytes.data()); // only read
    std::size_t left = bytes.size();
    while (left > 0)
    {
        std::array<char, 4096> room;
        char* to = room.data();
        std::size_t free = room.size();
        std::size_t const before = left;
        bool const failed = iconv(converter, &from, &left, &to, &free) == static_cast<std::size_t>(-1);
        converted.append(room.data(), room.size() - free);
        if (failed && left == before && free == room.size())
        {
            converted += kReplacement;
            ++from;
            --left;
        }
    }
    iconv_close(converter);
    return converted;
}

void append(std::string& text, gunichar character)
{
    bool const valid = character != 0 && g_unichar_validate(character) != FALSE;
    std::array<char, 6> bytes{};
    gint const length = g_unichar_to_utf8(valid ? character : 0xFFFD, bytes.data());
    text.append(bytes.data(), static_cast<std::size_t>(length));
}

/// @param name between "&" and ";" @return whether it was one
bool appendReference(std::string& text, std::string_view name)
{
    struct Named
    {
        std::string_view name;
        std::string_view text;
    };
    static constexpr Named kNamed[] = {
        {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}, {"nbsp", " "}, {"lrm", ""}, {"rlm", ""},
    };
    for (Named const& named : kNamed)
    {
        if (name == named.name)
        {
            text += named.text;
            return true;
        }
    }
    if (name.size() < 2 || name[0] != '#')
    {
        return false;
    }
    bool const hexadecimal = name[1] == 'x' || name[1] == 'X';
    std::string_view const digits = name.substr(hexadecimal ? 2 : 1);
    unsigned int number = 0;
    auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != digits.data() + digits.size())
    {
        return false;
    }
    append(text, number);
    return true;
}

/// A "<" in a text that is no tag stays.
bool opensTag(std::string_view rest)
{
    char const next = rest.size() > 1 ? rest[1] : ' ';
    bool const isTime = g_ascii_isdigit(next) != 0 && rest.substr(0, kLongestTime).find('>') != std::string_view::npos;
    return isTime || g_ascii_isalpha(next) != 0 || next == '/' || next == '!';
}

} // namespace

char const* encodingName(std::int32_t charset)
{
    for (Charset const& known : kCharsets)
    {
        if (known.number == charset)
        {
            return known.encoding;
        }
    }
    return nullptr;
}

std::string decodeText(std::string_view bytes, char const* encoding)
{
    for (Mark const& mark : kMarks)
    {
        if (bytes.substr(0, mark.bytes.size()) == mark.bytes)
        {
            return convert(bytes.substr(mark.bytes.size()), mark.encoding);
        }
    }
    return isUtf8(bytes) ? std::string(bytes) : convert(bytes, encoding);
}

std::string stripTags(std::string_view markup)
{
    std::string text;
    for (std::size_t at = 0; at < markup.size(); ++at)
    {
        std::string_view const rest = markup.substr(at);
        if (rest[0] == '<' && opensTag(rest))
        {
            std::size_t const end = rest.find('>');
            if (end == std::string_view::npos)
            {
                break;
            }
            bool const breaks = g_ascii_strncasecmp(rest.data(), "<br", 3) == 0;
            text += breaks ? "\n" : "";
            at += end;
            continue;
        }
        if (rest[0] == '&')
        {
            std::size_t const end = rest.substr(0, kLongestReference).find(';');
            if (end != std::string_view::npos && appendReference(text, rest.substr(1, end - 1)))
            {
                at += end;
                continue;
            }
        }
        text += rest[0];
    }
    return text;
}

std::string tidy(std::string_view text)
{
    std::unique_ptr<char, decltype(&g_free)> const valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(std::min(text.size(), kMostBytesOfCue))), &g_free);
    std::string tidied;
    std::string blanks;
    for (char const* at = valid.get(); *at != '\0'; at = g_utf8_next_char(at))
    {
        gunichar const character = g_utf8_get_char(at);
        if (character == '\n')
        {
            blanks = "\n";
        }
        else if (g_unichar_isspace(character) != FALSE)
        {
            blanks += blanks.empty() ? " " : "";
        }
        else if (g_unichar_iscntrl(character) == FALSE)
        {
            tidied += tidied.empty() ? "" : blanks;
            blanks.clear();
            append(tidied, character);
        }
    }
    return tidied;
}

} // namespace tz::orvane::service
