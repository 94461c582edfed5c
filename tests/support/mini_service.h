// SPDX-License-Identifier: Apache-2.0
// The bare service end of the messenger, on a thread or in a process of its own.
#pragma once

#include "orvane/platform/mdtc_messenger.h"
#include "orvane/platform/mdts_messenger.h"
#include "orvane/platform/om_event_loop.h"
#include "orvane/platform/om_thread.h"

#include <functional>
#include <mutex>
#include <sys/types.h>
#include <vector>

namespace tz::orvane::test
{

// Messages that mean nothing but what a test makes of them, and how long its posts wait.
inline constexpr int kQuery = 0x7001;
inline constexpr int kCommand = 0x7002;
inline constexpr int kEvent = 0x7003;
inline constexpr int kTimeout = 5000;

inline mdt::MdtcMessenger& messenger()
{
    return mdt::MdtcMessenger::GetInstance();
}

/// What runs on the service's thread when a message has come.
using OnMessage = std::function<void(mdt::MdtsMessenger&, platform::EventLoop&, mdt::MsgData&, mdt::MdtsCall const&)>;

/// Answers a query with a copy of its own arguments.
void echo(mdt::MdtsMessenger& messenger, platform::EventLoop& loop, mdt::MsgData& msg, mdt::MdtsCall const& call);

/// A service on a thread of this process, listening in the socket directory of the test.
class MiniService final : private mdt::MdtsHandler
{
public:
    explicit MiniService(OnMessage onMessage = &echo, mdt::MdtsLimits const& limits = {});
    MiniService(MiniService const&) = delete;
    MiniService& operator=(MiniService const&) = delete;
    ~MiniService();

    /// Runs something on the service's thread and waits for it.
    void run(std::function<void(mdt::MdtsMessenger&)> const& work);

    std::vector<mdt::MdtsPeer> connected() const;
    std::vector<int> disconnected() const;

private:
    int onConnect(mdt::MdtsPeer const& peer) override;
    void onDisconnect(int cnid) override;
    void onMessage(mdt::MsgData& msg, mdt::MdtsCall const& call) override;

    OnMessage m_onMessage;
    platform::EventLoop m_loop;
    mdt::MdtsMessenger m_messenger;
    platform::Thread m_thread;
    mutable std::mutex m_mutex;
    std::vector<mdt::MdtsPeer> m_connected;
    std::vector<int> m_disconnected;
};

/// A service in a child process. Make it before the test has threads.
class ForkedService
{
public:
    /// @param prepare runs in the child before it listens
    explicit ForkedService(OnMessage onMessage = &echo, std::function<void()> const& prepare = {});
    ForkedService(ForkedService const&) = delete;
    ForkedService& operator=(ForkedService const&) = delete;
    ~ForkedService();

    pid_t pid() const { return m_pid; }
    void signal(int number) const;

    /// kill -9, and waits until it is gone.
    void kill();

private:
    pid_t m_pid = -1;
};

/// A connection of the messenger that collects what the receive thread brings.
class TestConnection
{
public:
    using OnEvent = std::function<void(mdt::MsgData&)>;

    /// @param onEvent runs on the receive thread
    explicit TestConnection(OnEvent onEvent = {});
    TestConnection(TestConnection const&) = delete;
    TestConnection& operator=(TestConnection const&) = delete;
    ~TestConnection();

    /// What connect gave.
    int result() const { return m_result; }
    int cnid() const { return m_cnid; }

    /// Message ids that came, in order.
    std::vector<int> events() const;
    void waitForEvents(std::size_t count) const;
    void disconnect();

private:
    static int take(void* msg);

    OnEvent m_onEvent;
    int m_cnid = 0;
    int m_result = 0;
    mutable std::mutex m_mutex;
    std::vector<int> m_events;
};

} // namespace tz::orvane::test
