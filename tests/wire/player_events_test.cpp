// SPDX-License-Identifier: Apache-2.0
// What the service reports of a player: decoding, listener calls, and every way a message can be wrong.
#include "orvane/omc_listeners.h"
#include "player_fixture.h"
#include "player_recorder.h"
#include "support/ending.h"
#include "support/message_parts.h"

#include <cstdio>
#include <optional>

namespace tz::orvane::test
{

namespace
{

using namespace om;

using Lines = std::vector<std::string>;

constexpr char kReqText[] = "reqId=0x00AB";

// The parts of a message.

Fill record(std::size_t size)
{
    return bytes(std::string(size, 'r'));
}

Fill frame(std::size_t size)
{
    return [size](mdt::MsgData& msg)
    {
        // Kept until the service has posted the message.
        static std::string bytes;
        bytes.assign(size, 'r');
        msg.writeBlockData(bytes.data(), static_cast<int>(size));
    };
}

void position(mdt::MsgData& msg)
{
    msg.writeSInt64(-7000000000);
}

Fill group()
{
    return bytes(groupImage({{"k", "v"}}));
}

struct EventRow
{
    int code;
    char const* name;
    std::vector<Fill> parts;          ///< between the request's id and the group
    char const* call;                 ///< what the listener hears, without the properties
    std::string invocation;           ///< the log line
    std::vector<char const*> missing; ///< the log line when that part is missing, from the player's id on
    char const* noGroup;              ///< the log line when the group is no block
};

constexpr char kFirst[] = "error: Read 1st param failed!";
constexpr char kSecond[] = "error: Read 2nd param failed!";
constexpr char kThird[] = "error: Read 3rd param failed!";
constexpr char kFourth[] = "error: Read 4th param failed!";

std::vector<EventRow> rows()
{
    std::string const req = kReqText;
    return {
        {0xC212,
         "OM_TRANS_MSG_ID_STATE_CHANGED",
         {number(4), number(0xF0000001)},
         "onStateChanged(4 -268435455)",
         "info: To invoke listener->onStateChanged() with params: " + req + ", newSts=4, actSts=0xF0000001.",
         {kFirst, kSecond, kThird, kFourth},
         "error: Read 5th param failed! result=-71"},
        {0xC213,
         "OM_TRANS_MSG_ID_ERROR",
         {number(4000000000)},
         "onError(4000000000)",
         "info: To invoke listener->onError() function with params: " + req + ", errCode=-294967296.",
         {kFirst, kSecond, "error: Read 3rd param failed!."},
         "error: Read 4th param failed! result=-71"},
        {0xC214,
         "OM_TRANS_MSG_ID_EVENT",
         {number(17)},
         "onEvent(17)",
         "info: To invoke listener->onEvent() function with params: " + req + ", evt=17.",
         {kFirst, kSecond, kThird},
         "error: Read 4th param failed! result=-71."},
        {0xC215,
         "OM_TRANS_MSG_ID_REPLY",
         {number(18), [](mdt::MsgData& msg) { msg.writeSInt32(-5); }},
         "onReply(18 -5)",
         "info: To invoke listener->onReply() function with params: " + req + ", evt=18, res=-5.",
         {kFirst, kSecond, kThird, kFourth},
         "error: Read 5th param failed! result=-71."},
        {0xC216,
         "OM_TRANS_MSG_ID_METAINFO_UPDATED",
         {record(984)},
         "onMetaInfoUpdated(984 bytes, 984 sent)",
         "info: To invoke listener->onMetaInfoUpdated() function with params: " + req + ".",
         {kFirst, kSecond, kThird},
         "error: Read 4th param failed! result=-71."},
        {0xC217,
         "OM_TRANS_MSG_ID_CONTAINERINFO_UPDATED",
         {record(18916)},
         "onContainerInfoUpdated(18916 bytes, 18916 sent)",
         "info: To invoke listener->onContainerInfoUpdated() function with params: " + req + ".",
         {kFirst, kSecond, kThird},
         "error: Read 4th param failed! result=-71."},
        {0xC218,
         "OM_TRANS_MSG_ID_METAINFO_UPDATED",
         {record(260)},
         "onExifInfoUpdated(260 bytes, 260 sent)",
         "info: To invoke listener->onMetaInfoUpdated() function with params: " + req + ".",
         {kFirst, kSecond, kThird},
         "error: Read 4th param failed! result=-71."},
        {0xC219,
         "OM_TRANS_MSG_ID_TRACKINFO_UPDATED",
         {record(480)},
         "onTrackChanged(480 bytes, 480 sent)",
         "info: To invoke listener->onTrackChanged() function with params: " + req + ".",
         {kFirst, kSecond, kThird},
         "error: Read 4th param failed! result=-71."},
        {0xC220,
         "OM_TRANS_MSG_ID_PLAYTIME_UPDATED",
         {&position},
         "onPlayTimeUpdated(-7000000000)",
         "info: To invoke listener->onPlayTimeUpdated() function with params: " + req + ", currPos=-7000000000.",
         {kFirst, kSecond, kFourth},
         "error: Read 4th param failed! result=-71."},
        {0xC227,
         "OM_TRANS_MSG_ID_FRAME_INFO_UPDATED",
         {frame(5)},
         "onFrameInfoUpdated(5 bytes, 5 sent)",
         "info: To invoke listener->onFrameInfoUpdate() function with params: " + req + ".",
         {kFirst, kSecond, "error: Read big data failed! result=-71."},
         "error: Read 3th param failed! result=-71."},
    };
}

class PlayerEvents : public PlayerFixture
{
protected:
    PlayerEvents()
    {
        m_player.addListener(&m_recorder);
        m_connection.onMessage([this](mdt::MsgData& msg) { return dispatch(msg); });
    }

