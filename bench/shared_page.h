// SPDX-License-Identifier: Apache-2.0
// A value that this process and the children it forks see alike.
#pragma once

#include <cerrno>
#include <new>
#include <sys/mman.h>
#include <system_error>

namespace tz::orvane::bench
{

/// Holds a T in shared memory.
template <class T> class SharedPage
{
public:
    SharedPage()
    {
        void* const memory = ::mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
        {
            throw std::system_error(errno, std::generic_category(), "shared page");
        }
        m_value = new (memory) T{};
    }

    SharedPage(SharedPage const&) = delete;
    SharedPage& operator=(SharedPage const&) = delete;
    ~SharedPage() { ::munmap(m_value, sizeof(T)); }

    T* operator->() const { return m_value; }
    T& operator*() const { return *m_value; }

private:
    T* m_value;
};

} // namespace tz::orvane::bench
