// SPDX-License-Identifier: Apache-2.0
// Parts of previews: results that cannot be trusted, arguments, and what is done to pixels.
#include "preview_picture.h"
#include "preview_request.h"
#include "preview_result.h"

#include <gtest/gtest.h>

#include <gst/gst.h>

namespace tz::orvane::service
{
namespace
{

std::string imageOf(std::initializer_list<std::pair<char const*, std::string>> entries)
{
    om::OmPropertyGroup group;
    for (auto const& [key, value] : entries)
    {
        group.add(key, value.c_str());
    }
    char* data = nullptr;
    int size = 0;
    group.getData(&data, &size);
    return std::string(data, static_cast<std::size_t>(size));
}

TEST(PreviewResult, comesBackAsItWas)
{
    PreviewResult result;
    result.add(om::OM_PREVIEW_KEY_TITLE, "A title");
    result.add(om::OM_PREVIEW_KEY_ALBUM, "");
    PreviewResult const back = decodeResult(encodeResult(result));
    EXPECT_EQ(back.code, om::OM_ERROR_NONE);
    EXPECT_EQ(back.properties, result.properties);
    EXPECT_EQ(result.properties.size(), 1u);
}

TEST(PreviewResult, whatMakesNoSenseIsAFault)
{
    std::string const whole = encodeResult(failedPreview(om::OM_ERROR_BROKEN_FILE, "why"));
    EXPECT_EQ(decodeResult(whole).code, om::OM_ERROR_BROKEN_FILE);
    for (std::size_t size = 0; size + 1 < whole.size(); ++size)
    {
        EXPECT_EQ(decodeResult(whole.substr(0, size)).code, om::OM_ERROR_INTERNAL);
    }
    EXPECT_EQ(decodeResult(std::string(60'000, 'x')).code, om::OM_ERROR_INTERNAL);
    EXPECT_EQ(decodeResult(imageOf({{"result", "99"}})).code, om::OM_ERROR_INTERNAL);
    EXPECT_EQ(decodeResult(imageOf({{"result", "-1"}})).code, om::OM_ERROR_INTERNAL);
    EXPECT_EQ(decodeResult(imageOf({{"title", "x"}})).code, om::OM_ERROR_INTERNAL);
}

TEST(PreviewResult, onlyKnownKeysPassAndTextsAreBounded)
{
    PreviewResult const result = decodeResult(
        imageOf({{"result", "0"}, {"unheard-of", "x"}, {"title", std::string(5000, 'x')}, {"artist", "\xff\xfe"}}));
    EXPECT_EQ(result.properties.size(), 2u);
    om::OmPropertyGroup group;
    result.fillGroup(group);
    EXPECT_EQ(group.get("title").size(), 511u);
    EXPECT_NE(g_utf8_validate(group.get("artist").c_str(), -1, nullptr), FALSE);
}

std::string read(std::string const& image, PreviewRequest& request, int flags = 0)
{
    return readPreviewRequest("/film.mp4", om::OM_LOCATION_MODE_TIME, 0, flags,
                              protocol::PropertyView(image.data(), static_cast<int>(image.size())), request);
}

TEST(PreviewRequest, hasSensibleDefaults)
{
    gst_init(nullptr, nullptr);
    PreviewRequest request;
    EXPECT_EQ(read(imageOf({}), request), "");
    EXPECT_EQ(request.uri, "file:///film.mp4");
    EXPECT_EQ(request.task.width, 320);
    EXPECT_EQ(request.task.columns, 1);
    EXPECT_TRUE(request.task.picture);
    EXPECT_FALSE(request.task.exact);
}

TEST(PreviewRequest, aSheetIsNearlySquareUnlessColumnsAreNamed)
{
    gst_init(nullptr, nullptr);
    PreviewRequest request;
    EXPECT_EQ(read(imageOf({{"frames", "10"}}), request, om::OM_PREVIEW_EXACT), "");
    EXPECT_EQ(request.task.columns, 4);
    EXPECT_TRUE(request.task.exact);
    EXPECT_EQ(read(imageOf({{"frames", "10"}, {"columns", "2"}}), request), "");
    EXPECT_EQ(request.task.columns, 2);
    EXPECT_NE(read(imageOf({{"frames", "100"}, {"size", "4096x4096"}}), request), "");
}

TEST(PreviewRequest, theGapsOfASheetCountToo)
{
    gst_init(nullptr, nullptr);
    PreviewRequest request;
    EXPECT_EQ(read(imageOf({{"frames", "16"}, {"size", "4091x4091"}}), request), "");
    EXPECT_NE(read(imageOf({{"frames", "16"}, {"size", "4092x4091"}}), request), "");
    EXPECT_NE(read(imageOf({{"frames", "16"}, {"size", "4091x4092"}}), request), "");
    EXPECT_EQ(read(imageOf({{"frames", "3"}, {"columns", "100"}, {"size", "4096x4096"}}), request), "")
        << "no sheet has columns without a frame";
}

TEST(PreviewRequest, theNamedIdIsKnownAlsoWhenOtherThingsAreWrong)
{
    PreviewRequest request;
    EXPECT_EQ(read(imageOf({{"size", "huge"}, {"request-id", "7"}}), request), "property size");
    EXPECT_EQ(request.named, 7u);
}

/// One letter a pixel.
Raster rasterOf(int width, std::string const& letters)
{
    Raster raster{width, static_cast<int>(letters.size()) / width, {}};
    for (char const letter : letters)
    {
        raster.pixels.insert(raster.pixels.end(), 3, static_cast<std::uint8_t>(letter));
    }
    return raster;
}

std::string lettersOf(Raster const& raster)
{
    std::string letters;
    for (std::size_t at = 0; at < raster.pixels.size(); at += 3)
    {
        letters += static_cast<char>(raster.pixels[at]);
    }
    return letters;
}

TEST(PreviewPicture, isTurnedClockwise)
{
    Raster const raster = rasterOf(3, "abcdef");
    EXPECT_EQ(lettersOf(turned(raster, {0, false})), "abcdef");
    EXPECT_EQ(lettersOf(turned(raster, {1, false})), "daebfc");
    EXPECT_EQ(turned(raster, {1, false}).width, 2);
    EXPECT_EQ(lettersOf(turned(raster, {2, false})), "fedcba");
    EXPECT_EQ(lettersOf(turned(raster, {3, false})), "cfbead");
}

TEST(PreviewPicture, isMirroredBeforeItIsTurned)
{
    Raster const raster = rasterOf(3, "abcdef");
    EXPECT_EQ(lettersOf(turned(raster, {0, true})), "cbafed");
    EXPECT_EQ(lettersOf(turned(raster, {1, true})), "fcebda");
    EXPECT_EQ(lettersOf(turned(raster, {2, true})), "defabc");
    EXPECT_EQ(lettersOf(turned(raster, {3, true})), "adbecf");
}

TEST(PreviewPicture, fitsAndNeverGrows)
{
    auto const fits = [](Extent box, Extent picture, int width, int height)
    {
        Extent const extent = fitInto(box, picture);
        return extent.width == width && extent.height == height;
    };
    EXPECT_TRUE(fits({320, 320}, {1920, 1080}, 320, 180));
    EXPECT_TRUE(fits({320, 100}, {1920, 1080}, 178, 100));
    EXPECT_TRUE(fits({320, 320}, {100, 50}, 100, 50));
    EXPECT_TRUE(fits({16, 16}, {10'000, 10}, 16, 1));
}

TEST(PreviewPicture, aSheetHasRowsOfItsColumns)
{
    std::vector<Raster> const rasters{rasterOf(1, "a"), rasterOf(1, "b"), rasterOf(1, "c")};
    Raster const sheet = sheetOf(rasters, 2);
    EXPECT_EQ(sheet.width, 2 * 5 + 4);
    EXPECT_EQ(sheet.height, 2 * 5 + 4);
    std::string const letters = lettersOf(sheet);
    auto const at = [&](int x, int y) {
        return letters[static_cast<std::size_t>(y) * static_cast<std::size_t>(sheet.width) +
                       static_cast<std::size_t>(x)];
    };
    EXPECT_EQ(at(4, 4), 'a');
    EXPECT_EQ(at(9, 4), 'b');
    EXPECT_EQ(at(4, 9), 'c');
    EXPECT_EQ(at(9, 9), '\0');
    EXPECT_EQ(sheetOf(rasters, 5).width, 3 * 5 + 4);
}

} // namespace
} // namespace tz::orvane::service
