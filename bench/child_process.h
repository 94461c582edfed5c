// SPDX-License-Identifier: Apache-2.0
// A forked process that never outlives its parent.
#pragma once

#include <csignal>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tz::orvane::bench
{

/// Runs a function in a child of this process, which must have one thread at that moment. The child inherits all
/// descriptors and is killed at the end of this object or of the parent.
class ChildProcess
{
public:
    /// @param body gives the child's exit status
    template <class Body> explicit ChildProcess(Body&& body)
    {
        pid_t const parent = ::getpid();
        m_pid = ::fork();
        if (m_pid == 0)
        {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            // The parent may be gone already.
            ::_exit(::getppid() == parent ? body() : 1);
        }
    }

    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;

    ~ChildProcess()
    {
        if (m_pid > 0)
        {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }

    /// @return -1 when the fork failed, or after release
    pid_t pid() const { return m_pid; }

    /// Leaves waiting for the child to the caller, who has done so when this object ends.
    void release() { m_pid = -1; }

private:
    pid_t m_pid = -1;
};

} // namespace tz::orvane::bench
