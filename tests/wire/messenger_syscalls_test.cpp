// SPDX-License-Identifier: Apache-2.0
// What a query costs in system calls, counted over both processes by tracing them.
#include "bench/child_process.h"
#include "om_protocol.h"
#include "support/mini_service.h"
#include "support/temp_dir.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace tz::orvane;

namespace
{

constexpr int kQueries = 1000;
constexpr long kMarker = SYS_getpgid; // nobody else calls it

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

void answer(mdt::MdtsMessenger& messenger, platform::EventLoop&, mdt::MsgData&, mdt::MdtsCall const& call)
{
    mdt::MsgData reply;
    reply.writeUInt32(1);
    messenger.reply(call, 0, reply);
}

bool query(int cnid)
{
    mdt::MsgData const msg(cnid, 0x2001, protocol::kCmdIsSeekable, protocol::kTypeQuery);
    mdt::MsgData reply;
    return mdt::MdtcMessenger::GetInstance().postMsg(msg, reply, protocol::kPostTimeout) > 0;
}

int runClient(int goPipe)
{
    char go = 0;
    if (::read(goPipe, &go, 1) != 1)
    {
        return 1;
    }
    test::TestConnection connection;
    bool sound = connection.result() == 0 && query(connection.cnid());
    ::getpgid(0);
    for (int i = 0; i < kQueries; ++i)
    {
        sound = query(connection.cnid()) && sound;
    }
    ::getpgid(0);
    return sound ? 0 : 1;
}

bool isLoopWaiting(long number)
{
#if defined(SYS_epoll_wait)
    if (number == SYS_epoll_wait)
    {
        return true;
    }
#endif
    return number == SYS_epoll_pwait;
}

/// Follows processes with all their threads and counts the system calls between two markers. Who marks is held until
/// all other threads wait in their loops, so that nothing of before or after is counted.
class SyscallCounter
{
public:
    /// @return 0, or the errno value that says why this process must not be traced
    int attach(pid_t pid)
    {
        int const options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE;
        if (::ptrace(PTRACE_SEIZE, pid, nullptr, options) != 0 ||
            ::ptrace(PTRACE_INTERRUPT, pid, nullptr, nullptr) != 0)
        {
            return errno;
        }
        m_inside[pid] = kOutside;
        return 0;
    }

    /// Lets everything run until `last` has ended. @return its exit status, -1 when it was killed
    int runUntilEndOf(pid_t last)
    {
        for (;;)
        {
            int status = 0;
            pid_t const thread = ::waitpid(-1, &status, __WALL);
            if (thread < 0 || (thread == last && !WIFSTOPPED(status)))
            {
                return thread == last && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            if (!WIFSTOPPED(status))
            {
                m_inside.erase(thread);
                continue;
            }
            onStop(thread, status);
            if (m_held != 0 && othersWait())
            {
                ++m_markers;
                resume(std::exchange(m_held, 0));
            }
        }
    }

    int markers() const { return m_markers; }
    std::map<long, int> const& calls() const { return m_calls; }

private:
    static constexpr long kOutside = -1;
    static constexpr int kSyscallStop = SIGTRAP | 0x80;

    static void resume(pid_t thread, int signal = 0) { ::ptrace(PTRACE_SYSCALL, thread, nullptr, signal); }

    void onStop(pid_t thread, int status)
    {
        int const signal = WSTOPSIG(status);
        m_inside.emplace(thread, kOutside);
        if (status >> 16 == PTRACE_EVENT_CLONE)
        {
            unsigned long created = 0;
            ::ptrace(PTRACE_GETEVENTMSG, thread, nullptr, &created);
            m_inside.emplace(static_cast<pid_t>(created), kOutside);
        }
        if (signal == kSyscallStop)
        {
            onSyscall(thread);
        }
        if (thread != m_held)
        {
            resume(thread, signal == kSyscallStop || status >> 16 != 0 ? 0 : signal);
        }
    }

    void onSyscall(pid_t thread)
    {
        __ptrace_syscall_info info{};
        ::ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof info, &info);
        bool const entered = info.op == PTRACE_SYSCALL_INFO_ENTRY;
        long const number = entered ? static_cast<long>(info.entry.nr) : kOutside;
        m_inside[thread] = number;
        if (number == kMarker)
        {
            m_held = thread;
        }
        else if (entered && m_markers == 1)
        {
            ++m_calls[number];
        }
    }

    bool othersWait() const
    {
        return std::all_of(m_inside.begin(), m_inside.end(),
                           [this](auto const& entry) { return entry.first == m_held || isLoopWaiting(entry.second); });
    }

    std::map<pid_t, long> m_inside; ///< the call that each thread is in
    pid_t m_held = 0;
    int m_markers = 0;
    std::map<long, int> m_calls; ///< by number
};

} // namespace

TEST(MessengerSyscalls, aQueryTakesFiveOverBothEnds)
{
    if (kSanitized)
    {
        GTEST_SKIP() << "a sanitizer makes system calls of its own";
    }
    test::SocketDir const directory;
    test::ForkedService const service(&answer);
    int go[2];
    ASSERT_EQ(::pipe(go), 0);
    bench::ChildProcess client(
        [&]
        {
            ::close(go[1]);
            return runClient(go[0]);
        });
    ::close(go[0]);
    ASSERT_GT(client.pid(), 0);

    SyscallCounter counter;
    int error = counter.attach(service.pid());
    if (error == 0)
    {
        error = counter.attach(client.pid());
    }
    if (error != 0)
    {
        ::close(go[1]);
        GTEST_SKIP() << "processes cannot be traced here: " << std::strerror(error);
    }
    ASSERT_EQ(::write(go[1], "g", 1), 1);
    ::close(go[1]);
    ASSERT_EQ(counter.runUntilEndOf(client.pid()), 0);
    client.release();

    ASSERT_EQ(counter.markers(), 2);
    int total = 0;
    std::string list;
    for (auto const& [number, count] : counter.calls())
    {
        total += count;
        list += "\n" + std::to_string(count) + " of number " + std::to_string(number);
    }
    double const ofQuery = static_cast<double>(total) / kQueries;
    EXPECT_GE(ofQuery, 4.0) << "a query that sends and receives at both ends takes four";
    EXPECT_LE(ofQuery, 5.0) << list;
    RecordProperty("callsOfQuery", std::to_string(ofQuery));
}
