// SPDX-License-Identifier: Apache-2.0
// Another messenger's client end. It gives ids, and answers `start` with a play time; there is no service.
#include "orvane/platform/mdtc_messenger.h"

#include "om_protocol.h"

#include <thread>

namespace tz::orvane::mdt
{

namespace
{

constexpr int kConnection = 0x1234;
constexpr int kPlayer = 0x2345;

} // namespace

MdtcMessenger& MdtcMessenger::GetInstance()
{
    static MdtcMessenger messenger;
    return messenger;
}

int MdtcMessenger::init(char const*, MdtType_e)
{
    return 0;
}

int MdtcMessenger::connect(_MdtInitParCfg_t const& cfg, int& cnid)
{
    m_callback = cfg.callback;
    cnid = kConnection;
    return 0;
}

int MdtcMessenger::disConnect(int const&)
{
    return 0;
}

int MdtcMessenger::postMsg(MsgData const& msg, int const&)
{
    void const* const position = msg.read(0);
    if (msg.readMsg() == protocol::kCmdStart && position != nullptr)
    {
        MsgData event(kConnection, kPlayer, protocol::kMsgPlayerPlayTimeUpdated, protocol::kTypeCommand);
        event.writeUInt32(kPlayer);
        event.writeUInt32(0);
        event.writeSInt64(*static_cast<long long const*>(position));
        event.writeData(nullptr, 0);
        std::thread([&] { m_callback(&event); }).join();
    }
    return 0;
}

int MdtcMessenger::postMsg(MsgData const&, MsgData& reply, int const&)
{
    return reply.writeUInt32(kPlayer);
}

} // namespace tz::orvane::mdt
