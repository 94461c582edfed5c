// SPDX-License-Identifier: Apache-2.0
// Feeds any text to the URI entity; what comes out must be what a slow model says.
#include "orvane/om_uri_util.h"
#include "orvane/platform/om_debug.h"
#include "tests/unit/uri_model.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace
{

using namespace tz::orvane;

// Parameters beyond that would fill a property group, and the model knows nothing of what is left out then.
constexpr std::size_t kMaxInput = 16'000;

void require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

template <std::size_t size> void requireField(char const (&field)[size], std::string const& expected)
{
    char whole[size] = {};
    require(expected.size() < size);
    std::copy(expected.begin(), expected.end(), whole);
    require(std::memcmp(field, whole, size) == 0);
}

void requireModel(om::UriEntity const& entity, test::UriModel const& model)
{
    require(entity.isValid() == model.valid);
    om::om_uri_info_t info;
    require(entity.getUriInfo(info) == 0);
    requireField(info.orign_uri, model.orign_uri);
    requireField(info.pure_uri, model.pure_uri);
    requireField(info.file_name, model.file_name);
    requireField(info.header, model.header);
    for (auto const& [key, value] : model.properties)
    {
        require(entity.getProperty(key) == value);
    }
}

void requireParameter(om::UriEntity& entity, std::string const& uri, std::string const& key)
{
    auto const model = test::modelParameter(uri, key);
    om::OmPropertyGroup group;
    int startPos = -1;
    int endPos = -1;
    require((entity.parseProperty(uri, key, group, startPos, endPos) == 0) == model.has_value());
    if (model)
    {
        require(startPos == model->startPos && endPos == model->endPos);
        require(group.valueAt(0) == (test::upToNul(key).empty() ? "" : test::upToNul(model->value)));
    }
}

/// Lines are made, for their readers of texts, but not put out.
void dropLine(platform::DebugLevel, char const*, void*) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    platform::setDebugSink(&dropLine, nullptr);
    platform::setDebugLevel(platform::DebugLevel::trace);
    std::string const uri(reinterpret_cast<char const*>(data), std::min(size, kMaxInput));
    static om::UriEntity used("http://host/former.mp4?width=1&pos=2");
    try
    {
        int const result = used.parseUri(uri);
        require(uri != "file://");
        test::UriModel const model = test::modelUri(uri);
        require(result == (model.valid ? 0 : -1));
        requireModel(used, model);
        requireModel(om::UriEntity(uri), model);
    }
    catch (std::out_of_range const&)
    {
        require(uri == "file://");
        requireModel(used, test::UriModel());
    }
    requireParameter(used, uri, "width");
    requireParameter(used, uri, uri.substr(uri.rfind('?') + 1, uri.size() % 4));
    return 0;
}
