// SPDX-License-Identifier: Apache-2.0
// One player of a client: protected data on their way to the decoder.
#include "drm_agents.h"
#include "player.h"

#include <utility>

namespace tz::orvane::service
{

namespace
{

/// What one turn of the loop may do for a stream, as DrmGate::work counts it: others want theirs.
constexpr std::size_t kMostWorkOfTurn = 1u << 20;

} // namespace

DrmGate* Player::gateOf(std::int32_t stream)
{
    std::optional<DrmGate>& gate = stream == om::OM_STREAM_TYPE_VIDEO ? m_videoGate : m_audioGate;
    return gate ? &*gate : nullptr;
}

void Player::keysChanged()
{
    passUnits(om::OM_STREAM_TYPE_VIDEO);
    passUnits(om::OM_STREAM_TYPE_AUDIO);
}

/// Hands on what need not wait: a part of it now, and the rest in turns to come.
void Player::passUnits(om::om_stream_type_e stream)
{
    std::size_t work = 0;
    while (DrmGate* const gate = m_passesLater.count(stream) == 0 ? gateOf(stream) : nullptr)
    {
        if (work >= kMostWorkOfTurn && !gate->empty())
        {
            passLater(stream);
            return;
        }
        work += gate->work();
        switch (gate->look(*m_host.agents))
        {
        case DrmGate::Front::none:
            noteKeyWait();
            return;
        case DrmGate::Front::noKey:
            tellOfKey(stream, *gate);
            noteKeyWait();
            return;
        case DrmGate::Front::noSense:
            fail(
                {om::OM_ERROR_WRONG_KEY, "what the key " + toHex(gate->missing().keyId) + " gives makes no sense", {}});
            return;
        case DrmGate::Front::failed:
            gate->take();
            m_events.refusal(om::OM_ERROR_INTERNAL, "pushEsData", "the unit could not be decrypted");
            break;
        case DrmGate::Front::ready:
            deliver(stream, gate->take());
            break;
        }
    }
}

void Player::passLater(om::om_stream_type_e stream)
{
    m_passesLater.insert(stream);
    m_host.loop.post(
        [alive = std::weak_ptr<Player*>(m_alive), stream]
        {
            if (auto const self = alive.lock())
            {
                (*self)->m_passesLater.erase(stream);
                (*self)->passUnits(stream);
            }
        });
}

void Player::deliver(om::om_stream_type_e stream, DrmGate::Unit unit)
{
    Feed& feed = *feedOf(stream);
    if (unit.buffer != nullptr)
    {
        answerPush(feed.push(gst_buffer_get_size(unit.buffer.get()), [&] { return std::move(unit.buffer); }),
                   "pushEsData", {{om::OM_KEY_STREAM, std::to_string(static_cast<int>(stream))}});
    }
    if (unit.ends)
    {
        feed.end(); // dropped like the data in front of it while the application has not followed a seek
    }
}

void Player::tellOfKey(om::om_stream_type_e stream, DrmGate& gate)
{
    if (gate.tellsOfKey())
    {
        m_events.event(om::OM_EVENT_KEY_NEEDED, {{om::OM_KEY_STREAM, std::to_string(static_cast<int>(stream))},
                                                 {om::OM_KEY_AGENT, std::to_string(gate.missing().agent)},
                                                 {om::OM_KEY_KEY_ID, toHex(gate.missing().keyId)}});
    }
}

/// Time stands still while a stream waits for a key, and no deadline runs.
void Player::noteKeyWait()
{
    bool const awaits = (m_videoGate && !m_videoGate->empty()) || (m_audioGate && !m_audioGate->empty());
    if (awaits == m_awaitsKey)
    {
        return;
    }
    m_awaitsKey = awaits;
    m_deck->hold(awaits);
    settleLater("key");
}

/// A decoder that can do nothing with what was decrypted speaks of a broken stream.
Fault Player::blameKey(Fault const& fault) const
{
    bool const decrypted = (m_videoGate && m_videoGate->hasDecrypted()) || (m_audioGate && m_audioGate->hasDecrypted());
    return decrypted && fault.code == om::OM_ERROR_BROKEN_FILE
               ? Fault{om::OM_ERROR_WRONG_KEY, "what was decrypted cannot be decoded: " + fault.text, {}}
               : fault;
}

} // namespace tz::orvane::service
