// SPDX-License-Identifier: Apache-2.0
// However many ask for a position that does not come, there is an end to it.
#include "position_waiters.h"

#include <gtest/gtest.h>

namespace tz::orvane::service
{
namespace
{

TEST(PositionWaiters, allAreAnsweredAtOnce)
{
    PositionWaiters waiters;
    std::vector<std::int64_t> answers;
    auto const keep = [&](std::int64_t position) { answers.push_back(position); };
    EXPECT_TRUE(waiters.empty());
    EXPECT_TRUE(waiters.add(keep));
    EXPECT_TRUE(waiters.add(keep));
    waiters.addNewest(keep);
    EXPECT_FALSE(waiters.empty());
    waiters.answer(7);
    EXPECT_EQ(answers, (std::vector<std::int64_t>{7, 7, 7}));
    EXPECT_TRUE(waiters.empty());
    waiters.answer(8);
    EXPECT_EQ(answers.size(), 3u);
}

TEST(PositionWaiters, tooManyAreRefused)
{
    PositionWaiters waiters;
    std::size_t answers = 0;
    for (std::size_t count = 0; count < PositionWaiters::kMost; ++count)
    {
        EXPECT_TRUE(waiters.add([&](std::int64_t) { ++answers; }));
    }
    EXPECT_FALSE(waiters.add([](std::int64_t) { FAIL() << "it was refused"; }));
    waiters.answer(0);
    EXPECT_EQ(answers, PositionWaiters::kMost);
    EXPECT_TRUE(waiters.add([](std::int64_t) {}));
}

TEST(PositionWaiters, ofThoseOfWhichOnlyTheNewestCountsOneWaits)
{
    PositionWaiters waiters;
    int answered = 0;
    for (int number = 1; number <= 10'000; ++number)
    {
        waiters.addNewest([&answered, number](std::int64_t) { answered += number; });
    }
    waiters.answer(0);
    EXPECT_EQ(answered, 10'000);
}

TEST(PositionWaiters, whoAsksInsideAnAnswerWaitsAnew)
{
    PositionWaiters waiters;
    int answers = 0;
    waiters.add([&](std::int64_t) { waiters.add([&](std::int64_t) { ++answers; }); });
    waiters.answer(0);
    EXPECT_EQ(answers, 0);
    EXPECT_FALSE(waiters.empty());
    waiters.answer(0);
    EXPECT_EQ(answers, 1);
}

} // namespace
} // namespace tz::orvane::service
