// SPDX-License-Identifier: Apache-2.0
// What the command line says about previews, and what their files are called.
#include "presentation/preview_target.h"

#include "presentation/media_uri.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace tz::orvane::tools
{

namespace
{

constexpr double kLongest = 1e9; ///< seconds
constexpr std::size_t kLongestStem = 200;

/// @return nothing for what is not digits with, perhaps, a decimal point among them
std::optional<double> toSeconds(std::string_view text)
{
    bool const plain = !text.empty() && text.find_first_not_of("0123456789.") == std::string_view::npos &&
                       std::count(text.begin(), text.end(), '.') <= 1 && text != ".";
    double const value = plain ? std::strtod(std::string(text).c_str(), nullptr) : -1;
    return plain && value <= kLongest ? std::optional<double>(value) : std::nullopt;
}

bool isSide(std::string_view text)
{
    int side = 0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), side);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && side >= 16 && side <= 4096;
}

bool endsWith(std::string const& text, std::string_view ending)
{
    return text.size() >= ending.size() && std::equal(ending.rbegin(), ending.rend(), text.rbegin(),
                                                      [](char a, char b) { return a == (b | 0x20) || a == b; });
}

} // namespace

std::optional<MediumPlace> parsePlace(std::string const& text)
{
    if (!text.empty() && text.back() == '%')
    {
        auto const percent = toSeconds(std::string_view(text).substr(0, text.size() - 1));
        bool const good = percent && *percent <= 100;
        return good ? std::optional<MediumPlace>({true, std::llround(*percent)}) : std::nullopt;
    }
    double seconds = 0;
    std::string_view rest = text;
    for (int parts = 1;; ++parts)
    {
        auto const colon = rest.find(':');
        auto const part = toSeconds(rest.substr(0, colon));
        if (!part || parts > 3)
        {
            return std::nullopt;
        }
        seconds = seconds * 60 + *part;
        if (colon == std::string_view::npos)
        {
            return MediumPlace{false, std::llround(seconds * 1000)};
        }
        rest.remove_prefix(colon + 1);
    }
}

bool isPictureSize(std::string const& text)
{
    auto const cross = text.find('x');
    return cross != std::string::npos && isSide(std::string_view(text).substr(0, cross)) &&
           isSide(std::string_view(text).substr(cross + 1));
}

std::optional<PictureFormat> formatOfName(std::string const& file)
{
    if (endsWith(file, ".png"))
    {
        return PictureFormat::png;
    }
    bool const isJpeg = endsWith(file, ".jpg") || endsWith(file, ".jpeg");
    return isJpeg ? std::optional<PictureFormat>(PictureFormat::jpeg) : std::nullopt;
}

PictureNames::PictureNames(PictureFormat format)
    : m_ending(format == PictureFormat::png ? ".png" : ".jpg")
{
}

std::string PictureNames::next(std::string const& uri)
{
    std::string stem = displayName(uri);
    auto const dot = stem.rfind('.');
    stem.resize(std::min({dot == 0 ? stem.size() : std::min(dot, stem.size()), kLongestStem}));
    std::replace(stem.begin(), stem.end(), '/', '_'); // of a URI without a path
    if (stem.empty() || stem == "." || stem == "..")
    {
        stem = "picture";
    }
    std::string name = stem + m_ending;
    for (int number = 2; !m_given.insert(name).second; ++number)
    {
        name = stem + "-" + std::to_string(number) + m_ending;
    }
    return name;
}

} // namespace tz::orvane::tools
