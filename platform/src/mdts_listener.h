// SPDX-License-Identifier: Apache-2.0
// The listening socket of a service: made, taken over, guarded against a second service.
#pragma once

#include "orvane/platform/mdts_messenger.h"
#include "unique_fd.h"

#include <string>

namespace tz::orvane::mdt
{

/// Listens on a socket file, or on a socket that the service manager hands over.
class ServiceListener
{
public:
    ServiceListener() = default;
    ServiceListener(ServiceListener const&) = delete;
    ServiceListener& operator=(ServiceListener const&) = delete;
    ~ServiceListener();

    /// @return 0, -EADDRINUSE when another service is there, or another negative errno value
    int open(char const* serviceName);

    int socket() const { return m_socket.get(); }

    /// @return a new connection; -EAGAIN when there is none; another negative errno value
    int accept();

    /// @return whether this client may have a connection: the service's own user, root, and the members of the group
    /// that may enter the directory
    bool admits(int client, MdtsPeer const& peer) const;

private:
    int takeOver();
    int prepareDirectory(std::string const& directory);
    int bindTo(std::string const& path);

    platform::UniqueFd m_socket;
    platform::UniqueFd m_lock;
    platform::UniqueFd m_spare; ///< given up for a moment to refuse a client when descriptors run out
    std::string m_path;         ///< removed at the end; empty when the socket is not ours
    bool m_groupMayEnter = false;
    gid_t m_group = 0;
};

} // namespace tz::orvane::mdt
