// SPDX-License-Identifier: Apache-2.0
// Helpers for text: bounded copy, rectangles from text, printable bytes.
#include "orvane/om_type_util.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

namespace tz::orvane::om
{

namespace
{

using test::LogCapture;
using ::testing::ElementsAre;

std::tuple<int, int, int, int, int> fields(om_display_rect_t const& rect)
{
    return {rect.px, rect.py, rect.width, rect.height, rect.zoom};
}

TEST(BoundedCopy, textIsCutToTheSmallerSizeWithoutNul)
{
    char to[8] = "zzzzzzz";
    EXPECT_EQ(OmTypeUtil::copy("abcdefghij", 10, to, 4), 0);
    EXPECT_STREQ(to, "abcdzzz");
    EXPECT_EQ(OmTypeUtil::copy("AB", 2, to, 8), 0);
    EXPECT_STREQ(to, "ABcdzzz");
    EXPECT_EQ(OmTypeUtil::copy("AB", 3, to, 8), 0);
    EXPECT_STREQ(to, "AB");
}

TEST(BoundedCopy, sizesBelowOneAreRefused)
{
    char to[8] = "zzzzzzz";
    LogCapture const log;
    EXPECT_EQ(OmTypeUtil::copy("abcd", 0, to, 4), -2);
    EXPECT_EQ(OmTypeUtil::copy("abcd", 4, to, -1), -2);
    EXPECT_EQ(OmTypeUtil::copy("abcd", 4, to, 0), -2);
    EXPECT_EQ(OmTypeUtil::copy("abcd", -4, to, 4), -2);
    EXPECT_EQ(OmTypeUtil::copy(nullptr, 0, nullptr, 0), -2);
    EXPECT_EQ(OmTypeUtil::copy(nullptr, 4, to, 0), -2);
    EXPECT_EQ(OmTypeUtil::copy("abcd", 0, nullptr, 4), -2);
    EXPECT_STREQ(to, "zzzzzzz");
    EXPECT_THAT(log.linesOf("OmTypeUtil::copy"),
                ElementsAre("debug: Called! from=, fsize=0, to=zzzz, tsize=4", "error: Invalid! fsize=0, tsize=4.",
                            "debug: Called! from=abcd, fsize=4, to=, tsize=-1", "error: Invalid! fsize=4, tsize=-1.",
                            "debug: Called! from=abcd, fsize=4, to=, tsize=0", "error: Invalid! fsize=4, tsize=0.",
                            "debug: Called! from=, fsize=-4, to=zzzz, tsize=4", "error: Invalid! fsize=-4, tsize=4.",
                            "debug: Called! from=, fsize=0, to=, tsize=0", "error: Invalid! fsize=0, tsize=0.",
                            "debug: Called! from=, fsize=4, to=, tsize=0", "error: Invalid! fsize=4, tsize=0.",
                            "debug: Called! from=, fsize=0, to=, tsize=4", "error: Invalid! fsize=0, tsize=4."));
    EXPECT_EQ(log.lines().front().place, "om_type_util: OmTypeUtil::copy");
}

TEST(BoundedCopy, bothSidesAreTold)
{
    char to[4] = "zz";
    LogCapture const log;
    EXPECT_EQ(OmTypeUtil::copy("ab", 3, to, 4), 0);
    EXPECT_THAT(log.linesOf("OmTypeUtil::copy"), ElementsAre("debug: Called! from=ab, fsize=3, to=zz, tsize=4",
                                                             "info: from=ab, fsize=3, to=ab, tsize=4, min_size=3"));
}

TEST(BoundedCopy, textWithoutNulIsToldWithABound)
{
    // Blocks of exactly this size, so that a reader that goes on is caught by the sanitizer.
    std::unique_ptr<char[]> const from(new char[3]{'a', 'b', 'c'});
    std::unique_ptr<char[]> const to(new char[2]{'x', 'y'});
    LogCapture const log;
    EXPECT_EQ(OmTypeUtil::copy(from.get(), 3, to.get(), 2), 0);
    EXPECT_THAT(log.linesOf("OmTypeUtil::copy"), ElementsAre("debug: Called! from=abc, fsize=3, to=xy, tsize=2",
                                                             "info: from=abc, fsize=3, to=ab, tsize=2, min_size=2"));
}

TEST(OmTypeUtilConvert, readsLeftTopWidthAndHeight)
{
    om_display_rect_t rect{1, 2, 3, 4, 5};
    LogCapture const log;
    EXPECT_EQ(OmTypeUtil::convert("{10,20,640,480}", rect), 0);
    EXPECT_EQ(fields(rect), std::make_tuple(10, 20, 640, 480, 5));
    EXPECT_THAT(log.linesOf("OmTypeUtil::convert"),
                ElementsAre("debug: Called!", "debug:  OmDisplayRect_t-Convert: from={10,20,640,480}",
                            "debug:  |- px=10", "debug:  |- py=20", "debug:  |- width=640", "debug:  |- height=480"));
    EXPECT_EQ(log.lines().front().place, "om_type_util: OmTypeUtil::convert");
}

TEST(OmTypeUtilConvert, partialTextSetsWhatItGives)
{
    struct
    {
        char const* text;
        std::tuple<int, int, int, int, int> expected;
    } const cases[] = {
        {"{10,20}", {10, 20, 3, 4, 5}},
        {"{10,20,", {10, 20, 3, 4, 5}},
        {"{7", {7, 2, 3, 4, 5}},
        {"abc", {1, 2, 3, 4, 5}},
        {"{x", {1, 2, 3, 4, 5}},
        {" {10,20,640,480}", {1, 2, 3, 4, 5}},
        {"{ 10, 20,\t640,\n480", {10, 20, 640, 480, 5}},
        {"{-1,+2,-3,4}trailing", {-1, 2, -3, 4, 5}},
        {"{10 ,20}", {10, 2, 3, 4, 5}},
        {"{1,2,3,4,9}", {1, 2, 3, 4, 5}},
    };
    for (auto const& c : cases)
    {
        om_display_rect_t rect{1, 2, 3, 4, 5};
        LogCapture const log;
        EXPECT_EQ(OmTypeUtil::convert(c.text, rect), 0) << c.text;
        EXPECT_EQ(fields(rect), c.expected) << c.text;
        auto const [px, py, width, height, zoom] = c.expected;
        EXPECT_THAT(log.linesOf("OmTypeUtil::convert"),
                    ElementsAre("debug: Called!", std::string("debug:  OmDisplayRect_t-Convert: from=") + c.text,
                                "debug:  |- px=" + std::to_string(px), "debug:  |- py=" + std::to_string(py),
                                "debug:  |- width=" + std::to_string(width),
                                "debug:  |- height=" + std::to_string(height)));
    }
}

TEST(OmTypeUtilConvert, emptyTextFails)
{
    om_display_rect_t rect{1, 2, 3, 4, 5};
    LogCapture const log;
    EXPECT_EQ(OmTypeUtil::convert("", rect), -1);
    EXPECT_EQ(fields(rect), std::make_tuple(1, 2, 3, 4, 5));
    EXPECT_THAT(log.linesOf("OmTypeUtil::convert"),
                ElementsAre("debug: Called!", "debug:  OmDisplayRect_t-Convert: from="));
}

TEST(OmTypeUtilConvert, textThatEndsBeforeANumberCouldFails)
{
    om_display_rect_t rect{1, 2, 3, 4, 5};
    LogCapture const log;
    EXPECT_EQ(OmTypeUtil::convert("{", rect), -1);
    EXPECT_EQ(OmTypeUtil::convert("{  ", rect), -1);
    EXPECT_EQ(OmTypeUtil::convert(std::string(1, '\0') + "{1,2,3,4}", rect), -1);
    EXPECT_EQ(fields(rect), std::make_tuple(1, 2, 3, 4, 5));
    EXPECT_THAT(log.linesOf("OmTypeUtil::convert"),
                ElementsAre("debug: Called!", "debug:  OmDisplayRect_t-Convert: from={",
                            "error: string[{] format output fail.", "debug: Called!",
                            "debug:  OmDisplayRect_t-Convert: from={  ", "error: string[{  ] format output fail.",
                            "debug: Called!",
                            "debug:  OmDisplayRect_t-Convert: from=", "error: string[] format output fail."));
}

TEST(SerializeChar, zeroBytesBecomeStars)
{
    EXPECT_EQ(serializeChar("A\0B", 3), "A*B");
    EXPECT_EQ(serializeChar("\0\0", 2), "**");
}

TEST(SerializeChar, theTextIsTheFirstWord)
{
    EXPECT_EQ(serializeChar("ab cd", 5), "ab");
    EXPECT_EQ(serializeChar("  ab\tcd", 7), "ab");
    for (char const space : {' ', '\t', '\n', '\v', '\f', '\r'})
    {
        std::string const text = space + std::string("ab") + space + "cd";
        EXPECT_EQ(serializeChar(text.data(), static_cast<int>(text.size())), "ab") << static_cast<int>(space);
    }
    EXPECT_EQ(serializeChar("\x01\x7f\xa0\xff", 4), "\x01\x7f\xa0\xff");
}

TEST(SerializeChar, nothingGivesNothing)
{
    EXPECT_EQ(serializeChar("abc", 0), "");
    EXPECT_EQ(serializeChar("abc", -1), "");
    EXPECT_EQ(serializeChar(nullptr, 0), "");
    EXPECT_EQ(serializeChar(" \t\n", 3), "");
}

TEST(SerializeChar, readsNoMoreThanItIsGiven)
{
    std::unique_ptr<char[]> const data(new char[2]{'a', 'b'});
    EXPECT_EQ(serializeChar(data.get(), 2), "ab");
    EXPECT_EQ(serializeChar(data.get(), 1), "a");
}

} // namespace

} // namespace tz::orvane::om
