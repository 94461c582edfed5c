// SPDX-License-Identifier: Apache-2.0
// The list of listeners: order, changes while listeners run, and removals that wait.
#include "orvane/om_listener_list.h"
#include "support/wait.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

using tz::orvane::om::OmListenerList;
using tz::orvane::test::eventually;

namespace
{

struct Listener
{
    std::function<void()> call;
};

using List = OmListenerList<Listener>;

void callAll(List& list)
{
    list.forEach([](Listener& listener) { listener.call(); });
}

/// Three listeners that write their names down.
struct Three
{
    List list;
    std::string calls;
    Listener a{[this] { calls += 'a'; }};
    Listener b{[this] { calls += 'b'; }};
    Listener c{[this] { calls += 'c'; }};

    Three()
    {
        list.add(&a);
        list.add(&b);
        list.add(&c);
    }
};

/// A thread that stays inside a call of a listener until it is let go.
class Blocked
{
public:
    ~Blocked() { finish(); }

    void finish()
    {
        go();
        if (m_thread.joinable())
        {
            m_thread.join();
        }
    }

    /// Returns when the thread is inside the listener that calls `wait`.
    void run(List& list, void (*visit)(List&) = &callAll)
    {
        m_thread = std::thread([&list, visit] { visit(list); });
        EXPECT_TRUE(eventually([this] { return m_inside.load(); }));
    }

    void wait()
    {
        m_inside = true;
        EXPECT_TRUE(eventually([this] { return m_go.load(); }));
    }

    void go() { m_go = true; }

private:
    std::atomic<bool> m_inside{false};
    std::atomic<bool> m_go{false};
    std::thread m_thread;
};

} // namespace

TEST(OmListenerList, callsInTheOrderOfInsertion)
{
    Three three;
    callAll(three.list);
    EXPECT_EQ(three.calls, "abc");
}

TEST(OmListenerList, refusesNullAndSecondInsertions)
{
    Three three;
    EXPECT_EQ(three.list.add(nullptr), -2);
    EXPECT_EQ(three.list.add(&three.a), 1);
    EXPECT_EQ(three.list.remove(nullptr), -2);
    EXPECT_EQ(three.list.remove(&three.a), 0);
    EXPECT_EQ(three.list.remove(&three.a), 1);
    EXPECT_EQ(three.list.add(&three.a), 0);
    callAll(three.list);
    EXPECT_EQ(three.calls, "bca");
}

TEST(OmListenerList, clearEmptiesIt)
{
    Three three;
    three.list.clear();
    callAll(three.list);
    EXPECT_EQ(three.calls, "");
    EXPECT_EQ(three.list.add(&three.b), 0);
    callAll(three.list);
    EXPECT_EQ(three.calls, "b");
}

TEST(OmListenerList, replaceLeavesOneListenerOrNone)
{
    Three three;
    three.list.replace(&three.c);
    callAll(three.list);
    three.list.replace(&three.c);
    callAll(three.list);
    EXPECT_EQ(three.calls, "cc");
    three.list.replace(&three.a);
    callAll(three.list);
    EXPECT_EQ(three.calls, "cca");
    three.list.replace(nullptr);
    callAll(three.list);
    EXPECT_EQ(three.calls, "cca");
}

TEST(OmListenerList, aListenerMayRemoveItself)
{
    Three three;
    three.a.call = [&]
    {
        three.calls += 'a';
        EXPECT_EQ(three.list.remove(&three.a), 0);
    };
    callAll(three.list);
    callAll(three.list);
    EXPECT_EQ(three.calls, "abcbc");
}

TEST(OmListenerList, aListenerRemovedByAnEarlierOneIsNotCalled)
{
    Three three;
    three.a.call = [&]
    {
        three.calls += 'a';
        three.list.remove(&three.b);
    };
    callAll(three.list);
    EXPECT_EQ(three.calls, "ac");
}

TEST(OmListenerList, theRemovalOfAnEarlierListenerSkipsNobody)
{
    Three three;
    three.b.call = [&]
    {
        three.calls += 'b';
        three.list.remove(&three.a);
    };
    callAll(three.list);
    EXPECT_EQ(three.calls, "abc");
}

TEST(OmListenerList, clearDuringACallEndsThePass)
{
    Three three;
    three.a.call = [&]
    {
        three.calls += 'a';
        three.list.clear();
    };
    callAll(three.list);
    EXPECT_EQ(three.calls, "a");
}

TEST(OmListenerList, replaceDuringACallTakesEffectWithTheNextEvent)
{
    Three three;
    three.a.call = [&]
    {
        three.calls += 'a';
        three.list.replace(&three.c);
    };
    callAll(three.list);
    EXPECT_EQ(three.calls, "a");
    callAll(three.list);
    EXPECT_EQ(three.calls, "ac");
}

TEST(OmListenerList, aListenerAddedDuringACallHearsTheNextEvent)
{
    Three three;
    Listener late{[&] { three.calls += 'l'; }};
    three.a.call = [&]
    {
        three.calls += 'a';
        three.list.add(&late);
    };
    callAll(three.list);
    EXPECT_EQ(three.calls, "abc");
    callAll(three.list);
    EXPECT_EQ(three.calls, "abcabcl");
}

TEST(OmListenerList, aListenerThatIsPutBackDuringACallHearsTheNextEvent)
{
    Three three;
    three.a.call = [&]
    {
        three.calls += 'a';
        three.list.remove(&three.b);
        three.list.add(&three.b);
    };
    callAll(three.list);
    EXPECT_EQ(three.calls, "ac");
}

