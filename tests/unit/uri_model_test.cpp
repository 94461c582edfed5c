// SPDX-License-Identifier: Apache-2.0
// Thousands of made-up URIs: the entity and a slow model must agree on all of them.
#include "orvane/om_uri_util.h"

#include "orvane/platform/om_debug.h"
#include "unit/uri_model.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>

namespace tz::orvane::om
{

namespace
{

using test::kUriKeys;

class Maker
{
public:
    std::string uri()
    {
        static char const* const headers[] = {"file://", "file:///", "http://", "https://", "es://",
                                              "rtsp://", "ftp://",   "FILE://", "http:/",   ""};
        std::string text = pick(headers);
        int const pieces = below(12);
        for (int i = 0; i < pieces; ++i)
        {
            text += piece();
        }
        if (text == "file://")
        {
            text += '/';
        }
        return text;
    }

private:
    int below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(m_random); }

    template <std::size_t size> std::string pick(char const* const (&texts)[size])
    {
        return texts[below(static_cast<int>(size))];
    }

    std::string piece()
    {
        static char const* const marks[] = {"?", "?", "&", "&", "=", "/", ".", "%20", "%3F", "??", "&&", "=?", "x"};
        switch (below(8))
        {
        case 0:
        case 1:
            return (below(2) == 0 ? "?" : "&") + pick(kUriKeys) + "=" + std::to_string(below(100));
        case 2:
            return pick(kUriKeys) + "=" + pick(marks);
        case 3:
            return pick(kUriKeys);
        case 4:
            return "/dir/name.ext";
        case 5:
            return below(20) == 0 ? std::string(static_cast<std::size_t>(below(3000)), 'l') : std::string("a.b");
        case 6:
            return below(4) == 0 ? std::string(1, '\0') : std::string("&");
        default:
            return pick(marks);
        }
    }

    std::mt19937 m_random{20240517}; // NOLINT(bugprone-random-generator-seed): the same URIs every time
};

void expectField(char const* name, char const* bytes, std::size_t size, std::string const& expected)
{
    std::string whole = expected;
    whole.resize(size, '\0');
    EXPECT_EQ(std::string(bytes, size), whole) << name;
}

void expectAgreement(UriEntity& entity, std::string const& uri)
{
    test::UriModel const model = test::modelUri(uri);
    EXPECT_EQ(entity.parseUri(uri), model.valid ? 0 : -1);
    EXPECT_EQ(entity.isValid(), model.valid);
    om_uri_info_t info;
    EXPECT_EQ(entity.getUriInfo(info), 0);
    expectField("orign_uri", info.orign_uri, sizeof info.orign_uri, model.orign_uri);
    expectField("pure_uri", info.pure_uri, sizeof info.pure_uri, model.pure_uri);
    expectField("file_name", info.file_name, sizeof info.file_name, model.file_name);
    expectField("header", info.header, sizeof info.header, model.header);

    std::size_t found = 0;
    for (char const* key : kUriKeys)
    {
        OmString const value = entity.getProperty(key);
        if (found < model.properties.size() && model.properties[found].first == key)
        {
            EXPECT_EQ(value, model.properties[found].second) << key;
            ++found;
        }
        else
        {
            EXPECT_EQ(value, "") << key;
        }
    }
    EXPECT_EQ(found, model.properties.size());
}

void expectSameParameter(UriEntity& entity, std::string const& uri, std::string const& key)
{
    auto const model = test::modelParameter(uri, key);
    OmPropertyGroup group;
    int startPos = -7;
    int endPos = -7;
    EXPECT_EQ(entity.parseProperty(uri, key, group, startPos, endPos), model ? 0 : -1);
    EXPECT_EQ(startPos, model ? model->startPos : -7);
    EXPECT_EQ(endPos, model ? model->endPos : -7);
    EXPECT_EQ(group.valueAt(0), model && !key.empty() ? test::upToNul(model->value) : "");
    EXPECT_LE(group.count(), 1);

    OmPropertyGroup again;
    EXPECT_EQ(entity.parseProperty(uri, key, again), model ? 0 : -1);
    EXPECT_EQ(again.valueAt(0), group.valueAt(0));
}

TEST(UriModel, agreesOnManyUris)
{
    platform::setDebugLevel(platform::DebugLevel::off);
    Maker maker;
    UriEntity entity("es://x"); // one for all: nothing of a former URI may stay
    int valid = 0;
    int withProperties = 0;
    for (int i = 0; i < 20'000 && !::testing::Test::HasFailure(); ++i)
    {
        std::string const uri = maker.uri();
        SCOPED_TRACE(::testing::PrintToString(uri));
        expectAgreement(entity, uri);
        valid += entity.isValid() ? 1 : 0;
        withProperties += test::modelUri(uri).properties.size() > 1 ? 1 : 0;
    }
    EXPECT_GT(valid, 5000) << "the URIs do not try enough";
    EXPECT_GT(withProperties, 1000) << "the URIs do not try enough";
}

TEST(UriModel, agreesOnSingleParameters)
{
    platform::setDebugLevel(platform::DebugLevel::off);
    Maker maker;
    UriEntity entity("");
    int found = 0;
    for (int i = 0; i < 5000 && !::testing::Test::HasFailure(); ++i)
    {
        std::string const uri = maker.uri();
        SCOPED_TRACE(::testing::PrintToString(uri));
        for (char const* key : kUriKeys)
        {
            expectSameParameter(entity, uri, key);
            found += test::modelParameter(uri, key) ? 1 : 0;
        }
        expectSameParameter(entity, uri, "x");
        expectSameParameter(entity, uri, "");
    }
    EXPECT_GT(found, 1000) << "the URIs do not try enough";
}

} // namespace

} // namespace tz::orvane::om
