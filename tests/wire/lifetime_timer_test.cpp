// SPDX-License-Identifier: Apache-2.0
// Timer callbacks that destroy players while events arrive, and listeners that arm timers. Made for the sanitizers.
#include "wire/lifetime_wire.h"

#include "orvane/om_timer.h"

using namespace tz::orvane;
using namespace tz::orvane::test;

namespace
{

constexpr unsigned int kTask = om::OmTimer::kFirstTaskId;
constexpr int kDoomed = 0x2000;
constexpr int kOther = 0x2001;

class CallingListener final : public om::OmITimerListener
{
public:
    void onTimeout(unsigned int) override { onCall(); }

    std::function<void()> onCall = [] {}; ///< set it while nothing is armed
};

/// OmTimer uses a thread whose ticks take no time.
class LifetimeTimer : public Lifetime
{
protected:
    LifetimeTimer()
        : m_former(om::OmTimerThread::exchangeInstance(&m_thread))
    {
    }

    ~LifetimeTimer() override { om::OmTimerThread::exchangeInstance(m_former); }

private:
    om::OmTimerThread m_thread{[](int)
                               {
                                   std::this_thread::yield();
                                   return 0;
                               }};
    om::OmTimerThread* m_former;
};

} // namespace

TEST_F(LifetimeTimer, aCallbackDestroysAPlayerWhileTheListenerOfAnotherArmsTimers)
{
    omc::OmcClient& client = connect();
    std::atomic<unsigned int> plid{kOther};
    service.answer(protocol::kCmdCreatePlayer, [&plid](mdt::MsgData& reply) { reply.writeUInt32(plid); });

    CallingListener nothing;
    om::OmTimer armedByEvents(&nothing);
    PlayerListener arming;
    arming.onCall = [&](om::OmIMediaPlayer*)
    {
        EXPECT_EQ(armedByEvents.setTime(kTask, 1'000'000, 1), 0);
        EXPECT_EQ(armedByEvents.cancel(kTask), 0);
    };
    client.createPlayer(nullptr)->addListener(&arming);
    plid = kDoomed;

    CallingListener destroying;
    om::OmTimer destroyer(&destroying);
    Receiver const receiver(
        []
        {
            deliverState(kDoomed);
            deliverState(kOther);
        });
    for (int i = 0; i < kWireRounds; ++i)
    {
        auto listener = std::make_unique<PlayerListener>();
        om::OmIMediaPlayer* const player = client.createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        player->addListener(listener.get());
        std::atomic<bool> destroyed{false};
        destroying.onCall = [&]
        {
            client.destroyPlayer(player);
            listener.reset(); // nobody calls it any more
            destroyed = true;
        };
        ASSERT_EQ(destroyer.setTime(kTask, 0, 0), 0);
        ASSERT_TRUE(eventually([&] { return destroyed.load(); })) << "round " << i;
        destroyer.cancelAll(); // comes back when the callback has
    }
    EXPECT_GT(arming.calls, 0);
}
