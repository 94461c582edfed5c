// SPDX-License-Identifier: Apache-2.0
// Waiting for a word: as long as asked for, whatever the C library counts time in.

// On 32 bits with times of 64, as in a system that is to live beyond 2038; elsewhere it changes nothing.
#define _TIME_BITS 64
#define _FILE_OFFSET_BITS 64

#include "platform/src/futex.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace tz::orvane::test
{

namespace
{

using Clock = std::chrono::steady_clock;

} // namespace

TEST(Futex, aWaitIsNotCutShort)
{
    for (int const milliseconds : {30, 1100})
    {
        std::atomic<std::uint32_t> word{1};
        Clock::time_point const begin = Clock::now();
        mdt::futexWait(word, 1, milliseconds, false);
        EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(milliseconds));
    }
}

TEST(Futex, aWordThatHasChangedIsNotWaitedFor)
{
    std::atomic<std::uint32_t> word{2};
    mdt::futexWait(word, 1, 600'000, false);
}

TEST(Futex, aWakeEndsAWait)
{
    for (bool const shared : {false, true})
    {
        std::atomic<std::uint32_t> word{1};
        std::thread waker(
            [&]
            {
                word = 2;
                mdt::futexWake(&word, shared);
            });
        while (word == 1)
        {
            mdt::futexWait(word, 1, 600'000, shared);
        }
        waker.join();
    }
}

} // namespace tz::orvane::test
