// SPDX-License-Identifier: Apache-2.0
// A slow second opinion on URIs: one character at a time, with nothing of the library but its results to compare with.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tz::orvane::test
{

/// The keys that are taken out of a URI, in that order.
inline constexpr char const* kUriKeys[] = {"scenes",   "playMode",        "width",     "height", "pos",
                                           "filesize", "duration",        "subtitle",  "region", "bgmusic",
                                           "curItem",  "video-play-mode", "zoom-mode", "app"};

/// What a URI must come apart into.
struct UriModel
{
    bool valid = false;
    std::string orign_uri;
    std::string pure_uri;
    std::string file_name;
    std::string header;
    std::vector<std::pair<std::string, std::string>> properties; ///< as a property group keeps them
};

/// A parameter and the range to cut out.
struct ParameterModel
{
    std::string value;
    int startPos;
    int endPos;
};

/// @return the position of the last such character, -1 when there is none
inline int lastOf(std::string const& text, char wanted)
{
    int last = -1;
    for (int i = 0; i < static_cast<int>(text.size()); ++i)
    {
        last = text[static_cast<std::size_t>(i)] == wanted ? i : last;
    }
    return last;
}

/// @return the characters from `begin` up to `end`, as far as there are any
inline std::string part(std::string const& text, int begin, int end)
{
    std::string result;
    for (int i = begin; i < end && i < static_cast<int>(text.size()); ++i)
    {
        result += text[static_cast<std::size_t>(i)];
    }
    return result;
}

/// @return the text up to its first NUL
inline std::string upToNul(std::string const& text)
{
    std::string result;
    for (char const c : text)
    {
        if (c == '\0')
        {
            break;
        }
        result += c;
    }
    return result;
}

inline std::optional<ParameterModel> modelParameter(std::string const& uri, std::string const& key)
{
    int const size = static_cast<int>(uri.size());
    int const keySize = static_cast<int>(key.size());
    int const query = lastOf(uri, '?');
    if (query < 0)
    {
        return {};
    }
    for (int k = query + 1; k + keySize <= size; ++k)
    {
        if (part(uri, k, k + keySize) != key)
        {
            continue;
        }
        // The first occurrence decides.
        bool const startsParameter = k == query + 1 || part(uri, k - 1, k) == "&";
        bool const hasValue = k + keySize + 2 <= size && part(uri, k + keySize, k + keySize + 1) == "=";
        if (!startsParameter || !hasValue)
        {
            return {};
        }
        int const begin = k + keySize + 1;
        int end = begin;
        while (end < size && part(uri, end, end + 1) != "&")
        {
            ++end;
        }
        bool const ampersandFollows = end < size;
        return ParameterModel{part(uri, begin, end), ampersandFollows ? k : k - 1, ampersandFollows ? end + 1 : end};
    }
    return {};
}

/// "file://" alone is left to the caller: it has no result.
inline UriModel modelUri(std::string const& uri)
{
    UriModel model;
    if (part(uri, 0, 7) == "file://")
    {
        model.header = part(uri, 7, 8) == "/" ? "file://" : "file:/";
    }
    for (char const* header : {"http://", "https://", "es://", "rtsp://"})
    {
        if (part(uri, 0, static_cast<int>(std::string(header).size())) == header)
        {
            model.header = header;
        }
    }
    if (model.header.empty())
    {
        return model;
    }
    model.valid = true;

    int const query = lastOf(uri, '?');
    std::string const path = part(uri, 0, query < 0 ? static_cast<int>(uri.size()) : query);
    int const slash = lastOf(path, '/');
    int const dot = lastOf(path, '.');
    if (slash >= 0 && dot >= 0 && slash < dot)
    {
        model.file_name = part(part(path, slash + 1, static_cast<int>(path.size())), 0, 63);
    }

    std::string pure = uri;
    for (char const* key : kUriKeys)
    {
        if (auto const found = modelParameter(pure, key))
        {
            if (!upToNul(found->value).empty())
            {
                model.properties.emplace_back(key, upToNul(found->value));
            }
            pure = part(pure, 0, found->startPos) + part(pure, found->endPos, static_cast<int>(pure.size()));
        }
    }
    model.orign_uri = part(uri, 0, 2047);
    model.pure_uri = part(pure, 0, 2047);
    return model;
}

} // namespace tz::orvane::test
