// SPDX-License-Identifier: Apache-2.0
// URIs taken apart: headers, file names, parameters, positions and log lines.
#include "orvane/om_uri_util.h"

#include "support/log_capture.h"
#include "unit/uri_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using namespace std::string_literals;
using platform::DebugLevel;
using test::LogCapture;
using ::testing::Contains;
using ::testing::ElementsAre;

om_uri_info_t infoOf(UriEntity const& entity)
{
    om_uri_info_t info;
    std::memset(&info, 0x55, sizeof info);
    EXPECT_EQ(entity.getUriInfo(info), 0);
    return info;
}

std::string fileNameOf(std::string const& uri)
{
    return infoOf(UriEntity(uri)).file_name;
}

std::string pureOf(std::string const& uri)
{
    return infoOf(UriEntity(uri)).pure_uri;
}

TEST(UriEntity, takesTheCommonOnesApart)
{
    struct
    {
        char const* uri;
        char const* header;
        char const* file_name;
        char const* pure_uri;
        char const* width;
        char const* height;
        char const* playMode;
    } const cases[] = {
        {"file:///mnt/usb/movie.mkv", "file://", "movie.mkv", "file:///mnt/usb/movie.mkv", "", "", ""},
        {"file://mnt/a.jpg", "file:/", "a.jpg", "file://mnt/a.jpg", "", "", ""},
        {"file:///mnt/v/clip.mp4?width=1920&height=1080", "file://", "clip.mp4", "file:///mnt/v/clip.mp4", "1920",
         "1080", ""},
        {"file:///mnt/v/clip.mp4?playMode=2&lang=x", "file://", "clip.mp4", "file:///mnt/v/clip.mp4?lang=x", "", "",
         "2"},
        {"es://stream", "es://", "", "es://stream", "", "", ""},
        {"http://host/v/clip.mp4", "http://", "clip.mp4", "http://host/v/clip.mp4", "", "", ""},
        {"https://host/clip.m3u8?token=1", "https://", "clip.m3u8", "https://host/clip.m3u8?token=1", "", "", ""},
        {"rtsp://10.0.0.1:554/live", "rtsp://", "", "rtsp://10.0.0.1:554/live", "", "", ""},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.uri);
        UriEntity const entity(c.uri);
        EXPECT_TRUE(entity.isValid());
        om_uri_info_t const info = infoOf(entity);
        EXPECT_STREQ(info.orign_uri, c.uri);
        EXPECT_STREQ(info.header, c.header);
        EXPECT_STREQ(info.file_name, c.file_name);
        EXPECT_STREQ(info.pure_uri, c.pure_uri);
        EXPECT_EQ(entity.getProperty("width"), c.width);
        EXPECT_EQ(entity.getProperty("height"), c.height);
        EXPECT_EQ(entity.getProperty("playMode"), c.playMode);
    }
}

TEST(UriEntity, headersAreKnownByTheirNames)
{
    EXPECT_EQ(UriEntity::HEADER_FILE, "file://");
    EXPECT_EQ(UriEntity::HEADER_HTTP, "http://");
    EXPECT_EQ(UriEntity::HEADER_HTTPS, "https://");
    EXPECT_EQ(UriEntity::HEADER_ES, "es://");
    EXPECT_EQ(UriEntity::HEADER_RTSP, "rtsp://");
}

TEST(UriEntity, unknownHeaderGivesAnInvalidEntity)
{
    for (char const* uri : {"ftp://a/b.mp4", "FILE:///a.mp4", "/mnt/a.mp4", "file:/a.mp4", "xfile:///a.mp4", "es:/"})
    {
        SCOPED_TRACE(uri);
        LogCapture log;
        UriEntity entity(uri);
        EXPECT_FALSE(entity.isValid());
        EXPECT_EQ(entity.parseUri(uri), -1);
        EXPECT_THAT(log.linesOf("UriEntity::parseUri"), Contains(std::string("error: Unknown header! uri=") + uri));
        om_uri_info_t const empty{};
        om_uri_info_t const info = infoOf(entity);
        EXPECT_EQ(std::memcmp(&info, &empty, sizeof info), 0);
    }
}

