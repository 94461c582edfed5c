// SPDX-License-Identifier: Apache-2.0
// What is measured: the messenger between this process and a service in a child.
#pragma once

#include "bench/child_process.h"
#include "bench/workload.h"
#include "support/temp_dir.h"

#include <atomic>
#include <functional>
#include <memory>

namespace tz::orvane::bench
{

/// One connection that up to kThreads threads share. Every operation is one sample in microseconds; `thread` counts
/// from 0 and must not be in use twice at once.
class MessengerLink
{
public:
    /// Forks the service. @param prepare runs in the child first
    explicit MessengerLink(std::function<void()> const& prepare);
    MessengerLink(MessengerLink const&) = delete;
    MessengerLink& operator=(MessengerLink const&) = delete;
    ~MessengerLink();

    /// Starts the receive thread: no process may be forked after it. Ends the program when there is no service.
    void connect();

    /// A query without arguments whose reply is one number.
    double query(int thread) const;

    /// One of kBurst posts of one number, until the service has them.
    double post(int thread) const;

    /// One of kBurst events, from asking for them until the last one's callback.
    double events(int thread) const;

    /// From the service's post to the callback.
    double eventLatency(int thread) const;

    /// One of several blocks, until the service has them.
    double push(int thread, Block const& block) const;

    /// Pushes blocks without a pause.
    void pushUntil(std::atomic<bool> const& stop, Block const& block) const;

private:
    void postPlain(int thread) const;
    void postBlock(int thread, Block const& block) const;
    void awaitEvents(int thread, unsigned int count) const;

    test::SocketDir m_directory;
    std::unique_ptr<ChildProcess> m_service;
    std::unique_ptr<char[]> m_block;
    int m_cnid = 0;
};

} // namespace tz::orvane::bench
