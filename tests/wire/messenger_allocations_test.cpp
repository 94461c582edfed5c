// SPDX-License-Identifier: Apache-2.0
// Messages of everyday size touch the heap of neither end.
#include "bench/allocation_counter.h"
#include "bench/shared_page.h"
#include "om_protocol.h"
#include "support/mini_service.h"
#include "support/process_state.h"
#include "support/temp_dir.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>

using namespace tz::orvane;

namespace
{

constexpr int kRounds = 1000;
constexpr int kPlayer = 0x2001;

struct Counters
{
    bench::AllocationCounter client;
    bench::AllocationCounter service;
};

void answerWithNumber(mdt::MdtsMessenger& messenger, platform::EventLoop&, mdt::MsgData& msg, mdt::MdtsCall const& call)
{
    if (msg.readMsg() == protocol::kCmdInitMediaPlayer)
    {
        messenger.postEvent(mdt::MsgData(call.cnid(), kPlayer, protocol::kMsgPlayerReply, protocol::kTypeCommand));
    }
    if (call.wantsReply())
    {
        mdt::MsgData reply;
        reply.writeUInt32(1);
        messenger.reply(call, 0, reply);
    }
}

/// The service end in a process of its own, this one connected to it.
class MessengerAllocations : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(m_connection.result(), 0);
        // An event shows that the receive thread has what it needs.
        mdt::MsgData const msg(m_connection.cnid(), kPlayer, protocol::kCmdInitMediaPlayer, protocol::kTypeCommand);
        ASSERT_GT(mdt::MdtcMessenger::GetInstance().postMsg(msg, protocol::kPostTimeout), 0);
        m_connection.waitForEvents(1);
        bench::countAllocations(&m_counters->client);
    }

    void TearDown() override { bench::countAllocations(nullptr); }

    bool query() const
    {
        mdt::MsgData const msg(m_connection.cnid(), kPlayer, protocol::kCmdIsSeekable, protocol::kTypeQuery);
        mdt::MsgData reply;
        unsigned int value = 0;
        return mdt::MdtcMessenger::GetInstance().postMsg(msg, reply, protocol::kPostTimeout) > 0 &&
               reply.readUInt32(value) == 0 && value == 1;
    }

    bool post() const
    {
        mdt::MsgData msg(m_connection.cnid(), kPlayer, protocol::kCmdSeek, protocol::kTypeCommand);
        msg.writeSInt64(1'000'000);
        return mdt::MdtcMessenger::GetInstance().postMsg(msg, protocol::kPostTimeout) > 0;
    }

    /// Does `work` often, after a warm-up, and expects that neither process allocates meanwhile.
    template <class Work> void expectNoAllocation(Work work)
    {
        // A reply comes after all posts before its query: the service has dealt with them.
        bool sound = work() && query();
        std::uint64_t const client = m_counters->client;
        std::uint64_t const service = m_counters->service;
        for (int i = 0; i < kRounds; ++i)
        {
            sound = work() && sound;
        }
        sound = query() && sound;
        std::uint64_t const clientAfter = m_counters->client;
        std::uint64_t const serviceAfter = m_counters->service;
        EXPECT_TRUE(sound);
        EXPECT_EQ(clientAfter - client, 0u);
        EXPECT_EQ(serviceAfter - service, 0u);
    }

    test::ProcessState m_state;
    bench::SharedPage<Counters> m_counters;
    test::SocketDir m_directory;
    test::ForkedService m_service{&answerWithNumber, [this] { bench::countAllocations(&m_counters->service); }};
    test::TestConnection m_connection;
};

} // namespace

TEST_F(MessengerAllocations, areCountedInBothProcesses)
{
    std::uint64_t const before = m_counters->client;
    auto const text = std::make_unique<std::string>(100, 'x');
    EXPECT_GE(m_counters->client - before, 2u) << *text;
    EXPECT_GT(m_counters->service, 0u) << "the service allocated while it started";
}

TEST_F(MessengerAllocations, aQueryMakesNone)
{
    expectNoAllocation([this] { return query(); });
}

TEST_F(MessengerAllocations, aOneWayCommandMakesNone)
{
    expectNoAllocation([this] { return post(); });
}