TEST(UriEntity, unknownHeaderIsAnError)
{
    LogCapture const log(DebugLevel::error);
    UriEntity const entity("ftp://a/b.mp4");
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].text, "Unknown header! uri=ftp://a/b.mp4");
    EXPECT_EQ(log.lines()[0].place, "om_uri_util: UriEntity::parseUri");
}

TEST(UriEntity, emptyUriGivesAnInvalidEntity)
{
    LogCapture log;
    {
        UriEntity const entity("");
        EXPECT_THAT(log.linesOf("UriEntity::UriEntity"), ElementsAre("error: URI is empty!"));
        EXPECT_EQ(log.lines().size(), 1U);
        EXPECT_FALSE(entity.isValid());
        om_uri_info_t const empty{};
        om_uri_info_t const info = infoOf(entity);
        EXPECT_EQ(std::memcmp(&info, &empty, sizeof info), 0);
        EXPECT_EQ(entity.getProperty("width"), "");
        log.clear();
    }
    EXPECT_THAT(log.linesOf("UriEntity::~UriEntity"), ElementsAre("debug: called. "));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].place, "om_uri_util: UriEntity::~UriEntity");
}

TEST(UriEntity, parsingAnEmptyUriFindsNoHeader)
{
    UriEntity entity("es://x");
    EXPECT_EQ(entity.parseUri(""), -1);
    EXPECT_FALSE(entity.isValid());
}

TEST(UriEntity, fileHeaderWithNothingBehindItIsOutOfRange)
{
    EXPECT_THROW(UriEntity("file://"), std::out_of_range);
    UriEntity entity("file:///a.mp4?width=1");
    EXPECT_THROW(entity.parseUri("file://"), std::out_of_range);
    EXPECT_FALSE(entity.isValid());
    EXPECT_STREQ(infoOf(entity).orign_uri, "");
    EXPECT_EQ(entity.getProperty("width"), "");
}

TEST(UriEntity, fileHeaderWithOneCharacterBehindIt)
{
    EXPECT_STREQ(infoOf(UriEntity("file:///")).header, "file://");
    EXPECT_STREQ(infoOf(UriEntity("file://?")).header, "file:/");
    EXPECT_STREQ(infoOf(UriEntity("file://.")).file_name, ".");
}

TEST(UriEntity, otherHeadersMayStandAlone)
{
    for (char const* uri : {"http://", "https://", "es://", "rtsp://"})
    {
        UriEntity const entity(uri);
        EXPECT_TRUE(entity.isValid());
        EXPECT_STREQ(infoOf(entity).header, uri);
        EXPECT_STREQ(infoOf(entity).pure_uri, uri);
        EXPECT_STREQ(infoOf(entity).file_name, "");
    }
}

TEST(UriEntity, parsingAgainStartsFromNothing)
{
    UriEntity entity("file:///mnt/a-rather-long-name.mp4?width=1920&height=1080");
    EXPECT_EQ(entity.parseUri("es://s?pos=3"), 0);
    om_uri_info_t const info = infoOf(entity);
    om_uri_info_t expected{};
    std::strcpy(expected.orign_uri, "es://s?pos=3");
    std::strcpy(expected.pure_uri, "es://s");
    std::strcpy(expected.header, "es://");
    EXPECT_EQ(std::memcmp(&info, &expected, sizeof info), 0);
    EXPECT_EQ(entity.getProperty("width"), "");
    EXPECT_EQ(entity.getProperty("height"), "");
    EXPECT_EQ(entity.getProperty("pos"), "3");
    EXPECT_EQ(entity.parseUri("ftp://x"), -1);
    EXPECT_FALSE(entity.isValid());
    EXPECT_EQ(entity.getProperty("pos"), "");
}

