// SPDX-License-Identifier: Apache-2.0
// The media service as a process of a test.
#include "support/service_process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace tz::orvane::test
{

namespace
{

constexpr std::chrono::seconds kPatience{60};
constexpr int kPollMilliseconds = 50;

int checked(int result, char const* what)
{
    if (result < 0)
    {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

sockaddr_un addressOf(std::string const& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

[[noreturn]] void become(std::vector<std::string>& command, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == parent)
    {
        std::vector<char*> arguments;
        for (std::string& argument : command)
        {
            arguments.push_back(argument.data());
        }
        arguments.push_back(nullptr);
        execv(arguments[0], arguments.data());
    }
    _exit(127);
}

} // namespace

ServiceProcess::ServiceProcess(std::vector<std::string> command)
{
    static int count = 0;
    char const* const folder = std::getenv("ORVANE_SOCKET_DIR");
    m_notifyPath = std::string(folder == nullptr ? "." : folder) + "/notify-" + std::to_string(++count);
    m_notify = checked(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_un const address = addressOf(m_notifyPath);
    checked(bind(m_notify, reinterpret_cast<sockaddr const*>(&address), sizeof address), "bind");

    pid_t const parent = getpid();
    setenv("NOTIFY_SOCKET", m_notifyPath.c_str(), 1);
    m_pid = checked(fork(), "fork");
    if (m_pid == 0)
    {
        become(command, parent);
    }
    unsetenv("NOTIFY_SOCKET");
}

ServiceProcess::~ServiceProcess()
{
    if (!poll())
    {
        signal(SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    close(m_notify);
    unlink(m_notifyPath.c_str());
}

bool ServiceProcess::waitUntilReady()
{
    auto const deadline = std::chrono::steady_clock::now() + kPatience;
    while (!poll() && std::chrono::steady_clock::now() < deadline)
    {
        pollfd waited{m_notify, POLLIN, 0};
        if (::poll(&waited, 1, kPollMilliseconds) == 1)
        {
            char line[64] = {};
            recv(m_notify, line, sizeof line - 1, 0);
            return std::string_view(line) == "READY=1";
        }
    }
    return false;
}

void ServiceProcess::signal(int number) const
{
    if (!m_status) // its id may be another process's by now
    {
        ::kill(m_pid, number);
    }
}

std::optional<int> ServiceProcess::wait()
{
    auto const deadline = std::chrono::steady_clock::now() + kPatience;
    while (!poll() && std::chrono::steady_clock::now() < deadline)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return m_status;
}

std::optional<int> ServiceProcess::poll()
{
    int status = 0;
    if (!m_status && waitpid(m_pid, &status, WNOHANG) == m_pid)
    {
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return m_status;
}

} // namespace tz::orvane::test
