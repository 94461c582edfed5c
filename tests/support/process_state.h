// SPDX-License-Identifier: Apache-2.0
// What a test must leave as it found it: open descriptors and running threads.
#pragma once

namespace tz::orvane::test
{

int openDescriptors();
int runningThreads();

/// Fails the test when, at the end of its life, more descriptors are open or more threads run than at its beginning.
/// Threads and descriptors that are on their way out get some seconds.
class ProcessState
{
public:
    ProcessState();
    ProcessState(ProcessState const&) = delete;
    ProcessState& operator=(ProcessState const&) = delete;
    ~ProcessState();

private:
    int m_descriptors;
    int m_threads;
};

} // namespace tz::orvane::test
