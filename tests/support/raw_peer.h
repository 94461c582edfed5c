// SPDX-License-Identifier: Apache-2.0
// A client of the messenger's service end that speaks the socket by itself, also as no honest client would.
#pragma once

#include "platform/src/frame_reader.h"
#include "platform/src/frame_writer.h"
#include "platform/src/shared_ring.h"
#include "support/mini_service.h"
#include "support/wait.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <sys/socket.h>

namespace tz::orvane::test
{

/// Introduced like any other client; counts its frames only when told to.
struct RawPeer
{
    explicit RawPeer(MiniService& service)
    {
        int sockets[2];
        int events[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets), 0);
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, events), 0);
        command.reset(sockets[0]);
        event.reset(events[0]);
        platform::UniqueFd const eventEnd(events[1]);
        service.run([&](mdt::MdtsMessenger& end) { EXPECT_EQ(end.adopt(sockets[1]), 0); });
        mdt::MsgData hello;
        hello.writeString("raw");
        for (int i = 0; i < 4; ++i)
        {
            hello.writeUInt32(0);
        }
        hello.writeData(nullptr, 0);
        mdt::FrameWriter opening(mdt::FrameKind::hello, hello);
        EXPECT_EQ(opening.plan(), 0);
        opening.addDescriptor(eventEnd.get());
        platform::UniqueFd rings[2];
        for (platform::UniqueFd& memory : rings)
        {
            EXPECT_EQ(mdt::SharedRing::create(memory), 0);
            opening.addDescriptor(memory.get());
        }
        EXPECT_EQ(ring.attach(rings[0].get()), 0);
        EXPECT_GT(opening.send(command.get(), 0), 0);
        mdt::FrameReader reader;
        EXPECT_TRUE(eventually([&] { return reader.receive(command.get()) > 0; }));
        EXPECT_EQ(reader.kind(), mdt::FrameKind::helloReply);
        cnid = reader.header().pid;
    }

    /// Sends a message without arguments.
    void send(mdt::FrameKind kind, int msg)
    {
        mdt::MsgData const message(cnid, 0, msg, 1);
        mdt::FrameWriter frame(kind, message);
        EXPECT_EQ(frame.plan(), 0);
        frame.header().call = ++lastCall;
        EXPECT_GT(frame.send(command.get(), 0), 0);
    }

    platform::UniqueFd command;
    platform::UniqueFd event;
    mdt::SharedRing ring;
    int cnid = 0;
    std::uint64_t lastCall = 0;
};

} // namespace tz::orvane::test
