// SPDX-License-Identifier: Apache-2.0
// A message of a client while it is being answered.
#include "request.h"

#include <openssl/crypto.h>

#include <cstring>

namespace tz::orvane::service
{

namespace
{

template <class Value> Value valueAt(mdt::MsgData const& message, int index)
{
    Value value{};
    if (void const* const bytes = message.read(index))
    {
        std::memcpy(&value, bytes, sizeof value);
    }
    return value;
}

bool fits(mdt::MsgData const& message, int index, protocol::ArgKind kind)
{
    using mdt::MsgArgType;
    MsgArgType const type = message.argType(index);
    int const size = message.argSize(index);
    switch (kind)
    {
    case protocol::ArgKind::uint32:
    case protocol::ArgKind::sint32:
        return (type == MsgArgType::uint32 || type == MsgArgType::sint32) && size >= static_cast<int>(sizeof(int));
    case protocol::ArgKind::sint64:
        return type == MsgArgType::sint64 && size >= static_cast<int>(sizeof(long long));
    case protocol::ArgKind::string:
        return type == MsgArgType::string && size > 0;
    case protocol::ArgKind::data:
        return type == MsgArgType::data;
    case protocol::ArgKind::block:
        return type == MsgArgType::block;
    case protocol::ArgKind::group:
        // A copy on the heap is not needed here: such an argument is never in memory that the client shares.
        return type == MsgArgType::data &&
               protocol::PropertyView::check(message.read(index), size) == protocol::PropertyFault::none;
    default:
        return false;
    }
}

} // namespace

std::uint32_t Request::number(int index) const
{
    return valueAt<std::uint32_t>(m_message, index);
}

std::int64_t Request::longNumber(int index) const
{
    return valueAt<std::int64_t>(m_message, index);
}

std::string Request::text(int index) const
{
    std::string text = bytes(index);
    text.resize(std::strlen(text.c_str()));
    return text;
}

std::string Request::bytes(int index) const
{
    return std::string(block(index));
}

std::string_view Request::block(int index) const
{
    void* data = nullptr;
    int size = 0;
    bool const there = m_message.read(index, &data, &size) == 0 && data != nullptr && size > 0;
    return there ? std::string_view(static_cast<char const*>(data), static_cast<std::size_t>(size))
                 : std::string_view();
}

void Request::wipe()
{
    for (int index = 0; index < m_message.argCount(); ++index)
    {
        void* data = nullptr;
        int size = 0;
        if (m_message.argType(index) != mdt::MsgArgType::block && m_message.read(index, &data, &size) == 0)
        {
            OPENSSL_cleanse(data, static_cast<std::size_t>(size));
        }
    }
}

Answer::Answer(mdt::MdtsMessenger& messenger, mdt::MsgData const& message, mdt::MdtsCall const& call)
    : m_messenger(&messenger)
    , m_call(call)
    , m_connection(message.readPid())
    , m_object(static_cast<unsigned int>(message.readUid()))
    , m_code(message.readMsg())
{
}

template <class Write> void Answer::send(int status, Write write)
{
    if (wantsReply())
    {
        mdt::MsgData answer(m_connection, static_cast<int>(m_object), m_code, protocol::kTypeQuery);
        write(answer);
        m_messenger->reply(m_call, status, answer);
    }
    m_answered = true;
}

void Answer::reply(int status)
{
    send(status, [](mdt::MsgData&) {});
}

void Answer::reply(std::uint32_t value)
{
    send(0, [value](mdt::MsgData& answer) { answer.writeUInt32(value); });
}

void Answer::reply(std::int64_t value)
{
    send(0, [value](mdt::MsgData& answer) { answer.writeSInt64(value); });
}

void Answer::reply(std::uint32_t first, std::uint32_t second)
{
    send(0,
         [first, second](mdt::MsgData& answer)
         {
             answer.writeUInt32(first);
             answer.writeUInt32(second);
         });
}

void Answer::reply(om::OmPropertyGroup const& group)
{
    char* data = nullptr;
    int length = 0;
    group.getData(&data, &length);
    replyBytes(data, static_cast<std::uint16_t>(length));
}

void Answer::replyBytes(char const* data, std::uint16_t size)
{
    send(0, [data, size](mdt::MsgData& answer) { answer.writeData(data, size); });
}

Answer Answer::postpone()
{
    Answer const later = *this;
    m_answered = true;
    return later;
}

bool fitArguments(mdt::MsgData const& message, protocol::Message const& row)
{
    int const count = protocol::argumentCount(row);
    if (message.argCount() != count)
    {
        return false;
    }
    for (int index = 0; index < count; ++index)
    {
        if (!fits(message, index, row.arguments[index]))
        {
            return false;
        }
    }
    return true;
}

} // namespace tz::orvane::service
