// SPDX-License-Identifier: Apache-2.0
// Clients that die, ask for nonsense or too much, and the beginning and end of the service itself.
#include "support/viewer.h"
#include "support/wait.h"

#include "orvane/om_idrm_agent.h"
#include "orvane/omc_access.h"
#include "orvane/platform/mdtc_messenger.h"

#include "om_protocol.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <future>
#include <set>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tz::orvane::test
{
namespace
{

using testing::HasSubstr;

class Robustness : public WithService
{
};

/// A client in a process of its own that plays until it is killed. Made before the test has threads.
class PlayingChild
{
public:
    PlayingChild()
    {
        EXPECT_EQ(pipe(m_pipe), 0);
        m_pid = fork();
        if (m_pid == 0)
        {
            play();
        }
    }
    PlayingChild(PlayingChild const&) = delete;
    PlayingChild& operator=(PlayingChild const&) = delete;
    ~PlayingChild()
    {
        kill();
        close(m_pipe[0]);
        close(m_pipe[1]);
    }

    /// Lets it begin, and waits until it plays.
    bool waitUntilPlaying() const
    {
        char byte = 0;
        return read(m_pipe[0], &byte, 1) == 1;
    }

    void kill()
    {
        if (m_pid > 0)
        {
            ::kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
            m_pid = -1;
        }
    }

private:
    [[noreturn]] void play() const
    {
        Viewer viewer("victim");
        if (viewer.connected() && viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START) &&
            viewer.recorder().takePlayTime())
        {
            [[maybe_unused]] auto const ignored = write(m_pipe[1], "p", 1);
        }
        while (true)
        {
            pause();
        }
    }

    int m_pipe[2] = {-1, -1};
    pid_t m_pid = -1;
};

TEST_F(Robustness, aClientThatIsKilledWhilePlayingCostsTheOthersNothing)
{
    PlayingChild victim;
    ASSERT_TRUE(victim.waitUntilPlaying());
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().start(9'000);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    victim.kill();
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    EXPECT_TRUE(viewer.open(media("v.mkv")));
}

/// Connects to the service's socket past the library.
int connectRaw(std::string const& directory)
{
    int const fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string const path = directory + "/" + protocol::kServiceName;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(connect(fd, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    return fd;
}

TEST_F(Robustness, garbageOnTheSocketEndsThatConnectionOnly)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.connected());
    unsigned int seed = 1;
    for (std::size_t size : {1u, 8u, 64u, 200u, 4000u, 60'000u})
    {
        int const fd = connectRaw(m_directory.path());
        std::string bytes(size, '\0');
        for (char& byte : bytes)
        {
            seed = seed * 1'103'515'245u + 12'345u;
            byte = static_cast<char>(seed >> 16u);
        }
        EXPECT_EQ(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(size));
        char answer[256];
        while (recv(fd, answer, sizeof answer, 0) > 0)
        {
        }
        close(fd);
    }
    EXPECT_EQ(viewer.state(), om::OM_STATE_NULL);
    EXPECT_TRUE(viewer.open(media("v.mp4")));
}

/// A message as no proxy would send it.
int post(unsigned int cnid, unsigned int plid, int code, std::function<void(mdt::MsgData&)> const& write = {})
{
    mdt::MsgData message(static_cast<int>(cnid), static_cast<int>(plid), code, protocol::kTypeQuery);
    if (write)
    {
        write(message);
    }
    mdt::MsgData reply;
    return mdt::MdtcMessenger::GetInstance().postMsg(message, reply, protocol::kPostTimeout);
}

TEST_F(Robustness, messagesThatNoProxyWouldSendAreRefused)
{
    Viewer viewer;
    Viewer other("other");
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    unsigned int const cnid = viewer.connection().getClientID();
    unsigned int const plid = viewer.player().getPlayerID();
    EXPECT_EQ(post(cnid, plid, 0xA2FF), -ENOSYS);
    EXPECT_EQ(post(cnid, plid, protocol::kCmdSeek), -EINVAL);
    EXPECT_EQ(post(cnid, plid, protocol::kCmdSeek, [](mdt::MsgData& msg) { msg.writeString("x"); }), -EINVAL);
    EXPECT_EQ(post(cnid, plid, protocol::kCmdGetState, [](mdt::MsgData& msg) { msg.writeUInt32(1); }), -EINVAL);
    EXPECT_EQ(post(cnid, plid, protocol::kCmdPrepare,
                   [](mdt::MsgData& msg)
                   {
                       msg.writeString("/x");
                       msg.writeData("PR0001broken", 12);
                       msg.writeUInt32(0);
                   }),
              -EINVAL);
    EXPECT_EQ(post(cnid, other.player().getPlayerID(), protocol::kCmdGetState), -ENOENT)
        << "an object of another connection";
    EXPECT_EQ(post(cnid, 0x2FFF, protocol::kCmdGetState), -ENOENT);
    EXPECT_EQ(post(cnid, 0x7000, protocol::kCmdGetState), -ENOENT);
    EXPECT_EQ(post(cnid, 0x4001, protocol::kCmdGetPreviewRequestId), -ENOENT);
    EXPECT_EQ(viewer.state(), om::OM_STATE_PAUSED);
    EXPECT_EQ(other.state(), om::OM_STATE_NULL);
}

TEST_F(Robustness, aLicenseThatIsALargeBlockIsRefusedWhoeverItIsFor)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.connected());
    unsigned int const cnid = viewer.connection().getClientID();
    auto const agent = viewer.connection().createDrmAgent(om::OM_DRM_TYPE_CLEARKEY);
    ASSERT_NE(agent, nullptr);
    std::vector<char> license(9u << 20, 'x'); // more than the ring between both sides holds
    for (unsigned int const object : {agent->getAgentID(), viewer.player().getPlayerID(), 0x6FFFu, 0u})
    {
        EXPECT_LT(post(cnid, object, protocol::kCmdDrmUpdateSession,
                       [&](mdt::MsgData& msg)
                       { msg.writeBlockData(license.data(), static_cast<int>(license.size())); }),
                  0);
        EXPECT_EQ(viewer.state(), om::OM_STATE_NULL);
    }
    viewer.connection().destroyDrmAgent(agent);
}

TEST_F(Robustness, whoeverAsksGetsAnAnswerAlsoWhenThePlayerGoes)
{
    for (int round = 0; round < 10; ++round)
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media("a.wav"), om::OM_PREPARE_AUTO_START));
        unsigned int const cnid = viewer.connection().getClientID();
        unsigned int const plid = viewer.player().getPlayerID();
        std::atomic<int> answers{0};
        auto const ask = [&]
        {
            int result = 0;
            while ((result = post(cnid, plid, protocol::kCmdGetCurPosition)) >= 0)
            {
                ++answers;
            }
            return result;
        };
        std::future<int> askers[3];
        for (auto& asker : askers)
        {
            asker = std::async(std::launch::async, ask);
        }
        EXPECT_TRUE(eventually([&] { return answers > 20; }));
        mdt::MsgData const release(static_cast<int>(cnid), static_cast<int>(plid), protocol::kCmdReleaseMediaPlayer,
                                   protocol::kTypeCommand);
        EXPECT_GE(mdt::MdtcMessenger::GetInstance().postMsg(release, protocol::kPostTimeout), 0);
        for (auto& asker : askers)
        {
            EXPECT_EQ(asker.get(), -ENOENT);
        }
    }
}