TEST(UriEntity, fileNameNeedsAnExtensionBehindTheLastSlash)
{
    EXPECT_EQ(fileNameOf("file:///mnt/dir.d/name"), "");
    EXPECT_EQ(fileNameOf("file:///mnt/name"), "");
    EXPECT_EQ(fileNameOf("file:///mnt/"), "");
    EXPECT_EQ(fileNameOf("file:///mnt/.hidden"), ".hidden");
    EXPECT_EQ(fileNameOf("file:///mnt/name."), "name.");
    EXPECT_EQ(fileNameOf("file:///mnt/a.tar.gz"), "a.tar.gz");
    EXPECT_EQ(fileNameOf("http://host.example"), "host.example");
}

TEST(UriEntity, fileNameEndsAtTheLastQuestionMark)
{
    EXPECT_EQ(fileNameOf("file:///mnt/a.mp4?x=/b.mp4"), "a.mp4");
    EXPECT_EQ(fileNameOf("file:///mnt/what?.mp4?width=1"), "what?.mp4");
    EXPECT_EQ(fileNameOf("file:///mnt/a.mp4?"), "a.mp4");
    EXPECT_EQ(fileNameOf("file:///mnt/a%20b%3F.mp4"), "a%20b%3F.mp4");
}

TEST(UriEntity, unknownFileNameShowsTheWholeUri)
{
    LogCapture const log(DebugLevel::error);
    UriEntity const entity("es://stream?width=1");
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].text, "Unknown File Name! uri=es://stream?width=1");
}

TEST(UriEntity, longFileNameIsCutTo63Bytes)
{
    for (std::size_t const length : {std::size_t{62}, std::size_t{63}, std::size_t{64}, std::size_t{5000}})
    {
        std::string const name = "." + std::string(length - 1, 'n');
        EXPECT_EQ(fileNameOf("file:///mnt/" + name), name.substr(0, 63)) << length;
        EXPECT_EQ(infoOf(UriEntity("file:///mnt/" + name)).file_name[63], '\0');
    }
}

TEST(UriEntity, longUriIsCutTo2047BytesAndTheRestIsParsedAllTheSame)
{
    for (std::size_t const length : {std::size_t{2046}, std::size_t{2047}, std::size_t{2048}, std::size_t{9000}})
    {
        std::string uri = "file:///";
        uri.resize(length - 8, 'd');
        uri += "?width=1";
        ASSERT_EQ(uri.size(), length);
        UriEntity const entity(uri);
        om_uri_info_t const info = infoOf(entity);
        EXPECT_EQ(std::string(info.orign_uri), uri.substr(0, 2047));
        EXPECT_EQ(std::string(info.pure_uri), uri.substr(0, uri.size() - 8).substr(0, 2047));
        EXPECT_EQ(info.orign_uri[2047], '\0');
        EXPECT_EQ(entity.getProperty("width"), "1");
    }
}

TEST(UriEntity, embeddedNulIsAnOrdinaryCharacterOfTheUri)
{
    std::string const uri = "file:///a\0b.mp4?wid\0th=1&width=2\0-3&pos=\0x"s;
    UriEntity const entity(uri);
    EXPECT_TRUE(entity.isValid());
    om_uri_info_t const info = infoOf(entity);
    EXPECT_EQ(std::string(info.orign_uri, uri.size() + 1), uri + '\0');
    EXPECT_EQ(std::string(info.file_name, 8), "a\0b.mp4\0"s);
    EXPECT_EQ(entity.getProperty("width"), "2") << "texts of a group end at a NUL";
    EXPECT_EQ(entity.getProperty("pos"), "") << "nothing is left before the NUL";
    std::string const pure = "file:///a\0b.mp4?wid\0th=1"s;
    EXPECT_EQ(std::string(info.pure_uri, pure.size() + 1), pure + '\0');
}

TEST(UriEntity, allFourteenParametersAreTakenInAnyOrder)
{
    std::vector<std::string> const keys(std::rbegin(test::kUriKeys), std::rend(test::kUriKeys));
    ASSERT_EQ(keys.size(), 14U);
    std::string uri = "http://host/v.ts";
    for (std::size_t i = 0; i < keys.size(); ++i)
    {
        uri += (i == 0 ? "?" : "&") + keys[i] + "=" + std::to_string(i);
    }
    UriEntity const entity(uri);
    EXPECT_STREQ(infoOf(entity).pure_uri, "http://host/v.ts");
    for (std::size_t i = 0; i < keys.size(); ++i)
    {
        EXPECT_EQ(entity.getProperty(keys[i]), std::to_string(i)) << keys[i];
    }
}

