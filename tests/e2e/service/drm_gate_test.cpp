// SPDX-License-Identifier: Apache-2.0
// Protected units on their way to the decoder: wrong keys are noticed, whatever turns they take with others.
#include "drm_agents.h"
#include "drm_decrypt.h"
#include "drm_gate.h"
#include "feed.h"

#include "om_protocol.h"

#include "orvane/om_enums.h"

#include <gst/gst.h>
#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <utility>

namespace tz::orvane::service
{
namespace
{

constexpr int kCnid = 0x1000;

/// A gate of an AAC stream, with agents of which nobody hears.
class DrmGates : public testing::Test, private mdt::MdtsHandler
{
protected:
    DrmGates()
        : m_messenger(m_loop, *this)
        , m_agents(m_messenger, kCnid, [] {})
        , m_gate(DrmSense(false, om::OM_AUDIO_CODEC_AAC_LC, ""))
    {
        gst_init(nullptr, nullptr);
    }

    /// @return its id
    std::uint32_t makeAgent()
    {
        mdt::MsgData create(kCnid, 0, protocol::kCmdCreateDrmAgent, protocol::kTypeQuery);
        create.writeUInt32(om::OM_DRM_TYPE_CLEARKEY);
        Request request(m_messenger, create, mdt::MdtsCall());
        m_agents.create(request);
        std::uint32_t const id = protocol::kDrmAgentIds.first + m_count++;
        operate(id, protocol::kCmdDrmPluginCreate);
        operate(id, protocol::kCmdDrmInitialize);
        operate(id, protocol::kCmdDrmOpenSession);
        return id;
    }

    /// Gives the first session of an agent a key whose bytes are all the same.
    void update(std::uint32_t agent, char id, char key)
    {
        DrmKeyId idBytes{};
        DrmKeyId keyBytes{};
        idBytes.fill(static_cast<std::uint8_t>(id));
        keyBytes.fill(static_cast<std::uint8_t>(key));
        operate(agent, protocol::kCmdDrmUpdateSession,
                std::string("\1\0\0\0", 4) + R"({"keys":[{"kty":"oct","k":")" + toBase64Url(keyBytes) + R"(","kid":")" +
                    toBase64Url(idBytes) + R"("}]})");
    }

    /// Encrypts what every frame of the stream begins with, and pushes it. What another key gives is noise.
    DrmGate::Front pass(std::uint32_t agent, char id, char key)
    {
        DrmKey bytes;
        bytes.bytes().fill(static_cast<std::uint8_t>(key));
        DrmCryptoInfo info;
        info.agent = agent;
        info.keyId.fill(static_cast<std::uint8_t>(id));
        std::memcpy(info.iv.data(), &++m_vector, sizeof m_vector);
        std::string frame("\xff\xf1 a frame of sound");
        EXPECT_EQ(decrypt(info, bytes, reinterpret_cast<std::uint8_t*>(frame.data()), frame.size()), 0);
        BufferPtr buffer(gst_buffer_new_memdup(frame.data(), frame.size()));
        EXPECT_TRUE(m_gate.push({std::move(buffer), info, false}, 0));
        DrmGate::Front const front = m_gate.look(m_agents);
        m_gate.take();
        return front;
    }

    /// @return whether it is noticed soon that one of two keys that take turns is wrong
    template <class First, class Second> bool isNoticed(First first, Second second)
    {
        constexpr int kTurns = 16;
        for (int turn = 0; turn < kTurns; ++turn)
        {
            if (first() == DrmGate::Front::noSense || second() == DrmGate::Front::noSense)
            {
                return true;
            }
        }
        return false;
    }

    platform::EventLoop m_loop;
    mdt::MdtsMessenger m_messenger;
    DrmAgents m_agents;
    DrmGate m_gate;

