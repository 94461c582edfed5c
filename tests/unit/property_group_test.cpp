// SPDX-License-Identifier: Apache-2.0
// The property group: its image byte for byte, its buffer, its lookups and its assignment.
#include "orvane/om_property_group.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using namespace std::string_literals;

char* bytes(OmPropertyGroup const& group)
{
    char* data = nullptr;
    int length = 0;
    group.getData(&data, &length);
    return data;
}

std::string image(OmPropertyGroup const& group)
{
    char* data = nullptr;
    int length = 0;
    group.getData(&data, &length);
    return {data, static_cast<std::size_t>(length)};
}

/// @return whether an add of these texts took a new buffer
bool grows(OmPropertyGroup& group, std::string const& key, std::string const& value)
{
    char const* const before = bytes(group);
    group.add(key.c_str(), value.c_str());
    return bytes(group) != before;
}

// Two entries of 38 bytes in a buffer of 64.
std::string const kTwoEntries = "PR0002"
                                "00120014rate\0002\0"
                                "00210023mode\000x\0"
                                "ED\0"s;

TEST(OmPropertyGroup, emptyGroupSendsNineBytes)
{
    OmPropertyGroup const group;
    EXPECT_EQ(image(group), "PR0000ED\0"s);
    EXPECT_EQ(group.count(), 0);
}

TEST(OmPropertyGroup, twoEntriesGiveThisImage)
{
    OmPropertyGroup group;
    group.add("rate", "2").add("mode", "x");
    EXPECT_EQ(image(group).size(), 39U);
    EXPECT_EQ(image(group), kTwoEntries);
}

TEST(OmPropertyGroup, countAndOffsetsAreLowerCaseHexadecimal)
{
    OmPropertyGroup group;
    for (int i = 0; i < 10; ++i)
    {
        group.add("k", std::string(60, 'v').c_str());
    }
    std::string const sent = image(group);
    EXPECT_EQ(sent.substr(2, 4), "000a");
    EXPECT_EQ(sent.substr(6 + 9 * 71, 8), "028e02cb");
}

TEST(OmPropertyGroup, freshBufferIsZeroBehindTheEnd)
{
    OmPropertyGroup group;
    EXPECT_EQ(std::string(bytes(group), 16), "PR0000ED"s + std::string(8, '\0'));
    group.add("rate", "2");
    EXPECT_EQ(std::string(bytes(group) + 23, 32 - 23), std::string(32 - 23, '\0'));
}

TEST(OmPropertyGroup, firstAddsDoubleTheBuffer)
{
    OmPropertyGroup group;
    EXPECT_TRUE(grows(group, "rate", "2")); // 24 bytes needed of 16
    EXPECT_TRUE(grows(group, "mode", "x")); // 39 of 32
    EXPECT_FALSE(grows(group, "k", "v"));   // 51 of 64
}

TEST(OmPropertyGroup, bufferGrowsOnlyWhenOneByteIsMissing)
{
    OmPropertyGroup fits;
    fits.add("rate", "2").add("mode", "x"); // 38 used of 64
    EXPECT_FALSE(grows(fits, "k", std::string(14, 'v')));

    OmPropertyGroup misses;
    misses.add("rate", "2").add("mode", "x");
    EXPECT_TRUE(grows(misses, "k", std::string(15, 'v')));
}

TEST(OmPropertyGroup, longEntryGetsExactlyTheBufferItNeeds)
{
    OmPropertyGroup group;
    EXPECT_TRUE(grows(group, "k", std::string(1000, 'v')));
    EXPECT_EQ(image(group).size(), 1020U);
    EXPECT_TRUE(grows(group, "k", "v")) << "nothing was left over";
}

TEST(OmPropertyGroup, seventeenAddsStoreSixteenEntries)
{
    OmPropertyGroup group;
    for (int i = 0; i < 16; ++i)
    {
        group.add("key" + std::to_string(i), "value" + std::to_string(i));
    }
    std::string const full = image(group);
    group.add("key16", "value16");
    EXPECT_EQ(group.count(), 16);
    EXPECT_EQ(image(group), full);
    EXPECT_EQ(full.substr(2, 4), "0010");
    EXPECT_EQ(group.get("key15"), "value15");
    EXPECT_EQ(group.indexOf("key16"), -1);
}

