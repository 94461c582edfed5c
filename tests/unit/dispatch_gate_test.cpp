// SPDX-License-Identifier: Apache-2.0
// The gate between destruction and delivery.
#include "client/src/dispatch_gate.h"
#include "client/src/spent_objects.h"
#include "support/wait.h"

#include <array>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>

using namespace tz::orvane;
using omc::DispatchGate;
using omc::DispatchScope;
using omc::SpentObjects;
using test::eventually;

namespace
{

// The gate compares the addresses of connections and never looks behind them.
om::OmIConnection const* connection(int number)
{
    static std::array<long, 4> places;
    return reinterpret_cast<om::OmIConnection const*>(&places.at(static_cast<std::size_t>(number)));
}

/// Another thread that holds a note until it is told to leave.
class Holder
{
public:
    explicit Holder(std::function<void(Holder&)> const& hold)
        : m_thread([this, hold] { hold(*this); })
    {
        EXPECT_TRUE(eventually([this] { return m_inside.load(); }));
    }

    ~Holder()
    {
        leave();
        m_thread.join();
    }

    void leave() { m_leave = true; }
    bool isOut() const { return m_out; }

    void stay()
    {
        m_inside = true;
        EXPECT_TRUE(eventually([this] { return m_leave.load(); }));
        m_out = true;
    }

private:
    std::atomic<bool> m_inside{false};
    std::atomic<bool> m_leave{false};
    std::atomic<bool> m_out{false};
    std::thread m_thread;
};

/// Whether a wait in this scope lasts until the holder leaves.
bool waitsFor(Holder& holder, DispatchScope const& scope)
{
    std::thread helper(
        [&]
        {
            std::this_thread::yield();
            holder.leave();
        });
    DispatchGate::waitForOthers(scope);
    bool const waited = holder.isOut();
    helper.join();
    return waited;
}

} // namespace

TEST(DispatchGate, nobodyIsInsideAtFirst)
{
    EXPECT_FALSE(DispatchGate::isInside({connection(0)}));
    DispatchGate::waitForOthers({connection(0)});
}

TEST(DispatchGate, aDeliveryIsInsideItsConnectionAndItsObject)
{
    DispatchGate::Delivery const delivery(connection(0), 0x2001);
    EXPECT_TRUE(DispatchGate::isInside({connection(0)}));
    EXPECT_TRUE(DispatchGate::isInside({connection(0), 0x2001, 0x2001}));
    EXPECT_TRUE(DispatchGate::isInside({connection(0), 0x2000, 0x2FFF}));
    EXPECT_FALSE(DispatchGate::isInside({connection(0), 0x2002, 0x2002}));
    EXPECT_FALSE(DispatchGate::isInside({connection(1)}));
    EXPECT_FALSE(DispatchGate::isInside({connection(1), 0x2001, 0x2001}));
}

TEST(DispatchGate, aDeliveryIsInsideNothingBeforeItIsResolved)
{
    DispatchGate::Delivery delivery(0x2001);
    EXPECT_FALSE(DispatchGate::isInside({connection(0)}));
    delivery.resolve(connection(0));
    EXPECT_TRUE(DispatchGate::isInside({connection(0)}));
}

TEST(DispatchGate, outerDeliveriesCountWhileInnerOnesGoOn)
{
    DispatchGate::Delivery const outer(connection(0), 0x2001);
    {
        DispatchGate::Delivery const inner(connection(1), 0x2002);
        EXPECT_TRUE(DispatchGate::isInside({connection(0), 0x2001, 0x2001}));
        EXPECT_TRUE(DispatchGate::isInside({connection(1), 0x2002, 0x2002}));
    }
    EXPECT_FALSE(DispatchGate::isInside({connection(1)}));
}

TEST(DispatchGate, aDeliveryToAnObjectAloneIsInsideThatObjectOnly)
{
    int first = 0;
    int second = 0;
    DispatchGate::Delivery const delivery(&first);
    EXPECT_TRUE(DispatchGate::isInside({connection(0), 0x2001, 0x2001, &first}));
    EXPECT_TRUE(DispatchGate::isInside({connection(1), 0, UINT_MAX, &first}));
    EXPECT_FALSE(DispatchGate::isInside({connection(0), 0x2001, 0x2001, &second}));
    EXPECT_FALSE(DispatchGate::isInside({connection(0)}));
}

TEST(DispatchGate, aDeliveryToAnObjectAloneIsWaitedForByThatObjectOnly)
{
    int first = 0;
    int second = 0;
    Holder holder(
        [&](Holder& self)
        {
            DispatchGate::Delivery const delivery(&first);
            self.stay();
        });
    DispatchGate::waitForOthers({connection(0)});
    DispatchGate::waitForOthers({connection(0), 0, UINT_MAX, &second});
    EXPECT_TRUE(waitsFor(holder, {connection(0), 0x2001, 0x2001, &first}));
}

TEST(DispatchGate, aUseIsNoDelivery)
{
    DispatchGate::Use const use(connection(0), 0x2001);
    EXPECT_FALSE(DispatchGate::isInside({connection(0)}));
}

TEST(DispatchGate, ownNotesAreNotWaitedFor)
{
    DispatchGate::Delivery const delivery(connection(0), 0x2001);
    DispatchGate::Use const use(connection(0));
    DispatchGate::waitForOthers({connection(0)});
}

