// SPDX-License-Identifier: Apache-2.0
// Signals as something that the main thread waits for like for a key.
#include "common/signals.h"

#include <poll.h>
#include <sys/signalfd.h>

namespace tz::orvane::tools
{

namespace
{

sigset_t handled()
{
    sigset_t set;
    ::sigemptyset(&set);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGTSTP, SIGCONT, SIGWINCH})
    {
        ::sigaddset(&set, signal);
    }
    return set;
}

int openDescriptor()
{
    sigset_t const set = handled();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

} // namespace

Signals::Signals()
    : m_fd(openDescriptor())
{
}

int Signals::take()
{
    signalfd_siginfo info = {};
    return ::read(m_fd.get(), &info, sizeof(info)) == sizeof(info) ? static_cast<int>(info.ssi_signo) : 0;
}

int Signals::pause(int milliseconds)
{
    pollfd wanted{m_fd.get(), POLLIN, 0};
    ::poll(&wanted, 1, milliseconds);
    int const signal = take();
    return ends(signal) ? signal : 0;
}

} // namespace tz::orvane::tools
