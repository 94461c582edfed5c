// SPDX-License-Identifier: Apache-2.0
// The floor: the same work on bare sockets, as simple and fast as it can be written.
#pragma once

#include "bench/child_process.h"
#include "bench/raw_peer.h"

#include <atomic>
#include <memory>

namespace tz::orvane::bench
{

/// Sockets to a child that serves them with blocking calls. Every thread has a pair of its own and shares nothing; the
/// operations are those of MessengerLink.
class RawLink
{
public:
    /// Forks the child.
    RawLink();
    RawLink(RawLink const&) = delete;
    RawLink& operator=(RawLink const&) = delete;
    ~RawLink();

    double query(int thread) const;
    double post(int thread) const;
    double events(int thread) const;
    double eventLatency(int thread) const;

    enum class Bulk
    {
        packets, ///< SOCK_SEQPACKET, in pieces of 64 KiB
        stream,  ///< SOCK_STREAM, the block in one call
    };

    double push(int thread, Block const& block, Bulk bulk) const;

    /// Pushes blocks in packets without a pause, on the socket that thread 0 queries on.
    void pushUntil(std::atomic<bool> const& stop, Block const& block) const;

private:
    void postBlock(int socket, Block const& block, Bulk bulk) const;

    RawSockets m_sockets;
    std::unique_ptr<ChildProcess> m_peer;
    std::unique_ptr<char[]> m_block;
};

} // namespace tz::orvane::bench
