// SPDX-License-Identifier: Apache-2.0
// How a process ends that is expected to end itself.
#pragma once

#include <functional>
#include <string>

namespace tz::orvane::test
{

struct Ending
{
    int signal = 0;     ///< 0 when the body came to its end
    std::string output; ///< what went to standard output
};

/// Runs `body` in a child and waits for its end. The process must have one thread; the child may start others. (A death
/// test looks at standard error, where an emulator adds a line of its own.)
Ending endingOf(std::function<void()> const& body);

/// Expects that `body` aborts and that exactly `output` goes to standard output.
void expectAbort(std::string const& output, std::function<void()> const& body);

} // namespace tz::orvane::test
