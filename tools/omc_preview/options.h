// SPDX-License-Identifier: Apache-2.0
// The preview tool's command line.
#pragma once

#include "presentation/preview_target.h"

#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::tools
{

struct PreviewOptions
{
    std::vector<std::string> media; ///< URIs, and absolute paths
    MediumPlace place{true, 10};
    bool exact = false;
    std::string size;   ///< empty for the service's
    std::string output; ///< file, folder or "-"; empty when no pictures are wanted
    bool intoFolder = false;
    PictureFormat format = PictureFormat::jpeg;
    int sheetFrames = 0; ///< 0: no contact sheet
    int timeout = 0;     ///< seconds for a medium; 0: as long as is usual
    bool json = false;
    bool verbose = false;
};

struct ParsedPreviewOptions
{
    std::optional<PreviewOptions> options;
    int exitStatus = 0; ///< where there are no options: help was asked for, or the usage was wrong
};

/// Parses the command line; help goes to standard output, faults to standard error.
ParsedPreviewOptions parsePreviewOptions(int argc, char** argv);

} // namespace tz::orvane::tools
