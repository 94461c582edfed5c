// SPDX-License-Identifier: Apache-2.0
// The service end of the benchmarks.
#pragma once

#include "orvane/platform/mdts_messenger.h"
#include "orvane/platform/om_event_loop.h"

namespace tz::orvane::bench
{

/// Answers queries with one number, looks at blocks of streams but not at others, and sends as many events as it is
/// told to. Listens in the socket directory of the environment and serves until its process ends.
class BenchService final : private mdt::MdtsHandler
{
public:
    BenchService();

    /// @param readyDescriptor gets one byte once clients can connect
    /// @return an exit status, when it could not listen
    int run(int readyDescriptor);

private:
    int onConnect(mdt::MdtsPeer const&) override { return 0; }
    void onDisconnect(int) override {}
    void onMessage(mdt::MsgData& msg, mdt::MdtsCall const& call) override;
    void sendEvents(int cnid, int uid, unsigned int count);

    platform::EventLoop m_loop;
    mdt::MdtsMessenger m_messenger;
};

} // namespace tz::orvane::bench