    ~PlayerEvents() override { m_connection.onMessage({}); }

    int dispatch(mdt::MsgData& msg)
    {
        return msg.readMsg() == 0xC227 ? m_player.dispatchEx(&msg) : m_player.dispatch(&msg);
    }

    int deliver(EventRow const& row, std::vector<Fill> const& arguments)
    {
        return m_connection.deliver(kPlid, row.code, whole(arguments));
    }

    static std::vector<Fill> wholeMessage(EventRow const& row)
    {
        std::vector<Fill> arguments{number(kPlid), number(kReqId)};
        arguments.insert(arguments.end(), row.parts.begin(), row.parts.end());
        arguments.push_back(group());
        return arguments;
    }

    /// All lines of the dispatch of a message with this row's code, `rest` behind the common ones.
    static void expectLines(LogCapture const& log, EventRow const& row, Lines const& rest)
    {
        std::string const name = "debug: Deal callback event. evt_id=" + std::string(row.name) + ".";
        bool const extended = row.code == 0xC227;
        Lines lines = extended ? Lines{"debug: Called. version=3", name}
                               : Lines{"debug: Called. version=3", "debug: Lock for releasing.", name};
        lines.insert(lines.end(), rest.begin(), rest.end());
        EXPECT_EQ(log.linesOf(extended ? "OmcMediaPlayer::dispatchEx" : "OmcMediaPlayer::dispatch"), lines);
    }

