// SPDX-License-Identifier: Apache-2.0
// The service end of the benchmarks.
#include "bench/bench_service.h"

#include "bench/stopwatch.h"
#include "bench/workload.h"
#include "om_protocol.h"

#include <unistd.h>

namespace tz::orvane::bench
{

BenchService::BenchService()
    : m_messenger(m_loop, *this)
{
}

int BenchService::run(int readyDescriptor)
{
    char const ready = 1;
    if (m_messenger.listen(protocol::kServiceName) != 0 || ::write(readyDescriptor, &ready, 1) != 1)
    {
        return 1;
    }
    m_loop.run();
    return 0;
}

void BenchService::onMessage(mdt::MsgData& msg, mdt::MdtsCall const& call)
{
    if (call.wantsReply())
    {
        mdt::MsgData reply;
        reply.writeUInt32(1);
        m_messenger.reply(call, 0, reply);
        return;
    }
    if (msg.readMsg() == protocol::kCmdPushEsData)
    {
        void* data = nullptr;
        int size = 0;
        msg.read(0, &data, &size);
        lookAt(data, static_cast<std::size_t>(size));
        return;
    }
    unsigned int count = 0;
    if (msg.readMsg() == protocol::kCmdPlayerExtendCommand && msg.readUInt32(count) == 0)
    {
        sendEvents(call.cnid(), msg.readUid(), count);
    }
}

void BenchService::sendEvents(int cnid, int uid, unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i)
    {
        mdt::MsgData event(cnid, uid, protocol::kMsgPlayerPlayTimeUpdated, protocol::kTypeCommand);
        event.writeSInt64(now());
        m_messenger.postEvent(event);
    }
}

} // namespace tz::orvane::bench
