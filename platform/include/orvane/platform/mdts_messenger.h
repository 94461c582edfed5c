// SPDX-License-Identifier: Apache-2.0
// The service end of the platform messenger.
#pragma once

#include "orvane/platform/mdt_msg_data.h"
#include "orvane/platform/om_event_loop.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>

namespace tz::orvane::mdt
{

/// Who is at the other end of a connection.
struct MdtsPeer
{
    int cnid;
    pid_t pid;
    uid_t uid;
    gid_t gid;
    std::string name; ///< as the application calls itself: printable, at most 255 bytes
    std::uint32_t flags;
};

/// A query that waits for its reply; may be kept and copied, and answered once.
class MdtsCall
{
public:
    /// @return false for a one-way message, whose sender waits for nothing
    bool wantsReply() const { return m_id != 0; }
    int cnid() const { return m_cnid; }

private:
    friend class MdtsMessenger;

    int m_cnid = 0;
    int m_uid = 0;
    int m_msg = 0;
    int m_type = 0;
    std::uint64_t m_connection = 0;
    std::uint64_t m_id = 0;
};

/// What a service does with messages. All methods run on the loop's thread.
class MdtsHandler
{
public:
    /// A client wants a connection, under the free id `peer.cnid`.
    /// @return 0 to take it, another cnid (0x1000 to 0x1FFF) to take it under that one, or a negative errno value that
    /// the client's connect gives
    virtual int onConnect(MdtsPeer const& peer) = 0;

    /// A connection has ended, whatever the reason; posts to it fail from now on.
    virtual void onDisconnect(int cnid) = 0;

    /// A message whose pid is the connection's cnid. Blocks in it are valid during this call only and may be changed by
    /// a hostile client at any time: copy what is parsed. A query is answered with MdtsMessenger::reply, now or later.
    virtual void onMessage(MsgData& msg, MdtsCall const& call) = 0;

protected:
    ~MdtsHandler() = default;
};

/// Bounds on what one client may cost.
struct MdtsLimits
{
    int connections = 64;
    int connectionsPerPeer = 16;        ///< of one process
    std::size_t queuedBytes = 8u << 20; ///< events and replies that a client has not read; beyond it is cut off
};

/// Listens under a name, takes connections and moves messages. Lives and dies on its loop's thread, or before it runs.
class MdtsMessenger
{
public:
    MdtsMessenger(platform::EventLoop& loop, MdtsHandler& handler, MdtsLimits const& limits = {});
    MdtsMessenger(MdtsMessenger const&) = delete;
    MdtsMessenger& operator=(MdtsMessenger const&) = delete;
    ~MdtsMessenger();

    /// Listens on the socket file `<dir>/<serviceName>` (see socketDirectory), creating a missing directory 0700. A
    /// socket handed over by the service manager (LISTEN_FDS) is taken instead. A stale file is replaced.
    /// @return 0, -EADDRINUSE when another service listens there, or another negative errno value
    int listen(char const* serviceName);

    /// Takes a client that is connected already, for tests. @param socket a SOCK_SEQPACKET end, owned from now on
    int adopt(int socket);

    /// Answers a query.
    /// @param status 0 or positive; negative refuses: the client's post gives this value and no arguments
    /// @return 0; -ENOTCONN when the client is gone, -EALREADY when the call wants no reply
    int reply(MdtsCall const& call, int status, MsgData const& arguments);

    /// Sends a message unasked; its pid names the connection. Blocks are copied before this returns.
    /// @return 0, -ENOTCONN when there is no such connection
    int postEvent(MsgData const& event);

    /// Ends a connection; onDisconnect is called.
    void close(int cnid);

    /// @return bytes that wait because this client does not read them
    std::size_t queuedBytes(int cnid) const;

    /// For what may be left out when a client is slow.
    /// @return whether events are under way that this client has not received yet; false when there is no such client
    bool eventsUnread(int cnid) const;

private:
    struct State;
    std::shared_ptr<State> m_state; ///< work handed to the loop may outlive the messenger and looks here first
};

/// Where socket files are: $ORVANE_SOCKET_DIR, else $XDG_RUNTIME_DIR/orvane, else /run/orvane.
std::string socketDirectory();

} // namespace tz::orvane::mdt
