// SPDX-License-Identifier: Apache-2.0
// The access units of one stream on their way to its feed: protected ones wait here for their key.
#pragma once

#include "drm_crypto_info.h"
#include "drm_sense.h"
#include "gst_ptr.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <utility>

namespace tz::orvane::service
{

class DrmAgents;

/// Keeps units in order: behind one that waits, all wait. Loop thread.
class DrmGate
{
public:
    struct Unit
    {
        BufferPtr buffer;                    ///< null: only the end of the stream
        std::optional<DrmCryptoInfo> crypto; ///< nothing: not protected
        bool ends = false;
    };

    enum class Front
    {
        none,    ///< nothing waits
        ready,   ///< take it
        noKey,   ///< it waits on
        noSense, ///< nor did other units with its key: that is wrong. Do not look again at what is decrypted now
        failed   ///< it cannot be decrypted; take it and throw it away
    };

    /// @param sense of the stream, before it has seen anything
    explicit DrmGate(DrmSense const& sense)
        : m_fresh(sense)
    {
    }

    /// @param queued bytes that wait where the units go
    /// @return false when too much waits here and there
    bool push(Unit unit, std::size_t queued);

    /// Decrypts the first unit if its key is there.
    Front look(DrmAgents const& agents);
    Unit take();

    /// @return about how many bytes could be decrypted in the time that the first unit takes; 0 when nothing waits
    std::size_t work() const;

    /// @return how the first unit is protected, while it waits
    DrmCryptoInfo const& missing() const { return *m_units.front().crypto; }

    /// @return true the first time that it is asked for a key since there was one that is needed
    bool tellsOfKey();

    bool empty() const { return m_units.empty(); }
    bool hasDecrypted() const { return !m_senses.empty(); }
    void clear();

private:
    Front open(Unit& unit, DrmAgents const& agents);
    DrmSense& senseOf(std::uint32_t agent, std::uint64_t key);

    std::deque<Unit> m_units;
    std::size_t m_bytes = 0;
    DrmSense const m_fresh;
    std::map<std::pair<std::uint32_t, std::uint64_t>, DrmSense> m_senses; ///< by agent and serial of the key
    std::optional<DrmKeyId> m_told;
};

} // namespace tz::orvane::service
