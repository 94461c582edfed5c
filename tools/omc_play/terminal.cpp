// SPDX-License-Identifier: Apache-2.0
// The terminal as a keyboard that sends each key at once, and as a line of known width.
#include "omc_play/terminal.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tz::orvane::tools
{

namespace
{

constexpr int kCrashes[] = {SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr std::string_view kHideCursor = "\x1b[?25l";
constexpr std::string_view kShowCursor = "\r\x1b[K\x1b[?25h";

termios g_restore;
int g_output = -1;
std::atomic<bool> g_restoreWanted{false};

void send(int output, std::string_view sequence)
{
    // A terminal that is gone is no reason to fail.
    [[maybe_unused]] auto const written = ::write(output, sequence.data(), sequence.size());
}

void apply(termios const& settings)
{
    // From the background the kernel would stop us for this.
    sigset_t stop;
    sigset_t before;
    ::sigemptyset(&stop);
    ::sigaddset(&stop, SIGTTOU);
    ::pthread_sigmask(SIG_BLOCK, &stop, &before);
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &settings);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

/// Installed to run once: the default action follows when the signal is raised again.
void restoreAndRaise(int signal)
{
    if (g_restoreWanted.exchange(false))
    {
        apply(g_restore);
        send(g_output, kShowCursor);
    }
    ::raise(signal);
}

} // namespace

Terminal::Terminal(int output)
    : m_output(output)
{
    g_output = output;
    struct sigaction action = {};
    action.sa_handler = restoreAndRaise;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (int const signal : kCrashes)
    {
        ::sigaction(signal, &action, nullptr);
    }
}

Terminal::~Terminal()
{
    leave();
    for (int const signal : kCrashes)
    {
        ::signal(signal, SIG_DFL);
    }
}

void Terminal::enter()
{
    if (m_entered || ::tcgetpgrp(STDIN_FILENO) != ::getpgrp() || ::tcgetattr(STDIN_FILENO, &m_before) != 0)
    {
        return;
    }
    g_restore = m_before;
    g_restoreWanted = true;
    termios single = m_before;
    single.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    single.c_cc[VMIN] = 1;
    single.c_cc[VTIME] = 0;
    apply(single);
    send(m_output, kHideCursor);
    m_entered = true;
}

void Terminal::leave()
{
    if (!m_entered)
    {
        return;
    }
    m_entered = false;
    apply(m_before);
    g_restoreWanted = false;
    send(m_output, kShowCursor);
}

int Terminal::columns() const
{
    constexpr int kUsual = 80;
    winsize size = {};
    bool const known = ::ioctl(m_output, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return (known ? size.ws_col : kUsual) - 1;
}

bool Terminal::isUsable(int output)
{
    char const* const kind = std::getenv("TERM");
    return ::isatty(STDIN_FILENO) != 0 && ::isatty(output) != 0 && kind != nullptr && std::string_view(kind) != "dumb";
}

} // namespace tz::orvane::tools
