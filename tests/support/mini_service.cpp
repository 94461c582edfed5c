// SPDX-License-Identifier: Apache-2.0
// The bare service end of the messenger, on a thread or in a process of its own.
#include "support/mini_service.h"

#include "support/wait.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tz::orvane::test
{

namespace
{

constexpr char kServiceName[] = "Orvane.MediaPlayer.Server";

// The messenger's callback is a plain function: connections are found by their id, as the library does it.
std::mutex s_mutex;
std::map<int, TestConnection*> s_connections;

class PlainHandler final : public mdt::MdtsHandler
{
public:
    explicit PlainHandler(OnMessage& onMessage)
        : m_onMessage(onMessage)
        , m_messenger(m_loop, *this)
    {
    }

    int onConnect(mdt::MdtsPeer const&) override { return 0; }
    void onDisconnect(int) override {}
    void onMessage(mdt::MsgData& msg, mdt::MdtsCall const& call) override
    {
        m_onMessage(m_messenger, m_loop, msg, call);
    }

    [[noreturn]] void runFor(int readyPipe)
    {
        int const result = m_messenger.listen(kServiceName);
        if (::write(readyPipe, &result, sizeof result) != sizeof result || result != 0)
        {
            ::_exit(1);
        }
        ::close(readyPipe);
        m_loop.run();
        ::_exit(0);
    }

private:
    OnMessage& m_onMessage;
    platform::EventLoop m_loop;
    mdt::MdtsMessenger m_messenger;
};

} // namespace

void echo(mdt::MdtsMessenger& messenger, platform::EventLoop&, mdt::MsgData& msg, mdt::MdtsCall const& call)
{
    if (!call.wantsReply())
    {
        return;
    }
    mdt::MsgData reply;
    for (int i = 0; i < msg.argCount(); ++i)
    {
        void* data = nullptr;
        int size = 0;
        msg.read(i, &data, &size);
        switch (msg.argType(i))
        {
        case mdt::MsgArgType::uint32:
            reply.writeUInt32(*static_cast<unsigned*>(data));
            break;
        case mdt::MsgArgType::sint32:
            reply.writeSInt32(*static_cast<int*>(data));
            break;
        case mdt::MsgArgType::sint64:
            reply.writeSInt64(*static_cast<long long*>(data));
            break;
        case mdt::MsgArgType::string:
            reply.writeString(static_cast<char*>(data));
            break;
        case mdt::MsgArgType::data:
            reply.writeData(static_cast<char*>(data), static_cast<unsigned short>(size));
            break;
        default:
            reply.writeBlockData(static_cast<char*>(data), size);
            break;
        }
    }
    messenger.reply(call, 0, reply);
}

MiniService::MiniService(OnMessage onMessage, mdt::MdtsLimits const& limits)
    : m_onMessage(std::move(onMessage))
    , m_messenger(m_loop, *this, limits)
{
    EXPECT_EQ(m_messenger.listen(kServiceName), 0);
    m_thread.start("mini-service", [this] { m_loop.run(); });
}

MiniService::~MiniService()
{
    m_loop.stop();
    m_thread.join();
}

void MiniService::run(std::function<void(mdt::MdtsMessenger&)> const& work)
{
    std::promise<void> done;
    m_loop.post(
        [&]
        {
            work(m_messenger);
            done.set_value();
        });
    done.get_future().wait();
}

std::vector<mdt::MdtsPeer> MiniService::connected() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_connected;
}

std::vector<int> MiniService::disconnected() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_disconnected;
}

int MiniService::onConnect(mdt::MdtsPeer const& peer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_connected.push_back(peer);
    return 0;
}

void MiniService::onDisconnect(int cnid)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_disconnected.push_back(cnid);
}

void MiniService::onMessage(mdt::MsgData& msg, mdt::MdtsCall const& call)
{
    m_onMessage(m_messenger, m_loop, msg, call);
}

ForkedService::ForkedService(OnMessage onMessage, std::function<void()> const& prepare)
{
    int ready[2];
    if (::pipe(ready) != 0)
    {
        ADD_FAILURE() << "pipe";
        return;
    }
    pid_t const parent = ::getpid();
    m_pid = ::fork();
    if (m_pid == 0)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
        {
            ::_exit(1);
        }
        ::close(ready[0]);
        if (prepare)
        {
            prepare();
        }
        PlainHandler handler(onMessage);
        handler.runFor(ready[1]);
    }
    ::close(ready[1]);
    int result = -EPIPE;
    EXPECT_EQ(::read(ready[0], &result, sizeof result), static_cast<ssize_t>(sizeof result));
    EXPECT_EQ(result, 0);
    ::close(ready[0]);
}

ForkedService::~ForkedService()
{
    kill();
}

void ForkedService::signal(int number) const
{
    ::kill(m_pid, number);
}

void ForkedService::kill()
{
    if (m_pid > 0)
    {
        signal(SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
}

TestConnection::TestConnection(OnEvent onEvent)
    : m_onEvent(std::move(onEvent))
{
    mdt::_MdtInitParCfg_t cfg{};
    cfg.send_capacity = 0x10000;
    cfg.receive_capacity = 0x10000;
    cfg.event_capacity = 0x10000;
    cfg.callback = &TestConnection::take;
    cfg.name = "test";
    mdt::MdtcMessenger::GetInstance().init(kServiceName, mdt::MDT_TYPE_DEFAULT);
    std::lock_guard<std::mutex> lock(s_mutex);
    m_result = mdt::MdtcMessenger::GetInstance().connect(cfg, m_cnid);
    if (m_result >= 0)
    {
        s_connections[m_cnid] = this;
    }
}

TestConnection::~TestConnection()
{
    disconnect();
}

void TestConnection::disconnect()
{
    if (m_result >= 0)
    {
        mdt::MdtcMessenger::GetInstance().disConnect(m_cnid);
        std::lock_guard<std::mutex> lock(s_mutex);
        s_connections.erase(m_cnid);
        m_result = -ENOTCONN;
    }
}

std::vector<int> TestConnection::events() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

void TestConnection::waitForEvents(std::size_t count) const
{
    EXPECT_TRUE(eventually([&] { return events().size() >= count; })) << events().size() << " of " << count;
}

int TestConnection::take(void* msg)
{
    auto& event = *static_cast<mdt::MsgData*>(msg);
    OnEvent onEvent;
    TestConnection* self = nullptr;
    {
        std::lock_guard<std::mutex> lock(s_mutex);
        auto const found = s_connections.find(event.readPid());
        if (found == s_connections.end())
        {
            return -1;
        }
        self = found->second;
        onEvent = self->m_onEvent;
    }
    if (onEvent)
    {
        onEvent(event);
    }
    std::lock_guard<std::mutex> lock(s_mutex);
    if (s_connections.count(event.readPid()) != 0)
    {
        std::lock_guard<std::mutex> own(self->m_mutex);
        self->m_events.push_back(event.readMsg());
    }
    return 0;
}

} // namespace tz::orvane::test
