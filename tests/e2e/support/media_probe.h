// SPDX-License-Identifier: Apache-2.0
// What other programs tell of a medium, to compare with.
#pragma once

#include "orvane/om_records.h"

#include <nlohmann/json.hpp>

#include <string>

namespace tz::orvane::test
{

/// @return "format", "streams" and "chapters" as ffprobe tells them; names of tags in lower case, those of the format
/// filled up with those of the first stream
nlohmann::json ffprobe(std::string const& file);

/// @return tags as exiftool tells them, numbers as numbers
nlohmann::json exiftool(std::string const& file);

/// A date in the form in which they tell it: without arguments as ffprobe does.
std::string dateText(om::om_date_t const& date, char within = '-', char between = 'T');

} // namespace tz::orvane::test
