// SPDX-License-Identifier: Apache-2.0
// How a process ends that is expected to end itself.
#include "support/ending.h"

#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tz::orvane::test
{

Ending endingOf(std::function<void()> const& body)
{
    int ends[2];
    if (pipe(ends) != 0)
    {
        ADD_FAILURE() << "no pipe";
        return {};
    }
    std::fflush(stdout);
    pid_t const child = fork();
    if (child == 0)
    {
        rlimit const none{};
        setrlimit(RLIMIT_CORE, &none);
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        body();
        std::fflush(stdout);
        _exit(0);
    }
    close(ends[1]);
    Ending ending;
    char buffer[512];
    for (ssize_t size = read(ends[0], buffer, sizeof buffer); size > 0; size = read(ends[0], buffer, sizeof buffer))
    {
        ending.output.append(buffer, static_cast<std::size_t>(size));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    ending.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return ending;
}

void expectAbort(std::string const& output, std::function<void()> const& body)
{
    Ending const ending = endingOf(body);
    EXPECT_EQ(ending.signal, SIGABRT);
    EXPECT_EQ(ending.output, output);
}

} // namespace tz::orvane::test
