// SPDX-License-Identifier: Apache-2.0
// Building and sending of requests, and reading of arguments, for every class that talks to the service.
#include "message_util.h"

#include "om_protocol.h"
#include "orvane/platform/mdtc_messenger.h"

#include <cerrno>
#include <climits>

namespace tz::orvane::omc
{

Request::Request(platform::LogSite const& site, unsigned int cnid, unsigned int uid, int code, int type)
    : m_site(site)
    , m_message(static_cast<int>(cnid), static_cast<int>(uid), code, type)
{
}

Request& Request::data(void const* bytes, unsigned int size)
{
    return keep(m_message.writeData(static_cast<char const*>(bytes), static_cast<unsigned short>(size)));
}

Request& Request::block(void const* bytes, unsigned int size)
{
    if (size > INT_MAX)
    {
        return keep(-EMSGSIZE);
    }
    // The messenger only reads from it; its signature has no const.
    char* const source = static_cast<char*>(const_cast<void*>(bytes));
    return keep(m_message.writeBlockData(source, static_cast<int>(size)));
}

Request& Request::group(om::OmPropertyGroup const& props)
{
    char* image = nullptr;
    int length = 0;
    props.getData(&image, &length);
    return data(image, static_cast<unsigned int>(length));
}

int Request::post() const
{
    return m_error < 0 ? m_error : mdt::MdtcMessenger::GetInstance().postMsg(m_message, protocol::kPostTimeout);
}

int Request::post(mdt::MsgData& reply) const
{
    return m_error < 0 ? m_error : mdt::MdtcMessenger::GetInstance().postMsg(m_message, reply, protocol::kPostTimeout);
}

int Request::send(char const* success) const
{
    int const result = post();
    if (result < 0)
    {
        logSendFailure(m_site, result);
        return -1;
    }
    ORVANE_LOG_AT(platform::DebugLevel::info, m_site, "%s", success);
    return result;
}

void logSendFailure(platform::LogSite const& site, int result)
{
    ORVANE_LOG_AT(platform::DebugLevel::error, site,
                  "Error! Failed to send msg or command from client to binder. ErrorCode=%d.", result);
}

int readBytes(mdt::MsgData const& message, int index, void** data, int* size)
{
    switch (message.argType(index))
    {
    case mdt::MsgArgType::string:
    case mdt::MsgArgType::data:
    case mdt::MsgArgType::block:
        return message.read(index, data, size);
    default:
        return -EPROTO;
    }
}

int readGroupBytes(mdt::MsgData const& message, int index, void** data, int* size)
{
    return index >= message.argCount() ? 0 : readBytes(message, index, data, size);
}

om::OmPropertyGroup makeGroup(void const* data, int size)
{
    if (data == nullptr || size < 1)
    {
        return om::OmPropertyGroup();
    }
    return om::OmPropertyGroup(data, size);
}

} // namespace tz::orvane::omc