TEST(OmListenerList, anEventInsideAnEventIsHeardByAll)
{
    Three three;
    bool nested = false;
    three.b.call = [&]
    {
        three.calls += 'b';
        if (!nested)
        {
            nested = true;
            callAll(three.list);
            three.list.remove(&three.c);
        }
    };
    callAll(three.list);
    EXPECT_EQ(three.calls, "ababc");
}

TEST(OmListenerList, aRemovalByAnotherThreadWaitsForTheCall)
{
    List list;
    Blocked blocked;
    std::atomic<bool> over{false};
    Listener listener{[&]
                      {
                          blocked.wait();
                          over = true;
                      }};
    list.add(&listener);
    blocked.run(list);
    std::thread helper(
        [&]
        {
            std::this_thread::yield();
            blocked.go();
        });
    EXPECT_EQ(list.remove(&listener), 0);
    EXPECT_TRUE(over);
    helper.join();
}

TEST(OmListenerList, aRemovalThatFindsNothingWaitsForTheCallAsWell)
{
    List list;
    Blocked blocked;
    std::atomic<bool> over{false};
    std::atomic<int> returned{0};
    Listener listener{[&]
                      {
                          blocked.wait();
                          over = true;
                      }};
    list.add(&listener);
    blocked.run(list);
    auto const remove = [&]
    {
        list.remove(&listener);
        EXPECT_TRUE(over);
        ++returned;
    };
    std::thread first(remove);
    std::thread second(remove);
    blocked.go();
    first.join();
    second.join();
    EXPECT_EQ(returned, 2);
}

TEST(OmListenerList, aRemovalDoesNotWaitForOtherListeners)
{
    List list;
    Blocked blocked;
    Listener running{[&] { blocked.wait(); }};
    Listener other{[] { FAIL() << "it was removed before its turn"; }};
    list.add(&running);
    list.add(&other);
    blocked.run(list);
    EXPECT_EQ(list.remove(&other), 0); // returns although the other call goes on
    blocked.finish();
}

TEST(OmListenerList, clearAndReplaceByAnotherThreadWaitForTheCall)
{
    for (bool const clears : {true, false})
    {
        List list;
        std::atomic<bool> inside{false};
        std::atomic<bool> over{false};
        Listener next{[] {}};
        Listener listener{[&]
                          {
                              inside = true;
                              std::this_thread::yield();
                              over = true;
                          }};
        list.add(&listener);
        std::thread caller([&] { callAll(list); });
        ASSERT_TRUE(eventually([&] { return inside.load(); }));
        clears ? list.clear() : list.replace(&next);
        EXPECT_TRUE(over);
        caller.join();
    }
}

TEST(OmListenerList, twoListenersThatRemoveEachOtherDoNotWaitForEachOther)
{
    List list;
    std::atomic<int> inside{0};
    Listener first;
    Listener second;
    auto const body = [&](Listener& other)
    {
        ++inside;
        EXPECT_TRUE(eventually([&] { return inside == 2; }));
        list.remove(&other);
    };
    std::atomic<bool> firstRuns{false};
    first.call = [&]
    {
        if (!firstRuns.exchange(true))
        {
            body(second);
        }
    };
    second.call = [&] { body(first); };
    list.add(&first);
    list.add(&second);
    std::thread a([&] { callAll(list); });
    ASSERT_TRUE(eventually([&] { return firstRuns.load(); }));
    std::thread b([&] { callAll(list); });
    a.join();
    b.join();
    EXPECT_EQ(inside, 2);
}

TEST(OmListenerList, listenersMayBeDeletedAfterTheirRemoval)
{
    List list;
    std::atomic<bool> ending{false};
    std::atomic<int> calls{0};
    std::thread caller(
        [&]
        {
            while (!ending)
            {
                callAll(list);
            }
        });
    for (int i = 0; i < 5000; ++i)
    {
        auto listener = std::make_unique<Listener>();
        std::string const text = "still alive";
        listener->call = [&calls, text] { calls += text.size() == 11 ? 1 : 0; };
        list.add(listener.get());
        if (i % 100 == 0)
        {
            int const before = calls;
            EXPECT_TRUE(eventually([&] { return calls > before; }));
        }
        EXPECT_EQ(list.remove(listener.get()), 0);
        listener->call = nullptr;
    }
    ending = true;
    caller.join();
}

TEST(OmListenerList, aListenerThatThrowsLeavesTheListInOrder)
{
    Three three;
    three.b.call = [] { throw std::runtime_error("out of the listener"); };
    std::thread caller([&] { EXPECT_THROW(callAll(three.list), std::runtime_error); });
    caller.join();
    EXPECT_EQ(three.calls, "a");
    // No trace of the pass is left: its thread and its stack are gone.
    EXPECT_EQ(three.list.remove(&three.b), 0);
    EXPECT_EQ(three.list.remove(&three.a), 0);
    callAll(three.list);
    EXPECT_EQ(three.calls, "ac");
}

TEST(OmListenerList, aRemovalThatWaitsForAListenerReturnsWhenThatThrows)
{
    List list;
    Blocked blocked;
    Listener listener{[&]
                      {
                          blocked.wait();
                          throw std::runtime_error("out of the listener");
                      }};
    list.add(&listener);
    blocked.run(list, [](List& visited) { EXPECT_THROW(callAll(visited), std::runtime_error); });
    std::thread helper(
        [&]
        {
            std::this_thread::yield();
            blocked.go();
        });
    EXPECT_EQ(list.remove(&listener), 0);
    helper.join();
}