TEST(OmPropertyGroup, seventeenthAddStillGrowsTheBuffer)
{
    OmPropertyGroup group;
    for (int i = 0; i < 16; ++i)
    {
        group.add("k", "v");
    }
    std::string const full = image(group);
    EXPECT_TRUE(grows(group, "k", std::string(5000, 'v')));
    EXPECT_EQ(image(group), full);
}

TEST(OmPropertyGroup, emptyKeyOrValueChangesNothingButTheBuffer)
{
    OmPropertyGroup group;
    EXPECT_TRUE(grows(group, "", "x"));
    EXPECT_EQ(image(group), "PR0000ED\0"s);

    OmPropertyGroup other;
    EXPECT_TRUE(grows(other, "k", ""));
    EXPECT_EQ(image(other), "PR0000ED\0"s);
}

TEST(OmPropertyGroup, nullKeyOrValueChangesNothing)
{
    OmPropertyGroup group;
    char const* const before = bytes(group);
    group.add("a long key that would need more room", static_cast<char const*>(nullptr));
    group.add(static_cast<char const*>(nullptr), "a long value that would need more room");
    EXPECT_EQ(bytes(group), before);
    EXPECT_EQ(group.count(), 0);
}

TEST(OmPropertyGroup, emptyStringsAreRefusedBeforeTheBufferGrows)
{
    OmPropertyGroup group;
    char const* const before = bytes(group);
    group.add(OmString(), OmString("x")).add(OmString("k"), OmString());
    EXPECT_EQ(bytes(group), before);
    EXPECT_EQ(group.count(), 0);
}

TEST(OmPropertyGroup, stringsAreStoredUpToTheirFirstNul)
{
    OmPropertyGroup group;
    group.add("key\0hidden"s, "value\0hidden"s);
    group.add("\0hidden"s, "value"s);
    EXPECT_EQ(group.count(), 1);
    EXPECT_EQ(group.keyAt(0), "key");
    EXPECT_EQ(group.valueAt(0), "value");
}

TEST(OmPropertyGroup, addGivesTheGroupItself)
{
    OmPropertyGroup group;
    EXPECT_EQ(&group.add("k", "v"), &group);
    EXPECT_EQ(&group.add("k", ""), &group);
    EXPECT_EQ(&group.add(OmString("k"), OmString("v")), &group);
    EXPECT_EQ(&group.add(OmString(), OmString("v")), &group);
}

TEST(OmPropertyGroup, sameKeyTwiceKeepsBothAndFindsTheFirst)
{
    OmPropertyGroup group;
    group.add("k", "first").add("k", "second");
    EXPECT_EQ(group.count(), 2);
    EXPECT_EQ(group.get("k"), "first");
    EXPECT_EQ(group.indexOf("k"), 0);
    EXPECT_EQ(group.keyAt(1), "k");
    EXPECT_EQ(group.valueAt(1), "second");
}

TEST(OmPropertyGroup, indexOutsideGivesEmptyText)
{
    OmPropertyGroup group;
    group.add("k", "v");
    EXPECT_EQ(group.keyAt(-1), "");
    EXPECT_EQ(group.keyAt(1), "");
    EXPECT_EQ(group.valueAt(-1), "");
    EXPECT_EQ(group.valueAt(group.count()), "");
}

TEST(OmPropertyGroup, lookupComparesLengthAndEveryByte)
{
    OmPropertyGroup group;
    group.add("rate", "2").add("mode", "x");
    EXPECT_EQ(group.indexOf("mode"), 1);
    EXPECT_EQ(group.indexOf("mod"), -1);
    EXPECT_EQ(group.indexOf("modes"), -1);
    EXPECT_EQ(group.indexOf("Mode"), -1);
    EXPECT_EQ(group.indexOf("mode\0"s), -1);
    EXPECT_EQ(group.get(OmString("mode")), "x");
    EXPECT_EQ(group.get("absent"), "");
    EXPECT_EQ(group.get(OmString()), "");
    EXPECT_EQ(group.get(static_cast<char const*>(nullptr)), "");
    EXPECT_EQ(OmPropertyGroup().indexOf("mode"), -1);
}

