// SPDX-License-Identifier: Apache-2.0
// One Clear Key session: the keys that were asked for, and those that came.
#include "drm_session.h"

#include <algorithm>
#include <iterator>

namespace tz::orvane::service
{

bool DrmSession::add(DrmHeldKeys const& keys)
{
    auto const added =
        std::count_if(keys.begin(), keys.end(), [this](auto const& entry) { return m_keys.count(entry.first) == 0; });
    if (m_keys.size() + static_cast<std::size_t>(added) > kMostDrmKeys)
    {
        return false;
    }
    for (auto const& [id, key] : keys)
    {
        m_keys[id] = key;
    }
    return true;
}

DrmHeldKey const* DrmSession::find(DrmKeyId const& id) const
{
    auto const found = m_keys.find(id);
    return found == m_keys.end() ? nullptr : &found->second;
}

DrmKeyIds DrmSession::pending() const
{
    DrmKeyIds ids;
    std::copy_if(m_asked.begin(), m_asked.end(), std::back_inserter(ids),
                 [this](DrmKeyId const& id) { return find(id) == nullptr; });
    return ids;
}

std::string DrmSession::statuses() const
{
    std::string rows;
    auto const append = [&](DrmKeyId const& id, om::om_drm_key_status_e status)
    {
        om::om_drm_key_status_t row{};
        std::copy(id.begin(), id.end(), std::begin(row.key_id));
        row.status = status;
        rows.append(reinterpret_cast<char const*>(&row), sizeof row);
    };
    for (auto const& entry : m_keys)
    {
        append(entry.first, om::OM_DRM_KEY_USABLE);
    }
    for (DrmKeyId const& id : pending())
    {
        append(id, om::OM_DRM_KEY_PENDING);
    }
    return rows;
}

} // namespace tz::orvane::service
