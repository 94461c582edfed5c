// SPDX-License-Identifier: Apache-2.0
// Messages: building and reading of arguments. They are kept as they travel, so that sending copies nothing.
#include "orvane/platform/mdt_msg_data.h"

#include "msg_access.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace tz::orvane::mdt
{

using detail::MsgArgument;

namespace
{

// A number or text that is too short or lacks its end counts as missing.
bool isWhole(MsgArgument const& argument)
{
    switch (argument.kind)
    {
    case MsgArgType::uint32:
    case MsgArgType::sint32:
        return argument.length >= sizeof(std::uint32_t);
    case MsgArgType::sint64:
        return argument.length >= sizeof(std::int64_t);
    case MsgArgType::string:
        return std::memchr(argument.value, 0, argument.length) != nullptr;
    default:
        return argument.kind != MsgArgType::none;
    }
}

// Large messages follow each other: each thread keeps the buffers of its last ones, so that a query that carries a
// large record allocates nothing once it has been made before.
class SpareBuffers
{
public:
    ~SpareBuffers() { s_gone = true; }

    /// @return a buffer of at least this size; `capacity` is its size
    std::unique_ptr<unsigned char[]> take(std::size_t bytes, std::size_t& capacity)
    {
        for (Spare& spare : m_spares)
        {
            if (!s_gone && spare.capacity >= bytes)
            {
                capacity = std::exchange(spare.capacity, 0);
                return std::move(spare.bytes);
            }
        }
        capacity = bytes;
        return std::unique_ptr<unsigned char[]>(new unsigned char[bytes]);
    }

    void give(std::unique_ptr<unsigned char[]> bytes, std::size_t capacity)
    {
        Spare& smallest = m_spares[0].capacity <= m_spares[1].capacity ? m_spares[0] : m_spares[1];
        if (!s_gone && capacity <= kLargestKept && capacity > smallest.capacity)
        {
            smallest = {std::move(bytes), capacity};
        }
    }

private:
    static constexpr std::size_t kLargestKept = 64 * 1024;

    struct Spare
    {
        std::unique_ptr<unsigned char[]> bytes;
        std::size_t capacity = 0;
    };

    // Messages are also sent by what is destroyed after this, at the very end of the process.
    static thread_local bool s_gone;

    Spare m_spares[2]; // of a query and its reply
};

thread_local bool SpareBuffers::s_gone = false;

thread_local SpareBuffers t_spares;

} // namespace

MsgData::MsgData() = default;

MsgData::MsgData(int const& pid, int const& uid, int const& msg, int const& type)
    : m_pid(pid)
    , m_uid(uid)
    , m_msg(msg)
    , m_type(type)
{
}

MsgData::~MsgData()
{
    if (m_heap != nullptr)
    {
        t_spares.give(std::move(m_heap), m_heapCapacity);
    }
}

void MsgData::grow(std::size_t needed)
{
    std::size_t capacity = 0;
    std::unique_ptr<unsigned char[]> larger = t_spares.take(kHeaderRoom + std::max(needed, 2 * m_capacity), capacity);
    std::memcpy(larger.get() + kHeaderRoom, m_bytes, m_size);
    m_heap.swap(larger);
    if (larger != nullptr)
    {
        t_spares.give(std::move(larger), m_heapCapacity);
    }
    m_bytes = m_heap.get() + kHeaderRoom;
    m_capacity = capacity - kHeaderRoom;
    m_heapCapacity = capacity;
}

unsigned char* MsgData::append(MsgArgType kind, int storage, std::size_t length, std::size_t stored)
{
    std::size_t const needed = m_size + sizeof(ArgHeader) + padded(stored);
    if (m_argCount == kMaxArguments || m_valueBytes + length > kMaxMessageBytes)
    {
        return nullptr;
    }
    if (needed > m_capacity)
    {
        grow(needed);
    }
    ArgHeader const header{static_cast<std::uint8_t>(kind), static_cast<Storage>(storage), 0,
                           static_cast<std::uint32_t>(length)};
    std::memcpy(m_bytes + m_size, &header, sizeof header);
    unsigned char* const value = m_bytes + m_size + sizeof header;
    if (padded(stored) != stored)
    {
        std::memset(value + padded(stored) - kAlignment, 0, kAlignment);
    }
    m_size = needed;
    m_valueBytes += length;
    ++m_argCount;
    return value;
}

int MsgData::writeUInt32(unsigned int value)
{
    unsigned char* const target = append(MsgArgType::uint32, 0, sizeof value, sizeof value);
    return target != nullptr ? (std::memcpy(target, &value, sizeof value), 0) : -EMSGSIZE;
}

int MsgData::writeSInt32(int value)
{
    unsigned char* const target = append(MsgArgType::sint32, 0, sizeof value, sizeof value);
    return target != nullptr ? (std::memcpy(target, &value, sizeof value), 0) : -EMSGSIZE;
}

int MsgData::writeSInt64(long long value)
{
    unsigned char* const target = append(MsgArgType::sint64, 0, sizeof value, sizeof value);
    return target != nullptr ? (std::memcpy(target, &value, sizeof value), 0) : -EMSGSIZE;
}

int MsgData::writeString(std::string const& text)
{
    std::size_t const length = std::strlen(text.c_str()) + 1;
    unsigned char* const target = append(MsgArgType::string, 0, length, length);
    return target != nullptr ? (std::memcpy(target, text.c_str(), length), 0) : -EMSGSIZE;
}

int MsgData::writeData(char const* data, unsigned short length)
{
    std::size_t const bytes = data != nullptr ? length : 0;
    unsigned char* const target = append(MsgArgType::data, 0, bytes, bytes);
    if (target == nullptr)
    {
        return -EMSGSIZE;
    }
    if (bytes > 0)
    {
        std::memcpy(target, data, bytes);
    }
    return 0;
}

int MsgData::writeBlockData(char* data, int const& length)
{
    std::size_t const bytes = data != nullptr && length > 0 ? static_cast<std::size_t>(length) : 0;
    if (bytes == 0 || m_referenceCount == kMaxReferences)
    {
        unsigned char* const target = append(MsgArgType::block, 0, bytes, bytes);
        if (target == nullptr)
        {
            return -EMSGSIZE;
        }
        if (bytes > 0)
        {
            std::memcpy(target, data, bytes);
        }
        return 0;
    }
    std::uint64_t const address = reinterpret_cast<std::uintptr_t>(data);
    unsigned char* const target =
        append(MsgArgType::block, static_cast<int>(Storage::reference), bytes, sizeof address);
    if (target == nullptr)
    {
        return -EMSGSIZE;
    }
    std::memcpy(target, &address, sizeof address);
    ++m_referenceCount;
    return 0;
}

bool MsgData::next(MsgArgument& argument) const
{
    if (m_nextIndex >= m_argCount)
    {
        return false;
    }
    argument = detail::MsgAccess::argumentAt(m_bytes, m_nextOffset);
    return true;
}

bool MsgData::locate(int index, MsgArgument& argument) const
{
    if (index < 0 || index >= m_argCount)
    {
        return false;
    }
    bool const behind = index < m_nextIndex;
    std::size_t offset = behind ? 0 : m_nextOffset;
    for (int i = behind ? 0 : m_nextIndex; i < index; ++i)
    {
        offset = detail::MsgAccess::argumentAt(m_bytes, offset).end;
    }
    argument = detail::MsgAccess::argumentAt(m_bytes, offset);
    return true;
}

int MsgData::readUInt32(unsigned int& value)
{
    MsgArgument argument;
    if (!next(argument) || !isWhole(argument) ||
        (argument.kind != MsgArgType::uint32 && argument.kind != MsgArgType::sint32))
    {
        return -EPROTO;
    }
    std::memcpy(&value, argument.value, sizeof value);
    ++m_nextIndex;
    m_nextOffset = argument.end;
    return 0;
}

int MsgData::readUInt32(int& value)
{
    return readSInt32(value);
}

int MsgData::readSInt32(int& value)
{
    unsigned int bits = 0;
    int const result = readUInt32(bits);
    if (result == 0)
    {
        value = static_cast<int>(bits);
    }
    return result;
}

int MsgData::readSInt64(long long& value)
{
    MsgArgument argument;
    if (!next(argument) || !isWhole(argument) || argument.kind != MsgArgType::sint64)
    {
        return -EPROTO;
    }
    std::memcpy(&value, argument.value, sizeof value);
    ++m_nextIndex;
    m_nextOffset = argument.end;
    return 0;
}

int MsgData::readData(char* data, unsigned short length)
{
    MsgArgument argument;
    if (!next(argument) || !isWhole(argument) ||
        (argument.kind != MsgArgType::data && argument.kind != MsgArgType::block))
    {
        return -EPROTO;
    }
    std::size_t const bytes = std::min<std::size_t>(length, argument.length);
    if (bytes > 0)
    {
        std::memcpy(data, argument.value, bytes);
    }
    if (bytes < length)
    {
        return -EPROTO;
    }
    ++m_nextIndex;
    m_nextOffset = argument.end;
    return 0;
}

int MsgData::readBlockData(char** data, int& length)
{
    MsgArgument argument;
    if (!next(argument) || !isWhole(argument) ||
        (argument.kind != MsgArgType::string && argument.kind != MsgArgType::data &&
         argument.kind != MsgArgType::block))
    {
        return -EPROTO;
    }
    *data = reinterpret_cast<char*>(argument.value);
    length = static_cast<int>(argument.length);
    ++m_nextIndex;
    m_nextOffset = argument.end;
    return 0;
}

void const* MsgData::read(int const& index) const
{
    void* data = nullptr;
    return read(index, &data, nullptr) == 0 ? data : nullptr;
}

int MsgData::read(int const& index, void** data, int* size) const
{
    MsgArgument argument;
    if (!locate(index, argument) || !isWhole(argument))
    {
        return -EPROTO;
    }
    *data = argument.value;
    if (size != nullptr)
    {
        *size = static_cast<int>(argument.length);
    }
    m_nextIndex = index + 1;
    m_nextOffset = argument.end;
    return 0;
}

MsgArgType MsgData::argType(int index) const
{
    MsgArgument argument;
    return locate(index, argument) ? argument.kind : MsgArgType::none;
}

int MsgData::argSize(int index) const
{
    MsgArgument argument;
    return locate(index, argument) ? static_cast<int>(argument.length) : 0;
}

namespace detail
{

MsgArgument MsgAccess::argumentAt(unsigned char* bytes, std::size_t offset)
{
    ArgHeader header;
    std::memcpy(&header, bytes + offset, sizeof header);
    MsgArgument argument;
    argument.kind = static_cast<MsgArgType>(header.kind);
    argument.storage = header.storage;
    argument.length = header.length;
    argument.offset = offset;
    argument.value = bytes + offset + sizeof header;
    argument.end = offset + sizeof header + padded(header.length);
    if (header.storage != Storage::inlined)
    {
        argument.end = offset + sizeof header + sizeof(std::uint64_t);
    }
    if (header.storage == Storage::reference)
    {
        std::uint64_t address = 0;
        std::memcpy(&address, argument.value, sizeof address);
        argument.value = reinterpret_cast<unsigned char*>(static_cast<std::uintptr_t>(address));
    }
    return argument;
}

void MsgAccess::assign(MsgData& msg, FrameHeader const& header, unsigned char* arguments, std::size_t size,
                       Ownership ownership)
{
    msg.m_pid = header.pid;
    msg.m_uid = header.uid;
    msg.m_msg = header.msg;
    msg.m_type = header.type;
    msg.m_sequence = header.sequence;
    msg.m_argCount = 0;
    msg.m_referenceCount = 0;
    msg.m_nextIndex = 0;
    msg.m_nextOffset = 0;
    msg.m_valueBytes = 0;
    msg.m_size = 0;
    if (ownership == Ownership::borrowed)
    {
        msg.m_bytes = arguments;
        msg.m_size = size;
        msg.m_capacity = size; // a write moves the arguments away first
        msg.m_argCount = static_cast<int>(header.argCount);
        return;
    }
    if (isBorrowed(msg))
    {
        msg.m_bytes = msg.m_inline + MsgData::kHeaderRoom;
        msg.m_capacity = MsgData::kInlineBytes;
    }
    if (ownership == Ownership::copiedAsOne)
    {
        if (size > msg.m_capacity)
        {
            msg.grow(size);
        }
        std::memcpy(msg.m_bytes, arguments, size);
        msg.m_size = size;
        msg.m_valueBytes = size;
        msg.m_argCount = static_cast<int>(header.argCount);
        return;
    }
    for (std::size_t offset = 0; offset < size;)
    {
        MsgArgument const argument = argumentAt(arguments, offset);
        unsigned char* const target = msg.append(argument.kind, 0, argument.length, argument.length);
        if (target == nullptr)
        {
            return;
        }
        std::memcpy(target, argument.value, argument.length);
        offset = argument.end;
    }
}

} // namespace detail

} // namespace tz::orvane::mdt
