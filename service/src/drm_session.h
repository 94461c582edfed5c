// SPDX-License-Identifier: Apache-2.0
// One Clear Key session: the keys that were asked for, and those that came.
#pragma once

#include "drm_keys.h"

#include "orvane/om_service.h"

#include <string>

namespace tz::orvane::service
{

class DrmSession
{
public:
    void ask(DrmKeyIds ids) { m_asked = std::move(ids); }

    /// Keys that it had before stay. @return false when they would be too many; then nothing changes
    bool add(DrmKeys const& keys);

    DrmKey const* find(DrmKeyId const& id) const;
    std::size_t usable() const { return m_keys.size(); }

    /// @return what was asked for and did not come
    DrmKeyIds pending() const;

    /// @return a row of om_drm_key_status_t
    std::string statuses() const;

private:
    DrmKeyIds m_asked;
    DrmKeys m_keys;
};

} // namespace tz::orvane::service
