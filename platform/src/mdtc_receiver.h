// SPDX-License-Identifier: Apache-2.0
// The receive thread of a process.
#pragma once

#include "mdtc_connection.h"
#include "unique_fd.h"

#include <memory>
#include <mutex>
#include <unordered_map>

namespace tz::orvane::mdt
{

/// Reads the event sockets of all connections and calls their callbacks. Runs as long as there are connections: after
/// the last one's removal it ends, unless another one comes while it is still in a callback. Owned by its thread and by
/// whoever adds connections.
class Receiver : public std::enable_shared_from_this<Receiver>
{
public:
    /// @return 0 or a negative errno value
    int start();

    /// @return 0; -ESRCH when the receiver has ended, which calls nobody any more; or another negative errno value
    int add(std::shared_ptr<Connection> connection);

    /// Forgets a connection; a callback of it that is running goes on.
    void remove(Connection const& connection);

    /// Around a fork, so that the copy is not in the middle of a change.
    void lock() { m_mutex.lock(); }
    void unlock() { m_mutex.unlock(); }

    /// Closes the descriptors: at the end, or in a copy that a fork made, whose thread does not exist. Locked.
    void abandon();

private:
    void run(FrameReader& reader);
    bool goesOn();
    std::shared_ptr<Connection> find(std::uint64_t serial);

    platform::UniqueFd m_epoll;
    platform::UniqueFd m_wake;
    std::mutex m_mutex;
    std::unordered_map<std::uint64_t, std::shared_ptr<Connection>> m_connections;
    std::uint64_t m_lastSerial = 0;
    bool m_ending = false; ///< as long as no connection comes
    bool m_ended = false;
};

} // namespace tz::orvane::mdt
