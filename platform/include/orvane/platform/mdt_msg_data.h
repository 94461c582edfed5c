// SPDX-License-Identifier: Apache-2.0
// A message of the platform messenger: four header fields and typed arguments.
#pragma once

#include "orvane/om_export.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tz::orvane::mdt
{

/// Kind of an argument.
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

namespace detail
{
struct MsgAccess;
struct MsgArgument;
} // namespace detail

/// One message, to be sent or received. Not for use by two threads at once, posting included.
///
/// Arguments follow each other in the order of writing. A message can be read while it is being built. Small messages
/// live inside the object; nothing is allocated for them. A received message cannot be posted: its arguments must
/// be written into another one.
class ORVANE_API MsgData
{
public:
    MsgData();

    /// @param pid  connection, as a cnid
    /// @param uid  object of it, 0 for the connection itself
    /// @param msg  code of the operation or event
    /// @param type of the message, as the protocol numbers them
    MsgData(int const& pid, int const& uid, int const& msg, int const& type);
    MsgData(MsgData const&) = delete;
    MsgData& operator=(MsgData const&) = delete;
    ~MsgData();

    /// @name Header
    /// @{

    /// Connection (cnid), object, code and type, as the constructor takes them.
    void writePid(int const& pid) { m_pid = pid; }
    void writeUid(int const& uid) { m_uid = uid; }
    void writeMsg(int const& msg) { m_msg = msg; }
    void writeType(int const& type) { m_type = type; }
    int readPid() const { return m_pid; }
    int readUid() const { return m_uid; }
    int readMsg() const { return m_msg; }
    int readType() const { return m_type; }
    /// @}

    /// @name Writers
    /// @{

    /// Appends an argument. Null writes an empty one.
    /// @return 0, or -EMSGSIZE when the message would pass 64 MiB or 64 arguments
    int writeUInt32(unsigned int value);
    int writeSInt32(int value);
    int writeSInt64(long long value);

    /// The text is copied up to its end, a NUL is added.
    int writeString(std::string const& text);

    /// @param length bytes, copied into the message
    int writeData(char const* data, unsigned short length);

    /// @param data not copied: it must stay as it is until the message has been posted
    int writeBlockData(char* data, int const& length);

    /// @}

    /// @name Readers in order
    /// @{

    /// Gives the next argument. The value is left alone and the position does not move when there is none, or it is of
    /// another kind or too short; readData copies what is there of a short one.
    /// @return 0, or -EPROTO when there is no such argument
    int readUInt32(unsigned int& value);
    int readUInt32(int& value);
    int readSInt32(int& value);
    int readSInt64(long long& value);

    /// @param length bytes to copy into `data`
    int readData(char* data, unsigned short length);

    /// Gives the bytes of an argument of the kinds string, data or block without copying them.
    int readBlockData(char** data, int& length);
    /// @}

    /// Gives the bytes of an argument and moves the sequential position behind it.
    /// @return null when there is no such argument; the address is aligned to 8 bytes
    void const* read(int const& index) const;

    /// Gives address and size of an argument and moves the sequential position behind it.
    /// @param[out] size bytes, a string's NUL included; may be null
    /// @return 0, or -EPROTO when there is no such argument
    int read(int const& index, void** data, int* size) const;

    /// @return how many arguments there are
    int argCount() const { return m_argCount; }

    /// @return none when there is no such argument
    MsgArgType argType(int index) const;

    /// @return bytes, a string's NUL included; 0 when there is no such argument
    int argSize(int index) const;

    /// Counts replies and events of one connection in the order in which the service posted them, from 1; 0 for others.
    /// The two travel on different sockets: this tells which came first.
    unsigned long long sequence() const { return m_sequence; }

private:
    friend struct detail::MsgAccess;

    static constexpr std::size_t kHeaderRoom = 64; ///< in front of the arguments, for the frame's header
    static constexpr std::size_t kInlineBytes = 512;

    void grow(std::size_t needed);
    unsigned char* append(MsgArgType kind, int storage, std::size_t length, std::size_t stored);
    bool next(detail::MsgArgument& argument) const;
    bool locate(int index, detail::MsgArgument& argument) const;

    int m_pid = 0;
    int m_uid = 0;
    int m_msg = 0;
    int m_type = 0;
    int m_argCount = 0;
    int m_referenceCount = 0;
    mutable int m_nextIndex = 0;
    mutable std::size_t m_nextOffset = 0;
    unsigned long long m_sequence = 0;
    std::size_t m_valueBytes = 0; ///< of all arguments, wherever they are
    std::size_t m_size = 0;
    std::size_t m_capacity = kInlineBytes;
    unsigned char* m_bytes =
        m_inline + kHeaderRoom; ///< arguments as they travel, in m_inline, m_heap or a receiver's buffer
    std::unique_ptr<unsigned char[]> m_heap;
    std::size_t m_heapCapacity = 0;
    alignas(8) unsigned char m_inline[kHeaderRoom + kInlineBytes];
};

} // namespace tz::orvane::mdt
