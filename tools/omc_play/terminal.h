// SPDX-License-Identifier: Apache-2.0
// The terminal as a keyboard that sends each key at once, and as a line of known width.
#pragma once

#include <termios.h>

namespace tz::orvane::tools
{

/// Switches echo and line editing of standard input off while it lives. The terminal is as before afterwards, also
/// when the process is stopped or crashes. One object at a time, on the main thread.
class Terminal
{
public:
    /// @param output descriptor of the terminal that is written to
    explicit Terminal(int output);
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;
    ~Terminal();

    /// Switches to single keys, when standard input is a terminal and this is its foreground process.
    void enter();

    /// Restores what was before.
    void leave();

    /// Whether keys can be read now.
    bool hasKeys() const { return m_entered; }

    /// @return columns that may be written without a wrap
    int columns() const;

    /// Whether standard input and `output` are terminals that understand control sequences.
    static bool isUsable(int output);

private:
    int m_output;
    bool m_entered = false;
    termios m_before = {};
};

} // namespace tz::orvane::tools
