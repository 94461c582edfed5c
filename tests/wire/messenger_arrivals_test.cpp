// SPDX-License-Identifier: Apache-2.0
// The service end learns of frames when they arrive: none may lie unread, however many come at once.
#include "support/mini_service.h"
#include "support/process_state.h"
#include "support/raw_peer.h"
#include "support/temp_dir.h"
#include "support/wait.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <vector>

using namespace tz::orvane::mdt;
using namespace tz::orvane::test;
using tz::orvane::platform::EventLoop;

namespace
{

/// With a client that counts its frames, and with one that does not.
class MessengerArrivals : public testing::TestWithParam<bool>
{
protected:
    MessengerArrivals()
        : m_service(
              [this](MdtsMessenger& messenger, EventLoop&, MsgData&, MdtsCall const& call)
              {
                  ++m_handled;
                  if (call.wantsReply())
                  {
                      messenger.reply(call, 0, MsgData());
                  }
              })
        , m_peer(m_service)
    {
        count(); // the introduction
    }

    void count()
    {
        if (GetParam())
        {
            m_peer.ring.frameGoesOut();
        }
    }

    void send(FrameKind kind, int msg)
    {
        count();
        m_peer.send(kind, msg);
    }

    bool isForgotten() const
    {
        std::vector<int> const gone = m_service.disconnected();
        return std::count(gone.begin(), gone.end(), m_peer.cnid) == 1;
    }

    ProcessState m_state;
    SocketDir m_directory;
    std::atomic<int> m_handled{0};
    MiniService m_service;
    RawPeer m_peer;
};

} // namespace

TEST_P(MessengerArrivals, allThatComesAtOnceIsHandled)
{
    constexpr int kEach = 50;
    // On the service's thread, so that it finds all of them together.
    m_service.run(
        [&](MdtsMessenger&)
        {
            for (int i = 0; i < kEach; ++i)
            {
                send(FrameKind::query, kQuery);
                send(FrameKind::command, kCommand);
            }
        });
    EXPECT_TRUE(eventually([&] { return m_handled == 2 * kEach; })) << m_handled;
    send(FrameKind::query, kQuery);
    EXPECT_TRUE(eventually([&] { return m_handled == 2 * kEach + 1; }));
}

TEST_P(MessengerArrivals, theEndBehindAQueryIsNoticed)
{
    m_service.run(
        [&](MdtsMessenger&)
        {
            send(FrameKind::query, kQuery);
            m_peer.command.reset();
        });
    EXPECT_TRUE(eventually([&] { return isForgotten(); }));
    EXPECT_EQ(m_handled, 1);
}

TEST_P(MessengerArrivals, aClientThatOnlyEndsItsSendingIsForgottenToo)
{
    m_service.run(
        [&](MdtsMessenger&)
        {
            send(FrameKind::query, kQuery);
            ::shutdown(m_peer.command.get(), SHUT_WR);
        });
    EXPECT_TRUE(eventually([&] { return isForgotten(); }));
    EXPECT_EQ(m_handled, 1);
}

TEST_P(MessengerArrivals, whatWaitsWhileRepliesDoIsHandledAfterThem)
{
    constexpr int kMany = 300; // more replies than a socket holds, but not more than two do
    for (int i = 0; i < kMany; ++i)
    {
        send(FrameKind::query, kQuery);
    }
    FrameReader reader;
    for (int i = 0; i < kMany; ++i)
    {
        ASSERT_TRUE(eventually([&] { return reader.receive(m_peer.command.get()) > 0; })) << i;
    }
    EXPECT_EQ(m_handled, kMany);
}

INSTANTIATE_TEST_SUITE_P(Counting, MessengerArrivals, testing::Bool());

class MessengerMiscounts : public testing::Test
{
protected:
    ProcessState m_state;
    SocketDir m_directory;
};

TEST_F(MessengerMiscounts, aClientThatDeniesItsFramesKeepsOnlyItsOwnWaiting)
{
    std::atomic<int> handled{0};
    MiniService service([&](MdtsMessenger&, EventLoop&, MsgData&, MdtsCall const&) { ++handled; });
    {
        RawPeer liar(service);
        liar.ring.frameGoesOut();
        liar.ring.frameGoesOut();
        service.run(
            [&](MdtsMessenger&)
            {
                liar.send(FrameKind::query, kQuery); // counted
                liar.send(FrameKind::query, kQuery); // denied
            });
        EXPECT_TRUE(eventually([&] { return handled == 1; }));
        RawPeer other(service);
        other.send(FrameKind::command, kCommand);
        EXPECT_TRUE(eventually([&] { return handled == 2; })) << "the others are served";
        liar.send(FrameKind::query, kQuery);
        EXPECT_TRUE(eventually([&] { return handled == 4; })) << "the next arrival brings it to light";
    }
    EXPECT_TRUE(eventually([&] { return service.disconnected().size() == 2; }));
}
