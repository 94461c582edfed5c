// SPDX-License-Identifier: Apache-2.0
// The one line that shows how far playing has come.
#include "presentation/progress_line.h"

#include "presentation/labels.h"
#include "presentation/text.h"

#include <algorithm>
#include <cstddef>

namespace tz::orvane::tools
{

namespace
{

constexpr int kStateColumns = 9;
constexpr int kSmallestBar = 10;

std::string bar(Progress const& progress, int columns)
{
    int const inner = columns - 2;
    long long const position = std::clamp(progress.position, 0LL, progress.duration);
    int const done = static_cast<int>(static_cast<double>(position) / static_cast<double>(progress.duration) * inner);
    std::string text(static_cast<std::size_t>(done), '=');
    if (done < inner)
    {
        text += '>';
    }
    text.resize(static_cast<std::size_t>(inner), '-');
    return "[" + text + "]";
}

} // namespace

std::string timesText(Progress const& progress)
{
    std::string const position = timeText(progress.position);
    return progress.duration > 0 ? position + " / " + timeText(progress.duration) : position;
}

std::string progressLine(Progress const& progress, int columns)
{
    std::string const times = timesText(progress);
    std::string state = printable(progress.state);
    state.append(static_cast<std::size_t>(std::max(0, kStateColumns - columnsOf(state))), ' ');
    std::string const left = state + " " + times;
    std::string const loudness = progress.muted ? "muted" : "vol " + std::to_string(progress.volume);
    std::string const note = progress.note.empty() ? "" : "  " + printable(progress.note);
    std::string right = speedLabel(progress.speed) + "  " + loudness;
    if (columnsOf(left) + 2 + columnsOf(right + note) <= columns)
    {
        right += note;
    }

    int const roomBesideRight = columns - columnsOf(left) - columnsOf(right) - 4;
    if (progress.duration > 0 && roomBesideRight >= kSmallestBar)
    {
        return left + "  " + bar(progress, roomBesideRight) + "  " + right;
    }
    if (roomBesideRight + 2 >= 0)
    {
        return left + "  " + right;
    }
    return clipped(columnsOf(left) <= columns ? left : times, columns);
}

} // namespace tz::orvane::tools
