// SPDX-License-Identifier: Apache-2.0
// From an argument of the command line to what the service is asked to open.
#pragma once

#include <string>
#include <vector>

namespace tz::orvane::tools
{

/// @return a URI as it is, a path made absolute from `directory`: the service lives elsewhere
std::string mediaUri(std::string const& argument, std::string const& directory);

/// @return the same of each, from the folder that the tool runs in
std::vector<std::string> mediaUris(std::vector<std::string> const& arguments);

/// @return a short printable name: the last part of the path, or the whole URI when there is none
std::string displayName(std::string const& uri);

/// @return the path of what lies on this machine, empty for all else
std::string localFile(std::string const& uri);

} // namespace tz::orvane::tools
