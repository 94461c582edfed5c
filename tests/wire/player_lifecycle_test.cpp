// SPDX-License-Identifier: Apache-2.0
// The player's creation, its playback control, its data paths and its end.
#include "orvane/omc_listeners.h"
#include "player_fixture.h"
#include "support/wait.h"

#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>

namespace tz::orvane::test
{

namespace
{

using namespace om;

using Lines = std::vector<std::string>;

constexpr char kSent[] = "Succeeded to send msg or command from client to binder.";
constexpr char kUnsent[] = "Error! Failed to send msg or command from client to binder. ErrorCode=-107.";

class PlayerLifecycle : public PlayerFixture
{
protected:
    static Lines leaveTaking(omc::OmcMediaPlayer const& player, char const* end)
    {
        char called[120];
        std::snprintf(called, sizeof called, "Called. Start to destroy this object. this=%p, cnid=0x1ABC, plid=0x2DEF.",
                      static_cast<void const*>(&player));
        return {called, "Lock for releasing.", end};
    }
};

class Listener final : public omc::OmcIMediaPlayerListener
{
public:
    void onEvent(OmIMediaPlayer* player, unsigned int, unsigned int, OmPropertyGroup const&) override
    {
        ++calls;
        if (act)
        {
            act(*player);
        }
    }

    std::atomic<int> calls{0};
    std::function<void(OmIMediaPlayer&)> act;
};

void event(mdt::MsgData& msg)
{
    msg.writeUInt32(kPlid);
    msg.writeUInt32(1);
    msg.writeUInt32(2);
}

// Creation.

TEST_F(PlayerLifecycle, creationSendsInitAndThenTheAnnouncementToTheConnection)
{
    LogCapture log;
    omc::OmcMediaPlayer const player(kCnid, kPlid);
    EXPECT_THAT(sent(),
                ::testing::ElementsAre("msg=0xA229 uid=0x2DEF type=1 oneway", "msg=0xA201 uid=0x0000 type=1 oneway"));
    EXPECT_EQ(
        log.textsOf("OmcMediaPlayer::OmcMediaPlayer"),
        (Lines{"Start to create a new MediaPlayer. Client Id=0x1ABC.", "Succeeded to to Init Mediaplayer.", kSent}));
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::init"), (Lines{kStart, kSent}));
}

TEST_F(PlayerLifecycle, creationWithoutAConnectionAnnouncesNothing)
{
    m_connection.disconnect();
    LogCapture log;
    omc::OmcMediaPlayer const player(kCnid, kPlid);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::OmcMediaPlayer"),
              (Lines{"Start to create a new MediaPlayer. Client Id=0x1ABC.",
                     "Error! Failed to Init Mediaplayer. ErrorCode=-1."}));
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::init"), (Lines{kStart, kUnsent}));
}

TEST_F(PlayerLifecycle, idsAreThoseOfTheCreation)
{
    EXPECT_EQ(m_player.getPlayerID(), kPlid);
    EXPECT_EQ(m_player.getClientID(), 0x1ABCu);
}

// Playback control.

std::vector<CommandRow> rows()
{
    return {
        {"init", [](OmIMediaPlayer& player) { return player.init(); }, "msg=0xA229 uid=0x2DEF type=1 oneway", {kStart}},
        {"start",
         [](OmIMediaPlayer& player) { return player.start(-1); },
         "msg=0xC204 uid=0x2DEF type=1 oneway sint64(-1)",
         {kStart}},
        {"stop", [](OmIMediaPlayer& player) { return player.stop(); }, "msg=0xC205 uid=0x2DEF type=1 oneway", {kStart}},
        {"pause",
         [](OmIMediaPlayer& player) { return player.pause(); },
         "msg=0xC206 uid=0x2DEF type=1 oneway",
         {kStart}},
        {"resume",
         [](OmIMediaPlayer& player) { return player.resume(); },
         "msg=0xC207 uid=0x2DEF type=1 oneway",
         {kStart}},
    };
}

TEST_F(PlayerLifecycle, playbackControlSendsItsMessages)
{
    for (CommandRow const& row : rows())
    {
        expectSent(row);
    }
}

TEST_F(PlayerLifecycle, playbackControlGivesMinusOneWhenItCannotBeSent)
{
    m_connection.disconnect();
    for (CommandRow const& row : rows())
    {
        expectUnsent(row);
    }
}

TEST_F(PlayerLifecycle, prepareSendsTheUriUnchangedTheGroupAndTheFlag)
{
    OmPropertyGroup props;
    props.add("rate", "2").add("mode", "x");
    char* image = nullptr;
    int length = 0;
    props.getData(&image, &length);
    char first[80];
    std::snprintf(first, sizeof first, "Input parameters (The first OmString of properties =%p).",
                  static_cast<void*>(image));
    std::string const group("PR000200120014rate\0002\00000210023mode\000x\000ED\000", 39);
    LogCapture log;
    EXPECT_GT(m_player.prepare("x://a b/%41?q#f", props, 0xFFFFFFFE), 0);
    EXPECT_EQ(
        log.textsOf("OmcMediaPlayer::prepare"),
        (Lines{kStart, "Succeeded to to Init Mediaplayer.",
               "Input parameters (Uri = x://a b/%41?q#f. The length of properties =39, flag= -2).", first, kSent}));

    RecordedMessage const message = m_service.waitForCode(0xC203);
    EXPECT_EQ(message.pid, kCnid);
    EXPECT_EQ(textOf(message), "msg=0xC203 uid=0x2DEF type=1 oneway string(x://a b/%41?q#f) data(39: " + hexOf(group) +
                                   ") uint32(4294967294)");

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_player.prepare("", props, 0), -1);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::prepare").back(), kUnsent);
}

