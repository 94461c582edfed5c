// SPDX-License-Identifier: Apache-2.0
// What cameras write into photos, and photos that are made to do harm.
#include "exif.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tz::orvane::service
{
namespace
{

using namespace std::string_literals;

std::string number(unsigned int value, int size)
{
    std::string bytes;
    for (int shift = size * 8 - 8; shift >= 0; shift -= 8)
    {
        bytes += static_cast<char>(value >> static_cast<unsigned int>(shift) & 0xFFU);
    }
    return bytes;
}

constexpr unsigned int kText = 2;
constexpr unsigned int kShort = 3;

struct Field
{
    unsigned int tag;
    unsigned int type;
    std::string value;
};

/// A directory of fields; what is longer than four bytes comes behind it.
std::string tiff(std::vector<Field> const& fields)
{
    std::string directory = number(static_cast<unsigned int>(fields.size()), 2);
    std::string behind;
    auto const first = static_cast<unsigned int>(8 + 2 + 12 * fields.size() + 4);
    for (Field const& field : fields)
    {
        auto const size = static_cast<unsigned int>(field.value.size());
        directory += number(field.tag, 2) + number(field.type, 2) + number(field.type == kText ? size : size / 2, 4);
        if (size <= 4)
        {
            directory += field.value + std::string(4 - size, '\0');
        }
        else
        {
            directory += number(first + static_cast<unsigned int>(behind.size()), 4);
            behind += field.value;
        }
    }
    return "MM\0*\0\0\0\x08"s + directory + number(0, 4) + behind;
}

std::string segment(char kind, std::string const& content)
{
    return "\xFF" + std::string(1, kind) + number(static_cast<unsigned int>(content.size() + 2), 2) + content;
}

std::string jpeg(std::string const& exif)
{
    return "\xFF\xD8" + segment('\xE0', "JFIF\0"s) + segment('\xE1', "http://ns.adobe.com/xap/1.0/\0<x/>"s) +
           segment('\xE1', "Exif\0\0"s + exif) + segment('\xDA', "") + "picture";
}

std::vector<Field> photo(unsigned int orientation)
{
    return {{0x010F, kText, "Maker\0"s},
            {0x0110, kText, "A camera   \0"s},
            {0x0112, kShort, number(orientation, 2)},
            {0x0132, kText, "2024:02:03 04:05:06\0"s}};
}

TEST(ExifReader, itIsFoundBehindOtherSegments)
{
    auto const info = readExif(jpeg(tiff(photo(1))));
    ASSERT_TRUE(info);
    EXPECT_STREQ(info->camera_maker, "Maker");
    EXPECT_STREQ(info->camera_model, "A camera");
    EXPECT_EQ(info->date_taken.year, 2024);
    EXPECT_EQ(info->date_taken.time.second, 6);
    EXPECT_EQ(info->iso, 0);
    EXPECT_EQ(info->exposure_time.den, 0);
}

TEST(ExifReader, theChunkOfAPngIsFound)
{
    std::string const exif = tiff(photo(3));
    std::string const head = "\x89PNG\r\n\x1A\n" + number(3, 4) + "IHDRabc" + number(0, 4);
    auto const info = readExif(head + number(static_cast<unsigned int>(exif.size()), 4) + "eXIf" + exif + number(0, 4));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->rotation, 180);
    EXPECT_FALSE(readExif(head + number(0xFFFFFFFF, 4) + "eXIf" + exif));
}

TEST(ExifReader, eightWaysToHoldACameraAreTold)
{
    struct Way
    {
        int rotation;
        int mirror;
    };
    static constexpr Way kWays[] = {{0, 0}, {0, 1}, {180, 0}, {180, 1}, {270, 1}, {90, 0}, {90, 1}, {270, 0}};
    for (unsigned int orientation = 1; orientation <= 8; ++orientation)
    {
        auto const info = readExif(jpeg(tiff(photo(orientation))));
        ASSERT_TRUE(info);
        EXPECT_EQ(info->rotation, kWays[orientation - 1].rotation) << orientation;
        EXPECT_EQ(info->mirror, kWays[orientation - 1].mirror) << orientation;
    }
    auto const unknown = readExif(jpeg(tiff(photo(9))));
    ASSERT_TRUE(unknown);
    EXPECT_EQ(unknown->rotation, 0);
}

TEST(ExifReader, datesThatAreNoneAreNotKnown)
{
    for (char const* const date : {"0000:00:00 00:00:00", "2024:13:01 00:00:00",
                                   "    :  :     :  :  ", "2024:01:01 25:00:00", "-999:01:01 00:00:00", "yesterday"})
    {
        auto const info = readExif(jpeg(tiff({{0x0132, kText, std::string(date) + '\0'}})));
        ASSERT_TRUE(info);
        EXPECT_EQ(info->date_taken.year, -1) << date;
    }
    auto const info = readExif(jpeg(tiff({{0x0132, kText, "2023:02:30 00:00:00\0"s}})));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->date_taken.wday, -1) << "no day of that month";
}

TEST(ExifReader, picturesWithoutItHaveNone)
{
    EXPECT_FALSE(readExif(""));
    EXPECT_FALSE(readExif("\xFF\xD8"));
    EXPECT_FALSE(readExif("\xFF\xD8" + segment('\xDA', "Exif\0\0"s)));
    EXPECT_FALSE(readExif("\xFF\xD8\xFF\xE1\0\0Exif\0\0"s)) << "a segment without a size";
    EXPECT_FALSE(readExif(jpeg("")));
    EXPECT_FALSE(readExif(jpeg("MM\0*\xFF\xFF\xFF\xFF"s)));
    EXPECT_FALSE(readExif(std::string(100'000, '\xFF')));
}

TEST(ExifReader, cutOffAndDamagedDataDoNoHarm)
{
    std::string const file = jpeg(tiff(photo(6)));
    for (std::size_t size = 0; size < file.size(); ++size)
    {
        readExif(file.substr(0, size));
    }
    unsigned int seed = 1;
    for (int count = 0; count < 5'000; ++count)
    {
        std::string damaged = file;
        for (int change = 0; change < 4; ++change)
        {
            seed = seed * 1'103'515'245u + 12'345u;
            damaged[(seed >> 8u) % damaged.size()] = static_cast<char>(seed >> 24u);
        }
        if (auto const info = readExif(damaged))
        {
            EXPECT_EQ(info->rotation % 90, 0);
        }
    }
}

} // namespace
} // namespace tz::orvane::service
