// SPDX-License-Identifier: Apache-2.0
// The player's everyday operations leave the heap alone.
#include "bench/allocation_counter.h"
#include "orvane/omc_mediaplayer.h"
#include "support/mini_service.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace tz::orvane::test
{

namespace
{

constexpr int kGreet = 0x7777;

void answer(mdt::MdtsMessenger& messenger, platform::EventLoop&, mdt::MsgData& msg, mdt::MdtsCall const& call)
{
    if (msg.readMsg() == kGreet)
    {
        messenger.postEvent(mdt::MsgData(call.cnid(), 0, kGreet, 1));
    }
    if (!call.wantsReply())
    {
        return;
    }
    static char const record[18916] = {};
    mdt::MsgData reply;
    if (msg.readMsg() >= 0xA216 && msg.readMsg() <= 0xA21B)
    {
        reply.writeData(record, sizeof record);
    }
    else
    {
        reply.writeUInt32(1);
        reply.writeUInt32(1);
    }
    messenger.reply(call, 0, reply);
}

class PlayerAllocations : public ::testing::Test
{
protected:
    // What the receive thread sets up for itself must be there before anything is counted.
    PlayerAllocations()
    {
        EXPECT_GT(mdt::MdtcMessenger::GetInstance().postMsg(mdt::MsgData(m_connection.cnid(), 0, kGreet, 1), 5000), 0);
        m_connection.waitForEvents(1);
    }

    ~PlayerAllocations() override { bench::countAllocations(nullptr); }

    template <class Work> void expectNone(Work work)
    {
        work(); // what is set up once counts for nobody
        bench::countAllocations(&m_allocations);
        for (int i = 0; i < 100; ++i)
        {
            work();
        }
        bench::countAllocations(nullptr);
        EXPECT_EQ(m_allocations, 0u);
    }

    SocketDir m_dir;
    ForkedService m_service{&answer};
    TestConnection m_connection;
    omc::OmcMediaPlayer m_player{static_cast<unsigned int>(m_connection.cnid()), 0x2001};
    bench::AllocationCounter m_allocations{0};
};

TEST_F(PlayerAllocations, areCounted)
{
    bench::countAllocations(&m_allocations);
    auto const text = std::make_unique<std::string>(100, 'x');
    bench::countAllocations(nullptr);
    EXPECT_GE(m_allocations, 2u) << *text;
}

TEST_F(PlayerAllocations, aQueryMakesNone)
{
    expectNone(
        [this]
        {
            om::om_state_e state{};
            om::om_zoom_mode_e mode{};
            om::om_zoom_ratio_e ratio{};
            EXPECT_EQ(m_player.isSeekable(), 1);
            EXPECT_EQ(m_player.isAudioMute(), 1);
            EXPECT_EQ(m_player.getState(state), 0);
            EXPECT_GT(m_player.getZoom(mode, ratio), 0);
        });
}

TEST_F(PlayerAllocations, aQueryOfALargeRecordMakesNone)
{
    om::om_media_info_t media{};
    om::om_container_info_t container{};
    om::om_stream_info_group_t tracks{};
    expectNone(
        [&]
        {
            EXPECT_EQ(m_player.getMediaInfo(media), 0);
            EXPECT_EQ(m_player.getContainerInfo(container), 0);
            EXPECT_EQ(m_player.getAudioTrackInfo(tracks), 0);
        });
}

TEST_F(PlayerAllocations, aOneWayCommandMakesNone)
{
    expectNone(
        [this]
        {
            EXPECT_GT(m_player.seek(1, 2), 0);
            EXPECT_GT(m_player.setDisplayRect({1, 2, 3, 4, 5}), 0);
            EXPECT_GT(m_player.setSubtitleStyle({}), 0);
            EXPECT_GT(m_player.pause(), 0);
            EXPECT_EQ(m_player.pushData("data", 4), 0);
            EXPECT_EQ(m_player.isSpeedable(), 1); // lets the service catch up
        });
}

} // namespace

} // namespace tz::orvane::test
