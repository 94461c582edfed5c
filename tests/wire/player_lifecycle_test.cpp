// SPDX-License-Identifier: Apache-2.0
// The player's creation, its playback control and its end.
#include "orvane/omc_listeners.h"
#include "player_fixture.h"
#include "support/disguised_group.h"
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

constexpr char kSent[] = "info: Succeeded to send msg or command from client to binder.";
constexpr char kUnsent[] = "error: Error! Failed to send msg or command from client to binder. ErrorCode=-107.";

class PlayerLifecycle : public PlayerFixture
{
protected:
    static Lines leaveTaking(omc::OmcMediaPlayer const& player, char const* end)
    {
        char called[120];
        std::snprintf(called, sizeof called,
                      "debug: Called. Start to destroy this object. this=%p, cnid=0x1ABC, plid=0x2DEF.",
                      static_cast<void const*>(&player));
        return {called, "debug: Lock for releasing.", end};
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
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::OmcMediaPlayer"),
              (Lines{"debug: Start to create a new MediaPlayer. Client Id=0x1ABC.",
                     "info: Succeeded to to Init Mediaplayer.", kSent}));
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::init"), (Lines{kStart, kSent}));
}

TEST_F(PlayerLifecycle, creationWithoutAConnectionAnnouncesNothing)
{
    m_connection.disconnect();
    LogCapture log;
    omc::OmcMediaPlayer const player(kCnid, kPlid);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::OmcMediaPlayer"),
              (Lines{"debug: Start to create a new MediaPlayer. Client Id=0x1ABC.",
                     "error: Error! Failed to Init Mediaplayer. ErrorCode=-1."}));
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::init"), (Lines{kStart, kUnsent}));
}

TEST_F(PlayerLifecycle, anAnnouncementThatCannotBeSentIsLogged)
{
    std::atomic<bool> announcing{false};
    std::atomic<bool> goOn{false};
    LogCapture log(
        [&](std::string const& text)
        {
            if (text == "Succeeded to to Init Mediaplayer.")
            {
                announcing = true;
                EXPECT_TRUE(eventually([&] { return goOn.load(); }));
            }
        });
    std::thread creating([] { omc::OmcMediaPlayer const player(kCnid, kPlid); });
    EXPECT_TRUE(eventually([&] { return announcing.load(); }));
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA229 uid=0x2DEF type=1 oneway"));
    m_connection.disconnect();
    goOn = true;
    creating.join();
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::OmcMediaPlayer"),
              (Lines{"debug: Start to create a new MediaPlayer. Client Id=0x1ABC.",
                     "info: Succeeded to to Init Mediaplayer.", kUnsent}));
    EXPECT_EQ(m_service.count(0xA201), 0u);
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
    std::snprintf(first, sizeof first, "debug: Input parameters (The first OmString of properties =%p).",
                  static_cast<void*>(image));
    std::string const group("PR000200120014rate\0002\00000210023mode\000x\000ED\000", 39);
    LogCapture log;
    EXPECT_GT(m_player.prepare("x://a b/%41?q#f", props, 0xFFFFFFFE), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::prepare"),
              (Lines{kStart, "info: Succeeded to to Init Mediaplayer.",
                     "debug: Input parameters (Uri = x://a b/%41?q#f. The length of properties =39, flag= -2).", first,
                     kSent}));

    RecordedMessage const message = m_service.waitForCode(0xC203);
    EXPECT_EQ(message.pid, kCnid);
    EXPECT_EQ(textOf(message), "msg=0xC203 uid=0x2DEF type=1 oneway string(x://a b/%41?q#f) data(39: " + hexOf(group) +
                                   ") uint32(4294967294)");

    m_connection.disconnect();
    log.clear();
    EXPECT_EQ(m_player.prepare("", props, 0), -1);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::prepare").back(), kUnsent);
}

TEST_F(PlayerLifecycle, prepareSendsTheBytesOfADerivedGroup)
{
    DisguisedGroup props;
    props.add("not", "sent");
    LogCapture log;
    EXPECT_GT(m_player.prepare("u", props, 1), 0);
    EXPECT_THAT(log.linesOf("OmcMediaPlayer::prepare"),
                ::testing::Contains("debug: Input parameters (Uri = u. The length of properties =6, flag= 1)."));
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xC203 uid=0x2DEF type=1 oneway string(u) data(6: " +
                                               hexOf("masked") + ") uint32(1)"));
}

/// Changes the text beside it whenever it is asked for its bytes.
class Meddling final : public OmPropertyGroup
{
public:
    explicit Meddling(OmString& text)
        : m_text(text)
    {
    }

    void getData(char** data, int* length) const override
    {
        m_text = "late";
        OmPropertyGroup::getData(data, length);
    }

private:
    OmString& m_text;
};

TEST_F(PlayerLifecycle, prepareWritesTheUriBeforeItAsksForTheGroup)
{
    OmString uri = "early";
    Meddling props(uri);
    EXPECT_GT(m_player.prepare(uri, props, 0), 0);
    EXPECT_EQ(m_service.waitForCode(0xC203).arguments.at(0).asText(), "early");
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
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::~OmcMediaPlayer"), lines);
    EXPECT_EQ(log.lines().front().place, "omc_mediaplayer: OmcMediaPlayer::~OmcMediaPlayer");
    EXPECT_THAT(sent(), ::testing::ElementsAre("msg=0xA22B uid=0x2DEF type=1 oneway"));
}

TEST_F(PlayerLifecycle, destructionWithoutAConnectionLogsItsFailure)
{
    auto player = std::make_unique<omc::OmcMediaPlayer>(kCnid, kPlid);
    Lines const lines = leaveTaking(*player, "error: Error! Failed to post message. ErrorCode=-107.");
    m_connection.disconnect();
    LogCapture log;
    player.reset();
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::~OmcMediaPlayer"), lines);
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
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::~OmcMediaPlayer"),
              leaveTaking(player, "error: Error! Failed to deinit Mediaplayer. ErrorCode=-5."));
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
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::~OmcMediaPlayer"), lines);
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

/// Holds the one thread that hands it a message where it asks for the id to compare: before any listener is called.
class HeldPlayer final : public omc::OmcMediaPlayer
{
public:
    using OmcMediaPlayer::OmcMediaPlayer;

    unsigned int getPlayerID() override
    {
        if (dispatching.load() == std::this_thread::get_id())
        {
            inside = true;
            EXPECT_TRUE(eventually([this] { return goOn.load(); }));
        }
        return kPlid;
    }

    std::atomic<std::thread::id> dispatching{};
    std::atomic<bool> inside{false};
    std::atomic<bool> goOn{false};
};

TEST_F(PlayerLifecycle, releaseWaitsForADispatchOfAnotherThread)
{
    HeldPlayer player(kCnid, kPlid);
    std::thread dispatching(
        [&]
        {
            player.dispatching = std::this_thread::get_id();
            mdt::MsgData message(kCnid, kPlid, 0xC214, 1);
            event(message);
            EXPECT_EQ(player.dispatch(&message), 0);
        });
    EXPECT_TRUE(eventually([&] { return player.inside.load(); }));
    LogCapture log;
    std::thread releasing([&] { player.release(false); });
    EXPECT_TRUE(eventually([&] { return log.contains("Lock for releasing."); }));
    for (int i = 0; i < 20; ++i) // some time, in which it would get on without the lock
    {
        m_service.settle(kCnid);
    }
    EXPECT_EQ(m_service.count(0xA22B), 0u);
    player.goOn = true;
    dispatching.join();
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
