// SPDX-License-Identifier: Apache-2.0
// The service's end of the process that makes previews.
#include "preview_link.h"

#include "preview_nursery.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/wait.h>

namespace tz::orvane::service
{

namespace
{

constexpr char kThisProgram[] = "/proc/self/exe";

/// What the process starts with: none of our descriptors and none of our signal settings.
class SpawnSettings
{
public:
    explicit SpawnSettings(int socket)
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, socket, kNurserySocket);
        posix_spawn_file_actions_addclosefrom_np(&m_actions, kNurserySocket + 1);

        posix_spawnattr_init(&m_attributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes, static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    }
    SpawnSettings(SpawnSettings const&) = delete;
    SpawnSettings& operator=(SpawnSettings const&) = delete;
    ~SpawnSettings()
    {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }

    posix_spawn_file_actions_t const* actions() const { return &m_actions; }
    posix_spawnattr_t const* attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
};

/// A socket of the number that the child wants would be closed by exec all the same: dup2 onto itself changes nothing.
Descriptor awayFrom(Descriptor socket, int number)
{
    return socket.get() == number ? Descriptor(fcntl(socket.get(), F_DUPFD_CLOEXEC, number + 1)) : std::move(socket);
}

} // namespace

PreviewLink::~PreviewLink()
{
    close();
}

int PreviewLink::open()
{
    close();
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
    {
        return -errno;
    }
    Descriptor ours(ends[0]);
    Descriptor const theirs = awayFrom(Descriptor(ends[1]), kNurserySocket);
    fcntl(ours.get(), F_SETFL, O_NONBLOCK);
    char name[] = "orvane-media-service";
    char option[sizeof kNurseryOption];
    std::memcpy(option, kNurseryOption, sizeof option);
    char* const arguments[] = {name, option, nullptr};
    SpawnSettings const settings(theirs.get());
    int const error = posix_spawn(&m_pid, kThisProgram, settings.actions(), settings.attributes(), arguments, environ);
    if (error != 0)
    {
        m_pid = -1;
        return -error;
    }
    m_socket = std::move(ours);
    return 0;
}

void PreviewLink::close()
{
    m_socket = Descriptor();
    m_kept.clear();
    if (m_pid > 0)
    {
        // It does nothing that could not be cut short, and what it has started goes with it.
        ::kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
}

/// What can be written to has space for an order of any size.
bool PreviewLink::hasRoom() const
{
    pollfd waited{m_socket.get(), POLLOUT, 0};
    return poll(&waited, 1, 0) == 1;
}

Descriptor PreviewLink::start(std::uint32_t number, PreviewTask const& task, PreviewPlaces const& places, int picture)
{
    int ends[2] = {-1, -1};
    if (!isOpen() || pipe2(ends, O_CLOEXEC) != 0)
    {
        return Descriptor();
    }
    Descriptor result(ends[0]);
    Descriptor const far(ends[1]);
    fcntl(result.get(), F_SETFL, O_NONBLOCK);

    PreviewOrder order{PreviewOrder::Kind::start, number, task};
    std::string texts = places.uri + '\0' + places.output;
    std::array<iovec, 2> parts{iovec{&order, sizeof order}, iovec{texts.data(), texts.size()}};
    std::array<int, 2> const passed{far.get(), picture};
    std::size_t const count = picture < 0 ? 1 : 2;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof passed)] = {};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    message.msg_control = control;
    message.msg_controllen = CMSG_SPACE(count * sizeof(int));
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(count * sizeof(int));
    std::memcpy(CMSG_DATA(header), passed.data(), count * sizeof(int));
    return sendmsg(m_socket.get(), &message, MSG_NOSIGNAL) < 0 ? Descriptor() : std::move(result);
}

bool PreviewLink::kill(std::uint32_t number)
{
    m_kept.push_back(number);
    return sendKept();
}

bool PreviewLink::sendKept()
{
    while (!m_kept.empty())
    {
        PreviewOrder const order{PreviewOrder::Kind::kill, m_kept.front(), {}};
        ssize_t const sent = send(m_socket.get(), &order, sizeof order, MSG_NOSIGNAL);
        if (sent < 0 && (errno == EAGAIN || errno == ENOBUFS))
        {
            return false;
        }
        m_kept.pop_front(); // also when the process is gone: so is what it had started
    }
    return true;
}

std::pair<std::optional<PreviewReport>, bool> PreviewLink::take()
{
    PreviewReport report{};
    ssize_t const size = recv(m_socket.get(), &report, sizeof report, 0);
    if (size == static_cast<ssize_t>(sizeof report))
    {
        return {report, true};
    }
    return {std::nullopt, size < 0 && (errno == EAGAIN || errno == EINTR)};
}

} // namespace tz::orvane::service
