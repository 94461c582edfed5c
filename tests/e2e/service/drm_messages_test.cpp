// SPDX-License-Identifier: Apache-2.0
// What Clear Key reads and writes: initialization data, license requests, licenses.
#include "drm_init_data.h"
#include "drm_license.h"

#include "orvane/om_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace tz::orvane::service
{
namespace
{

using testing::ElementsAre;

/// The example of the W3C recommendation: two keys are asked for.
constexpr char kRequest[] = R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A","0DdtU9od-Bh5L3xbv0Xf_A"],"type":"temporary"})";

/// Its example of an answer.
constexpr char kLicense[] = R"({
  "keys":
    [{
      "kty":"oct",
      "k":"tQ0bJVWb6b0KPL6KtZIy_A",
      "kid":"LwVHf8JLtPrv2GUXFW2v_A"
    }],
  "type":"temporary"
})";

/// Its example of "keyids" initialization data.
constexpr char kKeyIds[] = R"({
  "kids":
    [
     "LwVHf8JLtPrv2GUXFW2v_A",
     "0DdtU9od-Bh5L3xbv0Xf_A"
    ]
})";

/// Its example of a pssh box, with the ids "0123456789012345" and "ABCDEFGHIJKLMNOP".
constexpr unsigned char kPssh[] = {
    0x00, 0x00, 0x00, 0x44, 0x70, 0x73, 0x73, 0x68, 0x01, 0x00, 0x00, 0x00, 0x10, 0x77, 0xef, 0xec, 0xc0,
    0xb2, 0x4d, 0x02, 0xac, 0xe3, 0x3c, 0x1e, 0x52, 0xe2, 0xfb, 0x4b, 0x00, 0x00, 0x00, 0x02, 0x30, 0x31,
    0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x41, 0x42, 0x43,
    0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x4b, 0x4c, 0x4d, 0x4e, 0x4f, 0x50, 0x00, 0x00, 0x00, 0x00,
};

std::string pssh()
{
    return {reinterpret_cast<char const*>(kPssh), sizeof kPssh};
}

/// The same box of version 0: it names no key.
std::string oldPssh()
{
    std::string box = pssh().substr(0, 28) + std::string(4, '\0');
    box[3] = static_cast<char>(box.size());
    box[8] = 0;
    return box;
}

/// A box of another system with data of its own.
std::string foreignPssh()
{
    std::string box = pssh();
    box[12] = 0x11;
    box[40] = 0x7f;
    return box;
}

std::vector<std::string> idsOf(std::uint32_t type, std::string const& data, int result = 0)
{
    DrmKeyIds ids;
    EXPECT_EQ(readInitData(type, data, ids), result) << data;
    std::vector<std::string> texts;
    for (DrmKeyId const& id : ids)
    {
        texts.push_back(toHex(id));
    }
    return texts;
}

constexpr char kFirst[] = "2f05477fc24bb4faefd86517156daffc";
constexpr char kSecond[] = "d0376d53da1df818792f7c5bbf45dffc";

TEST(DrmMessages, theRecommendationsKeyIdsGiveItsLicenseRequest)
{
    DrmKeyIds ids;
    ASSERT_EQ(readInitData(om::OM_DRM_INIT_DATA_KEYIDS, kKeyIds, ids), 0);
    EXPECT_EQ(writeLicenseRequest(ids), kRequest);
    EXPECT_THAT(idsOf(om::OM_DRM_INIT_DATA_KEYIDS, kRequest), ElementsAre(kFirst, kSecond)) << "a request is such data";
}

TEST(DrmMessages, theRecommendationsLicenseGivesItsKey)
{
    DrmKeys keys;
    ASSERT_EQ(readLicense(kLicense, keys), 0);
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(toHex(keys.begin()->first), kFirst);
    EXPECT_EQ(toHex(keys.begin()->second.bytes()), "b50d1b25559be9bd0a3cbe8ab59232fc");
}

TEST(DrmMessages, aKeyNamedTwiceIsAskedForOnce)
{
    EXPECT_THAT(idsOf(om::OM_DRM_INIT_DATA_KEYIDS,
                      R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A","LwVHf8JLtPrv2GUXFW2v_A"],"other":[1]})"),
                ElementsAre(kFirst));
}

