// SPDX-License-Identifier: Apache-2.0
// The player's getters: the question, the answer, and what happens without a usable one.
#include "player_fixture.h"
#include "support/message_parts.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace tz::orvane::test
{

namespace
{

using namespace om;

/// Stands for the messenger's own result, which the line with the reply's envelope tells.
constexpr int kMessengers = 999999;

constexpr char kReadNumberFailed[] =
    "error: Error! Failed to readUInt32 from binder msgDataOut to client. ErrorCode=-71.";
constexpr char kReadRecordFailed[] =
    "error: Error! Failed to readData from binder msgDataOut to client. ErrorCode=-71.";
constexpr char kRecordRead[] = "info: Succeeded to readData from binder msgDataOut to client. .";

/// What a call gives, leaves in its arguments and logs behind the line with the reply's envelope.
struct Outcome
{
    int result;
    std::string out;
    std::vector<std::string> lines;
};

struct QueryRow
{
    char const* operation;
    int code;
    std::function<int(OmIMediaPlayer&, std::string&)> call;
    char const* arguments; ///< of the question
    Fill answer;
    Outcome answered;
    Outcome unreadable; ///< the answer is empty
    int refused;        ///< result when the service refuses with -13
    int unsent;         ///< result when the connection is gone (-107)
    std::string outOfFailure;
};

/// Byte `i` of a record as the service sends it.
char sentByte(std::size_t i)
{
    return static_cast<char>(i % 251 + 1);
}

/// What a record holds before; never sent.
constexpr char kOldByte = '\xFE';

Fill recordOf(std::size_t size)
{
    std::string record(size, '\0');
    for (std::size_t i = 0; i < record.size(); ++i)
    {
        record[i] = sentByte(i);
    }
    return bytes(record);
}

/// "984 new" or "984 new, 0 old": how much of a record has been replaced.
template <class Record> std::string newBytes(Record const& record)
{
    std::string content(sizeof record, '\0');
    std::memcpy(content.data(), &record, sizeof record);
    std::size_t fresh = 0;
    while (fresh < content.size() && content[fresh] == sentByte(fresh))
    {
        ++fresh;
    }
    std::size_t old = fresh;
    while (old < content.size() && content[old] == kOldByte)
    {
        ++old;
    }
    return old == content.size() ? std::to_string(fresh) + " new, " + std::to_string(old - fresh) + " old"
                                 : "damaged at " + std::to_string(old);
}

/// The call of a getter that fills one argument: a number that was 77 before.
template <class Value> std::function<int(OmIMediaPlayer&, std::string&)> ask(int (OmIMediaPlayer::*getter)(Value&))
{
    return [getter](OmIMediaPlayer& player, std::string& out)
    {
        auto value = static_cast<Value>(77);
        int const result = (player.*getter)(value);
        out = std::to_string(static_cast<long long>(value));
        return result;
    };
}

std::function<int(OmIMediaPlayer&, std::string&)> ask(int (OmIMediaPlayer::*getter)())
{
    return [getter](OmIMediaPlayer& player, std::string&) { return (player.*getter)(); };
}

template <class Record>
std::function<int(OmIMediaPlayer&, std::string&)> askRecord(int (OmIMediaPlayer::*getter)(Record&))
{
    return [getter](OmIMediaPlayer& player, std::string& out)
    {
        auto const record = std::make_unique<Record>();
        std::memset(static_cast<void*>(record.get()), kOldByte, sizeof(Record));
        int const result = (player.*getter)(*record);
        out = newBytes(*record);
        return result;
    };
}

int getRect(OmIMediaPlayer& player, std::string& out)
{
    om_display_rect_t rect{7, 7, 7, 7, 7};
    int const result = player.getDisplayRect(rect);
    out = std::to_string(rect.px) + " " + std::to_string(rect.py) + " " + std::to_string(rect.width) + " " +
          std::to_string(rect.height) + " " + std::to_string(rect.zoom);
    return result;
}

int getZoom(OmIMediaPlayer& player, std::string& out)
{
    auto mode = static_cast<om_zoom_mode_e>(77);
    auto ratio = static_cast<om_zoom_ratio_e>(77);
    int const result = player.getZoom(mode, ratio);
    out = std::to_string(mode) + " " + std::to_string(ratio);
    return result;
}

void chapter(mdt::MsgData& reply)
{
    om_chapter_info_t info{};
    info.start_pos = 5000000000;
    info.end_pos = -1;
    std::memset(info.name, 'n', sizeof info.name); // without a NUL
    std::memcpy(info.lang, "deu", 4);
    reply.writeData(reinterpret_cast<char const*>(&info), sizeof info);
}

int getChapter(OmIMediaPlayer& player, std::string& out)
{
    om_chapter_info_t info{};
    info.start_pos = 7;
    info.end_pos = 8;
    std::memcpy(info.lang, "old", 4);
    int const result = player.getCharpterInfo(info);
    out = std::to_string(info.start_pos) + " " + std::to_string(info.end_pos) + " " + info.lang;
    return result;
}

void zoom(mdt::MsgData& reply)
{
    reply.writeUInt32(2);
    reply.writeUInt32(300);
}

void rect(mdt::MsgData& reply)
{
    om_display_rect_t const sent{1, -2, 1920, 1080, 4};
    reply.writeData(reinterpret_cast<char const*>(&sent), sizeof sent);
}

std::vector<QueryRow> const& rows()
{
    using P = OmIMediaPlayer;
    static std::vector<QueryRow> const kRows = {
        {"isSeekable",
         0xA203,
         ask(&P::isSeekable),
         "",
         number(3),
         {3, "", {"info: msgDataOut (isSeekable=3)."}},
         {0, "", {kReadNumberFailed, "info: msgDataOut (isSeekable=0)."}},
         -1,
         -1,
         ""},
        {"isSpeedable",
         0xA204,
         ask(&P::isSpeedable),
         "",
         number(0),
         {0, "", {"info: msgDataOut (isSpeedable=0)."}},
         {0, "", {kReadNumberFailed, "info: msgDataOut (isSpeedable=0)."}},
         -1,
         -1,
         ""},
        {"getSpeed",
         0xA206,
         ask(&P::getSpeed),
         "",
         number(0xFFFFFFE0),
         {0, "-32", {}},
         {-71, "77", {kReadNumberFailed}},
         -13,
         -107,
         "77"},
        {"getRotateAngle",
         0xA208,
         ask(&P::getRotateAngle),
         "",
         number(90),
         {0, "90", {}},
         {-71, "77", {kReadNumberFailed}},
         -13,
         -107,
         "77"},
        {"getDisplayRect",
         0xA20A,
         &getRect,
         "",
         &rect,
         {kMessengers,
          "1 -2 1920 1080 4",
          {kRecordRead, "info: msgDataOut (rect: px=1, py=-2, width=1920, height=1080)."}},
         {kMessengers, "7 7 7 7 7", {kReadRecordFailed, "info: msgDataOut (rect: px=7, py=7, width=7, height=7)."}},
         -13,
         -107,
         "7 7 7 7 7"},
        {"getZoom",
         0xA20C,
         &getZoom,
         "",
         &zoom,
         {kMessengers, "2 300", {}},
         {kMessengers, "0 0", {kReadNumberFailed, kReadNumberFailed}},
         -13,
         -107,
         "0 0"},
        {"isAudioMute",
         0xA211,
         ask(&P::isAudioMute),
         "",
         number(1),
         {1, "", {"info: msgDataOut (isAudioMute=1)."}},
         {-71, "", {kReadNumberFailed}},
         -1,
         -1,
         ""},
        {"isVideoMute",
         0xA213,
         ask(&P::isVideoMute),
         "",
         number(2),
         {2, "", {"info: msgDataOut (isVideoMute=2)."}},
         {-71, "", {kReadNumberFailed}},
         -1,
         -1,
         ""},
        {"getState",
         0xA214,
         ask(&P::getState),
         "",
         number(4),
         {0, "4", {}},
         {-71, "77", {kReadNumberFailed}},
         -13,
         -107,
         "77"},
        {"getCurPosition",
         0xA215,
         ask(&P::getCurPosition),
         "",
         [](mdt::MsgData& reply) { reply.writeSInt64(-9000000000); },
         {0, "-9000000000", {}},
         {-71, "77", {kReadNumberFailed}},
         -13,
         -107,
         "77"},
        {"getMediaInfo",
         0xA216,
         askRecord(&P::getMediaInfo),
         " data(984)",
         recordOf(984),
         {0, "984 new, 0 old", {kRecordRead}},
         {-71, "0 new, 984 old", {kReadRecordFailed}},
         -13,
         -107,
         "0 new, 984 old"},
        {"getContainerInfo",
         0xA217,
         askRecord(&P::getContainerInfo),
         " data(18916)",
         recordOf(18916),
         {0, "18916 new, 0 old", {kRecordRead}},
         {-71, "0 new, 18916 old", {kReadRecordFailed}},
         -13,
         -107,
         "0 new, 18916 old"},
        {"getExifInfo",
         0xA218,
         askRecord(&P::getExifInfo),
         "",
         recordOf(260),
         {0, "260 new, 0 old", {kRecordRead}},
         {-71, "0 new, 260 old", {kReadRecordFailed}},
         -13,
         -107,
         "0 new, 260 old"},
        {"getCharpterInfo",
         0xA219,
         &getChapter,
         "",
         &chapter,
         {0,
          "5000000000 -1 deu",
          {kRecordRead, "info: msgDataOut (chapter: start_pos=5000000000, end_pos=-1, name=" + std::string(256, 'n') +
                            ", lang=deu)."}},
         {-71, "7 8 old", {kReadRecordFailed}},
         -13,
         -107,
         "7 8 old"},
        {"getVideoTrackInfo",
         0xA21A,
         askRecord(&P::getVideoTrackInfo),
         "",
         recordOf(11340),
         {0, "11340 new, 0 old", {kRecordRead}},
         {-71, "0 new, 11340 old", {kReadRecordFailed}},
         -13,
         -107,
         "0 new, 11340 old"},
        {"getAudioTrackInfo",
         0xA21B,
         askRecord(&P::getAudioTrackInfo),
         "",
         recordOf(11340),
         {0, "11340 new, 0 old", {kRecordRead}},
         {-71, "0 new, 11340 old", {kReadRecordFailed}},
         -13,
         -107,
         "0 new, 11340 old"},
        {"getAudioTrackNo",
         0xA21D,
         ask(&P::getAudioTrackNo),
         "",
         number(5),
         {0, "5", {"info: msgDataOut (output AudioTrackNo=5.)."}},
         {-71, "77", {kReadNumberFailed}},
         -13,
         -107,
         "77"},
        {"getSubtitleTrackInfo",
         0xA21E,
         askRecord(&P::getSubtitleTrackInfo),
         "",
         recordOf(11340),
         {0, "11340 new, 0 old", {kRecordRead}},
         {-71, "0 new, 11340 old", {kReadRecordFailed}},
         -13,
         -107,
         "0 new, 11340 old"},
        {"getSubtitleTrackNo",
         0xA220,
         ask(&P::getSubtitleTrackNo),
         "",
         number(6),
         {0, "6", {}},
         {-71, "77", {kReadNumberFailed}},
         -13,
         -107,
         "77"},
        {"isSubtitleVisible",
         0xA222,
         ask(&P::isSubtitleVisible),
         "",
         number(1),
         {1, "", {}},
         {-1, "", {kReadNumberFailed}},
         -1,
         -1,
         ""},
    };
    return kRows;
}

class PlayerQueries : public PlayerFixture
{
protected:
    /// Makes the call and compares everything but the question.
    void expect(QueryRow const& row, Outcome const& expected, std::vector<std::string> const& head)
    {
        LogCapture log;
        std::string out;
        int const result = row.call(m_player, out);
        int messengers = 0;
        std::vector<std::string> const actual = linesOf(row, log, messengers);
        EXPECT_EQ(result, expected.result == kMessengers ? messengers : expected.result);
        EXPECT_EQ(out, expected.out);
        std::vector<std::string> lines = head;
        lines.insert(lines.end(), expected.lines.begin(), expected.lines.end());
        EXPECT_EQ(actual, lines);
        EXPECT_EQ(log.lines().front().place, "omc_mediaplayer: " + operationName(row.operation));
    }

    /// Lines behind the answer's envelope.
    void expectAnswered(QueryRow const& row, Outcome const& expected)
    {
        char envelope[120];
        std::snprintf(envelope, sizeof envelope,
                      "info:  msgDataOut (pid=0x1ABC, uid=0x2DEF, cmd=0x%04X, type=2, ret=POSITIVE).",
                      static_cast<unsigned int>(row.code));
        expect(row, expected, {kStart, "info: Succeeded to send msg or command from client to binder.", envelope});
    }

    void expectFailed(QueryRow const& row, int result, char const* error)
    {
        expect(row, {result, row.outOfFailure, {}},
               {kStart,
                std::string("error: Error! Failed to send msg or command from client to binder. ErrorCode=") + error});
    }

private:
    /// The lines of an operation; the messenger's own result, which may be any positive number, is taken out of them.
    static std::vector<std::string> linesOf(QueryRow const& row, LogCapture const& log, int& messengers)
    {
        std::vector<std::string> lines = log.linesOf(operationName(row.operation));
        for (std::string& line : lines)
        {
            std::size_t const value = line.find("ret=") + 4;
            if (line.rfind("info:  msgDataOut", 0) == 0 && std::stoi(line.substr(value)) > 0)
            {
                messengers = std::stoi(line.substr(value));
                line.replace(value, line.find(')') - value, "POSITIVE");
            }
        }
        return lines;
    }
};

TEST_F(PlayerQueries, eachAsksItsQuestionAndGivesTheAnswer)
{
    for (QueryRow const& row : rows())
    {
        SCOPED_TRACE(row.operation);
        m_service.answer(row.code, row.answer);
        expectAnswered(row, row.answered);
        char question[64];
        std::snprintf(question, sizeof question, "msg=0x%04X uid=0x2DEF type=2 query%s",
                      static_cast<unsigned int>(row.code), row.arguments);
        EXPECT_THAT(sent(), ::testing::ElementsAre(question));
    }
}

TEST_F(PlayerQueries, anEmptyAnswerIsAFailedRead)
{
    for (QueryRow const& row : rows())
    {
        SCOPED_TRACE(row.operation);
        m_service.answer(row.code, {});
        expectAnswered(row, row.unreadable);
    }
}

TEST_F(PlayerQueries, anAnswerOfTheWrongKindIsAFailedRead)
{
    for (QueryRow const& row : rows())
    {
        SCOPED_TRACE(row.operation);
        m_service.answer(row.code, [](mdt::MsgData& reply) { reply.writeString("no number and no record"); });
        expectAnswered(row, row.unreadable);
    }
}

TEST_F(PlayerQueries, aRefusalIsAFailedSend)
{
    for (QueryRow const& row : rows())
    {
        SCOPED_TRACE(row.operation);
        m_service.refuse(row.code, -13);
        expectFailed(row, row.refused, "-13.");
    }
}

TEST_F(PlayerQueries, withoutAConnectionNothingIsSent)
{
    m_connection.disconnect();
    for (QueryRow const& row : rows())
    {
        SCOPED_TRACE(row.operation);
        expectFailed(row, row.unsent, "-107.");
    }
}

TEST_F(PlayerQueries, aRecordThatIsTooShortLeavesItsEndAsItWas)
{
    for (QueryRow const& row : rows())
    {
        std::size_t const size = row.answered.out.find(" new, 0 old");
        if (size == std::string::npos)
        {
            continue;
        }
        SCOPED_TRACE(row.operation);
        int const all = std::stoi(row.answered.out.substr(0, size));
        m_service.answer(row.code, recordOf(static_cast<std::size_t>(all) - 1));
        expectAnswered(row, {-71, std::to_string(all - 1) + " new, 1 old", {kReadRecordFailed}});
    }
}

} // namespace

} // namespace tz::orvane::test
