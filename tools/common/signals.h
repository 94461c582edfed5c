// SPDX-License-Identifier: Apache-2.0
// Signals as something that the main thread waits for like for a key.
#pragma once

#include "platform/src/unique_fd.h"

#include <csignal>

namespace tz::orvane::tools
{

/// Blocks the signals that the player acts on, and receives them through a descriptor. Make it before there are
/// threads, which take the blocking over.
class Signals
{
public:
    Signals();

    int descriptor() const { return m_fd.get(); }

    /// @return the next signal, 0 when there is none
    int take();

    /// Waits. @return 0, or the number of a signal that ends the program, which came meanwhile
    int pause(int milliseconds);

    /// Whether the signal asks the program to end.
    static bool ends(int signal) { return signal == SIGINT || signal == SIGTERM || signal == SIGHUP; }

private:
    platform::UniqueFd m_fd;
};

} // namespace tz::orvane::tools
