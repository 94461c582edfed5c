// SPDX-License-Identifier: Apache-2.0
// Feeds any bytes to the reader of property groups; what it accepts must be one group to all who read it.
#include "om_property_image.h"
#include "orvane/om_property_group.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace
{

using tz::orvane::om::OmPropertyGroup;
using tz::orvane::om::OmString;
using tz::orvane::protocol::PropertyFault;
using tz::orvane::protocol::PropertyView;

// More would only be refused for its size.
constexpr std::size_t kMaxInput = 70000;

void require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

std::string_view image(OmPropertyGroup const& group)
{
    char* data = nullptr;
    int length = 0;
    group.getData(&data, &length);
    return {data, static_cast<std::size_t>(length)};
}

void requireSame(OmPropertyGroup const& group, PropertyView const& view)
{
    require(group.count() == view.count());
    for (int i = 0; i < view.count(); ++i)
    {
        PropertyView::Entry const entry = view.at(i);
        require(group.keyAt(i) == entry.key);
        require(group.valueAt(i) == entry.value);
        require(group.get(OmString(entry.key)) == view.get(entry.key));
        int const index = group.indexOf(OmString(entry.key));
        require(entry.key.empty() ? index == -1 : index >= 0 && index <= i);
    }
    require(group.keyAt(-1).empty() && group.keyAt(view.count()).empty());
    require(group.valueAt(-1).empty() && group.valueAt(view.count()).empty());
}

// The same entries added one by one give an image that reads as they do.
void requireRebuildable(PropertyView const& view)
{
    OmPropertyGroup group;
    std::size_t needed = 0;
    for (PropertyView::Entry const entry : view)
    {
        needed += entry.key.size() + entry.value.size() + 10;
        if (needed > 30000)
        {
            return; // the doubled buffer would go beyond what a group may have
        }
        int const before = group.count();
        group.add(OmString(entry.key), OmString(entry.value));
        require(group.count() == before + (entry.key.empty() || entry.value.empty() ? 0 : 1));
    }
    std::string_view const built = image(group);
    PropertyView const again(built.data(), static_cast<int>(built.size()));
    require(again.fault() == PropertyFault::none);
    requireSame(group, again);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size > kMaxInput)
    {
        return 0;
    }
    // A block of exactly this size, so that the first byte behind it is watched.
    auto const bytes = std::make_unique<std::uint8_t[]>(size);
    std::copy_n(data, size, bytes.get());

    PropertyView const view(bytes.get(), static_cast<int>(size));
    require(view.fault() == PropertyView::check(bytes.get(), static_cast<int>(size)));
    if (view.fault() != PropertyFault::none)
    {
        require(view.count() == 0);
        return 0;
    }
    OmPropertyGroup const group(bytes.get(), static_cast<int>(size));
    requireSame(group, view);
    require(image(group) == std::string_view(reinterpret_cast<char const*>(bytes.get()), size));

    OmPropertyGroup copy;
    copy = group;
    requireSame(copy, view);
    require(image(copy) == image(group));
    requireRebuildable(view);
    return 0;
}
