// SPDX-License-Identifier: Apache-2.0
// Receives frames and believes nothing of them.
#include "frame_reader.h"

#include "socket_calls.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace tz::orvane::mdt
{

namespace
{

// More descriptors than a frame may bring are an attack; the kernel drops those that do not fit here.
constexpr std::size_t kControlBytes = CMSG_SPACE(kMaxDescriptors * sizeof(int));

bool isArgKind(std::uint8_t kind)
{
    return kind >= static_cast<std::uint8_t>(MsgArgType::uint32) &&
           kind <= static_cast<std::uint8_t>(MsgArgType::block);
}

bool isFrameKind(std::uint16_t kind)
{
    return kind >= static_cast<std::uint16_t>(FrameKind::hello) &&
           kind <= static_cast<std::uint16_t>(FrameKind::descriptorsFollow);
}

void takeDescriptors(msghdr& message, std::vector<platform::UniqueFd>& descriptors)
{
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr; header = CMSG_NXTHDR(&message, header))
    {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS)
        {
            continue;
        }
        std::size_t const count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i)
        {
            int fd = -1;
            std::memcpy(&fd, CMSG_DATA(header) + i * sizeof fd, sizeof fd);
            descriptors.emplace_back(fd);
        }
    }
}

// Nothing was received: is it the end, or an empty frame?
bool hasEnded(int socket)
{
    pollfd end{socket, POLLRDHUP, 0};
    return ::poll(&end, 1, 0) != 0;
}

} // namespace

char const* checkFrame(unsigned char const* frame, std::size_t bytes, std::size_t descriptors, bool* whole)
{
    FrameHeader header;
    if (bytes < sizeof header)
    {
        return "shorter than a header";
    }
    std::memcpy(&header, frame, sizeof header);
    if (header.magic != kFrameMagic)
    {
        return "bad magic";
    }
    if (header.version != kFrameVersion)
    {
        return "unknown version";
    }
    if (!isFrameKind(header.kind))
    {
        return "unknown kind of frame";
    }
    if (header.size != bytes)
    {
        return "size does not add up";
    }
    if (header.argCount > kMaxArguments)
    {
        return "too many arguments";
    }
    if (header.descriptorCount != descriptors)
    {
        return "descriptors do not add up";
    }
    std::size_t offset = sizeof header;
    std::size_t values = 0;
    bool allInside = true;
    for (std::uint32_t i = 0; i < header.argCount; ++i)
    {
        ArgHeader argument;
        if (bytes - offset < sizeof argument)
        {
            return "argument outside of the frame";
        }
        std::memcpy(&argument, frame + offset, sizeof argument);
        offset += sizeof argument;
        if (!isArgKind(argument.kind) || argument.storage > Storage::memfd)
        {
            return "unknown kind of argument";
        }
        values += argument.length;
        if (argument.length > kMaxMessageBytes || values > kMaxMessageBytes)
        {
            return "message too long";
        }
        std::size_t const stored =
            argument.storage == Storage::inlined ? padded(argument.length) : sizeof(std::uint64_t);
        if (bytes - offset < stored)
        {
            return "argument outside of the frame";
        }
        if (argument.storage != Storage::inlined)
        {
            allInside = false;
            if (argument.length == 0)
            {
                return "empty argument outside of the frame";
            }
        }
        offset += stored;
    }
    if (whole != nullptr)
    {
        *whole = allInside;
    }
    return offset == bytes ? nullptr : "bytes behind the last argument";
}

FrameReader::FrameReader()
    : m_buffer(new unsigned char[kMaxFrameBytes])
{
    m_descriptors.reserve(kMaxDescriptors);
}

bool FrameReader::fail(char const* reason)
{
    m_reason = reason;
    return false;
}

ssize_t FrameReader::receive(int socket, bool wait)
{
    int const flags = wait ? 0 : MSG_DONTWAIT;
    ssize_t received = 0;
    do
    {
        m_descriptors.clear();
        m_reason = "receiving failed";
        received = m_descriptorsMayCome ? receiveWithDescriptors(socket, flags)
                                        : receiveBytes(socket, m_buffer.get(), kMaxFrameBytes, flags);
        // A peer that closed with unread data of ours is reported once, in front of what it still had sent.
    } while (received == -ECONNRESET || (received == -EINTR && !wait));
    if (received < 0 || (received == 0 && hasEnded(socket)))
    {
        return received;
    }
    ++m_frameCount;
    auto const bytes = static_cast<std::size_t>(received);
    char const* const fault = bytes > kMaxFrameBytes
                                  ? "longer than a frame may be"
                                  : checkFrame(m_buffer.get(), bytes, m_descriptors.size(), &m_whole);
    m_reason = fault != nullptr ? fault : "not a frame that belongs here";
    if (fault != nullptr)
    {
        return -EPROTO;
    }
    // Whoever announces time and again does not belong here.
    if (kind() == FrameKind::descriptorsFollow && !m_descriptorsMayCome)
    {
        m_descriptorsMayCome = true;
        return wait ? -EAGAIN : receive(socket);
    }
    return received;
}