TEST(UriEntity, parametersAreCutWithOneOfTheirSeparators)
{
    EXPECT_EQ(pureOf("es://s?a=1&width=2"), "es://s?a=1");
    EXPECT_EQ(pureOf("es://s?width=2&a=1"), "es://s?a=1");
    EXPECT_EQ(pureOf("es://s?a=1&width=2&b=3"), "es://s?a=1&b=3");
    EXPECT_EQ(pureOf("es://s?width=2"), "es://s");
    EXPECT_EQ(pureOf("es://s?width=2&"), "es://s?");
}

TEST(UriEntity, aQuestionMarkWithNothingBehindItIsKept)
{
    UriEntity const entity("file:///a.mp4?");
    EXPECT_STREQ(infoOf(entity).pure_uri, "file:///a.mp4?");
    EXPECT_EQ(entity.getProperty("width"), "");
}

TEST(UriEntity, parametersStandBehindTheLastQuestionMark)
{
    UriEntity const entity("es://s?width=1?height=2");
    EXPECT_EQ(entity.getProperty("height"), "2");
    EXPECT_EQ(entity.getProperty("width"), "") << "it was looked for while the other '?' was the last one";
    EXPECT_STREQ(infoOf(entity).pure_uri, "es://s?width=1");

    UriEntity const other("es://s?height=2?width=1");
    EXPECT_EQ(other.getProperty("width"), "1");
    EXPECT_EQ(other.getProperty("height"), "2") << "the other '?' had gone with its parameter";
    EXPECT_STREQ(infoOf(other).pure_uri, "es://s");
}

TEST(UriEntity, aQuestionMarkInsideAValueHidesWhatStandsBeforeIt)
{
    UriEntity const entity("es://s?pos=a?b&width=3");
    EXPECT_EQ(entity.getProperty("width"), "3");
    EXPECT_EQ(entity.getProperty("pos"), "");
    EXPECT_STREQ(infoOf(entity).pure_uri, "es://s?pos=a?b");
}

TEST(UriEntity, percentSignsAreOrdinaryCharacters)
{
    UriEntity const entity("es://s?pos=%31%26width=7&app=%s%n%d");
    EXPECT_EQ(entity.getProperty("pos"), "%31%26width=7");
    EXPECT_EQ(entity.getProperty("app"), "%s%n%d");
    EXPECT_EQ(entity.getProperty("width"), "");
}

TEST(UriEntity, ofARepeatedKeyTheFirstIsTakenAndTheOtherStays)
{
    UriEntity const entity("es://s?width=1&width=2&width=3");
    EXPECT_EQ(entity.getProperty("width"), "1");
    EXPECT_STREQ(infoOf(entity).pure_uri, "es://s?width=2&width=3");
}

TEST(UriEntity, aKeyThatFirstOccursInsideAnotherParameterIsMissing)
{
    EXPECT_EQ(UriEntity("es://s?xwidth=1&width=2").getProperty("width"), "");
    EXPECT_EQ(pureOf("es://s?xwidth=1&width=2"), "es://s?xwidth=1&width=2");
    EXPECT_EQ(UriEntity("es://s?a=width&width=2").getProperty("width"), "");
    EXPECT_EQ(UriEntity("es://s?widths=1&width=2").getProperty("width"), "");
}

TEST(UriEntity, keysAreWholeNames)
{
    EXPECT_EQ(UriEntity("es://s?curItem=4").getProperty("curItem"), "4");
    EXPECT_EQ(UriEntity("es://s?a=1&video-play-mode=5").getProperty("video-play-mode"), "5");
    EXPECT_EQ(UriEntity("es://s?xcurItem=4").getProperty("curItem"), "");
    EXPECT_EQ(UriEntity("es://s?a=1;video-play-mode=5").getProperty("video-play-mode"), "");
    EXPECT_EQ(UriEntity("es://s?Width=5").getProperty("width"), "");
}

