// SPDX-License-Identifier: Apache-2.0
// What a test must leave as it found it: open descriptors and running threads.
#include "support/process_state.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

namespace tz::orvane::test
{

namespace
{

int entriesOf(char const* directory)
{
    int count = 0;
    std::error_code error;
    for ([[maybe_unused]] auto const& entry : std::filesystem::directory_iterator(directory, error))
    {
        ++count;
    }
    return count;
}

} // namespace

int openDescriptors()
{
    return entriesOf("/proc/self/fd");
}

int runningThreads()
{
    return entriesOf("/proc/self/task");
}

ProcessState::ProcessState()
{
    // The first thread of a process makes the thread sanitizer start one of its own.
    std::thread([] {}).join();
    m_descriptors = openDescriptors();
    m_threads = runningThreads();
}

ProcessState::~ProcessState()
{
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while ((openDescriptors() > m_descriptors || runningThreads() > m_threads) &&
           std::chrono::steady_clock::now() < deadline)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_LE(openDescriptors(), m_descriptors) << "descriptors were left open";
    EXPECT_LE(runningThreads(), m_threads) << "threads were left running";
}

} // namespace tz::orvane::test
