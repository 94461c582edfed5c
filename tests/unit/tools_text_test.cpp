// SPDX-License-Identifier: Apache-2.0
// Text that the tools show: nothing in it may steer a terminal, and it must fit.
#include "presentation/media_uri.h"
#include "presentation/text.h"

#include <gtest/gtest.h>

#include <string>

namespace tz::orvane::tools
{
namespace
{

constexpr char kReplacement[] = "\xEF\xBF\xBD";

TEST(Printable, keepsTextInAnyScript)
{
    EXPECT_EQ(printable("Äpfel, 안녕, 😀"), "Äpfel, 안녕, 😀");
}

TEST(Printable, makesWhiteSpaceBlanks)
{
    EXPECT_EQ(printable("a\tb\r\nc"), "a b  c");
}

TEST(Printable, replacesControlCharacters)
{
    EXPECT_EQ(printable("\x1b[2J"), kReplacement + std::string("[2J"));
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a" + std::string(kReplacement) + "b");
    EXPECT_EQ(printable("\x7f"), kReplacement);
}

TEST(Printable, replacesControlCharactersThatTakeTwoBytes)
{
    EXPECT_EQ(printable("\xC2\x9B"
                        "31m"),
              kReplacement + std::string("31m"));
}

TEST(Printable, replacesWhatTurnsTheWritingDirection)
{
    EXPECT_EQ(printable("gpj.\xE2\x80\xAE"), "gpj." + std::string(kReplacement));
}

TEST(Printable, replacesEachByteThatIsNoUtf8)
{
    EXPECT_EQ(printable("\xFF"), kReplacement);
    EXPECT_EQ(printable("\xC0\x80"), kReplacement + std::string(kReplacement)) << "overlong NUL";
    EXPECT_EQ(printable("\xE2\x82"), kReplacement + std::string(kReplacement)) << "cut off";
    EXPECT_EQ(printable("\xED\xA0\x80").size(), 9U) << "surrogate";
    EXPECT_EQ(printable("\xF4\x90\x80\x80").size(), 12U) << "beyond the last code";
}

TEST(Columns, countWideCharactersTwiceAndCombiningOnesNot)
{
    EXPECT_EQ(columnsOf("abc"), 3);
    EXPECT_EQ(columnsOf("안녕"), 4);
    EXPECT_EQ(columnsOf("e\xCC\x81"), 1);
    EXPECT_EQ(columnsOf("é"), 1);
}

TEST(Clipped, neverCutsACharacter)
{
    EXPECT_EQ(clipped("안녕", 3), "안");
    EXPECT_EQ(clipped("안녕", 4), "안녕");
    EXPECT_EQ(clipped("e\xCC\x81x", 1), "e\xCC\x81");
    EXPECT_EQ(clipped("abc", 0), "");
}

TEST(TimeText, showsHoursOnlyWhenThereAreSome)
{
    EXPECT_EQ(timeText(0), "0:00");
    EXPECT_EQ(timeText(9999), "0:09");
    EXPECT_EQ(timeText(61000), "1:01");
    EXPECT_EQ(timeText(3599999), "59:59");
    EXPECT_EQ(timeText(3600000), "1:00:00");
    EXPECT_EQ(timeText(360000000), "100:00:00");
    EXPECT_EQ(timeText(-1), "0:00");
}

TEST(MediaUri, leavesUrisAndAbsolutePathsAlone)
{
    EXPECT_EQ(mediaUri("http://host/a%20b?c#d", "/home"), "http://host/a%20b?c#d");
    EXPECT_EQ(mediaUri("file:///a.mp4", "/home"), "file:///a.mp4");
    EXPECT_EQ(mediaUri("x-y.z+1://a", "/home"), "x-y.z+1://a");
    EXPECT_EQ(mediaUri("/a b#?.mp4", "/home"), "/a b#?.mp4");
}

TEST(MediaUri, makesRelativePathsAbsolute)
{
    EXPECT_EQ(mediaUri("a.mp4", "/home"), "/home/a.mp4");
    EXPECT_EQ(mediaUri("../a.mp4", "/home"), "/home/../a.mp4");
    EXPECT_EQ(mediaUri("a.mp4", "/"), "/a.mp4");
}

TEST(MediaUri, takesWhatOnlyLooksLikeASchemeForAPath)
{
    EXPECT_EQ(mediaUri("a:b", "/home"), "/home/a:b");
    EXPECT_EQ(mediaUri("1a://b", "/home"), "/home/1a://b");
    EXPECT_EQ(mediaUri("a b://c", "/home"), "/home/a b://c");
    EXPECT_EQ(mediaUri("://c", "/home"), "/home/://c");
}

TEST(DisplayName, isTheLastPartOfThePath)
{
    EXPECT_EQ(displayName("/films/a.mp4"), "a.mp4");
    EXPECT_EQ(displayName("/films/a#b?.mp4"), "a#b?.mp4");
    EXPECT_EQ(displayName("http://host/films/a.mp4?token=/x"), "a.mp4");
}

TEST(DisplayName, isTheWholeUriWhenThereIsNoSuchPart)
{
    EXPECT_EQ(displayName("http://host"), "http://host");
    EXPECT_EQ(displayName("http://host/"), "http://host/");
    EXPECT_EQ(displayName("http://"), "http://");
}

TEST(LocalFile, isThePathOfAFileUri)
{
    EXPECT_EQ(localFile("/films/a%20b?.mp4"), "/films/a%20b?.mp4");
    EXPECT_EQ(localFile("file:///films/a%20%c3%A4.mp4?x#y"), "/films/a \xc3\xa4.mp4");
    EXPECT_EQ(localFile("file://localhost/a.mp4"), "/a.mp4");
    EXPECT_EQ(localFile("file:///100%"), "/100%");
    EXPECT_EQ(localFile("file:///%4"), "/%4");
    EXPECT_EQ(localFile("file:///%zz"), "/%zz");
}

TEST(LocalFile, isNothingForOtherUris)
{
    EXPECT_EQ(localFile("http://host/a.mp4"), "");
    EXPECT_EQ(localFile("file://a.mp4"), "");
}

TEST(DisplayName, isPrintable)
{
    EXPECT_EQ(displayName("/\x1b.mp4"), kReplacement + std::string(".mp4"));
}

} // namespace
} // namespace tz::orvane::tools