TEST(UriEntity, anEmptyValueInTheMiddleIsCutAndNotKept)
{
    UriEntity const entity("es://s?width=&height=2");
    EXPECT_EQ(entity.getProperty("width"), "");
    EXPECT_STREQ(infoOf(entity).pure_uri, "es://s");
}

TEST(UriEntity, aKeyAtTheVeryEndHasNoValue)
{
    for (char const* uri : {"es://s?width", "es://s?width=", "es://s?a=1&width", "es://s?a=1&width=", "es://s?widthX"})
    {
        SCOPED_TRACE(uri);
        LogCapture const log;
        UriEntity const entity(uri);
        EXPECT_THAT(log.linesOf("UriEntity::parseProperty"), Contains("info: This key [width] has no value."));
        EXPECT_EQ(entity.getProperty("width"), "");
        EXPECT_STREQ(infoOf(entity).pure_uri, uri);
    }
}

TEST(UriEntity, absentPropertiesAreEmpty)
{
    UriEntity const entity("es://s?width=1");
    EXPECT_EQ(entity.getProperty(""), "");
    EXPECT_EQ(entity.getProperty("height"), "");
    EXPECT_EQ(entity.getProperty("Width"), "");
}

struct Found
{
    int result;
    int startPos = -7;
    int endPos = -7;
    std::string value;
    std::vector<std::string> lines;
};

Found find(std::string const& uri, std::string const& key)
{
    UriEntity entity("es://x");
    OmPropertyGroup group;
    LogCapture const log;
    Found found;
    found.result = entity.parseProperty(uri, key, group, found.startPos, found.endPos);
    found.value = group.get(key);
    found.lines = log.linesOf("UriEntity::parseProperty");
    return found;
}

TEST(UriEntityParameter, positionsDelimitWhatIsToBeCut)
{
    Found found = find("es://s?width=12&a=1", "width");
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.value, "12");
    EXPECT_EQ(found.startPos, 7);
    EXPECT_EQ(found.endPos, 16);
    EXPECT_THAT(found.lines, ElementsAre("debug: called. uri=es://s?width=12&a=1, key=width", "info: Done. value=12."));
    found = find("es://s?a=1&width=12", "width");
    EXPECT_EQ(found.startPos, 10);
    EXPECT_EQ(found.endPos, 19);
    found = find("es://s?width=1", "width");
    EXPECT_EQ(found.startPos, 6);
    EXPECT_EQ(found.endPos, 14);
}

TEST(UriEntityParameter, anyKeyAndAnyTextWillDo)
{
    EXPECT_EQ(find("?k=v", "k").value, "v");
    EXPECT_EQ(find("?k=v", "k").startPos, 0);
    EXPECT_EQ(find("?a=b&a-b=c", "a-b").value, "c");
}

TEST(UriEntityParameter, whatIsNotFoundLeavesGroupAndPositions)
{
    struct
    {
        char const* uri;
        char const* text;
    } const cases[] = {
        {"es://s", "There is no key."},
        {"", "There is no key."},
        {"es://s?a=1", "Can't find this key [width]"},
        {"es://s?", "Can't find this key [width]"},
        {"es://width=1?a=1", "Can't find this key [width]"},
        {"es://s?xwidth=1&width=2", "Can't find this key [width]"},
        {"es://s?width-x=1", "Can't find this key [width]"},
        {"es://s?a=1&width", "This key [width] has no value."},
        {"es://s?a=1&width=", "This key [width] has no value."},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.uri);
        Found const found = find(c.uri, "width");
        EXPECT_EQ(found.result, -1);
        EXPECT_EQ(found.value, "");
        EXPECT_EQ(found.startPos, -7);
        EXPECT_EQ(found.endPos, -7);
        EXPECT_THAT(found.lines, ElementsAre(std::string("debug: called. uri=") + c.uri + ", key=width",
                                             std::string("info: ") + c.text));
    }
}

