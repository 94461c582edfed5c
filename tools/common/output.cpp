// SPDX-License-Identifier: Apache-2.0
// A tool's own standard output, which nothing else in the process writes to.
#include "common/output.h"

#include "platform/src/write_all.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace tz::orvane::tools
{

namespace
{

/// Points descriptor 1 elsewhere, after what was printed so far has gone the old way.
void redirectStandardOutput(int target)
{
    std::fflush(stdout);
    ::dup2(target, STDOUT_FILENO);
}

} // namespace

void openMissingStandardDescriptors()
{
    int fd = 0;
    do
    {
        fd = ::open("/dev/null", O_RDWR);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0)
    {
        ::close(fd);
    }
}

Output::Output()
    : m_fd(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    redirectStandardOutput(STDERR_FILENO);
}

Output::Silence::Silence()
{
    platform::UniqueFd const nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    redirectStandardOutput(nowhere.get());
}

Output::Silence::~Silence()
{
    redirectStandardOutput(STDERR_FILENO);
}

bool Output::write(std::string_view text)
{
    return platform::writeAll(m_fd.get(), text) == 0;
}

bool Output::isTerminal() const
{
    return ::isatty(m_fd.get()) != 0;
}

} // namespace tz::orvane::tools
