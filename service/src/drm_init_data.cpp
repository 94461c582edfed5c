// SPDX-License-Identifier: Apache-2.0
// Finds the ids of the keys that initialization data ask for.
#include "drm_init_data.h"

#include "big_endian.h"

#include "orvane/om_service.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>

namespace tz::orvane::service
{

namespace
{

using nlohmann::json;

/// Boxes of this system name key ids in the open.
constexpr std::string_view kCommonSystem("\x10\x77\xef\xec\xc0\xb2\x4d\x02\xac\xe3\x3c\x1e\x52\xe2\xfb\x4b", 16);

// Where things stand in a pssh box.
constexpr std::size_t kTypeAt = 4;
constexpr std::size_t kVersionAt = 8;
constexpr std::size_t kSystemAt = 12;
constexpr std::size_t kCountAt = 28;
constexpr std::size_t kSizeOfNumber = 4;

bool add(DrmKeyIds& ids, DrmKeyId const& id)
{
    if (std::find(ids.begin(), ids.end(), id) == ids.end())
    {
        ids.push_back(id);
    }
    return ids.size() <= kMostDrmKeys;
}

bool addBytes(DrmKeyIds& ids, std::string_view bytes)
{
    DrmKeyId id{};
    std::copy(bytes.begin(), bytes.end(), id.begin());
    return add(ids, id);
}

bool readKeyIds(std::string_view data, DrmKeyIds& ids)
{
    json const text = json::parse(data.begin(), data.end(), nullptr, false);
    auto const kids = text.is_object() ? text.find("kids") : text.end();
    if (!text.is_object() || kids == text.end() || !kids->is_array())
    {
        return false;
    }
    return std::all_of(kids->begin(), kids->end(),
                       [&](json const& kid)
                       {
                           DrmKeyId id{};
                           return kid.is_string() && fromBase64Url(kid.get_ref<std::string const&>(), id) &&
                                  add(ids, id);
                       });
}

/// @param box one pssh box from its beginning to its end
bool readPssh(std::string_view box, DrmKeyIds& ids)
{
    if (box.size() < kCountAt + kSizeOfNumber || box.substr(kTypeAt, 4) != "pssh")
    {
        return false;
    }
    auto const version = bigEndian(box, kVersionAt, 1);
    if (version > 1 || box.substr(kSystemAt, kCommonSystem.size()) != kCommonSystem)
    {
        return true; // for somebody else
    }
    std::size_t at = kCountAt;
    if (version == 1)
    {
        auto const count = bigEndian(box, at, kSizeOfNumber);
        at += kSizeOfNumber;
        if (count > (box.size() - at) / kDrmKeySize)
        {
            return false;
        }
        for (std::uint64_t index = 0; index < count; ++index, at += kDrmKeySize)
        {
            if (!addBytes(ids, box.substr(at, kDrmKeySize)))
            {
                return false;
            }
        }
    }
    // Behind them are data that the common system gives no meaning to; their size has to fit.
    return box.size() - at >= kSizeOfNumber && bigEndian(box, at, kSizeOfNumber) == box.size() - at - kSizeOfNumber;
}

bool readBoxes(std::string_view data, DrmKeyIds& ids)
{
    while (!data.empty())
    {
        auto const size = bigEndian(data, 0, kSizeOfNumber);
        if (size < kSizeOfNumber || size > data.size() || !readPssh(data.substr(0, size), ids))
        {
            return false;
        }
        data.remove_prefix(size);
    }
    return true;
}

} // namespace

int readInitData(std::uint32_t type, std::string_view data, DrmKeyIds& ids)
{
    bool wellFormed = false;
    switch (type)
    {
    case om::OM_DRM_INIT_DATA_KEYIDS:
        wellFormed = readKeyIds(data, ids);
        break;
    case om::OM_DRM_INIT_DATA_CENC:
        wellFormed = readBoxes(data, ids);
        break;
    case om::OM_DRM_INIT_DATA_WEBM:
        wellFormed = data.size() == kDrmKeySize && addBytes(ids, data);
        break;
    default:
        return -EOPNOTSUPP;
    }
    if (!wellFormed)
    {
        return -EINVAL;
    }
    return ids.empty() ? -ENODATA : 0;
}

} // namespace tz::orvane::service
