// SPDX-License-Identifier: Apache-2.0
// One Clear Key session: the keys that were asked for, and those that came.
#pragma once

#include "drm_keys.h"

#include "orvane/om_service.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace tz::orvane::service
{

/// A key as a session holds it.
struct DrmHeldKey
{
    DrmKey key;
    std::uint64_t update = 0; ///< of the agent, counted: the key of the last one is the one that holds
    std::uint64_t serial = 0; ///< of the agent's keys; the same as long as the bytes are the same
};

using DrmHeldKeys = std::map<DrmKeyId, DrmHeldKey>;

class DrmSession
{
public:
    void ask(DrmKeyIds ids) { m_asked = std::move(ids); }

    /// Keys that it had before stay. @return false when they would be too many; then nothing changes
    bool add(DrmHeldKeys const& keys);

    DrmHeldKey const* find(DrmKeyId const& id) const;
    std::size_t usable() const { return m_keys.size(); }

    /// @return what was asked for and did not come
    DrmKeyIds pending() const;

    /// @return a row of om_drm_key_status_t
    std::string statuses() const;

private:
    DrmKeyIds m_asked;
    DrmHeldKeys m_keys;
};

} // namespace tz::orvane::service
