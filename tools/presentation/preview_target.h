// SPDX-License-Identifier: Apache-2.0
// What the command line says about previews, and what their files are called.
#pragma once

#include <optional>
#include <set>
#include <string>

namespace tz::orvane::tools
{

/// A place in a medium.
struct MediumPlace
{
    bool inPercent = false;
    long long position = 0; ///< milliseconds, or percent
};

/// @param text seconds "12.5", "1:02:03.5", or "30%"; nothing when it is none of them
std::optional<MediumPlace> parsePlace(std::string const& text);

/// @return whether it is "WxH" with sides that the service takes
bool isPictureSize(std::string const& text);

enum class PictureFormat
{
    jpeg,
    png
};

/// @return the format that the end of a file's name stands for
std::optional<PictureFormat> formatOfName(std::string const& file);

/// Names files after media, each name once.
class PictureNames
{
public:
    explicit PictureNames(PictureFormat format);

    /// @return a name without a folder: "film.jpg", the next one of that name "film-2.jpg"
    std::string next(std::string const& uri);

private:
    std::string m_ending;
    std::set<std::string> m_given;
};

} // namespace tz::orvane::tools
