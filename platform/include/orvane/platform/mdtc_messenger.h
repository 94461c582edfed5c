// SPDX-License-Identifier: Apache-2.0
// The client end of the platform messenger.
#pragma once

#include "orvane/om_export.h"
#include "orvane/platform/mdt_msg_data.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tz::orvane::mdt
{

/// Kind of the messenger; handed through by the library, this messenger knows one.
enum MdtType_e : int
{
    MDT_TYPE_DEFAULT = 0
};

/// What a connection is opened with. On 32-bit ARM its 132 bytes and the offsets of its fields are fixed.
struct _MdtInitParCfg_t
{
    uint32_t reserved0[3];      ///< not used
    uint32_t send_capacity;     ///< bytes; a wish that a messenger may take
    uint32_t reserved1[9];      ///< not used
    uint32_t receive_capacity;  ///< bytes, likewise
    uint32_t reserved2[2];      ///< not used
    uint32_t event_capacity;    ///< bytes, likewise
    uint32_t reserved3[8];      ///< not used
    int (*callback)(void* msg); ///< called on the receive thread with each `MsgData*` of this connection
    std::string name;           ///< name of the application
    uint32_t flags;             ///< handed to the service
};

#if defined(__arm__)
static_assert(sizeof(_MdtInitParCfg_t) == 132);
static_assert(offsetof(_MdtInitParCfg_t, send_capacity) == 12 && offsetof(_MdtInitParCfg_t, receive_capacity) == 52 &&
              offsetof(_MdtInitParCfg_t, event_capacity) == 64);
static_assert(offsetof(_MdtInitParCfg_t, callback) == 100 && offsetof(_MdtInitParCfg_t, name) == 104 &&
              offsetof(_MdtInitParCfg_t, flags) == 128);
#endif

/// The messenger of the process. Any thread may call any operation, also from inside the receive callback.
///
/// Nothing is thrown, and a thread that is cancelled meanwhile ends when the operation has ended. Results are negative
/// errno values on failure, -ENOMEM also for a reply that finds no memory. A post gives the bytes of the frame that it
/// sent; a post that failed has sent nothing, or (a query that timed out) everything.
class ORVANE_API MdtcMessenger
{
public:
    /// @return the messenger of the process, made on first use
    static MdtcMessenger& GetInstance();

    /// Names the service that later connections go to. @return 0, -EINVAL for null or an unusable name
    int init(char const* serviceName, MdtType_e type);

    /// Opens a connection. Returns at once when no service listens; otherwise waits for its answer, 5000 ms at most.
    /// @param[out] cnid the id that the service gave; left alone on failure
    int connect(_MdtInitParCfg_t const& cfg, int& cnid);

    /// Closes a connection; queries that wait on it return -ENOTCONN. Messages of it that are not being delivered at
    /// this moment are dropped.
    int disConnect(int const& cnid);

    /// Sends a one-way message on the connection that the message's pid names.
    /// @param timeout milliseconds to wait for room
    int postMsg(MsgData const& msg, int const& timeout);

    /// Sends a query and waits for its reply; a refusal by the service is a negative result.
    /// @param timeout milliseconds for both
    int postMsg(MsgData const& msg, MsgData& reply, int const& timeout);

private:
    MdtcMessenger();
    ~MdtcMessenger();

    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace tz::orvane::mdt
