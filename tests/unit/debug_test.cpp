// SPDX-License-Identifier: Apache-2.0
// Debug output: what a line looks like, which lines are put out, and where.
#include "orvane/platform/om_debug.h"
#include "support/ending.h"
#include "support/log_capture.h"

#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace tz::orvane::test
{

namespace
{

using platform::debugEnabled;
using platform::DebugLevel;
using ::testing::ElementsAre;

constexpr char kLogFile[] = "some_file";
constexpr char kLogClass[] = "SomeClass";

constexpr DebugLevel kLevels[] = {DebugLevel::error, DebugLevel::warning, DebugLevel::info, DebugLevel::debug,
                                  DebugLevel::trace};

/// How many levels a process puts out that starts with this environment. The first question settles it, so that a child
/// asks which has inherited no answer.
std::string levelsWith(char const* environment)
{
    return endingOf(
               [&]
               {
                   environment != nullptr ? setenv("ORVANE_DEBUG", environment, 1) : unsetenv("ORVANE_DEBUG");
                   int count = 0;
                   for (DebugLevel const level : kLevels)
                   {
                       count += debugEnabled(level) ? 1 : 0;
                   }
                   setenv("ORVANE_DEBUG", "trace", 1);
                   std::printf("%d%s", count, debugEnabled(DebugLevel::off) ? " off" : "");
               })
        .output;
}

TEST(Debug, theEnvironmentSetsTheLevelOnce)
{
    char const* const names[] = {"off", "error", "warning", "info", "debug", "trace"};
    for (int level = 0; level < 6; ++level)
    {
        EXPECT_EQ(levelsWith(names[level]), std::to_string(level)) << names[level];
    }
}

TEST(Debug, errorsArePutOutWithoutAKnownLevelInTheEnvironment)
{
    for (char const* const environment : {static_cast<char const*>(nullptr), "", "ERROR", "5", "info "})
    {
        EXPECT_EQ(levelsWith(environment), "1") << (environment != nullptr ? environment : "none");
    }
}

TEST(Debug, aLevelPutsOutItselfAndWhatIsGraver)
{
    for (DebugLevel const set : kLevels)
    {
        LogCapture const log(set);
        for (DebugLevel const level : kLevels)
        {
            EXPECT_EQ(debugEnabled(level), level <= set);
        }
    }
    LogCapture const log(DebugLevel::off);
    EXPECT_FALSE(debugEnabled(DebugLevel::error));
    EXPECT_FALSE(debugEnabled(DebugLevel::off));
}

TEST(Debug, aLineBeginsWithItsPlaceAndEndsInOneNewline)
{
    LogCapture log;
    ORVANE_LOG_ERROR(" %s %d.", "two", 2);
    int const line = __LINE__ - 1;
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].whole, "some_file:" + std::to_string(line) + ": SomeClass::TestBody()  two 2.\n");
}

TEST(Debug, eachMacroHasItsLevel)
{
    LogCapture log(DebugLevel::trace);
    ORVANE_LOG_ERROR("x");
    ORVANE_LOG_WARNING("x");
    ORVANE_LOG_INFO("x");
    ORVANE_LOG_DEBUG("x");
    ORVANE_LOG_TRACE("x");
    EXPECT_THAT(log.linesOf("SomeClass::TestBody"),
                ElementsAre("error: x", "warning: x", "info: x", "debug: x", "trace: x"));
}

TEST(Debug, aHelperLogsWithThePlaceOfItsCaller)
{
    LogCapture log;
    ORVANE_LOG_AT(DebugLevel::info, (platform::LogSite{"file", 7, "Class", "~Class"}), "text");
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].whole, "file:7: Class::~Class() text\n");
}

TEST(Debug, linesOfAnyLengthAreWhole)
{
    LogCapture log;
    for (std::size_t size = 400; size < 700; ++size)
    {
        std::string const text(size, 't');
        log.clear();
        ORVANE_LOG_ERROR("%s|%s", text.c_str(), "end");
        ASSERT_EQ(log.texts(), std::vector<std::string>{text + "|end"});
        EXPECT_EQ(log.lines()[0].whole.back(), '\n');
    }
    std::string const large(100000, 'l');
    log.clear();
    ORVANE_LOG_ERROR("%s", large.c_str());
    EXPECT_EQ(log.texts(), std::vector<std::string>{large});
}

TEST(Debug, whatIsNotPutOutIsNotEvaluated)
{
    LogCapture log(DebugLevel::info);
    int evaluated = 0;
    ORVANE_LOG_DEBUG("%d", ++evaluated);
    ORVANE_LOG_TRACE("%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_THAT(log.lines(), ::testing::IsEmpty());
    ORVANE_LOG_INFO("%d", ++evaluated);
    EXPECT_THAT(log.texts(), ElementsAre("1"));
}

TEST(Debug, aBareLineIsPutOutAsItIs)
{
    LogCapture log;
    platform::debugPrint(DebugLevel::warning, "%s", "as it is");
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].whole, "as it is");
    EXPECT_EQ(log.lines()[0].level, DebugLevel::warning);
}

TEST(Debug, withoutASinkLinesGoToStandardError)
{
    {
        LogCapture const log; // sets a sink and takes it away
    }
    ::testing::internal::CaptureStderr();
    ORVANE_LOG_AT(DebugLevel::error, (platform::LogSite{"file", 7, "Class", "run"}), "text");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "file:7: Class::run() text\n");
}

} // namespace

} // namespace tz::orvane::test