TEST_F(Robustness, commandsAtTheWrongTimeAreRefusedByName)
{
    Viewer viewer;
    om::OmIMediaPlayer& player = viewer.player();
    auto const refused = [&](char const* command, om::om_error_e code)
    {
        SCOPED_TRACE(command);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, static_cast<int>(code));
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), command);
    };
    player.start(0);
    refused("start", om::OM_ERROR_BAD_STATE);
    player.stop();
    refused("stop", om::OM_ERROR_BAD_STATE);
    player.pause();
    refused("pause", om::OM_ERROR_BAD_STATE);
    player.resume();
    refused("resume", om::OM_ERROR_BAD_STATE);
    player.seek(0, 0);
    refused("seek", om::OM_ERROR_BAD_STATE);
    player.pushData("x", 1);
    refused("pushData", om::OM_ERROR_BAD_STATE);
    viewer.prepare("relative.mp4");
    refused("prepare", om::OM_ERROR_BAD_ARGUMENT);
    viewer.prepare(media("v.mp4"), 0x80);
    refused("prepare", om::OM_ERROR_BAD_ARGUMENT);
    viewer.prepare(media("v.mp4"), 0, {{om::OM_PREPARE_KEY_TIMEOUT, "soon"}});
    refused("prepare", om::OM_ERROR_BAD_ARGUMENT);
    player.setVolume(101);
    refused("setVolume", om::OM_ERROR_BAD_ARGUMENT);
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    player.seek(-1, 0);
    refused("seek", om::OM_ERROR_BAD_ARGUMENT);
    player.seek(0, om::OM_SEEK_ACCURATE | om::OM_SEEK_KEY_UNIT);
    refused("seek", om::OM_ERROR_BAD_ARGUMENT);
    player.speed(static_cast<om::om_play_speed_e>(0), 0);
    refused("speed", om::OM_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(viewer.state(), om::OM_STATE_PAUSED);
}

