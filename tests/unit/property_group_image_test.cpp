// SPDX-License-Identifier: Apache-2.0
// The reader of serialized property groups: numbers, offsets, order of its checks and the view that reports.
#include "om_property_image.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tz::orvane::protocol
{

namespace
{

using namespace std::string_literals;

// An image whose first two entries are the ones of every example.
std::string const kGood = "PR0002"
                          "00120014rate\0002\0"
                          "00210023mode\000x\0"
                          "ED\0"s;

PropertyImage read(std::string const& image)
{
    return readPropertyImage(image.data(), static_cast<int>(image.size()));
}

PropertyFault check(std::string const& image)
{
    return PropertyView::check(image.data(), static_cast<int>(image.size()));
}

std::uint32_t number(std::string const& text)
{
    return propertyNumber(reinterpret_cast<unsigned char const*>(text.data()), static_cast<int>(text.size()), 0);
}

TEST(PropertyNumber, readsUpToTheFirstByteThatIsNoDigit)
{
    EXPECT_EQ(number("0012"), 0x12U);
    EXPECT_EQ(number("aBcD"), 0xABCDU);
    EXPECT_EQ(number("12g4"), 0x12U);
    EXPECT_EQ(number("1\00034"s), 1U);
    EXPECT_EQ(number("12345"), 0x1234U);
}

TEST(PropertyNumber, acceptsNeitherBlanksNorSignsNorAPrefix)
{
    EXPECT_EQ(number(" 012"), 0U);
    EXPECT_EQ(number("-001"), 0U);
    EXPECT_EQ(number("+001"), 0U);
    EXPECT_EQ(number("0x12"), 0U);
    EXPECT_EQ(number("\t\n12"), 0U);
}

TEST(PropertyNumber, endsWithTheImage)
{
    EXPECT_EQ(number("12"), 0x12U);
    EXPECT_EQ(number(""), 0U);
    std::string const text = "1234";
    auto const* const bytes = reinterpret_cast<unsigned char const*>(text.data());
    EXPECT_EQ(propertyNumber(bytes, 4, 3), 4U);
    EXPECT_EQ(propertyNumber(bytes, 4, 4), 0U);
    EXPECT_EQ(propertyNumber(bytes, 4, 65535), 0U);
}

TEST(PropertyNumber, agreesWithTheStandardLibraryOnAnyFourBytes)
{
    std::string const favourites = "0123456789abcdefABCDEFxXgG+- \t\n";
    std::mt19937 random(20240611);
    for (int round = 0; round < 200000; ++round)
    {
        std::string text(4, '\0');
        for (char& byte : text)
        {
            byte = random() % 4 == 0 ? static_cast<char>(random()) : favourites[random() % favourites.size()];
        }
        ASSERT_EQ(number(text), std::strtoul(("0x" + text).c_str(), nullptr, 16)) << "round " << round;
    }
}

TEST(PropertyImage, givesCountOffsetsCapacityAndCursor)
{
    PropertyImage const image = read(kGood);
    EXPECT_EQ(image.count, 2);
    EXPECT_EQ(image.size, 39);
    EXPECT_EQ(image.used, 38);
    EXPECT_EQ(std::vector<std::uint32_t>(image.keyEnd, image.keyEnd + 3), (std::vector<std::uint32_t>{18, 33, 0}));
    EXPECT_EQ(std::vector<std::uint32_t>(image.valueEnd, image.valueEnd + 3), (std::vector<std::uint32_t>{20, 35, 0}));
    EXPECT_EQ(image.fault(), PropertyFault::none);
    EXPECT_EQ(image.keyAt(0), "rate");
    EXPECT_EQ(image.valueAt(0), "2");
    EXPECT_EQ(image.keyAt(1), "mode");
    EXPECT_EQ(image.valueAt(1), "x");
}

TEST(PropertyImage, largestNumberBelievedIs65534)
{
    EXPECT_EQ(read("PRfffeED\0"s).count, 65534);
    EXPECT_EQ(read("PRffffED\0"s).count, 0);
    EXPECT_EQ(read("PR0001fffe0001ED\0"s).keyEnd[0], 65534U);
    EXPECT_EQ(read("PR0001ffff0001ED\0"s).keyEnd[0], 0U);
    EXPECT_EQ(read("PR00010001fffeED\0"s).valueEnd[0], 65534U);
    EXPECT_EQ(read("PR00010001ffffED\0"s).valueEnd[0], 0U);
}

TEST(PropertyImage, entryBehindADisbelievedValueIsReadAtOffsetOne)
{
    // At offset 1 stand "R000" and "2" with what follows: no digit, then 0x2001.
    PropertyImage const image = read("PR00020012ffffED\0"s);
    EXPECT_EQ(image.valueEnd[0], 0U);
    EXPECT_EQ(image.keyEnd[1], 0U);
    EXPECT_EQ(image.valueEnd[1], 0x2001U);
}

TEST(PropertyImage, entryBehindABelievedValueIsReadOneByteFurther)
{
    PropertyImage const image = read("PR000200120002ED\0"s); // the next one begins at offset 3
    EXPECT_EQ(image.keyEnd[1], 0x0020U);
    EXPECT_EQ(image.valueEnd[1], 0x0120U);
}

TEST(PropertyImage, neverFillsMoreThanSixteenSlots)
{
    std::string const received = "PRfffe" + std::string(1000, '7') + "ED\0"s;
    PropertyImage const image = read(received);
    EXPECT_EQ(image.count, 65534);
    EXPECT_EQ(image.keyEnd[0], 0x7777U);
    EXPECT_EQ(image.fault(), PropertyFault::count);
}

TEST(PropertyImage, numbersBehindTheEndAreZero)
{
    PropertyImage const image = read("PR0001ED\0"s); // 0xED, then nothing
    EXPECT_EQ(image.keyEnd[0], 0xEDU);
    EXPECT_EQ(image.valueEnd[0], 0U);
    EXPECT_EQ(read("PR00"s).count, 0);
    EXPECT_EQ(read("PR1"s).count, 1);
}

TEST(PropertyImage, nothingStaysNothing)
{
    for (PropertyImage const& image :
         {readPropertyImage(nullptr, 39), readPropertyImage(kGood.data(), 0), readPropertyImage(kGood.data(), -7)})
    {
        EXPECT_EQ(image.bytes, nullptr);
        EXPECT_EQ(image.size, -1);
        EXPECT_EQ(image.count, -1);
        EXPECT_EQ(image.fault(), PropertyFault::noBuffer);
    }
}

TEST(PropertyImage, cursorMustLieInsideTheCapacity)
{
    PropertyImage image = read(kGood);
    image.used = image.size;
    EXPECT_EQ(image.fault(), PropertyFault::cursor);
    image.size = 65536;
    EXPECT_EQ(image.fault(), PropertyFault::size) << "the size is looked at before";
}

TEST(PropertyImage, negativeCountIsAFault)
{
    PropertyImage image = read(kGood);
    image.count = -1;
    EXPECT_EQ(image.fault(), PropertyFault::count);
}

TEST(PropertyImage, checksRunInTheirOrder)
{
    // Everything is wrong at first; each step mends what the check before complained of.
    std::string image = "XR0011\0"s;
    EXPECT_EQ(PropertyView::check(nullptr, 7), PropertyFault::noBuffer);
    EXPECT_EQ(check(image), PropertyFault::size);
    image = "XR0011" + std::string(30, 'x');
    EXPECT_EQ(check(image), PropertyFault::head);
    image[0] = 'P';
    EXPECT_EQ(check(image), PropertyFault::end);
    image.replace(image.size() - 3, 2, "ED");
    EXPECT_EQ(check(image), PropertyFault::count);
    image.replace(2, 4, "0001");
    EXPECT_EQ(check(image), PropertyFault::offsets);
    image.replace(6, 8, "000f0011");
    EXPECT_EQ(check(image), PropertyFault::offsets);
    image[0x0f] = '\0';
    EXPECT_EQ(check(image), PropertyFault::offsets);
    image[0x11] = '\0';
    EXPECT_EQ(check(image), PropertyFault::none);
}

TEST(PropertyView, walksTheEntriesOfAGoodImage)
{
    PropertyView const view(kGood.data(), static_cast<int>(kGood.size()));
    ASSERT_EQ(view.fault(), PropertyFault::none);
    EXPECT_EQ(view.count(), 2);
    std::string seen;
    for (auto const [key, value] : view)
    {
        seen += std::string(key) + "=" + std::string(value) + ";";
    }
    EXPECT_EQ(seen, "rate=2;mode=x;");
}

TEST(PropertyView, findsTheFirstEntryOfAKey)
{
    std::string const twice = "PR0002000f0011k\0001\0"
                              "001b001dk\0002\0ED\0"s;
    PropertyView const view(twice.data(), static_cast<int>(twice.size()));
    ASSERT_EQ(view.fault(), PropertyFault::none);
    EXPECT_EQ(view.at(1).value, "2");
    EXPECT_EQ(view.get("k"), "1");
    EXPECT_EQ(view.get("absent"), "");
    EXPECT_EQ(view.get(""), "");
}

TEST(PropertyView, isEmptyForABrokenImage)
{
    std::string broken = kGood;
    broken[18] = '!';
    PropertyView const view(broken.data(), static_cast<int>(broken.size()));
    EXPECT_EQ(view.fault(), PropertyFault::offsets);
    EXPECT_EQ(view.count(), 0);
    EXPECT_FALSE(view.begin() != view.end());
    EXPECT_EQ(view.get("mode"), "");
}

TEST(PropertyView, isEmptyForNoImage)
{
    PropertyView const view(nullptr, 0);
    EXPECT_EQ(view.fault(), PropertyFault::noBuffer);
    EXPECT_EQ(view.count(), 0);
    EXPECT_EQ(view.get("k"), "");
}

TEST(PropertyView, textsPointIntoTheImage)
{
    PropertyView const view(kGood.data(), static_cast<int>(kGood.size()));
    EXPECT_EQ(view.at(0).key.data(), kGood.data() + 14);
    EXPECT_EQ(view.at(1).value.data(), kGood.data() + 34);
}

} // namespace

} // namespace tz::orvane::protocol
