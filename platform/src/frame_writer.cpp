// SPDX-License-Identifier: Apache-2.0
// Turns a message into one frame, sent at once and without copying its arguments.
#include "frame_writer.h"

#include "shared_ring.h"
#include "socket_calls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>

namespace tz::orvane::mdt
{

namespace
{

constexpr std::size_t kPlaceBytes = sizeof(std::uint64_t);
constexpr unsigned char kPadding[8] = {};

} // namespace

FrameWriter::FrameWriter(FrameKind kind, MsgData const& msg)
    : m_msg(msg)
    , m_header(new (detail::MsgAccess::headerRoom(msg)) FrameHeader{})
{
    m_header->magic = kFrameMagic;
    m_header->version = kFrameVersion;
    m_header->kind = static_cast<std::uint16_t>(kind);
    m_header->argCount = static_cast<std::uint32_t>(msg.argCount());
    m_header->pid = msg.readPid();
    m_header->uid = msg.readUid();
    m_header->msg = msg.readMsg();
    m_header->type = msg.readType();
}

int FrameWriter::plan()
{
    if (detail::MsgAccess::isBorrowed(m_msg))
    {
        return -EINVAL; // its bytes are a receiver's, which still needs them
    }
    std::size_t const total = sizeof(FrameHeader) + detail::MsgAccess::size(m_msg);
    if (detail::MsgAccess::referenceCount(m_msg) > 0 || total > kMaxFrameBytes)
    {
        return planPatches();
    }
    m_header->size = static_cast<std::uint32_t>(total);
    return 0;
}

int FrameWriter::planPatches()
{
    std::size_t const size = detail::MsgAccess::size(m_msg);
    detail::MsgArgument arguments[kMaxArguments];
    bool outside[kMaxArguments] = {};
    int count = 0;
    auto* const bytes = const_cast<unsigned char*>(detail::MsgAccess::bytes(m_msg)); // only read
    std::size_t total = sizeof(FrameHeader);
    for (std::size_t offset = 0; offset < size; offset = arguments[count - 1].end)
    {
        arguments[count] = detail::MsgAccess::argumentAt(bytes, offset);
        total += sizeof(ArgHeader) + padded(arguments[count].length);
        ++count;
    }
    while (total > kMaxFrameBytes)
    {
        int largest = -1;
        for (int i = 0; i < count; ++i)
        {
            if (!outside[i] && (largest < 0 || arguments[i].length > arguments[largest].length))
            {
                largest = i;
            }
        }
        if (m_outOfLineCount == kMaxOutOfLine || arguments[largest].length <= kPlaceBytes)
        {
            return -EMSGSIZE;
        }
        outside[largest] = true;
        ++m_outOfLineCount;
        total -= padded(arguments[largest].length) - kPlaceBytes;
    }
    int outOfLine = 0;
    for (int i = 0; i < count; ++i)
    {
        detail::MsgArgument const& argument = arguments[i];
        if (!outside[i] && argument.storage == Storage::inlined)
        {
            continue;
        }
        Patch& patch = m_patches[m_patchCount++];
        patch.header = {static_cast<std::uint8_t>(argument.kind), Storage::inlined, 0, argument.length};
        patch.offset = argument.offset;
        patch.end = argument.end;
        patch.value = argument.value;
        patch.outOfLine = outside[i] ? outOfLine : -1;
        if (outside[i])
        {
            m_outOfLine[outOfLine++] = {argument.value, argument.length, Storage::inlined, 0};
        }
    }
    m_header->size = static_cast<std::uint32_t>(total);
    return 0;
}

int FrameWriter::placeInDescriptor(OutOfLine& value)
{
    platform::UniqueFd block;
    int const result = createBlock(block, value.data, value.length);
    if (result != 0)
    {
        return result;
    }
    try
    {
        m_blocks.push_back(std::move(block));
    }
    catch (std::bad_alloc const&)
    {
        return -ENOMEM;
    }
    value.storage = Storage::memfd;
    value.place = static_cast<std::uint64_t>(addDescriptor(m_blocks.back().get()));
    return 0;
}

int FrameWriter::addDescriptor(int fd)
{
    m_descriptors[m_header->descriptorCount] = fd;
    return static_cast<int>(m_header->descriptorCount++);
}

void FrameWriter::addPart(void const* data, std::size_t bytes)
{
    if (bytes > 0)
    {
        m_parts[m_partCount++] = {const_cast<void*>(data), bytes};
    }
}

void FrameWriter::assemble()
{
    unsigned char const* const bytes = detail::MsgAccess::bytes(m_msg);
    std::size_t sent = 0;
    m_partCount = 0;
    addPart(m_header, sizeof *m_header);
    for (int i = 0; i < m_patchCount; ++i)
    {
        Patch& patch = m_patches[i];
        addPart(bytes + sent, patch.offset - sent);
        sent = patch.end;
        if (patch.outOfLine >= 0)
        {
            patch.header.storage = m_outOfLine[patch.outOfLine].storage;
            patch.place = m_outOfLine[patch.outOfLine].place;
            addPart(&patch.header, sizeof patch.header + sizeof patch.place);
        }
        else
        {
            addPart(&patch.header, sizeof patch.header);
            addPart(patch.value, patch.header.length);
            addPart(kPadding, padded(patch.header.length) - patch.header.length);
        }
    }
    addPart(bytes + sent, detail::MsgAccess::size(m_msg) - sent);
}

ssize_t FrameWriter::send(int socket, int flags)
{
    if (m_patchCount == 0 && m_header->descriptorCount == 0)
    {
        return sendBytes(socket, m_header, m_header->size, flags);
    }
    assemble();
    return sendFrame(socket, m_parts, m_partCount, m_descriptors, static_cast<int>(m_header->descriptorCount), flags);
}

std::vector<unsigned char> FrameWriter::flatten()
{
    assemble();
    std::vector<unsigned char> frame;
    frame.reserve(m_header->size);
    for (int i = 0; i < m_partCount; ++i)
    {
        auto const* const part = static_cast<unsigned char const*>(m_parts[i].iov_base);
        frame.insert(frame.end(), part, part + m_parts[i].iov_len);
    }
    return frame;
}

int FrameWriter::duplicateDescriptors(std::vector<platform::UniqueFd>& descriptors) const
{
    for (std::uint32_t i = 0; i < m_header->descriptorCount; ++i)
    {
        platform::UniqueFd copy(::fcntl(m_descriptors[i], F_DUPFD_CLOEXEC, 0));
        if (!copy)
        {
            return -errno;
        }
        descriptors.push_back(std::move(copy));
    }
    return 0;
}

ssize_t sendFrame(int socket, iovec* parts, int partCount, int const* descriptors, int descriptorCount, int flags)
{
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = static_cast<decltype(message.msg_iovlen)>(partCount);
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(kMaxDescriptors * sizeof(int))] = {};
    if (descriptorCount > 0)
    {
        std::size_t const bytes = static_cast<std::size_t>(descriptorCount) * sizeof(int);
        message.msg_control = control;
        message.msg_controllen = CMSG_SPACE(bytes);
        auto* const header = static_cast<cmsghdr*>(static_cast<void*>(control));
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(bytes);
        std::memcpy(CMSG_DATA(header), descriptors, bytes);
    }
    return sendParts(socket, message, flags);
}

} // namespace tz::orvane::mdt
