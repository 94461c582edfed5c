// SPDX-License-Identifier: Apache-2.0
// A message of a client while it is being answered.
#pragma once

#include "om_property_image.h"
#include "om_protocol.h"

#include "orvane/om_property_group.h"
#include "orvane/platform/mdts_messenger.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tz::orvane::service
{

/// Answers a message, once. A copy of it may answer later. Loop thread.
class Answer
{
public:
    int code() const { return m_code; }
    int connection() const { return m_connection; }
    unsigned int object() const { return m_object; }
    bool wantsReply() const { return m_call.wantsReply() && !m_answered; }

    /// Only a status. Nothing happens when there is nobody waiting, or when it was answered.
    void reply(int status);
    void reply(std::uint32_t value);
    void reply(std::int64_t value);
    void reply(std::uint32_t first, std::uint32_t second);
    void reply(om::OmPropertyGroup const& group);

    template <class Record> void replyRecord(Record const& record)
    {
        static_assert(sizeof record <= UINT16_MAX);
        replyBytes(reinterpret_cast<char const*>(&record), static_cast<std::uint16_t>(sizeof record));
    }

    void replyBytes(char const* data, std::uint16_t size);

    /// For an answer that comes later: this one no longer answers by itself.
    Answer postpone();

protected:
    Answer(mdt::MdtsMessenger& messenger, mdt::MsgData const& message, mdt::MdtsCall const& call);

private:
    template <class Write> void send(int status, Write write);

    mdt::MdtsMessenger* m_messenger;
    mdt::MdtsCall m_call;
    int m_connection;
    unsigned int m_object;
    int m_code;
    bool m_answered = false;
};

/// Reads arguments that fitArguments has found good.
class Request : public Answer
{
public:
    Request(mdt::MdtsMessenger& messenger, mdt::MsgData& message, mdt::MdtsCall const& call)
        : Answer(messenger, message, call)
        , m_message(message)
    {
    }
    Request(Request const&) = delete;
    Request& operator=(Request const&) = delete;

    std::uint32_t number(int index) const;
    std::int64_t longNumber(int index) const;
    std::string text(int index) const;

    /// A copy: what is parsed must not change meanwhile.
    std::string bytes(int index) const;

    /// The bytes where they are, for what is only copied on.
    std::string_view block(int index) const;

    /// Overwrites the arguments: one of them held something secret. Blocks stay: they may be in memory that is the
    /// client's and only readable here, and nothing secret is taken from one.
    void wipe();

private:
    mdt::MsgData& m_message;
};

/// @return whether the message carries the arguments of its row in the protocol's table: number, kinds, sizes, and
/// property groups that are whole
bool fitArguments(mdt::MsgData const& message, protocol::Message const& row);

} // namespace tz::orvane::service
