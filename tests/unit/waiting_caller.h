// SPDX-License-Identifier: Apache-2.0
// An operation on a thread of its own, and whether that thread sleeps in it.
#pragma once

#include "support/wait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

namespace tz::orvane::test
{

/// @param folder the thread's folder below /proc/self/task
inline bool sleeps(std::string const& folder)
{
    std::ifstream status(folder + "/stat");
    std::string fields;
    std::getline(status, fields);
    return fields.find(") S ") != std::string::npos;
}

/// Calls an operation that is expected to wait for something.
class WaitingCaller
{
public:
    explicit WaitingCaller(std::function<void()> operation)
        : m_thread(
              [this, call = std::move(operation)]
              {
                  m_id = gettid();
                  call();
                  m_over = true;
              })
    {
    }

    WaitingCaller(WaitingCaller const&) = delete;
    WaitingCaller& operator=(WaitingCaller const&) = delete;

    ~WaitingCaller() { join(); }

    /// Returns when the thread sleeps inside the operation; fails when the operation has come back instead.
    void expectWaits() const
    {
        EXPECT_TRUE(eventually(
            [this] { return m_over || (m_id != 0 && sleeps("/proc/self/task/" + std::to_string(m_id.load()))); }));
        EXPECT_FALSE(m_over);
    }

    void join()
    {
        if (m_thread.joinable())
        {
            m_thread.join();
        }
    }

private:
    std::atomic<pid_t> m_id{0};
    std::atomic<bool> m_over{false};
    std::thread m_thread; ///< last: it uses the others
};

} // namespace tz::orvane::test
