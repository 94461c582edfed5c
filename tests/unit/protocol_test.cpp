// SPDX-License-Identifier: Apache-2.0
// The table of all messages against a second one, written down independently.
#include "om_protocol.h"

#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace
{

using namespace tz::orvane::protocol;

struct Expected
{
    ObjectClass object;
    Direction direction;
    int code;
    int type; ///< 0: events have no fixed one
    char const* name;
    char const* arguments; ///< one letter each, see letterOf; 'n' stands for any 32-bit number
    char const* reply;
};

constexpr auto kClient = ObjectClass::client;
constexpr auto kPlayer = ObjectClass::player;
constexpr auto kPreview = ObjectClass::preview;
constexpr auto kDrm = ObjectClass::drm;
constexpr auto kUp = Direction::toService;
constexpr auto kDown = Direction::toClient;

constexpr Expected kExpected[] = {
    {kClient, kUp, 0xA104, 1, "setConfig", "g", ""},
    {kClient, kUp, 0xA105, 2, "createPlayer", "g", "u"},
    {kClient, kUp, 0xA107, 1, "destroyPlayer", "u", ""},
    {kClient, kUp, 0xA108, 1, "destroyPlayerAll", "", ""},
    {kClient, kUp, 0xA109, 2, "createPreviewTool", "g", "u"},
    {kClient, kUp, 0xA10A, 1, "destroyPreviewTool", "", ""},
    {kClient, kUp, 0xA10D, 1, "~OmcClient", "", ""},
    {kClient, kUp, 0xA10E, 1, "stopPlayerAll", "", ""},
    {kClient, kUp, 0xA510, 2, "createDrmAgent", "u", "u"},
    {kClient, kUp, 0xA511, 1, "destroyDrmAgent (by id)", "u", ""},
    {kClient, kUp, 0xA512, 1, "destroyDrmAgent (by agent)", "u", ""},
    {kClient, kDown, 0xC101, 0, "OM_TRANS_MSG_ID_CONNECTION_CHANGED", "nn", ""},
    {kClient, kDown, 0xC102, 0, "OM_TRANS_MSG_ID_CONNECTION_DIED", "", ""},
    {kClient, kDown, 0x2005, 0, "OM_TRANS_MSG_ID_CONNECTION_DIED", "", ""},
    {kClient, kDown, 0xC214, 0, "OM_TRANS_MSG_ID_EVENT", "nng", ""},

    {kPlayer, kUp, 0xA201, 1, "OmcMediaPlayer", "", ""},
    {kPlayer, kUp, 0xA229, 1, "init", "", ""},
    {kPlayer, kUp, 0xC203, 1, "prepare", "sgu", ""},
    {kPlayer, kUp, 0xC204, 1, "start", "l", ""},
    {kPlayer, kUp, 0xC205, 1, "stop", "", ""},
    {kPlayer, kUp, 0xC206, 1, "pause", "", ""},
    {kPlayer, kUp, 0xC207, 1, "resume", "", ""},
    {kPlayer, kUp, 0xC221, 5, "pushData", "b", ""},
    {kPlayer, kUp, 0xC222, 6, "pullData", "", ""},
    {kPlayer, kUp, 0xC223, 5, "freeDataMem", "", ""},
    {kPlayer, kUp, 0xC225, 5, "pushEsData", "ibddd", ""},
    {kPlayer, kUp, 0xC226, 1, "openEsMedia", "ddd", ""},
    {kPlayer, kUp, 0xA22B, 1, "~OmcMediaPlayer", "", ""},
    {kPlayer, kUp, 0xC208, 1, "seek", "li", ""},
    {kPlayer, kUp, 0xA205, 1, "speed", "uu", ""},
    {kPlayer, kUp, 0xA207, 1, "rotate", "u", ""},
    {kPlayer, kUp, 0xA209, 1, "setDisplayRect", "d", ""},
    {kPlayer, kUp, 0xA20B, 1, "setZoom", "uu", ""},
    {kPlayer, kUp, 0xA20D, 1, "moveTo", "ii", ""},
    {kPlayer, kUp, 0xA20E, 1, "setAnimation", "i", ""},
    {kPlayer, kUp, 0xA20F, 1, "setVolume", "i", ""},
    {kPlayer, kUp, 0xA210, 1, "setAudioMute", "u", ""},
    {kPlayer, kUp, 0xA212, 1, "setVideoMute", "u", ""},
    {kPlayer, kUp, 0xA21C, 1, "setAudioTrackNo", "u", ""},
    {kPlayer, kUp, 0xA21F, 1, "setSubtitleTrackNo", "u", ""},
    {kPlayer, kUp, 0xA221, 1, "setSubtitleVisible", "u", ""},
    {kPlayer, kUp, 0xA223, 1, "setSubtitleFontPath", "s", ""},
    {kPlayer, kUp, 0xA224, 1, "setSubtitleUri", "s", ""},
    {kPlayer, kUp, 0xA225, 1, "setSubtitleStyle", "d", ""},
    {kPlayer, kUp, 0xA226, 1, "setSubtitleDelay", "l", ""},
    {kPlayer, kUp, 0xA227, 1, "setExtraAudioAttribute", "ii", ""},
    {kPlayer, kUp, 0xA228, 2, "doExtendCommand", "sg", "g"},
    {kPlayer, kUp, 0xA203, 2, "isSeekable", "", "u"},
    {kPlayer, kUp, 0xA204, 2, "isSpeedable", "", "u"},
    {kPlayer, kUp, 0xA206, 2, "getSpeed", "", "u"},
    {kPlayer, kUp, 0xA208, 2, "getRotateAngle", "", "u"},
    {kPlayer, kUp, 0xA20A, 2, "getDisplayRect", "", "d"},
    {kPlayer, kUp, 0xA20C, 2, "getZoom", "", "uu"},
    {kPlayer, kUp, 0xA211, 2, "isAudioMute", "", "u"},
    {kPlayer, kUp, 0xA213, 2, "isVideoMute", "", "u"},
    {kPlayer, kUp, 0xA214, 2, "getState", "", "u"},
    {kPlayer, kUp, 0xA215, 2, "getCurPosition", "", "l"},
    {kPlayer, kUp, 0xA216, 2, "getMediaInfo", "d", "d"},
    {kPlayer, kUp, 0xA217, 2, "getContainerInfo", "d", "d"},
    {kPlayer, kUp, 0xA218, 2, "getExifInfo", "", "d"},
    {kPlayer, kUp, 0xA219, 2, "getCharpterInfo", "", "d"},
    {kPlayer, kUp, 0xA21A, 2, "getVideoTrackInfo", "", "d"},
    {kPlayer, kUp, 0xA21B, 2, "getAudioTrackInfo", "", "d"},
    {kPlayer, kUp, 0xA21D, 2, "getAudioTrackNo", "", "u"},
    {kPlayer, kUp, 0xA21E, 2, "getSubtitleTrackInfo", "", "d"},
    {kPlayer, kUp, 0xA220, 2, "getSubtitleTrackNo", "", "u"},
    {kPlayer, kUp, 0xA222, 2, "isSubtitleVisible", "", "u"},
    {kPlayer, kDown, 0xC212, 0, "OM_TRANS_MSG_ID_STATE_CHANGED", "nnnng", ""},
    {kPlayer, kDown, 0xC213, 0, "OM_TRANS_MSG_ID_ERROR", "nnng", ""},
    {kPlayer, kDown, 0xC214, 0, "OM_TRANS_MSG_ID_EVENT", "nnng", ""},
    {kPlayer, kDown, 0xC215, 0, "OM_TRANS_MSG_ID_REPLY", "nnnng", ""},
    {kPlayer, kDown, 0xC216, 0, "OM_TRANS_MSG_ID_METAINFO_UPDATED", "nndg", ""},
    {kPlayer, kDown, 0xC217, 0, "OM_TRANS_MSG_ID_CONTAINERINFO_UPDATED", "nndg", ""},
    {kPlayer, kDown, 0xC218, 0, "EXIF information", "nndg", ""},
    {kPlayer, kDown, 0xC219, 0, "OM_TRANS_MSG_ID_TRACKINFO_UPDATED", "nndg", ""},
    {kPlayer, kDown, 0xC220, 0, "OM_TRANS_MSG_ID_PLAYTIME_UPDATED", "nnlg", ""},
    {kPlayer, kDown, 0xC227, 0, "OM_TRANS_MSG_ID_FRAME_INFO_UPDATED", "nnbg", ""},
    {kPlayer, kDown, 0xC229, 0, "OM_TRANS_MSG_ID_ALIVE_UPDATED", "", ""},

    {kPreview, kUp, 0xA301, 2, "getRequestID", "", "u"},
    {kPreview, kUp, 0xA302, 1, "requestPreviewInfo", "silig", ""},
    {kPreview, kUp, 0xA303, 1, "stopPreview", "s", ""},
    {kPreview, kUp, 0xA304, 1, "stopPreviewAll", "g", ""},
    {kPreview, kUp, 0xA306, 2, "doExtendCommand", "sg", "g"},
    {kPreview, kDown, 0xA302, 0, "OM_TRANS_MSG_ID_REQ_PREVIEW_INFO", "nnnsg", ""},

    {kDrm, kUp, 0xA517, 2, "drmPluginCreate", "", "u"},
    {kDrm, kUp, 0xA503, 2, "initialize", "", "u"},
    {kDrm, kUp, 0xA50F, 2, "cleanup", "", "u"},
    {kDrm, kUp, 0xA504, 2, "setServerCertificate", "d", "d"},
    {kDrm, kUp, 0xA505, 2, "openSession", "d", "d"},
    {kDrm, kUp, 0xA506, 2, "generateKeyRequest", "d", "d"},
    {kDrm, kUp, 0xA507, 2, "updateSession", "d", "d"},
    {kDrm, kUp, 0xA508, 2, "closeSession", "d", "d"},
    {kDrm, kUp, 0xA509, 2, "getKeyStatuses", "d", "d"},
    {kDrm, kUp, 0xA50A, 2, "decrypt", "d", "d"},
    {kDrm, kUp, 0xA50B, 2, "licenseQuery", "d", "d"},
    {kDrm, kUp, 0xA50C, 2, "getMetrics", "d", "d"},
    {kDrm, kUp, 0xA50D, 2, "getCertificateRequest", "d", "d"},
    {kDrm, kUp, 0xA50E, 2, "parseAndLoadServiceCertificateResponse", "d", "d"},
    {kDrm, kUp, 0xA228, 1, "doExtendCommand", "sg", ""},
    {kDrm, kDown, 0xC228, 0, "DRM event", "nnnnlnd", ""},
};

char letterOf(ArgKind kind)
{
    switch (kind)
    {
    case ArgKind::uint32:
        return 'u';
    case ArgKind::sint32:
        return 'i';
    case ArgKind::sint64:
        return 'l';
    case ArgKind::string:
        return 's';
    case ArgKind::data:
        return 'd';
    case ArgKind::block:
        return 'b';
    case ArgKind::group:
        return 'g';
    default:
        return '\0';
    }
}

// In the letters of `pattern`: a number that may be of either kind is shown as 'n' where the pattern allows both.
template <std::size_t count> std::string lettersOf(ArgKind const (&kinds)[count], std::string const& pattern)
{
    std::string letters;
    for (ArgKind const kind : kinds)
    {
        char const letter = letterOf(kind);
        if (letter == '\0')
        {
            break;
        }
        bool const either = letters.size() < pattern.size() && pattern[letters.size()] == 'n';
        letters += either && (letter == 'u' || letter == 'i') ? 'n' : letter;
    }
    return letters;
}

TEST(Protocol, everyMessageIsInTheTableWithItsNameTypeAndArguments)
{
    for (Expected const& expected : kExpected)
    {
        SCOPED_TRACE(std::string(expected.name) + " " + std::to_string(expected.code));
        Message const* const message = findMessage(expected.object, expected.direction, expected.code);
        ASSERT_NE(message, nullptr);
        EXPECT_STREQ(message->name, expected.name);
        EXPECT_EQ(lettersOf(message->arguments, expected.arguments), expected.arguments);
        EXPECT_EQ(lettersOf(message->reply, expected.reply), expected.reply);
        EXPECT_EQ(argumentCount(*message), static_cast<int>(std::strlen(expected.arguments)));
        if (expected.type != 0)
        {
            EXPECT_EQ(message->type, expected.type);
        }
    }
}

TEST(Protocol, theTableHoldsEveryMessageOnceAndNoOther)
{
    EXPECT_EQ(std::size(kMessages), std::size(kExpected));
    for (Message const& message : kMessages)
    {
        int found = 0;
        for (Message const& other : kMessages)
        {
            found +=
                other.object == message.object && other.direction == message.direction && other.code == message.code
                    ? 1
                    : 0;
        }
        EXPECT_EQ(found, 1) << message.name;
    }
}

TEST(Protocol, onlyQueriesHaveAReply)
{
    for (Message const& message : kMessages)
    {
        if (message.direction == Direction::toService && message.type != kTypeQuery)
        {
            EXPECT_EQ(message.reply[0], ArgKind::none) << message.name;
        }
    }
}

TEST(Protocol, aMessageThatDoesNotExistIsNotFound)
{
    EXPECT_EQ(findMessage(kClient, kUp, 0xA100), nullptr);
    EXPECT_EQ(findMessage(kPlayer, kDown, 0xC221), nullptr);
    EXPECT_EQ(findMessage(kPlayer, kUp, 0xC227), nullptr);
}

TEST(Protocol, idsFallIntoRangesOf4096)
{
    struct Range
    {
        IdRange range;
        unsigned int first;
        unsigned int last;
    };
    for (Range const& row : {Range{kClientIds, 0x1000, 0x1FFF}, Range{kPlayerIds, 0x2000, 0x2FFF},
                             Range{kPreviewToolIds, 0x4000, 0x4FFF}, Range{kDrmAgentIds, 0x6000, 0x6FFF}})
    {
        EXPECT_FALSE(row.range.contains(row.first - 1));
        EXPECT_TRUE(row.range.contains(row.first));
        EXPECT_TRUE(row.range.contains(row.last));
        EXPECT_FALSE(row.range.contains(row.last + 1));
    }
}

TEST(Protocol, namesAndNumbersOfTheServiceAreFixed)
{
    EXPECT_STREQ(kServiceName, "Orvane.MediaPlayer.Server");
    EXPECT_EQ(kPostTimeout, 5000);
    EXPECT_EQ(kStatusConnectionDied, 0xA004);
    EXPECT_EQ(kTypeCommand, 1);
    EXPECT_EQ(kTypeQuery, 2);
    EXPECT_EQ(kTypePush, 5);
    EXPECT_EQ(kTypePull, 6);
}

} // namespace
