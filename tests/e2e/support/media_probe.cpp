// SPDX-License-Identifier: Apache-2.0
// What other programs tell of a medium, to compare with.
#include "support/media_probe.h"

#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <utility>
#include <vector>

namespace tz::orvane::test
{

namespace
{

using nlohmann::json;

json run(std::vector<std::string> command, std::string const& file)
{
    command.insert(command.begin(), "/usr/bin/env");
    command.push_back(file);
    ToolProcess tool(command);
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    return json::parse(tool.out(), nullptr, false);
}

json lowerCased(json const& tags)
{
    json result = json::object();
    for (auto const& [name, value] : tags.items())
    {
        std::string lower = name;
        std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
        result[lower] = value;
    }
    return result;
}

} // namespace

json ffprobe(std::string const& file)
{
    json told = run(
        {"ffprobe", "-v", "error", "-print_format", "json", "-show_format", "-show_streams", "-show_chapters"}, file);
    for (json& stream : told["streams"])
    {
        stream["tags"] = lowerCased(stream.value("tags", json::object()));
    }
    json tags = lowerCased(told["format"].value("tags", json::object()));
    if (!told["streams"].empty())
    {
        for (auto const& [name, value] : told["streams"][0]["tags"].items())
        {
            tags.emplace(name, value);
        }
    }
    told["format"]["tags"] = tags;
    return told;
}

json exiftool(std::string const& file)
{
    json const told = run({"exiftool", "-j", "-n"}, file);
    return told.is_array() && !told.empty() ? told[0] : json::object();
}

std::string dateText(om::om_date_t const& date, char within, char between)
{
    char text[96];
    std::snprintf(text, sizeof text, "%04d%c%02d%c%02d%c%02d:%02d:%02d", date.year, within, date.month, within,
                  date.day, between, date.time.hour, date.time.minute, date.time.second);
    return text;
}

} // namespace tz::orvane::test
