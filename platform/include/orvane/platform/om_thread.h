// SPDX-License-Identifier: Apache-2.0
// Creation of the library's own threads.
#pragma once

#include "orvane/om_export.h"

#include <functional>
#include <pthread.h>

namespace tz::orvane::platform
{

/// A thread of the library: named, with all signals blocked so that they stay the application's business.
///
/// One owner at a time; destroying a thread that was neither joined nor detached joins it.
class Thread
{
public:
    Thread() = default;
    Thread(Thread const&) = delete;
    Thread& operator=(Thread const&) = delete;
    ~Thread();

    /// Runs `body` on a new thread.
    /// @param name at most 15 characters, as debuggers show it
    /// @return 0, or the negative errno value of the failed creation
    int start(char const* name, std::function<void()> body);

    /// Waits for the end. @return 0, or a negative errno value (nothing to join, or called on the thread itself)
    int join();

    /// Lets the thread run to its end by itself; nothing happens when there is none.
    void detach();

    /// @return whether there is a thread that was neither joined nor detached
    bool joinable() const { return m_joinable; }

private:
    pthread_t m_thread{};
    bool m_joinable = false;
};

} // namespace tz::orvane::platform
