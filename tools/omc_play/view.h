// SPDX-License-Identifier: Apache-2.0
// What the user sees.
#pragma once

#include "common/output.h"
#include "omc_play/terminal.h"
#include "presentation/medium.h"
#include "presentation/progress_line.h"

#include <memory>
#include <string>

namespace tz::orvane::tools
{

/// Shows what happens; used on the main thread only.
class View
{
public:
    virtual ~View() = default;

    virtual void opening(std::string const& uri) = 0;
    virtual void opened(Medium const& medium) = 0;

    /// State, time, speed or volume may have changed.
    virtual void progress(Progress const& progress) = 0;

    /// The medium is over, for the reason that is shown as the last state.
    virtual void finished() {}

    /// The screen was changed by others, or its size.
    virtual void redraw() {}

    /// A line on standard error.
    virtual void problem(std::string const& text);

protected:
    View() = default;
};

/// The bar of an interactive terminal.
std::unique_ptr<View> makeBarView(Output& output, Terminal const& terminal);

/// Lines for files, pipes and scripts.
std::unique_ptr<View> makePlainView(Output& output);

/// Only a report about each medium.
std::unique_ptr<View> makeReportView(Output& output);

/// The same for programs: a line with a JSON object for each.
std::unique_ptr<View> makeJsonView(Output& output);

} // namespace tz::orvane::tools