// Data paths.

TEST_F(PlayerLifecycle, pushDataSendsABlockOfAnySize)
{
    LogCapture log;
    EXPECT_EQ(m_player.pushData("\0\1\2", 3), 0);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::pushData"), (Lines{"RETURN 0"}));
    std::string const large(300000, 'L');
    EXPECT_EQ(m_player.pushData(large.data(), 300000), 0);
    EXPECT_EQ(m_service.waitForCode(0xC221, 2).arguments.at(0).bytes, large);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC221 uid=0x2DEF type=5 oneway block(3: 000102)",
                                               "msg=0xC221 uid=0x2DEF type=5 oneway block(300000)"));
}

TEST_F(PlayerLifecycle, pushDataWithoutDataSendsNothing)
{
    for (auto const& [data, size] : {std::pair<char const*, unsigned int>{nullptr, 5}, {"x", 0}, {nullptr, 0}})
    {
        LogCapture log;
        EXPECT_EQ(m_player.pushData(data, size), -2);
        EXPECT_EQ(log.textsOf("OmcMediaPlayer::pushData"), (Lines{"invalid parameter", "RETURN -2"}));
    }
    EXPECT_THAT(sent(), ::testing::IsEmpty());
}

TEST_F(PlayerLifecycle, pushDataThatCannotBeSentGivesZeroAllTheSame)
{
    m_connection.disconnect();
    LogCapture log;
    EXPECT_EQ(m_player.pushData("x", 1), 0);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::pushData"), (Lines{"call postMsg() fail, err=-107", "RETURN 0"}));
}

TEST_F(PlayerLifecycle, aBlockPastTheLimitOfAMessageIsNotSent)
{
    LogCapture log;
    EXPECT_EQ(m_player.pushData("x", 0x80000000), 0);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::pushData"), (Lines{"call postMsg() fail, err=-90", "RETURN 0"}));
    EXPECT_THAT(sent(), ::testing::IsEmpty());
}

TEST_F(PlayerLifecycle, pullDataAsksAndTouchesNeitherArgument)
{
    m_service.answer(0xC222, [](mdt::MsgData& reply) { reply.writeData("abc", 3); });
    int here = 0;
    void* data = &here;
    unsigned int size = 77;
    LogCapture log;
    EXPECT_EQ(m_player.pullData(&data, size), 0);
    EXPECT_THAT(log.textsOf("OmcMediaPlayer::pullData"), ::testing::IsEmpty());
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC222 uid=0x2DEF type=6 query"));

    m_service.refuse(0xC222, -13);
    EXPECT_EQ(m_player.pullData(&data, size), -1);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::pullData"), (Lines{"call postMsg() fail, err=-13"}));
    EXPECT_EQ(data, &here);
    EXPECT_EQ(size, 77u);
}

TEST_F(PlayerLifecycle, freeDataMemSendsNoPointerAndPassesTheResultThrough)
{
    LogCapture log;
    int data = 0;
    int const result = m_player.freeDataMem(&data);
    EXPECT_GT(result, 0);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::freeDataMem"), (Lines{"ENTER", "RETURN " + std::to_string(result)}));
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC223 uid=0x2DEF type=5 oneway"));

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_player.freeDataMem(nullptr), -107);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::freeDataMem"),
              (Lines{"ENTER", "call postMsg() fail, err=-107", "RETURN -107"}));
}

