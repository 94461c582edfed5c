// SPDX-License-Identifier: Apache-2.0
// A malformed property group says on standard output what is wrong with it and ends the process.
#include "orvane/om_property_group.h"
#include "support/ending.h"

#include <gtest/gtest.h>

#include <string>

namespace tz::orvane::om
{

namespace
{

using namespace std::string_literals;

using test::Ending;
using test::endingOf;
using test::expectAbort;

void expectFault(std::string const& image, std::string const& line)
{
    expectAbort(line, [&] { OmPropertyGroup const group(image.data(), static_cast<int>(image.size())); });
}

// One add that is refused for its empty key, then two good ones.
void addValues(std::string const& refused, std::string const& stored)
{
    OmPropertyGroup group;
    group.add("", refused.c_str());
    group.add("k", stored.c_str());
    group.add("k", stored.c_str());
}

void addAfter(void (*damage)(char* image))
{
    OmPropertyGroup group;
    group.add("rate", "2");
    char* data = nullptr;
    int length = 0;
    group.getData(&data, &length);
    damage(data);
    group.add("mode", "x");
}

TEST(OmPropertyGroupFault, imageBelowEightBytesIsRefused)
{
    expectFault("PRED\0"s, "[PRG][ERR] Invalid content! msize=5\n");
    expectFault("P"s, "[PRG][ERR] Invalid content! msize=1\n");
}

TEST(OmPropertyGroupFault, imageAbove65535BytesIsRefused)
{
    std::string image = "PR0000" + std::string(65536 - 6, '\0');
    image.replace(65533, 2, "ED");
    expectFault(image, "[PRG][ERR] Invalid content! msize=65536\n");
}

TEST(OmPropertyGroupFault, wrongHeadIsRefused)
{
    expectFault("XR0000ED\0"s, "[PRG][ERR] Invalid HEAD!\n");
    expectFault("Pr0000ED\0"s, "[PRG][ERR] Invalid HEAD!\n");
}

TEST(OmPropertyGroupFault, wrongEndIsShown)
{
    expectFault("PR0000EX\0"s, "[PRG][ERR] Invalid END! end=EX\n");
}

TEST(OmPropertyGroupFault, lengthWithoutTheLastZeroIsRefused)
{
    expectFault("PR0000ED"s, "[PRG][ERR] Invalid END! end=0ED\n");
}

TEST(OmPropertyGroupFault, shownEndStaysInsideTheBuffer)
{
    expectFault("PR0000abcdefgh"s, "[PRG][ERR] Invalid END! end=fgh\n");
}

TEST(OmPropertyGroupFault, moreThanSixteenEntriesAreRefused)
{
    expectFault("PR0011ED\0"s, "[PRG][ERR] Invalid content! m_num=17\n");
    expectFault("PRfffeED\0"s, "[PRG][ERR] Invalid content! m_num=65534\n");
}

TEST(OmPropertyGroupFault, offsetOfANonZeroByteEndsWithoutAWord)
{
    expectFault("PR0001000f0011k\0v\0ED\0"s.replace(9, 1, "e"), "");  // key end on "k"
    expectFault("PR0001000f0011k\0v\0ED\0"s.replace(13, 1, "0"), ""); // value end on "v"
}

TEST(OmPropertyGroupFault, offsetOutsideTheImageEndsWithoutAWord)
{
    expectFault("PR000100150011k\0v\0ED\0"s, "");
    expectFault("PR0001000ffffek\0v\0ED\0"s, "");
}

TEST(OmPropertyGroupFault, disbelievedOffsetEndsWithoutAWord)
{
    expectFault("PR0001ffff0011k\0v\0ED\0"s, "");
    expectFault("PR0001000fffffk\0v\0ED\0"s, "");
}

TEST(OmPropertyGroupFault, firstFaultInOrderIsNamed)
{
    expectFault("XRffff\0"s, "[PRG][ERR] Invalid content! msize=7\n");
    expectFault("XR0011XX\0"s, "[PRG][ERR] Invalid HEAD!\n");
    expectFault("PR0011XX\0"s, "[PRG][ERR] Invalid END! end=XX\n");
}

TEST(OmPropertyGroupFault, groupThatOutgrowsTheLimitEnds)
{
    expectAbort("[PRG][ERR] Invalid content! msize=80040\n", [] { addValues("", std::string(40000, 'v')); });
    expectAbort("[PRG][ERR] Invalid content! msize=65537\n", [] { addValues("", std::string(65517, 'v')); });
}

TEST(OmPropertyGroupFault, refusedEntryThatGrewTheBufferTooFarEndsTheNextAdd)
{
    expectAbort("[PRG][ERR] Invalid content! msize=70019\n", [] { addValues(std::string(70000, 'x'), "v"); });
}

TEST(OmPropertyGroupFault, assignmentOfAnOvergrownGroupEnds)
{
    expectAbort("[PRG][ERR] Invalid content! msize=70019\n",
                []
                {
                    OmPropertyGroup source;
                    source.add("", std::string(70000, 'x').c_str());
                    OmPropertyGroup target;
                    target = source;
                });
}

TEST(OmPropertyGroupFault, everyAddChecksTheWholeImage)
{
    expectAbort("[PRG][ERR] Invalid HEAD!\n", [] { addAfter([](char* image) { image[0] = 'X'; }); });
    expectAbort("", [] { addAfter([](char* image) { image[18] = 'X'; }); });
}

TEST(OmPropertyGroupFault, goodImageEndsNothing)
{
    Ending const ending = endingOf([] { addValues("", "v"); });
    EXPECT_EQ(ending.signal, 0);
    EXPECT_EQ(ending.output, "");
}

TEST(OmPropertyGroupFault, largestImageIsAccepted)
{
    std::string image = "PR0000" + std::string(65535 - 6, '\0');
    image.replace(65532, 2, "ED");
    OmPropertyGroup const group(image.data(), static_cast<int>(image.size()));
    EXPECT_EQ(group.count(), 0);

    OmPropertyGroup built;
    built.add("k", std::string(65535 - 20, 'v').c_str()); // exactly 65535 bytes needed
    EXPECT_EQ(built.count(), 1);
}

TEST(OmPropertyGroupFault, eightBytesAreEnough)
{
    // Too short for four digits of a count: what stands before "ED" ends it.
    std::string const image = "PR0--ED\0"s;
    OmPropertyGroup const group(image.data(), static_cast<int>(image.size()));
    EXPECT_EQ(group.count(), 0);
}

} // namespace

} // namespace tz::orvane::om
