// SPDX-License-Identifier: Apache-2.0
// Units that have waited for a key pass in many turns of the loop: between two of them others get theirs.
#include "drm_agents.h"
#include "player.h"

#include "om_protocol.h"

#include "orvane/om_enums.h"

#include <gst/gst.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace tz::orvane::service
{
namespace
{

constexpr int kCnid = 0x1000;

/// A player of a stream of pictures, with an agent whose key is not there yet.
class DrmTurns : public testing::Test, private mdt::MdtsHandler
{
protected:
    DrmTurns()
        : m_messenger(m_loop, *this)
        , m_screen(m_loop, m_settings)
        , m_screenshots(m_loop, m_screen)
        , m_jobs(m_loop)
        , m_frames(m_loop)
        , m_agents(m_messenger, kCnid, [this] { m_player->keysChanged(); })
    {
        gst_init(nullptr, nullptr);
        makeAgent();
        PlayerHost const host{m_loop,   m_screen,   m_screenshots, m_yard, m_jobs, std::make_shared<JobShare>(),
                              m_frames, m_settings, &m_agents};
        m_player = std::make_unique<Player>(host, PlayerEvents(m_messenger, kCnid, protocol::kPlayerIds.first));
        open();
    }

    ~DrmTurns() override
    {
        m_player.reset();
        m_yard.whenEmpty([this] { m_loop.stop(); });
        m_loop.run();
    }

    void open()
    {
        om::om_es_format_t format{};
        format.codec = om::OM_VIDEO_CODEC_MPEG2;
        std::string reason;
        auto const medium = readStreams({reinterpret_cast<char const*>(&format), sizeof format}, {}, {}, reason);
        ASSERT_TRUE(medium) << reason;
        m_player->prepare(*medium);
    }

    void push(int count, std::size_t size, std::vector<om::om_drm_subsample_t> const& subsamples)
    {
        om::om_es_unit_t unit{};
        unit.stream_type = om::OM_STREAM_TYPE_VIDEO;
        DrmCryptoInfo info;
        info.agent = protocol::kDrmAgentIds.first;
        info.scheme = om::OM_DRM_SCHEME_CBCS;
        info.subsamples = subsamples;
        std::string const data(size, 'x');
        for (int done = 0; done < count; ++done)
        {
            m_player->push(unit, info, data.data(), data.size());
        }
    }

    void bringKey()
    {
        operate(protocol::kCmdDrmUpdateSession,
                std::string("\1\0\0\0", 4) +
                    R"({"keys":[{"kty":"oct","k":"AAAAAAAAAAAAAAAAAAAAAA","kid":"AAAAAAAAAAAAAAAAAAAAAA"}]})");
    }

    std::uint64_t passed()
    {
        om::om_drm_metrics_t metrics{};
        std::string const answer = operate(protocol::kCmdDrmGetMetrics);
        EXPECT_EQ(answer.size(), sizeof metrics);
        std::memcpy(&metrics, answer.data(), sizeof metrics);
        return metrics.decrypted_units;
    }

    /// Runs the loop for one turn.
    void turn()
    {
        m_loop.post([this] { m_loop.stop(); });
        m_loop.run();
    }

    /// @return how many turns it takes until all units have passed; in none of them more than `most`
    int turnsFor(std::uint64_t units, std::uint64_t most)
    {
        std::uint64_t before = passed();
        EXPECT_LE(before, most);
        int turns = 0;
        while (before < units && turns < kMostTurns)
        {
            turn();
            ++turns;
            std::uint64_t const now = passed();
            EXPECT_LE(now - before, most);
            before = now;
        }
        EXPECT_EQ(before, units);
        return turns;
    }

    std::unique_ptr<Player> m_player;

private:
    static constexpr int kMostTurns = 10'000;

    void makeAgent()
    {
        mdt::MsgData create(kCnid, 0, protocol::kCmdCreateDrmAgent, protocol::kTypeQuery);
        create.writeUInt32(om::OM_DRM_TYPE_CLEARKEY);
        Request request(m_messenger, create, mdt::MdtsCall());
        m_agents.create(request);
        operate(protocol::kCmdDrmPluginCreate);
        operate(protocol::kCmdDrmInitialize);
        operate(protocol::kCmdDrmOpenSession);
    }

    std::string operate(int code, std::string const& in = {})
    {
        std::string out;
        EXPECT_EQ(m_agents.find(protocol::kDrmAgentIds.first)->operate(code, in, out), 0);
        return out;
    }

    int onConnect(mdt::MdtsPeer const&) override { return 0; }
    void onDisconnect(int) override {}
    void onMessage(mdt::MsgData&, mdt::MdtsCall const&) override {}

    platform::EventLoop m_loop;
    Settings m_settings;
    mdt::MdtsMessenger m_messenger;
    Screen m_screen;
    Screenshots m_screenshots;
    DeckYard m_yard;
    JobYard m_jobs;
    FrameCourier m_frames;
    DrmAgents m_agents;
};

TEST_F(DrmTurns, areBoundedByBytes)
{
    push(20, 1u << 20, {});
    EXPECT_EQ(passed(), 0u);
    bringKey();
    EXPECT_GE(turnsFor(20, 1), 19);
}

TEST_F(DrmTurns, areBoundedBySubsamplesHoweverSmallTheyAre)
{
    std::vector<om::om_drm_subsample_t> subsamples(8'000);
    subsamples[0] = {1, 0};
    push(100, 1, subsamples);
    bringKey();
    EXPECT_GE(turnsFor(100, 2), 49);
}

TEST_F(DrmTurns, areBoundedForUnitsThatComeMeanwhile)
{
    push(5, 1u << 20, {});
    bringKey();
    push(5, 1u << 20, {});
    EXPECT_LE(passed(), 1u);
    EXPECT_GE(turnsFor(10, 1), 9);
}

TEST_F(DrmTurns, endWithTheMedium)
{
    push(5, 1u << 20, {});
    bringKey();
    std::uint64_t const before = passed();
    EXPECT_LE(before, 1u);
    m_player->stop();
    open();
    turn();
    EXPECT_EQ(passed(), before);
    push(1, 4, {});
    turn();
    EXPECT_EQ(passed(), before + 1);
}

TEST_F(DrmTurns, endWithThePlayer)
{
    push(5, 1u << 20, {});
    bringKey();
    std::uint64_t const before = passed();
    m_player.reset();
    turn();
    EXPECT_EQ(passed(), before);
}

} // namespace
} // namespace tz::orvane::service
