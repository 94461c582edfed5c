// SPDX-License-Identifier: Apache-2.0
// Which text belongs to a position, and when that changes.
#include "cue_list.h"

#include <gtest/gtest.h>

#include <string>

namespace tz::orvane::service
{
namespace
{

TEST(CueList, aTextIsThereFromItsStartUntilItsEnd)
{
    CueList list;
    ASSERT_TRUE(list.add({1000, 3000, "one"}));
    EXPECT_EQ(list.at(999).text, "");
    EXPECT_EQ(list.at(1000).text, "one");
    EXPECT_EQ(list.at(2999).text, "one");
    EXPECT_EQ(list.at(3000).text, "");
}

TEST(CueList, theNearestChangesAreKnownInBothDirections)
{
    CueList list;
    list.add({1000, 3000, "one"});
    list.add({4000, 6000, "two"});
    EXPECT_FALSE(list.at(0).from);
    EXPECT_EQ(list.at(0).until, 1000);
    EXPECT_EQ(list.at(2000).from, 1000);
    EXPECT_EQ(list.at(2000).until, 3000);
    EXPECT_EQ(list.at(3500).from, 3000);
    EXPECT_EQ(list.at(3500).until, 4000);
    EXPECT_EQ(list.at(7000).from, 6000);
    EXPECT_FALSE(list.at(7000).until);
}

TEST(CueList, orderOfArrivalMakesNoDifference)
{
    CueList list;
    list.add({4000, 6000, "two"});
    list.add({1000, 3000, "one"});
    EXPECT_EQ(list.at(1500).text, "one");
    EXPECT_EQ(list.at(4500).text, "two");
}

TEST(CueList, textsThatOverlapStandBelowEachOther)
{
    CueList list;
    list.add({2000, 5000, "later"});
    list.add({1000, 4000, "earlier"});
    EXPECT_EQ(list.at(3000).text, "earlier\nlater");
    EXPECT_EQ(list.at(4500).text, "later");
}

TEST(CueList, aTextThatComesTwiceIsThereOnce)
{
    CueList list;
    list.add({1000, 3000, "one"});
    list.add({1000, 3000, "one"});
    EXPECT_EQ(list.cues().size(), 1u);
    EXPECT_EQ(list.at(2000).text, "one");
}

TEST(CueList, anOpenTextLastsUntilTheNextOneButNotForEver)
{
    CueList list;
    list.add({1000, Cue::kUntilNext, "one"});
    list.add({3000, Cue::kUntilNext, ""});
    list.add({5000, Cue::kUntilNext, "last"});
    EXPECT_EQ(list.at(2999).text, "one");
    EXPECT_EQ(list.at(3500).text, "");
    EXPECT_EQ(list.at(14'999).text, "last");
    EXPECT_EQ(list.at(15'000).text, "");
    EXPECT_EQ(list.at(6000).until, 15'000);
}

TEST(CueList, itIsFullOneDay)
{
    CueList many;
    for (std::size_t number = 0; number < CueList::kMostCues; ++number)
    {
        ASSERT_TRUE(many.add({static_cast<std::int64_t>(number), Cue::kUntilNext, "x"}));
    }
    EXPECT_FALSE(many.overflowed());
    EXPECT_FALSE(many.add({1, 2, "y"}));
    EXPECT_TRUE(many.overflowed());

    CueList large;
    EXPECT_TRUE(large.add({1, 2, std::string(CueList::kMostBytes, 'x')}));
    EXPECT_FALSE(large.add({2, 3, "y"}));
    EXPECT_TRUE(large.overflowed());
}

TEST(CueList, noMoreIsTakenThanThereIsRoomFor)
{
    CueList list;
    EXPECT_TRUE(list.add({1, 2, "abc"}, CueList::kBytesBeside + 3));
    EXPECT_EQ(list.weight(), CueList::kBytesBeside + 3);
    EXPECT_TRUE(list.add({1, 2, "abc"}, 0)) << "it is there already";
    EXPECT_FALSE(list.overflowed());
    EXPECT_FALSE(list.add({1, 2, "abcd"}, CueList::kBytesBeside + 3));
    EXPECT_TRUE(list.overflowed());
    EXPECT_EQ(list.weight(), CueList::kBytesBeside + 3);
}

TEST(CueList, textsOfOneStartStayInTheOrderOfTheirArrival)
{
    CueList list;
    list.add({1000, 3000, "b"});
    list.add({1000, 3000, "c"});
    list.add({1000, 3000, "a"});
    EXPECT_EQ(list.at(1000).text, "b\nc\na");
}

} // namespace
} // namespace tz::orvane::service