TEST(UriEntityParameter, theShortFormFindsAndSaysTheSame)
{
    UriEntity entity("es://x");
    OmPropertyGroup group;
    LogCapture const log;
    EXPECT_EQ(entity.parseProperty("es://s?width=12&a=1", "width", group), 0);
    EXPECT_EQ(entity.parseProperty("es://s?width=12&a=1", "height", group), -1);
    EXPECT_EQ(group.count(), 1);
    EXPECT_EQ(group.get("width"), "12");
    EXPECT_THAT(log.linesOf("UriEntity::parseProperty"),
                ElementsAre("debug: called. uri=es://s?width=12&a=1, key=width", "info: Done. value=12.",
                            "debug: called. uri=es://s?width=12&a=1, key=height",
                            "info: Can't find this key [height]"));
    EXPECT_EQ(log.lines().size(), 4U);
}

TEST(UriEntityParameter, aFoundOneIsAppendedToTheGroup)
{
    UriEntity entity("es://x");
    OmPropertyGroup group;
    group.add("width", "old");
    EXPECT_EQ(entity.parseProperty("?width=new", "width", group), 0);
    EXPECT_EQ(group.count(), 2);
    EXPECT_EQ(group.valueAt(1), "new");
    EXPECT_EQ(entity.getProperty("width"), "") << "the entity's own parameters are others";
}

TEST(UriEntityLog, parsingTellsItsSteps)
{
    LogCapture const log;
    std::string const uri = "file:///mnt/v/clip.mp4?width=1920&height=1080";
    UriEntity const entity(uri);
    std::string const sizes = "info: totalSize=" + std::to_string(14 * sizeof(OmString)) +
                              ", arraySize=14, keySize=" + std::to_string(sizeof(OmString));
    EXPECT_THAT(
        log.linesOf("UriEntity::parseUri"),
        ElementsAre("debug: called. uri=" + uri, "info: headerLen=7",
                    "info: fn_uri=file:///mnt/v/clip.mp4, paramPos=22, extPos=18, filePos=13", sizes,
                    "info: key=width, startPos=23, endPos=34",
                    "info: subStr_tmp1:file:///mnt/v/clip.mp4?, subStr_tmp2:height=1080",
                    "info: key=height, startPos=22, endPos=34",
                    "info: subStr_tmp1:file:///mnt/v/clip.mp4, subStr_tmp2:", "info: pure_uri:file:///mnt/v/clip.mp4"));
}

TEST(UriEntityLog, nobodyElseSpeaksWhileItParsesButTheCopyOfTexts)
{
    UriEntity entity("file:///a.mp4?width=1");
    LogCapture log;
    EXPECT_EQ(entity.parseUri("es://s.ts?pos=2"), 0);
    EXPECT_EQ(log.texts().at(1), "headerLen=5");
    for (LogCapture::Line const& line : log.lines())
    {
        EXPECT_TRUE(line.place == "om_uri_util: UriEntity::parseUri" ||
                    line.place == "om_uri_util: UriEntity::parseProperty" ||
                    line.place == "om_type_util: OmTypeUtil::copy")
            << line.whole;
    }
    log.clear();
    EXPECT_EQ(entity.parseUri("ftp://x"), -1);
    EXPECT_EQ(log.linesOf("UriEntity::parseUri").size(), 2U);
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST(UriEntityLog, positionsThatDoNotExistAreMinusOne)
{
    LogCapture const log;
    UriEntity const entity("es://stream");
    EXPECT_THAT(log.linesOf("UriEntity::parseUri"),
                Contains("info: fn_uri=es://stream, paramPos=-1, extPos=-1, filePos=4"));
}

TEST(UriEntityLog, theRecordIsTold)
{
    UriEntity const entity("file://v/a.ts?pos=1");
    LogCapture const log;
    om_uri_info_t info;
    EXPECT_EQ(entity.getUriInfo(info), 0);
    EXPECT_THAT(log.linesOf("UriEntity::getUriInfo"),
                ElementsAre("info: ----info-orign_uri=file://v/a.ts?pos=1.", "info: ----info-pure_uri=file://v/a.ts.",
                            "info: ----info-file_name=a.ts.", "info: ----info-header=file:/."));
}

} // namespace

} // namespace tz::orvane::om
