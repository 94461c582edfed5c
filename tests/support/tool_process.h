// SPDX-License-Identifier: Apache-2.0
// A command-line program under test, with its output in files or on a terminal of its own.
#pragma once

#include "support/temp_dir.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <termios.h>
#include <vector>

namespace tz::orvane::test
{

/// @return what a file holds, nothing when it cannot be read
std::string fileContent(std::string const& file);

/// Starts a program at once; kills it at the end if it still runs.
class ToolProcess
{
public:
    enum class Output
    {
        files,   ///< standard input is /dev/null
        terminal ///< 80 columns by 24 lines, all three descriptors
    };

    /// @param command the program and its arguments
    explicit ToolProcess(std::vector<std::string> const& command, Output output = Output::files);
    ToolProcess(ToolProcess const&) = delete;
    ToolProcess& operator=(ToolProcess const&) = delete;
    ~ToolProcess();

    pid_t pid() const { return m_pid; }
    void signal(int number) const;

    /// @return the exit status, 128 and the signal's number when one ended it; nothing when it runs too long
    std::optional<int> wait();

    /// What it has written to standard output so far, or to the terminal.
    std::string out();

    /// What it has written to standard error so far; empty with a terminal.
    std::string err();

    /// Waits until `text` is in out(); gives up when the program has ended without it. With a terminal, takes what
    /// stands up to its end away, so that the next call looks behind it.
    bool waitFor(std::string const& text);

    /// Types on the terminal.
    void type(std::string const& keys) const;
    termios terminalSettings() const;

    /// Waits until the process is stopped by a signal.
    bool waitUntilStopped();

private:
    void startWithFiles(std::vector<char*> const& arguments);
    void startWithTerminal(std::vector<char*> const& arguments);
    void readTerminal();
    bool hasEnded() const;

    TempDir m_folder;
    int m_terminal = -1;
    pid_t m_pid = -1;
    std::optional<int> m_status;
    std::string m_seen;
};

} // namespace tz::orvane::test
