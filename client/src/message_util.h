// SPDX-License-Identifier: Apache-2.0
// Building and sending of requests, and reading of arguments, for every class that talks to the service.
#pragma once

#include "orvane/om_property_group.h"
#include "orvane/om_string.h"
#include "orvane/platform/mdt_msg_data.h"
#include "orvane/platform/om_debug.h"

#include <cstring>

namespace tz::orvane::omc
{

/// One message to the service, built argument by argument and sent by the operation whose place it logs with.
///
/// Lives on the stack of that operation. An argument that does not fit makes every post fail with its error.
class Request
{
public:
    Request(platform::LogSite const& site, unsigned int cnid, unsigned int uid, int code, int type);

    Request& uint32(unsigned int value) { return keep(m_message.writeUInt32(value)); }
    Request& sint32(int value) { return keep(m_message.writeSInt32(value)); }
    Request& sint64(long long value) { return keep(m_message.writeSInt64(value)); }
    Request& string(om::OmString const& text) { return keep(m_message.writeString(text)); }

    /// @param size bytes; only its lower 16 bits count
    Request& data(void const* bytes, unsigned int size);

    /// @param bytes not copied; must live until the request has been posted
    Request& block(void const* bytes, unsigned int size);

    Request& group(om::OmPropertyGroup const& props);

    /// Posts without waiting. @return the messenger's result
    int post() const;

    /// Posts and waits for the reply. @return the messenger's result
    int post(mdt::MsgData& reply) const;

    /// Posts without waiting and logs what came of it.
    /// @param success the line of a request that left
    /// @return the messenger's result, -1 for a negative one
    int send(char const* success = kSent) const;

    static constexpr char kSent[] = "Succeeded to send msg or command from client to binder.";

    platform::LogSite const& site() const { return m_site; }

private:
    Request& keep(int result)
    {
        m_error = m_error < 0 ? m_error : result;
        return *this;
    }

    platform::LogSite m_site;
    mdt::MsgData m_message;
    int m_error = 0;
};

/// The line of a request that did not leave.
void logSendFailure(platform::LogSite const& site, int result);

/// Reads a number of a received message.
/// @return false when there is no such argument or it is shorter than the number
template <class Number> bool readNumber(mdt::MsgData const& message, int index, Number& value)
{
    void const* const bytes = message.read(index);
    if (bytes == nullptr || message.argSize(index) < static_cast<int>(sizeof value))
    {
        return false;
    }
    std::memcpy(&value, bytes, sizeof value);
    return true;
}

/// Gives the bytes of a string, data or block argument. @return 0, or -EPROTO and nothing given
int readBytes(mdt::MsgData const& message, int index, void** data, int* size);

/// As readBytes, for the group of an event: one that was not sent counts as an empty one.
int readGroupBytes(mdt::MsgData const& message, int index, void** data, int* size);

/// Rebuilds a group; no bytes give an empty one, malformed ones end the process.
om::OmPropertyGroup makeGroup(void const* data, int size);

} // namespace tz::orvane::omc
