// SPDX-License-Identifier: Apache-2.0
// The registry of connections, as applications see it.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_string.h"

#include <cstddef>
#include <map>
#include <mutex>

namespace tz::orvane::om
{

class OmIConnection;

/// Keeps every live connection of the process by its connection id (cnid).
///
/// Any thread may call any operation. The registry owns the connections that it created. In a forked child the copies
/// of its parent's connections fail at once and may be destroyed; the child may make others.
class ORVANE_API OmIAccess
{
public:
    /// Connects an application to the media service. Waits for the service, 5000 ms at most.
    /// @return the connection, owned by the registry; null when the service cannot be reached
    virtual OmIConnection* createConnection(OmString const& appName) = 0;

    /// Files a connection under its cnid.
    /// @return 0, 1 when another one has that cnid (which stays), -2 for null or an id outside 0x1000 to 0x1FFF
    virtual int addConnection(OmIConnection* conn) = 0;

    /// @return the connection with this cnid, null when there is none
    virtual OmIConnection* findConnection(unsigned int cnid) = 0;

    /// Forgets a connection without deleting it. When called outside of its callbacks, none of them is running
    /// any more when this returns: hold no lock here that a listener takes.
    virtual void removeConnection(OmIConnection* conn) = 0;

    /// @return the number of connections
    virtual std::size_t getConnectionCount()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_connMap.size();
    }

    /// Disconnects and deletes a connection, its players and its preview tool.
    ///
    /// From another thread this waits for a callback of the connection that is running: hold no lock that a listener
    /// takes. From inside one of its own callbacks the service is told at once and the memory goes when the callback
    /// has returned.
    virtual void destroyConnection(unsigned int cnid) = 0;

    /// The same. @param conn null is refused
    virtual void destroyConnection(OmIConnection* conn) = 0;

    /// Destroys all connections, in ascending order of their cnid.
    virtual void destroyConnectionAll() = 0;

    virtual ~OmIAccess() = default;

protected:
    OmIAccess() = default;

    std::map<unsigned int, OmIConnection*> m_connMap; ///< by cnid
    std::mutex m_mutex;                               ///< guards m_connMap; never held while anything else is called
};

} // namespace tz::orvane::om
