// SPDX-License-Identifier: Apache-2.0
// A message of a client while it is being answered.
#pragma once

#include "om_property_image.h"
#include "om_protocol.h"

#include "orvane/platform/mdts_messenger.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tz::orvane::service
{

/// Reads arguments that fitArguments has found good, and answers once.
class Request
{
public:
    Request(mdt::MdtsMessenger& messenger, mdt::MsgData& message, mdt::MdtsCall const& call)
        : m_messenger(messenger)
        , m_message(message)
        , m_call(call)
    {
    }
    Request(Request const&) = delete;
    Request& operator=(Request const&) = delete;

    int code() const { return m_message.readMsg(); }
    int connection() const { return m_message.readPid(); }
    unsigned int object() const { return static_cast<unsigned int>(m_message.readUid()); }

    std::uint32_t number(int index) const;
    std::int64_t longNumber(int index) const;
    std::string text(int index) const;

    /// A copy: what is parsed must not change meanwhile.
    std::string bytes(int index) const;

    /// The bytes where they are, for what is only copied on.
    std::string_view block(int index) const;

    bool wantsReply() const { return m_call.wantsReply() && !m_answered; }

    /// Only a status. Nothing happens when there is nobody waiting, or when it was answered.
    void reply(int status);
    void reply(std::uint32_t value);

    template <class Record> void replyRecord(Record const& record)
    {
        static_assert(sizeof record <= UINT16_MAX);
        replyBytes(reinterpret_cast<char const*>(&record), static_cast<std::uint16_t>(sizeof record));
    }

    void replyBytes(char const* data, std::uint16_t size);

    /// For an answer that comes later: the request no longer answers by itself.
    mdt::MdtsCall postpone();

    mdt::MdtsMessenger& messenger() const { return m_messenger; }

    /// An empty message with the fields of an answer to this one.
    static void head(mdt::MsgData& answer, int connection, unsigned int object, int code);

private:
    void send(int status, mdt::MsgData const& answer);

    mdt::MdtsMessenger& m_messenger;
    mdt::MsgData& m_message;
    mdt::MdtsCall m_call;
    bool m_answered = false;
};

/// @return whether the message carries the arguments of its row in the protocol's table: number, kinds, sizes, and
/// property groups that are whole
bool fitArguments(mdt::MsgData const& message, protocol::Message const& row);

} // namespace tz::orvane::service