TEST(DrmMessages, keyIdsThatAreNotWellFormedAreRefused)
{
    for (char const* const text :
         {"", "{", "[]", "1", "{}", R"({"kids":1})", R"({"kids":[1]})", R"({"kids":["LwVHf8JLtPrv2GUXFW2v_"]})",
          R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A=="]})", R"({"kids":["LwVHf8JLtPrv2GUXFW2v/A"]})",
          R"({"kids":["LwVHf8JLtPrv2GUXFW2v_B"]})", R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A"]}x)"})
    {
        idsOf(om::OM_DRM_INIT_DATA_KEYIDS, text, -EINVAL);
    }
    idsOf(om::OM_DRM_INIT_DATA_KEYIDS, R"({"kids":[]})", -ENODATA);
    idsOf(0, kKeyIds, -EOPNOTSUPP);
    idsOf(om::OM_DRM_INIT_DATA_KEYIDS, std::string(60'000, '['), -EINVAL);
}

TEST(DrmMessages, boxesOfTheCommonSystemNameKeys)
{
    std::vector<std::string> const both{"30313233343536373839303132333435", "4142434445464748494a4b4c4d4e4f50"};
    EXPECT_EQ(idsOf(om::OM_DRM_INIT_DATA_CENC, pssh()), both);
    EXPECT_EQ(idsOf(om::OM_DRM_INIT_DATA_CENC, oldPssh() + foreignPssh() + pssh() + pssh()), both);
    idsOf(om::OM_DRM_INIT_DATA_CENC, oldPssh(), -ENODATA);
    idsOf(om::OM_DRM_INIT_DATA_CENC, foreignPssh(), -ENODATA);
    idsOf(om::OM_DRM_INIT_DATA_CENC, "", -ENODATA);
}

TEST(DrmMessages, boxesThatDoNotAddUpAreRefused)
{
    for (std::size_t size = 1; size < sizeof kPssh; ++size)
    {
        idsOf(om::OM_DRM_INIT_DATA_CENC, pssh().substr(0, size), -EINVAL);
    }
    auto const with = [](std::size_t at, char value)
    {
        std::string box = pssh();
        box[at] = value;
        return box;
    };
    for (std::string const& box :
         {with(3, 0x43), with(3, 7), with(4, 'q'), with(28, 0x7f), with(31, 3), with(31, 1), with(67, 1)})
    {
        DrmKeyIds ids;
        EXPECT_EQ(readInitData(om::OM_DRM_INIT_DATA_CENC, box, ids), -EINVAL);
    }
}

TEST(DrmMessages, webmDataAreOneKeyId)
{
    EXPECT_THAT(idsOf(om::OM_DRM_INIT_DATA_WEBM, "0123456789012345"), ElementsAre("30313233343536373839303132333435"));
    idsOf(om::OM_DRM_INIT_DATA_WEBM, "012345678901234", -EINVAL);
    idsOf(om::OM_DRM_INIT_DATA_WEBM, "01234567890123456", -EINVAL);
    idsOf(om::OM_DRM_INIT_DATA_WEBM, "", -EINVAL);
}

std::string licenseOf(std::string const& keys, std::string const& more = {})
{
    return "{\"keys\":[" + keys + "]" + more + "}";
}

constexpr char kGoodKey[] =
    R"({"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A","kid":"LwVHf8JLtPrv2GUXFW2v_A","alg":"A128KW"})";

TEST(DrmMessages, whatIsNotKnownInALicenseIsLeftOut)
{
    DrmKeys keys;
    EXPECT_EQ(
        readLicense(licenseOf(std::string(R"({"kty":"RSA","n":"x"},)") + kGoodKey, R"(,"other":{"keys":[]})"), keys),
        0);
    EXPECT_EQ(keys.size(), 1u);
}

TEST(DrmMessages, licensesThatAreNotWellFormedGiveNoKey)
{
    std::string const good = kGoodKey;
    for (std::string const& text :
         {std::string(), std::string("{"), std::string("[]"), std::string("{}"), std::string(R"({"keys":1})"),
          licenseOf(""), licenseOf("1"), licenseOf("{}"), licenseOf(R"({"kty":1})"), licenseOf(R"({"kty":"RSA"})"),
          licenseOf(good + R"(,{"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A"})"),
          licenseOf(good + R"(,{"kty":"oct","k":"tQ0b","kid":"LwVHf8JLtPrv2GUXFW2v_A"})"),
          licenseOf(good + R"(,{"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A","kid":"LwVH"})"),
          licenseOf(good + R"(,{"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A","kid":"LwVHf8JLtPrv2GUXFW2v_AAA"})"),
          licenseOf(good + R"(,{"kty":"oct","k":1,"kid":"LwVHf8JLtPrv2GUXFW2v_A"})"), licenseOf(good, R"(,"type":1)"),
          licenseOf(good) + "," + licenseOf(good), licenseOf(good) + "],[" + licenseOf(good)})
    {
        DrmKeys keys;
        EXPECT_EQ(readLicense(text, keys), -EINVAL) << text;
        EXPECT_TRUE(keys.empty()) << text;
    }
    DrmKeys keys;
    EXPECT_EQ(readLicense(licenseOf(good, R"(,"type":"persistent-license")"), keys), -EOPNOTSUPP);
    EXPECT_TRUE(keys.empty());
}

TEST(DrmMessages, numbersOfKeysAreBounded)
{
    auto const fill = [](std::size_t count, bool asLicense)
    {
        std::string list;
        for (std::size_t index = 0; index < count; ++index)
        {
            DrmKeyId id{};
            id[0] = static_cast<std::uint8_t>(index);
            id[1] = static_cast<std::uint8_t>(index >> 8U);
            std::string const name = '"' + toBase64Url(id) + '"';
            list += (index == 0 ? "" : ",") +
                    (asLicense ? R"({"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A","kid":)" + name + "}" : name);
        }
        return asLicense ? licenseOf(list) : "{\"kids\":[" + list + "]}";
    };
    EXPECT_EQ(idsOf(om::OM_DRM_INIT_DATA_KEYIDS, fill(kMostDrmKeys, false)).size(), kMostDrmKeys);
    DrmKeyIds ids;
    EXPECT_EQ(readInitData(om::OM_DRM_INIT_DATA_KEYIDS, fill(kMostDrmKeys + 1, false), ids), -EINVAL);
    DrmKeys keys;
    EXPECT_EQ(readLicense(fill(kMostDrmKeys, true), keys), 0);
    EXPECT_EQ(keys.size(), kMostDrmKeys);
    EXPECT_EQ(readLicense(fill(kMostDrmKeys + 1, true), keys), -EINVAL);
}

} // namespace
} // namespace tz::orvane::service
