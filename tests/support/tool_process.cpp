// SPDX-License-Identifier: Apache-2.0
// A command-line program under test, with its output in files or on a terminal of its own.
#include "support/tool_process.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <pty.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tz::orvane::test
{

namespace
{

constexpr std::chrono::seconds kPatience{60};

template <class Condition> bool patiently(Condition condition)
{
    auto const deadline = std::chrono::steady_clock::now() + kPatience;
    bool fulfilled = condition();
    while (!fulfilled && std::chrono::steady_clock::now() < deadline)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        fulfilled = condition();
    }
    return fulfilled;
}

void redirect(std::string const& file, int flags, int descriptor)
{
    int const fd = ::open(file.c_str(), flags, 0600);
    ::dup2(fd, descriptor);
    ::close(fd);
}

} // namespace

std::string fileContent(std::string const& file)
{
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

ToolProcess::ToolProcess(std::vector<std::string> const& command, Output output)
{
    std::vector<std::string> copies = command;
    std::vector<char*> arguments;
    for (std::string& copy : copies)
    {
        arguments.push_back(copy.data());
    }
    arguments.push_back(nullptr);
    if (output == Output::files)
    {
        startWithFiles(arguments);
    }
    else
    {
        startWithTerminal(arguments);
    }
}

ToolProcess::~ToolProcess()
{
    if (!m_status && m_pid > 0)
    {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    if (m_terminal >= 0)
    {
        ::close(m_terminal);
    }
}

void ToolProcess::startWithFiles(std::vector<char*> const& arguments)
{
    m_pid = ::fork();
    if (m_pid == 0)
    {
        redirect("/dev/null", O_RDONLY, STDIN_FILENO);
        redirect(m_folder.path() + "/out", O_WRONLY | O_CREAT | O_APPEND, STDOUT_FILENO);
        redirect(m_folder.path() + "/err", O_WRONLY | O_CREAT | O_APPEND, STDERR_FILENO);
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
}

void ToolProcess::startWithTerminal(std::vector<char*> const& arguments)
{
    winsize const size{24, 80, 0, 0};
    m_pid = ::forkpty(&m_terminal, nullptr, nullptr, &size);
    if (m_pid == 0)
    {
        ::setenv("TERM", "xterm", 1);
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    ::fcntl(m_terminal, F_SETFL, O_NONBLOCK);
}

void ToolProcess::signal(int number) const
{
    ::kill(m_pid, number);
}

std::optional<int> ToolProcess::wait()
{
    patiently(
        [this]
        {
            readTerminal();
            int status = 0;
            if (!m_status && ::waitpid(m_pid, &status, WNOHANG) == m_pid)
            {
                m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            return m_status.has_value();
        });
    return m_status;
}

std::string ToolProcess::out()
{
    readTerminal();
    return m_terminal >= 0 ? m_seen : fileContent(m_folder.path() + "/out");
}

std::string ToolProcess::err()
{
    return fileContent(m_folder.path() + "/err");
}

bool ToolProcess::waitFor(std::string const& text)
{
    bool found = false;
    patiently(
        [&]
        {
            bool const over = hasEnded(); // what it has written last is read afterwards
            std::string const output = out();
            std::size_t const place = output.find(text);
            found = place != std::string::npos;
            if (found && m_terminal >= 0)
            {
                m_seen.erase(0, place + text.size());
            }
            return found || over;
        });
    return found;
}

bool ToolProcess::hasEnded() const
{
    siginfo_t info = {};
    return m_status ||
           (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == m_pid);
}

void ToolProcess::type(std::string const& keys) const
{
    if (::write(m_terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
    {
        throw std::runtime_error("the terminal takes no keys");
    }
}

termios ToolProcess::terminalSettings() const
{
    termios settings = {};
    ::tcgetattr(m_terminal, &settings);
    return settings;
}

bool ToolProcess::waitUntilStopped()
{
    return patiently(
        [this]
        {
            readTerminal();
            int status = 0;
            return ::waitpid(m_pid, &status, WNOHANG | WUNTRACED) == m_pid && WIFSTOPPED(status);
        });
}

void ToolProcess::readTerminal()
{
    char buffer[4096];
    ssize_t count = 0;
    while (m_terminal >= 0 && (count = ::read(m_terminal, buffer, sizeof(buffer))) > 0)
    {
        m_seen.append(buffer, static_cast<std::size_t>(count));
    }
}

} // namespace tz::orvane::test