    PlayerRecorder m_recorder{m_player};
};

TEST_F(PlayerEvents, eachReachesItsListenerMethod)
{
    for (EventRow const& row : rows())
    {
        SCOPED_TRACE(row.call);
        LogCapture log;
        EXPECT_EQ(deliver(row, wholeMessage(row)), 0);
        EXPECT_EQ(m_recorder.taken(), (Lines{std::string(row.call) + " 1 props, k=v"}));
        expectLines(log, row, {row.invocation});
        EXPECT_EQ(log.lines().front().place.substr(0, 17), "omc_mediaplayer: ");
    }
}

TEST_F(PlayerEvents, aMissingPartIsLoggedAndReachesNoListener)
{
    for (EventRow const& row : rows())
    {
        for (std::size_t missing = 0; missing < row.missing.size(); ++missing)
        {
            SCOPED_TRACE(std::string(row.call) + " without part " + std::to_string(missing));
            std::vector<Fill> arguments = wholeMessage(row);
            arguments.resize(missing);
            LogCapture log;
            EXPECT_EQ(deliver(row, arguments), -1);
            EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
            expectLines(log, row, {row.missing[missing]});
        }
    }
}

TEST_F(PlayerEvents, aNumberThatIsTooShortIsMissing)
{
    for (EventRow const& row : rows())
    {
        for (std::size_t part = 0; part < row.missing.size(); ++part)
        {
            bool const isRecord = part == 2 && ((row.code >= 0xC216 && row.code <= 0xC219) || row.code == 0xC227);
            if (isRecord)
            {
                continue;
            }
            SCOPED_TRACE(std::string(row.call) + " with a short part " + std::to_string(part));
            std::vector<Fill> arguments = wholeMessage(row);
            arguments[part] = bytes("ab");
            LogCapture log;
            EXPECT_EQ(deliver(row, arguments), -1);
            EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
            expectLines(log, row, {row.missing[part]});
        }
    }
}

TEST_F(PlayerEvents, aRecordOrFrameThatIsANumberIsAFailedRead)
{
    for (EventRow const& row : rows())
    {
        if (row.code < 0xC216 || row.code == 0xC220)
        {
            continue;
        }
        SCOPED_TRACE(row.call);
        std::vector<Fill> arguments = wholeMessage(row);
        arguments[2] = number(1);
        LogCapture log;
        EXPECT_EQ(deliver(row, arguments), -1);
        EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
        expectLines(log, row, {row.missing[2]});
    }
}

TEST_F(PlayerEvents, aPositionOf32BitsIsTooShort)
{
    LogCapture log;
    EXPECT_EQ(m_connection.deliver(kPlid, 0xC220, whole({number(kPlid), number(kReqId), number(5), group()})), -1);
    EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::dispatch").back(), kFourth);
}

TEST_F(PlayerEvents, anAbsentOrEmptyGroupIsAnEmptyOne)
{
    for (EventRow const& row : rows())
    {
        SCOPED_TRACE(row.call);
        std::vector<Fill> arguments = wholeMessage(row);
        arguments.pop_back();
        EXPECT_EQ(deliver(row, arguments), 0);
        arguments.push_back(bytes(""));
        EXPECT_EQ(deliver(row, arguments), 0);
        std::string const call = std::string(row.call) + " 0 props";
        EXPECT_EQ(m_recorder.taken(), (Lines{call, call}));
    }
}

TEST_F(PlayerEvents, aGroupThatIsANumberIsAFailedRead)
{
    for (EventRow const& row : rows())
    {
        SCOPED_TRACE(row.call);
        std::vector<Fill> arguments = wholeMessage(row);
        arguments.back() = number(1);
        LogCapture log;
        EXPECT_EQ(deliver(row, arguments), -1);
        EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
        expectLines(log, row, {row.noGroup});
    }
}

TEST_F(PlayerEvents, aMessageForAnotherPlayerIsDropped)
{
    for (EventRow const& row : rows())
    {
        SCOPED_TRACE(row.call);
        std::vector<Fill> arguments = wholeMessage(row);
        arguments[0] = number(0x2DE0);
        LogCapture log;
        EXPECT_EQ(deliver(row, arguments), -1);
        EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
        expectLines(log, row, {"error: PLID is not the same! plid=0x2DE0, this->plid=0x2DEF."});
    }
}

TEST_F(PlayerEvents, withoutAListenerAMessageIsDecodedAllTheSame)
{
    m_player.removeListener(&m_recorder);
    for (EventRow const& row : rows())
    {
        LogCapture log;
        EXPECT_EQ(deliver(row, wholeMessage(row)), 0);
        expectLines(log, row, {row.invocation});
    }
    EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
}

TEST_F(PlayerEvents, listenersAreCalledInTheOrderOfTheirAdding)
{
    std::vector<int> order;
    PlayerRecorder second(m_player);
    m_recorder.act = [&] { order.push_back(1); };
    second.act = [&] { order.push_back(2); };
    m_player.addListener(&second);
    EXPECT_EQ(deliver(rows()[2], wholeMessage(rows()[2])), 0);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(second.taken().size(), 1u);
    m_player.removeListener(&second);
}

TEST_F(PlayerEvents, aRecordThatIsTooShortIsCompletedWithZeros)
{
    struct Row
    {
        int code;
        std::size_t sent;
        char const* call;
    };
    for (Row const& row : {Row{0xC216, 983, "onMetaInfoUpdated(984 bytes, 983 sent) 1 props, k=v"},
                           Row{0xC217, 10, "onContainerInfoUpdated(18916 bytes, 10 sent) 1 props, k=v"},
                           Row{0xC218, 0, "onExifInfoUpdated(260 bytes, 0 sent) 1 props, k=v"},
                           Row{0xC219, 479, "onTrackChanged(480 bytes, 479 sent) 1 props, k=v"}})
    {
        EXPECT_EQ(
            m_connection.deliver(kPlid, row.code, whole({number(kPlid), number(kReqId), record(row.sent), group()})),
            0);
        EXPECT_EQ(m_recorder.taken(), Lines{row.call});
    }
}

TEST_F(PlayerEvents, aWholeRecordIsNotCopied)
{
    mdt::MsgData msg(kCnid, kPlid, 0xC217, 1);
    whole({number(kPlid), number(kReqId), record(18916)})(msg);
    EXPECT_EQ(m_player.dispatch(&msg), 0);
    EXPECT_EQ(m_recorder.record, msg.read(2));
}

TEST_F(PlayerEvents, aFrameMayHaveAnySize)
{
    EventRow row = rows().back();
    row.parts = {frame(3u << 20)};
    EXPECT_EQ(deliver(row, wholeMessage(row)), 0);
    row.parts = {frame(0)};
    EXPECT_EQ(deliver(row, wholeMessage(row)), 0);
    EXPECT_EQ(m_recorder.taken(), (Lines{"onFrameInfoUpdated(3145728 bytes, 3145728 sent) 1 props, k=v",
                                         "onFrameInfoUpdated(0 bytes, 0 sent) 1 props, k=v"}));
}

TEST_F(PlayerEvents, aSignOfLifeIsLoggedOnly)
{
    LogCapture log;
    EXPECT_EQ(m_connection.deliver(kPlid, 0xC229, {}), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::dispatch"),
              (Lines{"debug: Called. version=3", "debug: Lock for releasing.",
                     "debug: Deal callback event. evt_id=OM_TRANS_MSG_ID_ALIVE_UPDATED."}));
    EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
}

TEST_F(PlayerEvents, unknownMessagesAreLoggedAndIgnored)
{
    struct Row
    {
        int code;
        char const* line;
    };
    for (Row const& row :
         {Row{0xC221, "error: Unknown Event! evt_id=0xC221."}, Row{0xC211, "error: Unknown Event! evt_id=0xC211."},
          Row{0xC22A, "error: Unknown Event! evt_id=0xC22A."}, Row{0xC21A, "error: Unknown Event! evt_id=0xC21A."},
          Row{0xC228, "error: Unknown Event! evt_id=0xC228."}, Row{0x0001, "error: Unknown Event! evt_id=0x0001."}})
    {
        LogCapture log;
        EXPECT_EQ(m_connection.deliver(kPlid, row.code, {}), 0);
        EXPECT_EQ(log.linesOf("OmcMediaPlayer::dispatch"),
                  (Lines{"debug: Called. version=3", "debug: Lock for releasing.", row.line}));
    }
    EXPECT_THAT(m_recorder.taken(), ::testing::IsEmpty());
}

TEST_F(PlayerEvents, eachDispatchKnowsOnlyItsOwnMessages)
{
    mdt::MsgData frameInfo(kCnid, kPlid, 0xC227, 1);
    mdt::MsgData stateChanged(kCnid, kPlid, 0xC212, 1);
    LogCapture log;
    EXPECT_EQ(m_player.dispatch(&frameInfo), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::dispatch").back(), "error: Unknown Event! evt_id=0xC227.");
    EXPECT_EQ(m_player.dispatchEx(&stateChanged), 0);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::dispatchEx"),
              (Lines{"debug: Called. version=3", "error: Unknown Event! evt_id=0xC212."}));
}

TEST_F(PlayerEvents, noMessageGivesMinusTwo)
{
    LogCapture log;
    EXPECT_EQ(m_player.dispatch(nullptr), -2);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::dispatch"),
              (Lines{"debug: Called. version=3", "debug: Lock for releasing.", "error: Invalid Param! event=NULL!"}));
    EXPECT_EQ(m_player.dispatchEx(nullptr), -2);
    EXPECT_EQ(log.linesOf("OmcMediaPlayer::dispatchEx"),
              (Lines{"debug: Called. version=3", "error: Invalid Param! event=NULL!"}));
}

TEST_F(PlayerEvents, aListenerMayAskTheServiceAndHandleAFrame)
{
    std::optional<int> seekable;
    std::optional<int> framed;
    m_recorder.act = [&]
    {
        if (!seekable)
        {
            seekable = m_player.isSeekable();
            mdt::MsgData msg(kCnid, kPlid, 0xC227, 1);
            whole(wholeMessage(rows().back()))(msg);
            framed = m_player.dispatchEx(&msg);
        }
    };
    EXPECT_EQ(deliver(rows()[0], wholeMessage(rows()[0])), 0);
    EXPECT_EQ(seekable, 1);
    EXPECT_EQ(framed, 0);
    EXPECT_EQ(m_recorder.taken(),
              (Lines{"onStateChanged(4 -268435455) 1 props, k=v", "onFrameInfoUpdated(5 bytes, 5 sent) 1 props, k=v"}));
}

TEST(PlayerEventsUnconnected, aGroupThatIsNoneEndsTheProcess)
{
    expectAbort("[PRG][ERR] Invalid HEAD!\n",
                []
                {
                    omc::OmcMediaPlayer player(kCnid, kPlid);
                    mdt::MsgData msg(kCnid, kPlid, 0xC214, 1);
                    whole({number(kPlid), number(kReqId), number(1), bytes(std::string("XX0000ED\0", 9))})(msg);
                    player.dispatch(&msg);
                });
}

class Renamed final : public omc::OmcMediaPlayer
{
public:
    using OmcMediaPlayer::OmcMediaPlayer;
    unsigned int getPlayerID() override { return 0x2ABC; }
};

TEST_F(PlayerEvents, theIdOfAMessageIsComparedWithTheVirtualGetters)
{
    Renamed player(kCnid, kPlid);
    PlayerRecorder recorder(player);
    player.addListener(&recorder);
    for (EventRow const& row : rows())
    {
        SCOPED_TRACE(row.call);
        std::vector<Fill> arguments = wholeMessage(row);
        auto const dispatched = [&]
        {
            mdt::MsgData msg(kCnid, kPlid, row.code, 1);
            whole(arguments)(msg);
            return row.code == 0xC227 ? player.dispatchEx(&msg) : player.dispatch(&msg);
        };
        LogCapture log;
        EXPECT_EQ(dispatched(), -1);
        expectLines(log, row, {"error: PLID is not the same! plid=0x2DEF, this->plid=0x2ABC."});
        arguments[0] = number(0x2ABC);
        EXPECT_EQ(dispatched(), 0);
        EXPECT_EQ(recorder.taken().size(), 1u);
    }
}

class Silent final : public omc::OmcIMediaPlayerListener
{
};

TEST_F(PlayerEvents, listenerMethodsThatAreNotOverriddenOnlyLog)
{
    Silent silent;
    m_player.removeListener(&m_recorder);
    m_player.addListener(&silent);
    char const* const methods[] = {
        "onStateChanged",         "onError",           "onEvent",        "onReply",           "onMetaInfoUpdated",
        "onContainerInfoUpdated", "onExifInfoUpdated", "onTrackChanged", "onPlayTimeUpdated", "onFrameInfoUpdated"};
    std::size_t index = 0;
    for (EventRow const& row : rows())
    {
        LogCapture log;
        EXPECT_EQ(deliver(row, wholeMessage(row)), 0);
        EXPECT_EQ(log.linesOf(std::string("OmcIMediaPlayerListener::") + methods[index++]),
                  Lines{"info:  Implemet by USER."});
    }
    m_player.removeListener(&silent);
}

} // namespace

} // namespace tz::orvane::test