TEST_F(PlayerLifecycle, openEsMediaSendsThreeBuffersAndAlwaysGivesZero)
{
    LogCapture log;
    EXPECT_EQ(m_player.openEsMedia("vi", 2, nullptr, 3, "x", 0), 0);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::openEsMedia"), (Lines{"ENTER", "RETURN 0"}));
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC226 uid=0x2DEF type=1 oneway data(2: 7669) data(0) data(0)"));

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_player.openEsMedia("vi", 2, "au", 2, "x", 1), 0);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::openEsMedia"),
              (Lines{"ENTER", "call postMsg() fail, err=-107", "RETURN 0"}));
}

TEST_F(PlayerLifecycle, pushEsDataSendsABlockAndThreeShortBuffers)
{
    LogCapture log;
    int const result = m_player.pushEsData("unit", 4, "t", 1, nullptr, 0, "ex", 2);
    EXPECT_GT(result, 0);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::pushEsData"), (Lines{"ENTER", "RETURN " + std::to_string(result)}));
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC225 uid=0x2DEF type=5 oneway sint32(4) block(4: 756e6974) "
                                               "data(1: 74) data(0) data(2: 6578)"));

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_player.pushEsData("unit", 4, "t", 1, "c", 1, "e", 1), -107);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::pushEsData"), (Lines{"ENTER", "RETURN -107"}));
}

TEST_F(PlayerLifecycle, pushEsDataWithoutAnAccessUnitSendsTwoZeroBytesInItsPlace)
{
    EXPECT_GT(m_player.pushEsData(nullptr, 5, "t", 1, "c", 1, "e", 1), 0);
    EXPECT_GT(m_player.pushEsData("unit", 0, "t", 1, "c", 1, "e", 1), 0);
    EXPECT_THAT(sent(),
                ::testing::ElementsAre("msg=0xC225 uid=0x2DEF type=5 oneway sint32(5) block(2: 0000) data(1: 74) "
                                       "data(1: 63) data(1: 65)",
                                       "msg=0xC225 uid=0x2DEF type=5 oneway sint32(0) block(2: 0000) data(1: 74) "
                                       "data(1: 63) data(1: 65)"));
}

TEST_F(PlayerLifecycle, onlyTheLowerSixteenBitsOfAShortBuffersSizeCount)
{
    std::string const large(65537, 'z');
    EXPECT_EQ(m_player.openEsMedia(large.data(), 65537, large.data(), 65535, large.data(), 65536), 0);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC226 uid=0x2DEF type=1 oneway data(1: 7a) data(65535) data(0)"));
}

// What sends nothing.

TEST_F(PlayerLifecycle, localOperationsHaveFixedResults)
{
    OmIMediaPlayer& player = m_player;
    int flags = 77;
    EXPECT_EQ(player.getRequestID(), 0u);
    EXPECT_EQ(player.getActStateFlags(flags), 0);
    EXPECT_EQ(flags, 77);
    EXPECT_EQ(player.isSmallWindowMode(), -1);
    EXPECT_EQ(player.reserved1(), -4);
    EXPECT_EQ(player.reserved2(), -4);
    EXPECT_EQ(player.deinit(), 0);
    EXPECT_THAT(sent(), ::testing::IsEmpty());
}

TEST_F(PlayerLifecycle, deinitForgetsTheListenersAndTheListStaysUsable)
{
    Listener first;
    Listener second;
    m_player.addListener(&first);
    EXPECT_EQ(m_player.deinit(), 0);
    EXPECT_EQ(m_player.removeListener(&first), 1) << "it should be gone";
    EXPECT_EQ(m_player.addListener(&second), 0);
    mdt::MsgData message(kCnid, kPlid, 0xC214, 1);
    event(message);
    EXPECT_EQ(m_player.dispatch(&message), 0);
    EXPECT_EQ(first.calls, 0);
    EXPECT_EQ(second.calls, 1);
}

// The end.

TEST_F(PlayerLifecycle, destructionTellsTheServiceOnce)
{
    auto player = std::make_unique<omc::OmcMediaPlayer>(kCnid, kPlid);
    Lines const lines = leaveTaking(*player, kSent);
    sent();
    LogCapture log;
    player.reset();
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::~OmcMediaPlayer"), lines);
    EXPECT_EQ(log.lines().front().place, "omc_mediaplayer: OmcMediaPlayer::~OmcMediaPlayer");
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA22B uid=0x2DEF type=1 oneway"));
}

TEST_F(PlayerLifecycle, destructionWithoutAConnectionLogsItsFailure)
{
    auto player = std::make_unique<omc::OmcMediaPlayer>(kCnid, kPlid);
    Lines const lines = leaveTaking(*player, "Error! Failed to post message. ErrorCode=-107.");
    m_connection.disconnect();
    LogCapture log;
    player.reset();
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::~OmcMediaPlayer"), lines);
}

