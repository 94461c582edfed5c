// SPDX-License-Identifier: Apache-2.0
// DRM agents that come and go on several threads while the service sends their events.
#include "wire/lifetime_wire.h"

#include "support/log_capture.h"
#include "support/wait.h"

#include "orvane/om_idrm_agent.h"
#include "orvane/omc_drm_agent.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace tz::orvane::test
{

namespace
{

constexpr int kThreads = 4;
constexpr int kRounds = 500;

/// Sends events for the agent that each thread made last, existing or not any more.
class EventStorm
{
public:
    EventStorm(ScriptedService& service, int cnid)
        : m_thread(
              [this, &service, cnid]
              {
                  while (!m_ending)
                  {
                      for (unsigned int const id : m_targets)
                      {
                          service.postEvent(cnid, static_cast<int>(id), protocol::kMsgDrmEvent,
                                            [id](mdt::MsgData& message) { fill(message, id); });
                      }
                  }
              })
    {
    }
    EventStorm(EventStorm const&) = delete;
    EventStorm& operator=(EventStorm const&) = delete;
    ~EventStorm()
    {
        m_ending = true;
        m_thread.join();
    }

    void aimAt(int thread, unsigned int id) { m_targets[static_cast<std::size_t>(thread)] = id; }

private:
    static void fill(mdt::MsgData& message, unsigned int id)
    {
        for (unsigned int const value : {id, 1U, 2U, 3U})
        {
            message.writeUInt32(value);
        }
        message.writeSInt64(4);
        message.writeUInt32(5);
        message.writeData("pay\0load", 8);
    }

    std::atomic<bool> m_ending{false};
    std::array<std::atomic<unsigned int>, kThreads> m_targets{};
    std::thread m_thread;
};

/// Asks the service from inside, and touches its own memory: both must be there until it was removed.
class AskingListener final : public omc::OmcIDrmAgentListener
{
public:
    void onReceivedEvent(om::OmIDrmAgent* agent, unsigned int, unsigned int, unsigned int, unsigned long long,
                         unsigned int, std::string data) override
    {
        EXPECT_EQ(data, std::string("pay\0load", 8));
        m_payload = std::move(data);
        if (++calls == 1)
        {
            EXPECT_GE(agent->initialize(), 0);
        }
    }

    std::atomic<int> calls{0};

private:
    std::string m_payload;
};

TEST_F(Lifetime, agentsComeAndGoOnSeveralThreadsWhileTheirEventsArrive)
{
    LogCapture const quiet(platform::DebugLevel::off);
    omc::OmcClient& client = connect();
    EventStorm storm(service, kCnid);
    std::atomic<int> heard{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
    {
        threads.emplace_back(
            [&, thread]
            {
                for (int round = 0; round < kRounds; ++round)
                {
                    AskingListener listener;
                    auto agent = client.createDrmAgent(1);
                    ASSERT_NE(agent, nullptr);
                    unsigned int const id = agent->getAgentID();
                    agent->addListener(&listener);
                    storm.aimAt(thread, id);
                    if (round % 10 == thread)
                    {
                        EXPECT_TRUE(eventually([&] { return listener.calls > 0; }));
                    }
                    switch (round % 3)
                    {
                    case 0: // its last owner is the connection, or the dispatch that is under way
                        agent.reset();
                        client.destroyDrmAgent(id);
                        break;
                    case 1:
                        client.destroyDrmAgent(agent);
                        break;
                    default: // it lives on for the application, which hears nothing more of it
                        client.destroyDrmAgent(id);
                        EXPECT_GE(agent->cleanup(), 0);
                        break;
                    }
                    heard += listener.calls;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_GE(heard, kThreads * kRounds / 10);
    EXPECT_EQ(client.findDrmAgent(0x6000), nullptr);
}

} // namespace

} // namespace tz::orvane::test
