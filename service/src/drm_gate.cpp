// SPDX-License-Identifier: Apache-2.0
// The access units of one stream on their way to its feed: protected ones wait here for their key.
#include "drm_gate.h"

#include "drm_agents.h"
#include "drm_decrypt.h"
#include "feed.h"

#include <utility>

namespace tz::orvane::service
{

namespace
{

/// More keys than an agent can hold. Where so many come and go, all of them are looked at anew.
constexpr std::size_t kMostSenses = 4096;

/// With cbcs each one sets up the cipher anew.
constexpr std::size_t kWorkOfSubsample = 256;

std::size_t costOf(DrmGate::Unit const& unit)
{
    std::size_t const described =
        unit.crypto ? sizeof *unit.crypto + unit.crypto->subsamples.size() * sizeof(om::om_drm_subsample_t) : 0;
    return described + kFeedBufferCost + (unit.buffer == nullptr ? 0 : gst_buffer_get_size(unit.buffer.get()));
}

} // namespace

bool DrmGate::push(Unit unit, std::size_t queued)
{
    std::size_t const cost = costOf(unit);
    if (m_bytes + queued + cost > kFeedBytes)
    {
        return false;
    }
    m_bytes += cost;
    m_units.push_back(std::move(unit));
    return true;
}

DrmGate::Front DrmGate::look(DrmAgents const& agents)
{
    if (m_units.empty())
    {
        return Front::none;
    }
    Unit& unit = m_units.front();
    return unit.crypto ? open(unit, agents) : Front::ready;
}

DrmGate::Front DrmGate::open(Unit& unit, DrmAgents const& agents)
{
    DrmAgent* const agent = agents.find(unit.crypto->agent);
    DrmHeldKey const* const key = agent == nullptr ? nullptr : agent->keyFor(unit.crypto->keyId);
    if (key == nullptr)
    {
        return Front::noKey;
    }
    m_told.reset();
    GstMapInfo map{};
    if (gst_buffer_map(unit.buffer.get(), &map, GST_MAP_READWRITE) == FALSE)
    {
        return Front::failed;
    }
    int const result = decrypt(*unit.crypto, key->key, map.data, map.size);
    bool const makesSense =
        senseOf(unit.crypto->agent, key->serial).takes({reinterpret_cast<char const*>(map.data), map.size});
    gst_buffer_unmap(unit.buffer.get(), &map);
    if (result < 0)
    {
        return Front::failed;
    }
    agent->countDecrypted(gst_buffer_get_size(unit.buffer.get()));
    return makesSense ? Front::ready : Front::noSense;
}

/// Each key has its own: of keys that take turns the wrong one is found.
DrmSense& DrmGate::senseOf(std::uint32_t agent, std::uint64_t key)
{
    auto found = m_senses.find({agent, key});
    if (found == m_senses.end())
    {
        if (m_senses.size() >= kMostSenses)
        {
            m_senses.clear();
        }
        found = m_senses.emplace(std::pair(agent, key), m_fresh).first;
    }
    return found->second;
}

DrmGate::Unit DrmGate::take()
{
    Unit unit = std::move(m_units.front());
    m_bytes -= costOf(unit);
    m_units.pop_front();
    return unit;
}

std::size_t DrmGate::work() const
{
    if (m_units.empty())
    {
        return 0;
    }
    Unit const& unit = m_units.front();
    return costOf(unit) + (unit.crypto ? unit.crypto->subsamples.size() * kWorkOfSubsample : 0);
}

bool DrmGate::tellsOfKey()
{
    return std::exchange(m_told, missing().keyId) != missing().keyId;
}

void DrmGate::clear()
{
    m_units.clear();
    m_bytes = 0;
    m_told.reset();
}

} // namespace tz::orvane::service
