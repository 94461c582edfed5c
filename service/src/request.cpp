// SPDX-License-Identifier: Apache-2.0
// A message of a client while it is being answered.
#include "request.h"

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

void Request::head(mdt::MsgData& answer, int connection, unsigned int object, int code)
{
    answer.writePid(connection);
    answer.writeUid(static_cast<int>(object));
    answer.writeMsg(code);
    answer.writeType(protocol::kTypeQuery);
}

void Request::send(int status, mdt::MsgData const& answer)
{
    if (wantsReply())
    {
        m_messenger.reply(m_call, status, answer);
    }
    m_answered = true;
}

void Request::reply(int status)
{
    mdt::MsgData answer;
    head(answer, connection(), object(), code());
    send(status, answer);
}

void Request::reply(std::uint32_t value)
{
    mdt::MsgData answer;
    head(answer, connection(), object(), code());
    answer.writeUInt32(value);
    send(0, answer);
}

void Request::replyBytes(char const* data, std::uint16_t size)
{
    mdt::MsgData answer;
    head(answer, connection(), object(), code());
    answer.writeData(data, size);
    send(0, answer);
}

mdt::MdtsCall Request::postpone()
{
    m_answered = true;
    return m_call;
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
