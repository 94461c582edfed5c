// SPDX-License-Identifier: Apache-2.0
// The media service as a process of a test.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tz::orvane::test
{

/// Starts a service, which listens in the socket directory of the test. It never outlives the test.
class ServiceProcess
{
public:
    /// @param command the program and its arguments
    explicit ServiceProcess(std::vector<std::string> command);
    ServiceProcess(ServiceProcess const&) = delete;
    ServiceProcess& operator=(ServiceProcess const&) = delete;

    /// kill -9 when it still runs.
    ~ServiceProcess();

    pid_t pid() const { return m_pid; }

    /// Waits until it says to its manager that it serves. @return false when it ended or took too long
    bool waitUntilReady();

    void signal(int number) const;

    /// Waits for its end. @return its exit status, 128 and the signal's number when one ended it; nothing when it runs
    /// too long
    std::optional<int> wait();

private:
    std::optional<int> poll();

    std::string m_notifyPath;
    int m_notify = -1;
    pid_t m_pid = -1;
    std::optional<int> m_status;
};

} // namespace tz::orvane::test
