// SPDX-License-Identifier: Apache-2.0
// What became of a preview, in words and as data.
#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace tz::orvane::tools
{

struct PreviewOutcome
{
    std::string uri;
    unsigned int code = 0; ///< om_error_e
    std::string picture;   ///< file that was written, empty for none
    std::map<std::string, std::string> properties;
    std::string fault = {}; ///< what the tool says of a failure of its own, in place of the code's words
};

/// @return what is known, one fact a line, each line ended
std::string previewReport(PreviewOutcome const& outcome);

/// @return one sentence about a failure
std::string previewFault(PreviewOutcome const& outcome);

/// @return a JSON object on a line of its own
std::string previewJson(PreviewOutcome const& outcome);

/// @return "[====>-----] 12/200 name" in at most `columns`
std::string previewProgress(std::size_t done, std::size_t all, std::string const& name, int columns);

} // namespace tz::orvane::tools