TEST_F(Robustness, whatIsNotOfferedIsSaidToBeSo)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    EXPECT_EQ(viewer.command("no-such-command"), -1);
    om::om_media_info_t info{};
    Viewer closed("closed");
    EXPECT_EQ(closed.player().getMediaInfo(info), -ENODATA);
    viewer.prepare(media("v.mp4"), 0, {{"colour", "blue"}});
    auto const warning = viewer.recorder().takeEvent(om::OM_EVENT_WARNING);
    ASSERT_TRUE(warning);
    EXPECT_THAT(warning->properties.at(om::OM_KEY_TEXT), HasSubstr("colour"));
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
}

TEST_F(Robustness, preparingAgainTakesTheNextMedium)
{
    Viewer viewer;
    viewer.prepare(media("v.mp4"));
    viewer.prepare(media("v.mkv"));
    viewer.prepare(media("a.mp3"));
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_EQ(viewer.recorder().mediaInfo().media_type, om::OM_MEDIA_TYPE_AUDIO);
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    ASSERT_TRUE(viewer.open(media("v.ts"), om::OM_PREPARE_AUTO_START));
    EXPECT_STREQ(viewer.recorder().mediaInfo().mime_type, "video/mp2t");
}

TEST_F(Robustness, playersAreBoundedAndTheirIdsAreNotReusedAtOnce)
{
    Viewer viewer;
    std::set<unsigned int> ids{viewer.player().getPlayerID()};
    for (int count = 1; count < 8; ++count)
    {
        auto* const player = viewer.connection().createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        EXPECT_TRUE(ids.insert(player->getPlayerID()).second);
    }
    EXPECT_EQ(viewer.connection().createPlayer(nullptr), nullptr);
    unsigned int const gone = *ids.rbegin();
    viewer.connection().destroyPlayer(gone);
    auto* const next = viewer.connection().createPlayer(nullptr);
    ASSERT_NE(next, nullptr);
    EXPECT_NE(next->getPlayerID(), gone);
}

TEST_F(Robustness, playersComeAndGoWhileTheyAreOpening)
{
    Viewer viewer;
    om::OmPropertyGroup none;
    for (int count = 0; count < 30; ++count)
    {
        auto* const player = viewer.connection().createPlayer(nullptr);
        ASSERT_NE(player, nullptr);
        player->prepare(media("v.mp4"), none, om::OM_PREPARE_AUTO_START);
        viewer.connection().destroyPlayer(player);
    }
    EXPECT_TRUE(viewer.open(media("v.mp4")));
}

TEST_F(Robustness, everyPlayerOfAConnectionIsStoppedAtOnce)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    viewer.connection().stopPlayerAll();
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
}

TEST_F(Robustness, theServiceEndsInOrderWhileAPlayerPlays)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START));
    m_service.signal(SIGTERM);
    EXPECT_EQ(m_service.wait(), 0);
    EXPECT_EQ(viewer.state(), om::OM_STATE_VOID) << "nobody answers";
}

TEST_F(Robustness, subtitlesThatAreStillToComeDoNotHoldUpTheEnd)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("multi.mkv")));
    viewer.player().speed(om::OM_PLAY_SPEED_HALF, 0);
    viewer.player().start(1'200); // the next one comes at 4 s, which is 5.6 s later
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const begin = std::chrono::steady_clock::now();
    m_service.signal(SIGTERM);
    EXPECT_EQ(m_service.wait(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(Robustness, aSecondServiceLeavesTheFirstAlone)
{
    ServiceProcess second(serviceCommand());
    EXPECT_EQ(second.wait(), 3);
    Viewer viewer;
    EXPECT_TRUE(viewer.open(media("v.mp4")));
}

TEST(ServiceProgram, endsByItselfWhenNobodyIsConnected)
{
    SocketDir directory;
    ServiceProcess service(serviceCommand({"--idle-exit", "5"}));
    ASSERT_TRUE(service.waitUntilReady());
    {
        Viewer viewer;
        ASSERT_TRUE(viewer.open(media("v.mp4")));
    }
    EXPECT_EQ(service.wait(), 0);
}

TEST(ServiceProgram, refusesOptionsThatItDoesNotKnow)
{
    SocketDir directory;
    for (std::vector<std::string> const& options :
         {std::vector<std::string>{"--colour"}, {"--screen", "1x"}, {"--video", "9"}, {"--idle-exit", "-1"}})
    {
        ServiceProcess service(serviceCommand(options));
        EXPECT_EQ(service.wait(), 1) << options[0];
    }
}

TEST(ServiceProgram, saysWhatVersionItIs)
{
    SocketDir directory;
    ServiceProcess service(serviceCommand({"--version"}));
    EXPECT_EQ(service.wait(), 0);
}

} // namespace
} // namespace tz::orvane::test