TEST(DispatchGate, deliveriesOfOthersAreWaitedFor)
{
    for (DispatchScope const& scope : {DispatchScope{connection(0)}, DispatchScope{connection(0), 0x2001, 0x2001}})
    {
        Holder holder(
            [](Holder& self)
            {
                DispatchGate::Delivery const delivery(connection(0), 0x2001);
                self.stay();
            });
        EXPECT_TRUE(waitsFor(holder, scope));
    }
}

TEST(DispatchGate, usesOfOthersAreWaitedFor)
{
    Holder holder(
        [](Holder& self)
        {
            DispatchGate::Use const use(connection(0), 0x2001);
            self.stay();
        });
    EXPECT_TRUE(waitsFor(holder, {connection(0), 0x2001, 0x2001}));
}

TEST(DispatchGate, aUseOfAConnectionKeepsNoneOfItsObjects)
{
    Holder const holder(
        [](Holder& self)
        {
            DispatchGate::Use const use(connection(0));
            self.stay();
        });
    DispatchGate::waitForOthers({connection(0), 0, 0xFFFF});
    EXPECT_FALSE(holder.isOut());
}

TEST(DispatchGate, otherConnectionsAndObjectsAreNotWaitedFor)
{
    Holder const holder(
        [](Holder& self)
        {
            DispatchGate::Delivery const delivery(connection(0), 0x2001);
            self.stay();
        });
    DispatchGate::waitForOthers({connection(1)});
    DispatchGate::waitForOthers({connection(0), 0x2002, 0x2FFF});
    EXPECT_FALSE(holder.isOut());
}

TEST(DispatchGate, aDeliveryThatIsStillLookingIsWaitedForUntilItIsResolved)
{
    std::atomic<bool> waiting{false};
    std::atomic<bool> resolved{false};
    std::atomic<bool> looking{false};
    std::thread receiver(
        [&]
        {
            DispatchGate::Delivery delivery(0x2001);
            looking = true;
            EXPECT_TRUE(eventually([&] { return waiting.load(); }));
            resolved = true;
            delivery.resolve(connection(1));
            EXPECT_TRUE(eventually([&] { return !waiting.load(); })); // the wait ends before the delivery does
        });
    EXPECT_TRUE(eventually([&] { return looking.load(); }));
    waiting = true;
    DispatchGate::waitForOthers({connection(0)});
    EXPECT_TRUE(resolved);
    waiting = false;
    receiver.join();
}

TEST(DispatchGate, deliveriesThatBeginLaterAreNotWaitedFor)
{
    std::atomic<bool> ending{false};
    std::atomic<long> rounds{0};
    auto const busy = [&]
    {
        while (!ending)
        {
            DispatchGate::Delivery const delivery(connection(0), 0x2001);
            ++rounds;
        }
    };
    std::thread first(busy);
    std::thread second(busy);
    EXPECT_TRUE(eventually([&] { return rounds > 10; }));
    for (int i = 0; i < 1000; ++i)
    {
        DispatchGate::waitForOthers({connection(0)});
    }
    ending = true;
    first.join();
    second.join();
}

TEST(DispatchGate, whatIsDeferredHappensAtTheEndOfTheOutermostDelivery)
{
    std::string order;
    {
        DispatchGate::Delivery const outer(connection(0), 0);
        {
            DispatchGate::Delivery const inner(connection(0), 0x2001);
            DispatchGate::defer({connection(0)}, [&] { order += " connection"; });
            DispatchGate::defer({connection(0), 0x2001, 0x2001}, [&] { order += " player"; });
            DispatchGate::defer({connection(0), 0x4000, 0x4FFF}, [&] { order += " tool"; });
        }
        EXPECT_EQ(order, "");
    }
    EXPECT_EQ(order, " player tool connection");
}

TEST(DispatchGate, whatIsDeferredIsOutsideOfTheDelivery)
{
    bool inside = true;
    {
        DispatchGate::Delivery const delivery(connection(0), 0);
        DispatchGate::defer({connection(0)}, [&] { inside = DispatchGate::isInside({connection(0)}); });
    }
    EXPECT_FALSE(inside);
}

TEST(DispatchGate, whatIsDeferredWaitsForOthers)
{
    Holder holder(
        [](Holder& self)
        {
            DispatchGate::Delivery const delivery(connection(0), 0);
            self.stay();
        });
    bool wasOut = false;
    std::thread helper;
    {
        DispatchGate::Delivery const delivery(connection(0), 0);
        DispatchGate::defer({connection(0)}, [&] { wasOut = holder.isOut(); });
        helper = std::thread(
            [&]
            {
                std::this_thread::yield();
                holder.leave();
            });
    }
    EXPECT_TRUE(wasOut);
    helper.join();
}

TEST(SpentObjects, knowsTheDestroyedByTheirAddress)
{
    int object = 0;
    unsigned int id = 7;
    EXPECT_FALSE(SpentObjects::find(&object, id));
    EXPECT_EQ(id, 7u);
    SpentObjects::add(&object, 0x2001);
    EXPECT_TRUE(SpentObjects::find(&object, id));
    EXPECT_EQ(id, 0x2001u);
    SpentObjects::add(&object, 0x2002);
    SpentObjects::forget(&object);
    EXPECT_FALSE(SpentObjects::find(&object, id));
}

TEST(SpentObjects, forgetsTheOldestFirst)
{
    std::array<char, 2000> objects{};
    unsigned int number = 0;
    for (char const& object : objects)
    {
        SpentObjects::add(&object, ++number);
    }
    unsigned int id = 0;
    EXPECT_FALSE(SpentObjects::find(&objects.front(), id));
    EXPECT_TRUE(SpentObjects::find(&objects.back(), id));
    EXPECT_EQ(id, 2000u);
}
