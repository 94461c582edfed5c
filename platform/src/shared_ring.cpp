// SPDX-License-Identifier: Apache-2.0
// Shared memory for what is too large for a frame.
#include "shared_ring.h"

#include "frame.h"
#include "futex.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <utility>

namespace tz::orvane::mdt
{

namespace
{

constexpr std::size_t kControlBytes = 4096;
constexpr int kSizeSeals = F_SEAL_SHRINK | F_SEAL_GROW;

// Memory that could shrink would end this process at a touch.
int checkSeals(int fd, std::size_t bytes, int seals)
{
    struct stat status = {};
    int const present = ::fcntl(fd, F_GET_SEALS);
    if (present < 0 || (present & seals) != seals || ::fstat(fd, &status) != 0 ||
        status.st_size != static_cast<off_t>(bytes))
    {
        return -EPROTO;
    }
    return 0;
}

int createMemory(platform::UniqueFd& fd, std::size_t bytes)
{
    fd.reset(::memfd_create("orvane", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!fd || ::ftruncate(fd.get(), static_cast<off_t>(bytes)) != 0)
    {
        return -errno;
    }
    return 0;
}

} // namespace

Mapping::Mapping(Mapping&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr))
    , m_size(std::exchange(other.m_size, 0))
{
}

Mapping& Mapping::operator=(Mapping&& other) noexcept
{
    unmap();
    m_data = std::exchange(other.m_data, nullptr);
    m_size = std::exchange(other.m_size, 0);
    return *this;
}

Mapping::~Mapping()
{
    unmap();
}

void Mapping::unmap()
{
    if (m_data != nullptr)
    {
        ::munmap(m_data, m_size);
        m_data = nullptr;
    }
}

int Mapping::map(int fd, std::size_t bytes, bool writable)
{
    unmap();
    void* const address = ::mmap(nullptr, bytes, writable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, fd, 0);
    if (address == MAP_FAILED)
    {
        return -errno;
    }
    m_data = static_cast<unsigned char*>(address);
    m_size = bytes;
    return 0;
}

int SharedRing::create(platform::UniqueFd& fd)
{
    int const result = createMemory(fd, kControlBytes + kBytes);
    if (result != 0)
    {
        return result;
    }
    return ::fcntl(fd.get(), F_ADD_SEALS, kSizeSeals | F_SEAL_SEAL) == 0 ? 0 : -errno;
}

int SharedRing::attach(int fd)
{
    int const result = checkSeals(fd, kControlBytes + kBytes, kSizeSeals);
    return result != 0 ? result : m_memory.map(fd, kControlBytes + kBytes, true);
}

unsigned char* SharedRing::bytes() const
{
    return m_memory.data() + kControlBytes;
}

bool SharedRing::reserve(std::uint32_t length, std::uint32_t& position) const
{
    auto const needed = static_cast<std::uint32_t>(padded(length));
    std::uint32_t const offset = m_position % kBytes;
    std::uint32_t const start = offset + needed > kBytes ? m_position + (kBytes - offset) : m_position;
    std::uint32_t const used = start + needed - control().released.load();
    if (used > kBytes) // also when the reader claims to be somewhere impossible: then nothing ever fits
    {
        return false;
    }
    position = start;
    return true;
}

void SharedRing::waitForRoom(std::uint32_t length, int milliseconds)
{
    // The reader looks at `waiting` after it has moved: either it sees this writer, or this writer sees the move.
    std::uint32_t position = 0;
    std::uint32_t const released = control().released.load();
    control().waiting.store(1);
    if (!reserve(length, position))
    {
        futexWait(control().released, released, milliseconds, true);
    }
    control().waiting.store(0);
}

void SharedRing::write(std::uint32_t position, void const* data, std::uint32_t length)
{
    std::memcpy(bytes() + position % kBytes, data, length);
}

void SharedRing::commit(std::uint32_t position, std::uint32_t length)
{
    m_position = position + static_cast<std::uint32_t>(padded(length));
}

unsigned char* SharedRing::block(std::uint32_t position, std::uint32_t length) const
{
    std::uint32_t const ahead = position - m_position;
    if (position % 8 != 0 || length > kBytes || ahead > kBytes || padded(length) > kBytes - ahead ||
        position % kBytes + padded(length) > kBytes)
    {
        return nullptr;
    }
    return bytes() + position % kBytes;
}

void SharedRing::release(std::uint32_t position, std::uint32_t length)
{
    m_position = position + static_cast<std::uint32_t>(padded(length));
    control().released.store(m_position);
    if (control().waiting.load() != 0)
    {
        futexWake(&control().released, true);
    }
}

int createBlock(platform::UniqueFd& fd, void const* data, std::size_t length)
{
    int result = createMemory(fd, length);
    if (result != 0)
    {
        return result;
    }
    {
        Mapping mapping;
        result = mapping.map(fd.get(), length, true);
        if (result != 0)
        {
            return result;
        }
        std::memcpy(mapping.data(), data, length);
    }
    return ::fcntl(fd.get(), F_ADD_SEALS, kSizeSeals | F_SEAL_WRITE | F_SEAL_SEAL) == 0 ? 0 : -errno;
}

int mapBlock(Mapping& mapping, int fd, std::size_t length)
{
    int const result = checkSeals(fd, length, kSizeSeals | F_SEAL_WRITE);
    return result != 0 ? result : mapping.map(fd, length, false);
}

} // namespace tz::orvane::mdt