TEST(OmPropertyGroup, textsOfTheGroupItselfCanBeAddedAgain)
{
    OmPropertyGroup group;
    group.add("rate", "two");
    char const* const key = bytes(group) + 14;
    ASSERT_STREQ(key, "rate");
    ASSERT_TRUE(grows(group, key, bytes(group) + 19));
    group.add(bytes(group) + 14, bytes(group) + 19); // into the room that is left
    EXPECT_EQ(group.count(), 3);
    EXPECT_EQ(group.keyAt(2), "rate");
    EXPECT_EQ(group.valueAt(2), "two");
}

TEST(OmPropertyGroup, receivedImageGivesItsEntriesBack)
{
    OmPropertyGroup const group(kTwoEntries.data(), static_cast<int>(kTwoEntries.size()));
    EXPECT_EQ(group.count(), 2);
    EXPECT_EQ(group.keyAt(0), "rate");
    EXPECT_EQ(group.valueAt(0), "2");
    EXPECT_EQ(group.keyAt(1), "mode");
    EXPECT_EQ(group.get("mode"), "x");
    EXPECT_EQ(image(group), kTwoEntries);
    EXPECT_NE(bytes(group), kTwoEntries.data()) << "the image is copied";
}

TEST(OmPropertyGroup, receivedGroupTakesFurtherEntries)
{
    OmPropertyGroup received(kTwoEntries.data(), static_cast<int>(kTwoEntries.size()));
    received.add("third", "entry");
    OmPropertyGroup built;
    built.add("rate", "2").add("mode", "x").add("third", "entry");
    EXPECT_EQ(image(received), image(built));
}

TEST(OmPropertyGroup, receivedCountOfFfffIsNoEntry)
{
    std::string const sent = "PRffffED\0"s;
    OmPropertyGroup const group(sent.data(), static_cast<int>(sent.size()));
    EXPECT_EQ(group.count(), 0);
    EXPECT_EQ(image(group), sent);
}

TEST(OmPropertyGroup, storedEmptyKeyNeverMatches)
{
    std::string const sent = "PR0001000e0010\0v\0ED\0"s;
    OmPropertyGroup const group(sent.data(), static_cast<int>(sent.size()));
    EXPECT_EQ(group.count(), 1);
    EXPECT_EQ(group.keyAt(0), "");
    EXPECT_EQ(group.valueAt(0), "v");
    EXPECT_EQ(group.indexOf(""), -1);
    EXPECT_EQ(group.get(""), "");
}

TEST(OmPropertyGroup, textWithoutNulEndsWithTheImage)
{
    // The value offset points at the last but one zero, so that the value begins with "ED" and its NUL is missing.
    std::string const sent = "PR000100100010kk\0ED!"s;
    OmPropertyGroup const group(sent.data(), static_cast<int>(sent.size()));
    EXPECT_EQ(group.keyAt(0), "kk");
    EXPECT_EQ(group.valueAt(0), "ED!");
}

TEST(OmPropertyGroup, textBehindTheImageIsEmpty)
{
    // Both offsets name the last byte, so that the value would begin behind it.
    std::string const sent = "PR000100130013\0\0\0ED\0"s;
    ASSERT_EQ(sent.size(), 0x14U);
    OmPropertyGroup const group(sent.data(), static_cast<int>(sent.size()));
    EXPECT_EQ(group.count(), 1);
    EXPECT_EQ(group.valueAt(0), "");
}

TEST(OmPropertyGroup, assignmentCopiesImageAndEntries)
{
    OmPropertyGroup source;
    source.add("rate", "2").add("mode", "x");
    OmPropertyGroup target;
    target.add("old", std::string(300, 'o').c_str());
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(image(target), kTwoEntries);
    EXPECT_EQ(target.get("mode"), "x");
    EXPECT_EQ(target.get("old"), "");
    source.add("later", "change");
    EXPECT_EQ(target.count(), 2);
}

TEST(OmPropertyGroup, assignmentKeepsALargerBufferAndZeroesItsTail)
{
    OmPropertyGroup source;
    OmPropertyGroup target;
    target.add("old", std::string(300, 'o').c_str());
    char const* const before = bytes(target);
    target = source;
    EXPECT_EQ(bytes(target), before);
    EXPECT_EQ(std::string(before, 322), "PR0000ED"s + std::string(314, '\0'));
}

