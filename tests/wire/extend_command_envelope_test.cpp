// SPDX-License-Identifier: Apache-2.0
// The exchange of named commands with a service whose reply bears another envelope than the request.
#include "orvane/omc_mediaplayer.h"
#include "orvane/omc_preview_tool.h"
#include "platform/src/frame_reader.h"
#include "platform/src/frame_writer.h"
#include "support/log_capture.h"
#include "support/message_parts.h"
#include "support/mini_service.h"
#include "support/temp_dir.h"
#include "support/wait.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace tz::orvane::test
{

namespace
{

using om::OmPropertyGroup;
using platform::UniqueFd;

/// Takes one connection and answers one query of it, both as frames of its own making.
class ConfusedService
{
public:
    explicit ConfusedService(std::string const& path)
        : m_listening(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(m_listening.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_listening.get(), 1), 0);
        m_thread.start("confused", [this] { serve(); });
    }

    ConfusedService(ConfusedService const&) = delete;
    ConfusedService& operator=(ConfusedService const&) = delete;
    ~ConfusedService() { m_thread.join(); }

private:
    void serve()
    {
        UniqueFd const client(::accept4(m_listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
        mdt::FrameReader reader;
        EXPECT_TRUE(eventually([&] { return reader.receive(client.get()) > 0; }));
        UniqueFd const events = reader.takeDescriptor(0);
        send(client.get(), mdt::FrameKind::helloReply, mdt::MsgData(0x1ABC, 0, 0, 0), 0);
        EXPECT_TRUE(eventually( // a player announces itself first
            [&] { return reader.receive(client.get()) > 0 && reader.kind() == mdt::FrameKind::query; }));
        mdt::MsgData reply(0x1EEE, 0x2EEE, 0xBEEF, 9);
        bytes(groupImage({{"answer", "42"}}))(reply);
        send(client.get(), mdt::FrameKind::reply, reply, reader.header().call);
        EXPECT_TRUE(eventually([&] { return reader.receive(client.get()) == 0; })) << "the client goes";
    }

    static void send(int socket, mdt::FrameKind kind, mdt::MsgData const& message, std::uint64_t call)
    {
        mdt::FrameWriter frame(kind, message);
        EXPECT_EQ(frame.plan(), 0);
        frame.header().call = call;
        EXPECT_GT(frame.send(socket, 0), 0);
    }

    UniqueFd const m_listening;
    platform::Thread m_thread;
};

/// Makes one call and expects that its answer is taken.
void expectAccepted(char const* operation, std::function<int(OmPropertyGroup&)> const& call)
{
    SocketDir const dir;
    ConfusedService const service(mdt::socketDirectory() + "/Orvane.MediaPlayer.Server");
    TestConnection const connection;
    ASSERT_EQ(connection.cnid(), 0x1ABC);
    OmPropertyGroup props;
    LogCapture const log;
    EXPECT_EQ(call(props), 0);
    EXPECT_EQ(props.count(), 1);
    EXPECT_EQ(props.get("answer"), "42");
    EXPECT_THAT(log.linesOf(operation),
                ::testing::Contains("info: msgDataOut (pid=0x1EEE, uid=0x2EEE, cmd=0xBEEF, type=9)."));
}

TEST(ExtendCommandEnvelope, ofAReplyToThePlayerIsNotCompared)
{
    expectAccepted("OmcMediaPlayer::doExtendCommand",
                   [](OmPropertyGroup& props)
                   {
                       omc::OmcMediaPlayer player(0x1ABC, 0x2DEF);
                       return player.doExtendCommand("c", props);
                   });
}

TEST(ExtendCommandEnvelope, ofAReplyToThePreviewToolIsNotCompared)
{
    expectAccepted("OmcPreviewInfoTool::doExtendCommand",
                   [](OmPropertyGroup& props)
                   {
                       omc::OmcPreviewInfoTool tool(0x1ABC, 0x4DEF);
                       return tool.doExtendCommand("c", props);
                   });
}

} // namespace

} // namespace tz::orvane::test
