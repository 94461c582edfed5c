// SPDX-License-Identifier: Apache-2.0
// A connection made with the bare messenger, for tests of one proxy by itself.
#pragma once

#include "orvane/platform/mdt_msg_data.h"
#include "support/scripted_service.h"

#include <functional>
#include <string>
#include <vector>

namespace tz::orvane::test
{

/// The id that the connection gets: its digits tell upper case from lower case.
inline constexpr int kCnid = 0x1ABC;

/// One at a time.
class WireConnection
{
public:
    explicit WireConnection(ScriptedService& service);
    WireConnection(WireConnection const&) = delete;
    WireConnection& operator=(WireConnection const&) = delete;
    ~WireConnection();

    /// Ends the connection before its time: every further post fails with -ENOTCONN.
    void disconnect();

    /// Hands messages from now on to `take`, on the receive thread; when this returns, the former one runs no more.
    void onMessage(std::function<int(mdt::MsgData&)> take);

    /// Lets the service post a message and waits until it has been taken. @return what `take` gave
    int deliver(int uid, int msg, ScriptedService::Fill const& fill);

    /// Everything that was sent since the last look, as text; all of it must be from this connection.
    std::vector<std::string> sent();

private:
    ScriptedService& m_service;
    bool m_connected = false;
};

} // namespace tz::orvane::test