TEST(OmPropertyGroup, assignmentKeepsABufferOfTheSameSize)
{
    OmPropertyGroup const source;
    OmPropertyGroup target;
    char const* const before = bytes(target);
    target = source;
    EXPECT_EQ(bytes(target), before);
}

TEST(OmPropertyGroup, assignmentTakesTheCapacityOfALargerSource)
{
    OmPropertyGroup source;
    source.add("rate", "2").add("mode", "x"); // 64 bytes
    OmPropertyGroup target;
    target = source;
    EXPECT_FALSE(grows(target, "k", std::string(14, 'v')));
    EXPECT_TRUE(grows(target, "k", "v"));
}

TEST(OmPropertyGroup, assignmentToItselfChangesNothing)
{
    OmPropertyGroup group;
    group.add("rate", "2").add("mode", "x");
    char const* const before = bytes(group);
    OmPropertyGroup const& same = group;
    group = same;
    EXPECT_EQ(bytes(group), before);
    EXPECT_EQ(image(group), kTwoEntries);
}

TEST(OmPropertyGroup, assignmentFromNothingPrintsALineAndChangesNothing)
{
    OmPropertyGroup const nothing(nullptr, 0);
    OmPropertyGroup target;
    target.add("rate", "2").add("mode", "x");
    testing::internal::CaptureStdout();
    target = nothing;
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[PRG][ERR] Invalid content!, group.m_arr=(nil), group.m_size=-1.\n");
    EXPECT_EQ(image(target), kTwoEntries);
}

void expectNothing(void const* data, int length)
{
    OmPropertyGroup nothing(data, length);
    nothing.add("k", "v").add(OmString("k"), OmString("v"));
    EXPECT_EQ(nothing.count(), -1);
    EXPECT_EQ(nothing.keyAt(0), "");
    EXPECT_EQ(nothing.keyAt(-1), "");
    EXPECT_EQ(nothing.valueAt(0), "");
    EXPECT_EQ(nothing.get("k"), "");
    EXPECT_EQ(nothing.get(OmString("k")), "");
    EXPECT_EQ(nothing.indexOf("k"), -1);
    char* sent = nullptr;
    int sentLength = -1;
    nothing.getData(&sent, &sentLength);
    EXPECT_EQ(sent, nullptr);
    EXPECT_EQ(sentLength, 0);
}

TEST(OmPropertyGroup, groupFromNothingAnswersEmptyAndRefusesEntries)
{
    expectNothing(nullptr, 39);
    expectNothing(nullptr, 0);
    expectNothing(kTwoEntries.data(), 0);
    expectNothing(kTwoEntries.data(), -1);
}

TEST(OmPropertyGroup, groupFromNothingComesToLifeByAssignment)
{
    OmPropertyGroup target(nullptr, 0);
    OmPropertyGroup source;
    source.add("rate", "2").add("mode", "x");
    target = source;
    EXPECT_EQ(image(target), kTwoEntries);
    target.add("k", "v");
    EXPECT_EQ(target.get("k"), "v");
}

struct RecordingGroup : OmPropertyGroup
{
    using OmPropertyGroup::add;
    using OmPropertyGroup::get;

    OmPropertyGroup& add(char const* key, char const* value) override
    {
        added.push_back(std::string(key) + "=" + value);
        return OmPropertyGroup::add(key, "overridden");
    }

    OmString get(OmString const& key) const override { return "<" + OmPropertyGroup::get(key) + ">"; }
    int indexOf(OmString const& key) const override { return OmPropertyGroup::indexOf(key == "alias" ? "k" : key); }
    OmString valueAt(int index) const override { return "#" + OmPropertyGroup::valueAt(index); }

    std::vector<std::string> added;
};

TEST(OmPropertyGroup, addOfStringsHonoursAnOverriddenAdd)
{
    RecordingGroup group;
    group.add(OmString("k"), OmString("v"));
    group.add(OmString(), OmString("v"));
    EXPECT_EQ(group.added, std::vector<std::string>{"k=v"});
    EXPECT_EQ(group.OmPropertyGroup::valueAt(0), "overridden");
}

TEST(OmPropertyGroup, lookupsHonourOverriddenAccessors)
{
    RecordingGroup group;
    group.add("k", "v");
    EXPECT_EQ(group.get("alias"), "<#overridden>");
}

} // namespace

} // namespace tz::orvane::om