class FailingDeinit : public omc::OmcMediaPlayer
{
public:
    using OmcMediaPlayer::OmcMediaPlayer;
    int deinit() override { return -5; }
};

TEST_F(PlayerLifecycle, aDeinitThatFailsIsLogged)
{
    FailingDeinit player(kCnid, kPlid);
    LogCapture log;
    player.release(false);
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::~OmcMediaPlayer"),
              leaveTaking(player, "Error! Failed to deinit Mediaplayer. ErrorCode=-5."));
}

TEST_F(PlayerLifecycle, aReleasedPlayerDiesWithoutAWord)
{
    auto player = std::make_unique<omc::OmcMediaPlayer>(kCnid, kPlid);
    Lines const lines = leaveTaking(*player, kSent);
    Listener listener;
    player->addListener(&listener);
    sent();
    LogCapture log;
    player->release(false);
    EXPECT_EQ(player->removeListener(&listener), 1) << "the listener should be gone";
    player->release(true);
    player.reset();
    EXPECT_EQ(log.textsOf("OmcMediaPlayer::~OmcMediaPlayer"), lines);
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA22B uid=0x2DEF type=1 oneway"));
}

TEST_F(PlayerLifecycle, releaseFromInsideAListenerSilencesTheOthersAndTellsTheServiceAtOnce)
{
    Listener first;
    Listener second;
    bool told = false;
    first.act = [&](OmIMediaPlayer& player)
    {
        static_cast<omc::OmcMediaPlayer&>(player).release(true);
        m_service.settle(kCnid);
        told = m_service.count(0xA22B) == 1;
    };
    m_player.addListener(&first);
    m_player.addListener(&second);
    mdt::MsgData message(kCnid, kPlid, 0xC214, 1);
    event(message);
    EXPECT_EQ(m_player.dispatch(&message), 0);
    EXPECT_TRUE(told);
    EXPECT_EQ(first.calls, 1);
    EXPECT_EQ(second.calls, 0);
}

/// A dispatch on a thread of its own that stays inside its listener until it is told to go on.
class HeldDispatch
{
public:
    explicit HeldDispatch(omc::OmcMediaPlayer& player)
        : m_player(player)
    {
        m_listener.act = [this](OmIMediaPlayer&)
        {
            m_inside = true;
            EXPECT_TRUE(eventually([this] { return m_goOn.load(); }));
        };
        player.addListener(&m_listener);
        event(m_message);
        m_thread = std::thread([this] { EXPECT_EQ(m_player.dispatch(&m_message), 0); });
        EXPECT_TRUE(eventually([this] { return m_inside.load(); }));
    }

    ~HeldDispatch()
    {
        end();
        m_player.removeListener(&m_listener);
    }

    void end()
    {
        m_goOn = true;
        if (m_thread.joinable())
        {
            m_thread.join();
        }
    }

private:
    omc::OmcMediaPlayer& m_player;
    Listener m_listener;
    mdt::MsgData m_message{kCnid, kPlid, 0xC214, 1};
    std::atomic<bool> m_inside{false};
    std::atomic<bool> m_goOn{false};
    std::thread m_thread;
};

TEST_F(PlayerLifecycle, releaseWaitsForADispatchOfAnotherThread)
{
    HeldDispatch dispatch(m_player);
    LogCapture log;
    std::thread releasing([&] { m_player.release(false); });
    EXPECT_TRUE(eventually([&] { return log.contains("Lock for releasing."); }));
    m_service.settle(kCnid);
    EXPECT_EQ(m_service.count(0xA22B), 0u);
    dispatch.end();
    releasing.join();
    m_service.settle(kCnid);
    EXPECT_EQ(m_service.count(0xA22B), 1u);
}

TEST_F(PlayerLifecycle, aDispatchWaitsForTheOneBeforeIt)
{
    HeldDispatch first(m_player);
    LogCapture log;
    std::thread second([&] { EXPECT_EQ(m_player.dispatch(nullptr), -2); });
    EXPECT_TRUE(eventually([&] { return log.contains("Lock for releasing."); }));
    for (int i = 0; i < 20; ++i) // some time, in which it would get on without the lock
    {
        m_service.settle(kCnid);
    }
    EXPECT_FALSE(log.contains("Invalid Param! event=NULL!"));
    first.end();
    second.join();
    EXPECT_TRUE(log.contains("Invalid Param! event=NULL!"));
}

} // namespace

} // namespace tz::orvane::test
