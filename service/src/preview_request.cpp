// SPDX-License-Identifier: Apache-2.0
// The arguments of a preview request.
#include "preview_request.h"

#include "medium.h"
#include "number_text.h"
#include "preview_picture.h"

#include "orvane/om_service.h"

#include <climits>
#include <cmath>
#include <string_view>

namespace tz::orvane::service
{

namespace
{

constexpr std::int64_t kLongestPosition = 1000LL * 3600 * 1000;
constexpr int kSmallestSide = 16;
constexpr int kLargestSide = 4096;
constexpr int kLargestSheetSide = 16'384;
constexpr int kMostFrames = 100;

bool readNumber(std::string_view text, int least, int most, std::int32_t& to)
{
    auto const number = toNumber(text, least, most);
    to = static_cast<std::int32_t>(number.value_or(to));
    return number.has_value();
}

bool readSize(std::string_view text, PreviewTask& task)
{
    auto const cross = text.find('x');
    return cross != std::string_view::npos &&
           readNumber(text.substr(0, cross), kSmallestSide, kLargestSide, task.width) &&
           readNumber(text.substr(cross + 1), kSmallestSide, kLargestSide, task.height);
}

bool readPath(std::string_view text, std::string& path)
{
    path = text;
    return !text.empty() && text.size() < PATH_MAX && text.front() == '/' && text.back() != '/';
}

bool readProperty(protocol::PropertyView::Entry const& entry, PreviewRequest& request)
{
    PreviewTask& task = request.task;
    if (entry.key == om::OM_PREVIEW_KEY_SIZE)
    {
        return readSize(entry.value, task);
    }
    if (entry.key == om::OM_PREVIEW_KEY_FORMAT)
    {
        task.png = entry.value == "png";
        return task.png || entry.value == "jpeg";
    }
    if (entry.key == om::OM_PREVIEW_KEY_OUTPUT)
    {
        return readPath(entry.value, request.outputPath);
    }
    if (entry.key == om::OM_PREVIEW_KEY_REQUEST_ID)
    {
        std::int32_t number = 0;
        bool const good = readNumber(entry.value, 1, INT_MAX, number);
        request.named = static_cast<std::uint32_t>(number);
        return good;
    }
    if (entry.key == om::OM_PREVIEW_KEY_TIMEOUT)
    {
        return readNumber(entry.value, 100, 120'000, task.timeout);
    }
    if (entry.key == om::OM_PREVIEW_KEY_FRAMES)
    {
        return readNumber(entry.value, 1, kMostFrames, task.frames);
    }
    return entry.key == om::OM_PREVIEW_KEY_COLUMNS && readNumber(entry.value, 1, kMostFrames, task.columns);
}

bool fitsOnSheet(PreviewTask const& task)
{
    Extent const sheet = sheetExtent(task.frames, task.columns, {task.width, task.height});
    return task.frames == 1 || (sheet.width <= kLargestSheetSide && sheet.height <= kLargestSheetSide);
}

bool isPosition(int mode, std::int64_t position)
{
    switch (mode)
    {
    case om::OM_LOCATION_MODE_TIME:
        return position >= 0 && position <= kLongestPosition;
    case om::OM_LOCATION_MODE_PERCENT:
        return position >= 0 && position <= 100;
    default:
        return false;
    }
}

} // namespace

std::string readPreviewRequest(std::string const& uri, int mode, std::int64_t position, int flags,
                               protocol::PropertyView const& properties, PreviewRequest& request)
{
    request.task.columns = 0;
    std::string wrong;
    for (auto const entry : properties)
    {
        if (!readProperty(entry, request))
        {
            wrong = "property " + std::string(entry.key);
        }
    }
    if (!wrong.empty())
    {
        return wrong;
    }
    if (!isPosition(mode, position))
    {
        return "position " + std::to_string(position) + " in mode " + std::to_string(mode);
    }
    if ((flags & ~(om::OM_PREVIEW_EXACT | om::OM_PREVIEW_NO_PICTURE)) != 0)
    {
        return "flags " + std::to_string(flags);
    }
    PreviewTask& task = request.task;
    task.mode = static_cast<om::om_location_mode_e>(mode);
    task.position = position;
    task.exact = (flags & om::OM_PREVIEW_EXACT) != 0;
    task.picture = (flags & om::OM_PREVIEW_NO_PICTURE) == 0;
    if (task.columns == 0)
    {
        task.columns = static_cast<std::int32_t>(std::ceil(std::sqrt(task.frames)));
    }
    if (!fitsOnSheet(task))
    {
        return "a sheet may have " + std::to_string(kLargestSheetSide) + " pixels a side";
    }
    request.uri = normalizedUri(uri);
    return request.uri.empty() ? "neither an absolute path nor a URI" : "";
}

} // namespace tz::orvane::service
