// SPDX-License-Identifier: Apache-2.0
// What the player's operations have in common: how a command begins, how a query is asked and answered.
#include "omc_mediaplayer_messages.h"

#include "om_protocol.h"

#include <cerrno>

namespace tz::orvane::omc
{

using platform::DebugLevel;

namespace
{

Request begin(OmcMediaPlayer& player, platform::LogSite const& site, int code, int type)
{
    unsigned int const cnid = player.getClientID();
    unsigned int const plid = player.getPlayerID();
    ORVANE_LOG_AT(DebugLevel::debug, site, "Start. cnid=0x%04X, plid=0x%04X.", cnid, plid);
    return Request(site, cnid, plid, code, type);
}

} // namespace

Request request(OmcMediaPlayer& player, platform::LogSite const& site, int code, int type)
{
    return Request(site, player.getClientID(), player.getPlayerID(), code, type);
}

Request command(OmcMediaPlayer& player, platform::LogSite const& site, int code)
{
    return begin(player, site, code, protocol::kTypeCommand);
}

PlayerQuery::PlayerQuery(OmcMediaPlayer& player, platform::LogSite const& site, int code)
    : m_request(begin(player, site, code, protocol::kTypeQuery))
{
}

int PlayerQuery::ask()
{
    platform::LogSite const& site = m_request.site();
    int const result = m_request.post(m_reply);
    if (result < 0)
    {
        logSendFailure(site, result);
        return result;
    }
    ORVANE_LOG_AT(DebugLevel::info, site, "%s", Request::kSent);
    ORVANE_LOG_AT(DebugLevel::info, site, " msgDataOut (pid=0x%04X, uid=0x%04X, cmd=0x%04X, type=%d, ret=%d).",
                  static_cast<unsigned int>(m_reply.readPid()), static_cast<unsigned int>(m_reply.readUid()),
                  static_cast<unsigned int>(m_reply.readMsg()), m_reply.readType(), result);
    return result;
}

int PlayerQuery::read(unsigned int& value)
{
    return logRead(m_reply.readUInt32(value));
}

int PlayerQuery::read(long long& value)
{
    return logRead(m_reply.readSInt64(value));
}

unsigned int PlayerQuery::readAt(int index)
{
    unsigned int value = 0;
    mdt::MsgArgType const kind = m_reply.argType(index);
    bool const isNumber = kind == mdt::MsgArgType::uint32 || kind == mdt::MsgArgType::sint32;
    logRead(isNumber && readNumber(m_reply, index, value) ? 0 : -EPROTO);
    return value;
}

int PlayerQuery::logRead(int result) const
{
    if (result < 0)
    {
        ORVANE_LOG_AT(DebugLevel::error, m_request.site(),
                      "Error! Failed to readUInt32 from binder msgDataOut to client. ErrorCode=%d.", result);
    }
    return result;
}

int PlayerQuery::readRecord(void* record, unsigned short size)
{
    int const result = m_reply.readData(static_cast<char*>(record), size);
    if (result < 0)
    {
        ORVANE_LOG_AT(DebugLevel::error, m_request.site(),
                      "Error! Failed to readData from binder msgDataOut to client. ErrorCode=%d.", result);
    }
    else
    {
        ORVANE_LOG_AT(DebugLevel::info, m_request.site(), "Succeeded to readData from binder msgDataOut to client. .");
    }
    return result;
}

} // namespace tz::orvane::omc
