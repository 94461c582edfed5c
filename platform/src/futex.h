// SPDX-License-Identifier: Apache-2.0
// Waiting for a word in memory to change.
#pragma once

#include <atomic>
#include <cstdint>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tz::orvane::mdt
{

/// Returns when the word differs from `expected`, was woken, after `milliseconds`, or for no reason at all.
inline void futexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected, int milliseconds, bool shared)
{
    // The time as this call takes it: that of the C library may count seconds in 64 bits on a machine of 32.
    struct
    {
        long seconds;
        long nanoseconds;
    } const timeout{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    ::syscall(SYS_futex, &word, shared ? FUTEX_WAIT : FUTEX_WAIT_PRIVATE, expected, &timeout, nullptr, 0);
}

inline void futexWake(std::atomic<std::uint32_t>* word, bool shared)
{
    ::syscall(SYS_futex, word, shared ? FUTEX_WAKE : FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

} // namespace tz::orvane::mdt
