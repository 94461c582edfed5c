// SPDX-License-Identifier: Apache-2.0
// The listening socket of a service.
#include "mdts_listener.h"

#include "orvane/platform/om_debug.h"
#include "socket_address.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tz::orvane::mdt
{

namespace
{

constexpr char kLogFile[] = "mdts_listener";
constexpr char kLogClass[] = "ServiceListener";
constexpr int kBacklog = 32;
constexpr int kFirstHandedOver = 3; // where the service manager puts them

int spareDescriptor()
{
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isMember(int client, gid_t group)
{
    std::vector<gid_t> groups(256);
    socklen_t length = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    if (::getsockopt(client, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &length) != 0)
    {
        return false;
    }
    groups.resize(length / sizeof(gid_t));
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

} // namespace

ServiceListener::~ServiceListener()
{
    if (!m_path.empty())
    {
        ::unlink(m_path.c_str());
    }
}

int ServiceListener::open(char const* serviceName)
{
    if (!isServiceName(serviceName))
    {
        return -EINVAL;
    }
    m_spare.reset(spareDescriptor());
    int result = takeOver();
    if (result != -ENOENT)
    {
        return result;
    }
    std::string const directory = socketDirectory();
    result = prepareDirectory(directory);
    return result != 0 ? result : bindTo(directory + "/" + serviceName);
}

int ServiceListener::takeOver()
{
    char const* const pid = std::getenv("LISTEN_PID");
    char const* const count = std::getenv("LISTEN_FDS");
    if (pid == nullptr || count == nullptr || std::strtol(pid, nullptr, 10) != static_cast<long>(::getpid()) ||
        std::strtol(count, nullptr, 10) < 1)
    {
        return -ENOENT;
    }
    ::unsetenv("LISTEN_PID");
    ::unsetenv("LISTEN_FDS");
    int type = 0;
    int listening = 0;
    socklen_t length = sizeof type;
    if (::getsockopt(kFirstHandedOver, SOL_SOCKET, SO_TYPE, &type, &length) != 0 ||
        ::getsockopt(kFirstHandedOver, SOL_SOCKET, SO_ACCEPTCONN, &listening, &length) != 0 || type != SOCK_SEQPACKET ||
        listening == 0)
    {
        ORVANE_LOG_ERROR("What the service manager handed over is not a listening SOCK_SEQPACKET socket.");
        return -EPROTO;
    }
    ::fcntl(kFirstHandedOver, F_SETFD, FD_CLOEXEC);
    ::fcntl(kFirstHandedOver, F_SETFL, ::fcntl(kFirstHandedOver, F_GETFL) | O_NONBLOCK);
    m_socket.reset(kFirstHandedOver);
    m_groupMayEnter = true; // the service manager's unit says who may connect
    m_group = ::getegid();
    return 0;
}

int ServiceListener::prepareDirectory(std::string const& directory)
{
    if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
    {
        int const error = errno;
        ORVANE_LOG_ERROR("Cannot make %s: %s.", directory.c_str(), std::strerror(error));
        return -error;
    }
    struct stat status = {};
    if (::stat(directory.c_str(), &status) != 0)
    {
        return -errno;
    }
    if (!S_ISDIR(status.st_mode) || (status.st_uid != ::geteuid() && status.st_uid != 0) ||
        (status.st_mode & S_IWOTH) != 0)
    {
        ORVANE_LOG_ERROR("%s must be a directory of this user or root that not everybody may write to.",
                         directory.c_str());
        return -EPERM;
    }
    m_groupMayEnter = (status.st_mode & S_IRWXG) == S_IRWXG;
    m_group = status.st_gid;
    return 0;
}

int ServiceListener::bindTo(std::string const& path)
{
    sockaddr_un address;
    int const result = socketAddress(path, address);
    if (result != 0)
    {
        ORVANE_LOG_ERROR("%s is too long for a socket.", path.c_str());
        return result;
    }
    // The lock is held as long as the service lives: a socket file without it is left over from one that died.
    m_lock.reset(::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!m_lock)
    {
        return -errno;
    }
    if (::flock(m_lock.get(), LOCK_EX | LOCK_NB) != 0)
    {
        return errno == EWOULDBLOCK ? -EADDRINUSE : -errno;
    }
    platform::UniqueFd const probe(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (!probe)
    {
        return -errno;
    }
    // Only a file that certainly nobody listens behind may go: the service manager, for instance, holds no lock.
    if (::connect(probe.get(), generic, sizeof address) == 0 || (errno != ECONNREFUSED && errno != ENOENT))
    {
        return -EADDRINUSE;
    }
    ::unlink(path.c_str());
    m_socket.reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!m_socket || ::bind(m_socket.get(), generic, sizeof address) != 0)
    {
        return -errno;
    }
    m_path = path;
    if (::chmod(path.c_str(), m_groupMayEnter ? 0660 : 0600) != 0 || ::listen(m_socket.get(), kBacklog) != 0)
    {
        return -errno;
    }
    return 0;
}

int ServiceListener::accept()
{
    int const client = ::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client >= 0)
    {
        return client;
    }
    int const error = errno;
    if (error == EMFILE || error == ENFILE)
    {
        // Left in the queue it would wake the loop for ever: take it with the spare descriptor and hang up.
        ORVANE_LOG_ERROR("A client is refused: no descriptors left.");
        m_spare.reset();
        platform::UniqueFd const refused(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }
    if (!m_spare)
    {
        m_spare.reset(spareDescriptor());
    }
    return -error;
}

bool ServiceListener::admits(int client, MdtsPeer const& peer) const
{
    return peer.uid == ::geteuid() || peer.uid == 0 ||
           (m_groupMayEnter && (peer.gid == m_group || isMember(client, m_group)));
}

} // namespace tz::orvane::mdt
