// SPDX-License-Identifier: Apache-2.0
// Memory of a picture that is handed over.
#include "picture_memory.h"

#include "descriptor.h"

#include <sys/mman.h>

namespace tz::orvane::service
{

bool PictureMemory::resize(std::size_t size)
{
    if (size == m_size)
    {
        return true;
    }
    release();
    Descriptor const memory(::memfd_create("orvane-picture", MFD_CLOEXEC));
    if (!memory || ::ftruncate(memory.get(), static_cast<off_t>(size)) != 0)
    {
        return false;
    }
    void* const mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
    if (mapped == MAP_FAILED)
    {
        return false;
    }
    m_data = static_cast<unsigned char*>(mapped);
    m_size = size;
    return true;
}

void PictureMemory::release()
{
    if (m_data != nullptr)
    {
        ::munmap(m_data, m_size);
        m_data = nullptr;
        m_size = 0;
    }
}

} // namespace tz::orvane::service