private:
    void operate(std::uint32_t id, int code, std::string const& in = {})
    {
        std::string out;
        EXPECT_EQ(m_agents.find(id)->operate(code, in, out), 0);
    }

    int onConnect(mdt::MdtsPeer const&) override { return 0; }
    void onDisconnect(int) override {}
    void onMessage(mdt::MsgData&, mdt::MdtsCall const&) override {}

    unsigned int m_count = 0;
    std::uint64_t m_vector = 0;
};

TEST_F(DrmGates, noticeWrongKeysThatTakeTurns)
{
    std::uint32_t const agent = makeAgent();
    update(agent, 'a', 'x');
    update(agent, 'b', 'x');
    EXPECT_TRUE(isNoticed([&] { return pass(agent, 'a', 'r'); }, [&] { return pass(agent, 'b', 'r'); }));
}

TEST_F(DrmGates, noticeTheWrongOneOfTwoKeys)
{
    std::uint32_t const agent = makeAgent();
    update(agent, 'a', 'r');
    update(agent, 'b', 'x');
    EXPECT_TRUE(isNoticed([&] { return pass(agent, 'a', 'r'); }, [&] { return pass(agent, 'b', 'r'); }));
}

TEST_F(DrmGates, noticeTheWrongOneOfTwoAgents)
{
    std::uint32_t const right = makeAgent();
    std::uint32_t const wrong = makeAgent();
    update(right, 'a', 'r');
    update(wrong, 'a', 'x');
    EXPECT_TRUE(isNoticed([&] { return pass(right, 'a', 'r'); }, [&] { return pass(wrong, 'a', 'r'); }));
}

TEST_F(DrmGates, noticeAWrongKeyThatComesAgainAndAgain)
{
    std::uint32_t const agent = makeAgent();
    auto const again = [&]
    {
        update(agent, 'a', 'x');
        return pass(agent, 'a', 'r');
    };
    EXPECT_TRUE(isNoticed(again, again));
}

TEST_F(DrmGates, lookAtAKeyAnewWhenItsBytesAreOthers)
{
    std::uint32_t const agent = makeAgent();
    char wrong = 'A';
    auto const other = [&]
    {
        update(agent, 'a', ++wrong);
        return pass(agent, 'a', 'r');
    };
    EXPECT_FALSE(isNoticed(other, other)) << "no single unit tells";
    update(agent, 'a', 'r');
    auto const right = [&] { return pass(agent, 'a', 'r'); };
    EXPECT_FALSE(isNoticed(right, right));
}

TEST_F(DrmGates, letNothingInThatTheFeedWillNotTake)
{
    constexpr std::size_t kSize = 4u << 20;
    std::string const data = "\xff\xf1" + std::string(kSize - 2, 'x');
    auto const unit = [&](bool isProtected)
    {
        DrmCryptoInfo info;
        info.agent = protocol::kDrmAgentIds.first;
        info.keyId.fill('a');
        info.subsamples = {{kSize, 0}};
        return DrmGate::Unit{BufferPtr(gst_buffer_new_memdup(data.data(), kSize)),
                             isProtected ? std::optional(info) : std::nullopt, false};
    };
    Feed feed(m_loop, Feed::Format::time, -1, [](FeedNews const&) {});
    auto const pass = [&]
    {
        int passed = 0;
        while (m_gate.look(m_agents) == DrmGate::Front::ready)
        {
            DrmGate::Unit taken = m_gate.take();
            EXPECT_EQ(feed.push(kSize, [&] { return std::move(taken.buffer); }), Feed::Taken::yes);
            ++passed;
        }
        return passed;
    };
    std::uint32_t const agent = makeAgent();
    for (int clear = 0; clear < 6; ++clear)
    {
        EXPECT_TRUE(m_gate.push(unit(false), feed.queued()));
    }
    EXPECT_EQ(pass(), 6);
    int waiting = 0;
    while (m_gate.push(unit(true), feed.queued()))
    {
        ++waiting;
    }
    EXPECT_EQ(waiting, 9) << "as much as the feed has room for";
    EXPECT_EQ(pass(), 0);
    update(agent, 'a', 'r');
    EXPECT_EQ(pass(), waiting);
}

} // namespace
} // namespace tz::orvane::service
