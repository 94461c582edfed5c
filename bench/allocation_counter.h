// SPDX-License-Identifier: Apache-2.0
// Counts the heap allocations of a process. Defines malloc: to be included by one source of a program.
#pragma once

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace tz::orvane::bench
{

using AllocationCounter = std::atomic<std::uint64_t>;

namespace detail
{

/// Where this process counts; null until it is told to.
inline std::atomic<AllocationCounter*> s_allocations{nullptr};

inline void countAllocation()
{
    if (AllocationCounter* const counter = s_allocations.load(std::memory_order_relaxed))
    {
        counter->fetch_add(1, std::memory_order_relaxed);
    }
}

} // namespace detail

} // namespace tz::orvane::bench

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

// Declared here because g++ does not bring the header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(void const volatile*, std::size_t),
                                                         void (*onFree)(void const volatile*));

namespace tz::orvane::bench::detail
{

// A sanitizer brings an allocator of its own, which calls back.
inline int const s_hooks = __sanitizer_install_malloc_and_free_hooks(
    [](void const volatile*, std::size_t) { countAllocation(); }, [](void const volatile*) {});

} // namespace tz::orvane::bench::detail

#else

// In front of the C library's own, also for operator new and for the libraries of the program.
#pragma GCC visibility push(default)
extern "C"
{
    void* __libc_malloc(std::size_t bytes);
    void* __libc_calloc(std::size_t count, std::size_t bytes);
    void* __libc_realloc(void* memory, std::size_t bytes);
    void* __libc_memalign(std::size_t alignment, std::size_t bytes);

    void* malloc(std::size_t bytes) noexcept
    {
        tz::orvane::bench::detail::countAllocation();
        return __libc_malloc(bytes);
    }

    void* calloc(std::size_t count, std::size_t bytes) noexcept
    {
        tz::orvane::bench::detail::countAllocation();
        return __libc_calloc(count, bytes);
    }

    void* realloc(void* memory, std::size_t bytes) noexcept
    {
        tz::orvane::bench::detail::countAllocation();
        return __libc_realloc(memory, bytes);
    }

    void* memalign(std::size_t alignment, std::size_t bytes) noexcept
    {
        tz::orvane::bench::detail::countAllocation();
        return __libc_memalign(alignment, bytes);
    }

    void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept
    {
        return memalign(alignment, bytes);
    }

    int posix_memalign(void** memory, std::size_t alignment, std::size_t bytes) noexcept
    {
        *memory = memalign(alignment, bytes);
        return *memory != nullptr ? 0 : ENOMEM;
    }
}
#pragma GCC visibility pop

#endif

namespace tz::orvane::bench
{

/// From now on every allocation of this process, by any thread and through any function, is counted.
/// @param counter may be in memory that another process reads; null ends the counting
inline void countAllocations(AllocationCounter* counter)
{
    detail::s_allocations = counter;
}

} // namespace tz::orvane::bench
