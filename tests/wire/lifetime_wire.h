// SPDX-License-Identifier: Apache-2.0
// What the tests of lifetimes share: threads that deliver messages, and listeners.
#pragma once

#include "wire/client_wire.h"

#include "orvane/om_property_group.h"
#include "orvane/omc_mediaplayer.h"
#include "orvane/platform/mdt_msg_data.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace tz::orvane::test
{

inline constexpr int kCnid = 0x1001;

/// Rounds of a race whose objects are cheap, and of one that goes through the service each time.
inline constexpr int kManyRounds = 3000;
inline constexpr int kWireRounds = 2000;

class Lifetime : public ClientWire
{
protected:
    Lifetime() { service.giveCnid(kCnid); }
};

inline void fillState(mdt::MsgData& message, int plid)
{
    message.writeUInt32(static_cast<unsigned int>(plid));
    message.writeUInt32(0);
    message.writeUInt32(4);
    message.writeUInt32(0);
    message.writeData(nullptr, 0);
}

inline void deliverState(int plid)
{
    mdt::MsgData message(kCnid, plid, protocol::kMsgPlayerStateChanged, 1);
    fillState(message, plid);
    omc::Global_CallbackToClient(&message);
}

inline void deliverDeath()
{
    mdt::MsgData message(kCnid, 0, protocol::kMsgConnectionDied, 1);
    omc::Global_CallbackToClient(&message);
}

inline void fillFrame(mdt::MsgData& message, int plid)
{
    message.writeUInt32(static_cast<unsigned int>(plid));
    message.writeUInt32(0);
    message.writeData("frame", 5);
    message.writeData(nullptr, 0);
}

inline void fillPreview(mdt::MsgData& message)
{
    message.writeUInt32(0x4000);
    message.writeUInt32(1);
    message.writeSInt32(0);
    message.writeString("/tmp/preview.jpg");
    message.writeData(nullptr, 0);
}

inline void deliverPreview()
{
    mdt::MsgData message(kCnid, 0x4000, protocol::kMsgPreviewInfo, 1);
    fillPreview(message);
    omc::Global_CallbackToClient(&message);
}

inline void fillDrm(mdt::MsgData& message)
{
    for (unsigned int const value : {0x6000u, 1u, 2u, 3u})
    {
        message.writeUInt32(value);
    }
    message.writeSInt64(4);
    message.writeUInt32(5);
    message.writeData("x", 1);
}

inline void deliverDrm()
{
    mdt::MsgData message(kCnid, 0x6000, protocol::kMsgDrmEvent, 1);
    fillDrm(message);
    omc::Global_CallbackToClient(&message);
}

/// A thread that plays the receive thread: it delivers without a pause.
class Receiver
{
public:
    explicit Receiver(std::function<void()> const& deliver)
        : m_thread(
              [this, deliver]
              {
                  while (!m_ending)
                  {
                      deliver();
                      ++m_rounds;
                  }
              })
    {
    }

    ~Receiver()
    {
        m_ending = true;
        m_thread.join();
    }

    void waitForRounds(long count) const
    {
        long const before = m_rounds;
        EXPECT_TRUE(eventually([&] { return m_rounds >= before + count; }));
    }

private:
    std::atomic<bool> m_ending{false};
    std::atomic<long> m_rounds{0};
    std::thread m_thread;
};

/// A player that tells when its memory goes.
class CountedPlayer : public omc::OmcMediaPlayer
{
public:
    CountedPlayer(unsigned int cnid, unsigned int plid, int& destroyed)
        : OmcMediaPlayer(cnid, plid)
        , m_destroyed(destroyed)
    {
    }
    ~CountedPlayer() override { ++m_destroyed; }

private:
    int& m_destroyed;
};

/// Calls a function for states and frames alike.
class FrameListener final : public omc::OmcIMediaPlayerListener
{
public:
    std::function<void(om::OmIMediaPlayer*)> onCall;
    std::atomic<int> calls{0};

    void onStateChanged(om::OmIMediaPlayer* player, unsigned int, om::om_state_e, int,
                        om::OmPropertyGroup const&) override
    {
        note(player);
    }

    void onFrameInfoUpdated(om::OmIMediaPlayer* player, unsigned int, void*, int, om::OmPropertyGroup const&) override
    {
        note(player);
    }

private:
    void note(om::OmIMediaPlayer* player)
    {
        ++calls;
        if (onCall)
        {
            onCall(player);
        }
    }
};

class ToolListener final : public omc::OmcIPreviewToolListener
{
public:
    std::function<void()> onCall;
    std::atomic<int> calls{0};

    void onPreviewInfoReply(om::OmIPreviewTool*, unsigned int, int, om::OmString const&,
                            om::OmPropertyGroup const&) override
    {
        ++calls;
        if (onCall)
        {
            onCall();
        }
    }
};

class AgentListener final : public omc::OmcIDrmAgentListener
{
public:
    std::function<void()> onCall;
    std::atomic<int> calls{0};

    void onReceivedEvent(om::OmIDrmAgent*, unsigned int, unsigned int, unsigned int, unsigned long long, unsigned int,
                         std::string) override
    {
        ++calls;
        if (onCall)
        {
            onCall();
        }
    }
};

/// Lets two threads do something at the same moment.
template <class First, class Second> void together(First first, Second second)
{
    std::atomic<int> ready{0};
    auto const meet = [&]
    {
        ++ready;
        while (ready < 2)
        {
            std::this_thread::yield();
        }
    };
    std::thread other(
        [&]
        {
            meet();
            second();
        });
    meet();
    first();
    other.join();
}

} // namespace tz::orvane::test
