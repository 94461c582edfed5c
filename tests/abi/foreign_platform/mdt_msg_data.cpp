// SPDX-License-Identifier: Apache-2.0
// A message as another messenger may keep it.
#include "orvane/platform/mdt_msg_data.h"

#include <cerrno>
#include <cstring>

namespace tz::orvane::mdt
{

MsgData::MsgData(int const& pid, int const& uid, int const& msg, int const& type)
    : m_pid(pid)
    , m_uid(uid)
    , m_msg(msg)
    , m_type(type)
{
}

int MsgData::writeUInt32(unsigned int value)
{
    return append(MsgArgType::uint32, &value, sizeof value);
}

int MsgData::writeSInt32(int value)
{
    return append(MsgArgType::sint32, &value, sizeof value);
}

int MsgData::writeSInt64(long long value)
{
    return append(MsgArgType::sint64, &value, sizeof value);
}

int MsgData::writeString(std::string const& text)
{
    return append(MsgArgType::string, text.c_str(), text.size() + 1);
}

int MsgData::writeData(char const* data, unsigned short length)
{
    return append(MsgArgType::data, data, length);
}

int MsgData::writeBlockData(char* data, int const& length)
{
    return append(MsgArgType::block, data, static_cast<std::size_t>(length));
}

int MsgData::readUInt32(unsigned int& value)
{
    return take(sizeof value, &value);
}

int MsgData::readSInt64(long long& value)
{
    return take(sizeof value, &value);
}

int MsgData::readData(char* data, unsigned short length)
{
    return take(length, data);
}

void const* MsgData::read(int const& index) const
{
    void* data = nullptr;
    read(index, &data, nullptr);
    return data;
}

int MsgData::read(int const& index, void** data, int* size) const
{
    Argument const* const argument = find(index);
    if (argument == nullptr)
    {
        return -EPROTO;
    }
    *data = const_cast<std::uint64_t*>(argument->bytes.data());
    if (size != nullptr)
    {
        *size = argument->size;
    }
    m_next = index + 1;
    return 0;
}

int MsgData::argCount() const
{
    return static_cast<int>(m_arguments.size());
}

MsgArgType MsgData::argType(int index) const
{
    Argument const* const argument = find(index);
    return argument == nullptr ? MsgArgType::none : argument->type;
}

int MsgData::argSize(int index) const
{
    Argument const* const argument = find(index);
    return argument == nullptr ? 0 : argument->size;
}

/// Copies so many bytes of the next argument and goes on behind it.
int MsgData::take(int size, void* value)
{
    if (argSize(m_next) < size)
    {
        return -EPROTO;
    }
    std::memcpy(value, m_arguments[static_cast<std::size_t>(m_next++)].bytes.data(), static_cast<std::size_t>(size));
    return 0;
}

int MsgData::append(MsgArgType type, void const* bytes, std::size_t size)
{
    std::vector<std::uint64_t> words(size / sizeof(std::uint64_t) + 1); // one more: an empty argument has an address
    if (bytes != nullptr)
    {
        std::memcpy(words.data(), bytes, size);
    }
    m_arguments.push_back({type, bytes == nullptr ? 0 : static_cast<int>(size), std::move(words)});
    return 0;
}

MsgData::Argument const* MsgData::find(int index) const
{
    return index < 0 || index >= argCount() ? nullptr : &m_arguments[static_cast<std::size_t>(index)];
}

} // namespace tz::orvane::mdt
