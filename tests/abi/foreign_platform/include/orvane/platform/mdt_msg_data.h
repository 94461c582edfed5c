// SPDX-License-Identifier: Apache-2.0
// A message as another messenger may keep it: with the members that the library uses, and no others.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tz::orvane::mdt
{

enum class MsgArgType : int
{
    none,
    uint32,
    sint32,
    sint64,
    string,
    data,
    block
};

class MsgData
{
public:
    MsgData() = default;
    MsgData(int const& pid, int const& uid, int const& msg, int const& type);

    int readPid() const { return m_pid; }
    int readUid() const { return m_uid; }
    int readMsg() const { return m_msg; }
    int readType() const { return m_type; }

    int writeUInt32(unsigned int value);
    int writeSInt32(int value);
    int writeSInt64(long long value);
    int writeString(std::string const& text);
    int writeData(char const* data, unsigned short length);
    int writeBlockData(char* data, int const& length);

    int readUInt32(unsigned int& value);
    int readSInt64(long long& value);
    int readData(char* data, unsigned short length);
    void const* read(int const& index) const;
    int read(int const& index, void** data, int* size) const;

    int argCount() const;
    MsgArgType argType(int index) const;
    int argSize(int index) const;

private:
    struct Argument
    {
        MsgArgType type;
        int size;
        std::vector<std::uint64_t> bytes; ///< words, so that a record in them is aligned
    };

    int take(int size, void* value);
    int append(MsgArgType type, void const* bytes, std::size_t size);
    Argument const* find(int index) const;

    int m_pid = 0;
    int m_uid = 0;
    int m_msg = 0;
    int m_type = 0;
    mutable int m_next = 0;
    std::vector<Argument> m_arguments;
};

} // namespace tz::orvane::mdt
