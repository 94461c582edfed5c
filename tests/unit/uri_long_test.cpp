// SPDX-License-Identifier: Apache-2.0
// URIs whose parameters are longer than a property group may be.
#include "orvane/om_uri_util.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace tz::orvane::om
{

namespace
{

using platform::DebugLevel;
using test::LogCapture;
using ::testing::Contains;

TEST(LongUri, aParameterThatDoesNotFitStaysInTheUri)
{
    LogCapture const log(DebugLevel::error);
    std::string const tooLong(70'000, 'x');
    UriEntity entity("http://h/a.mp4?app=" + tooLong + "&width=1");
    EXPECT_TRUE(entity.isValid());
    EXPECT_EQ(entity.getProperty("app"), "");
    EXPECT_EQ(entity.getProperty("width"), "1");
    om_uri_info_t info;
    entity.getUriInfo(info);
    EXPECT_EQ(info.pure_uri, ("http://h/a.mp4?app=" + tooLong).substr(0, 2047));
    EXPECT_THAT(log.texts(), Contains("The value of this key [app] is too long."));

    std::string const half(40'000, '1');
    EXPECT_EQ(entity.parseUri("es://s?width=" + half + "&height=" + half + "&pos=2"), 0);
    EXPECT_EQ(entity.getProperty("width"), half);
    EXPECT_EQ(entity.getProperty("height"), "");
    EXPECT_EQ(entity.getProperty("pos"), "2") << "there is room for it";
}

TEST(LongUri, theImageOfTheGroupMayBeAsLargeAsAnyGroups)
{
    // With nothing in the group its image has 9 bytes, with an entry 10 more and those of the texts.
    constexpr std::size_t kRoom = 65535 - 9 - 10 - 5;
    UriEntity entity("es://x");
    for (std::size_t const length : {kRoom - 1, kRoom, kRoom + 1})
    {
        OmPropertyGroup group;
        int const result = entity.parseProperty("?width=" + std::string(length, 'w'), "width", group);
        EXPECT_EQ(result, length <= kRoom ? 0 : -1);
        EXPECT_EQ(group.count(), length <= kRoom ? 1 : 0);
        EXPECT_EQ(group.get("width").size(), length <= kRoom ? length : 0);
    }
}

TEST(LongUri, aGroupTakesWhatFitsWhateverRoomItHas)
{
    UriEntity entity("es://x");
    for (std::size_t const first : {1, 10'000, 20'000, 32'700, 33'000, 50'000})
    {
        for (std::size_t const second : {1, 10'000, 15'000, 32'700})
        {
            OmPropertyGroup group;
            group.add("first", std::string(first, '1').c_str());
            bool const fits = 9 + 15 + first + 15 + second <= 65535;
            EXPECT_EQ(entity.parseProperty("?width=" + std::string(second, '2'), "width", group), fits ? 0 : -1);
            EXPECT_EQ(group.get("first"), std::string(first, '1'));
            EXPECT_EQ(group.get("width"), std::string(fits ? second : 0, '2'));
        }
    }
}

TEST(LongUri, aGroupBuiltFromNothingStaysSo)
{
    UriEntity entity("es://x");
    OmPropertyGroup group(nullptr, 0);
    EXPECT_EQ(entity.parseProperty("?width=" + std::string(40'000, 'w'), "width", group), 0);
    EXPECT_EQ(group.count(), -1);
}

} // namespace

} // namespace tz::orvane::om
