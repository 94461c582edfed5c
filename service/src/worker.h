// SPDX-License-Identifier: Apache-2.0
// A thread for calls that may block, which can be given up.
#pragma once

#include "orvane/platform/om_thread.h"

#include <functional>
#include <memory>

namespace tz::orvane::service
{

/// Does work in order on a thread of its own. Its owner stays on one thread.
///
/// The destructor waits for the work at hand; an owner that finds it blocked for good abandons it first. An abandoned
/// thread keeps what its work holds, so that work must own whatever it touches.
class Worker
{
public:
    Worker();
    Worker(Worker const&) = delete;
    Worker& operator=(Worker const&) = delete;
    ~Worker();

    /// @param name at most 15 characters @return 0, or the negative errno value of the failed creation
    int start(char const* name);

    /// Work that is given after abandon is dropped.
    void run(std::function<void()> work);

    /// Lets the thread go: should it ever come back, it does the work that waits and ends.
    void abandon();

private:
    struct Queue;

    std::shared_ptr<Queue> m_queue;
    platform::Thread m_thread;
};

} // namespace tz::orvane::service