ssize_t FrameReader::receiveWithDescriptors(int socket, int flags)
{
    iovec part{m_buffer.get(), kMaxFrameBytes};
    alignas(cmsghdr) unsigned char control[kControlBytes];
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t const received = receiveParts(socket, message, flags);
    if (received < 0)
    {
        return received;
    }
    takeDescriptors(message, m_descriptors);
    if ((message.msg_flags & MSG_CTRUNC) != 0)
    {
        m_reason = "descriptors were lost";
        return -EPROTO;
    }
    return received;
}

platform::UniqueFd FrameReader::takeDescriptor(std::size_t index)
{
    return index < m_descriptors.size() ? std::move(m_descriptors[index]) : platform::UniqueFd();
}

unsigned char* FrameReader::locate(detail::MsgArgument const& argument, SharedRing* ring)
{
    std::uint64_t place = 0;
    std::memcpy(&place, argument.value, sizeof place);
    if (argument.storage == Storage::ring)
    {
        if (ring == nullptr || place > UINT32_MAX)
        {
            return nullptr;
        }
        // Blocks of one frame follow each other, so that the last one gives all of them back.
        auto const position = static_cast<std::uint32_t>(place);
        unsigned char* const block = ring->block(position, argument.length);
        if (block == nullptr || (m_ringUsed && position - m_ringPosition < padded(m_ringLength)))
        {
            return nullptr;
        }
        m_ringUsed = true;
        m_ringPosition = position;
        m_ringLength = argument.length;
        return block;
    }
    if (place >= m_descriptors.size())
    {
        return nullptr;
    }
    Mapping mapping;
    int const result = mapBlock(mapping, m_descriptors[static_cast<std::size_t>(place)].get(), argument.length);
    if (result == -ENOMEM)
    {
        throw std::bad_alloc();
    }
    if (result != 0)
    {
        return nullptr;
    }
    m_mappings.push_back(std::move(mapping));
    return m_mappings.back().data();
}

bool FrameReader::locateValues(SharedRing* ring)
{
    m_lacksMemory = false;
    try
    {
        return locateEach(ring);
    }
    catch (std::bad_alloc const&)
    {
        m_lacksMemory = true;
        return fail("there is no memory for it");
    }
}

bool FrameReader::locateEach(SharedRing* ring)
{
    std::size_t const size = header().size - sizeof(FrameHeader);
    for (std::size_t offset = 0; offset < size;)
    {
        detail::MsgArgument const argument = detail::MsgAccess::argumentAt(arguments(), offset);
        if (argument.storage != Storage::inlined)
        {
            unsigned char* value = locate(argument, ring);
            if (value == nullptr)
            {
                return fail("value outside of the shared memory");
            }
            if (argument.kind != MsgArgType::block)
            {
                m_copies.emplace_back(new unsigned char[argument.length]);
                std::memcpy(m_copies.back().get(), value, argument.length);
                value = m_copies.back().get();
            }
            std::uint64_t const address = reinterpret_cast<std::uintptr_t>(value);
            ArgHeader const patched{static_cast<std::uint8_t>(argument.kind), Storage::reference, 0, argument.length};
            std::memcpy(arguments() + offset, &patched, sizeof patched);
            std::memcpy(arguments() + offset + sizeof patched, &address, sizeof address);
        }
        offset = argument.end;
    }
    return true;
}

int FrameReader::fill(MsgData& msg, bool own)
{
    using Ownership = detail::MsgAccess::Ownership;
    Ownership const copied = m_whole ? Ownership::copiedAsOne : Ownership::copied;
    try
    {
        detail::MsgAccess::assign(msg, header(), arguments(), header().size - sizeof(FrameHeader),
                                  own ? copied : Ownership::borrowed);
    }
    catch (std::bad_alloc const&)
    {
        return -ENOMEM;
    }
    return 0;
}

void FrameReader::release(SharedRing* ring)
{
    if (m_ringUsed)
    {
        ring->release(m_ringPosition, m_ringLength);
        m_ringUsed = false;
    }
    m_mappings.clear();
    m_copies.clear();
    m_descriptors.clear();
}

} // namespace tz::orvane::mdt
