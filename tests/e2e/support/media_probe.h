// SPDX-License-Identifier: Apache-2.0
// What other programs tell of a medium, to compare with.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace tz::orvane::test
{

/// @return "format", "streams" and "chapters" as ffprobe tells them; names of tags in lower case, those of the format
/// filled up with those of the first stream
nlohmann::json ffprobe(std::string const& file);

/// @return tags as exiftool tells them, numbers as numbers
nlohmann::json exiftool(std::string const& file);

} // namespace tz::orvane::test
