// SPDX-License-Identifier: Apache-2.0
// The library's callbacks, turned into events for the main thread.
#include "omc_play/listeners.h"

#include "omc_play/properties.h"
#include "orvane/om_enums.h"
#include "orvane/om_property_group.h"
#include "orvane/om_service.h"
#include "presentation/text.h"

#include <string>

namespace tz::orvane::tools
{

namespace
{

std::string detailOf(om::OmPropertyGroup const& properties)
{
    std::string const codec = properties.get(om::OM_KEY_CODEC);
    return printable(codec.empty() ? properties.get(om::OM_KEY_TEXT) : codec);
}

} // namespace

ConnectionListener::ConnectionListener(EventQueue& queue)
    : m_queue(queue)
{
}

void ConnectionListener::onConnectionChanged(om::OmIConnection*, int status)
{
    if (status == om::OM_CONNECTION_STATUS_DIED)
    {
        m_queue.push({0, ServiceGone{}});
    }
}

void ConnectionListener::onEvent(om::OmIConnection*, int, om::OmPropertyGroup&) {}

PlayerListener::PlayerListener(EventQueue& queue, unsigned int medium)
    : m_queue(queue)
    , m_medium(medium)
{
}

void PlayerListener::onStateChanged(om::OmIMediaPlayer*, unsigned int, om::om_state_e state, int flags,
                                    om::OmPropertyGroup const&)
{
    push(StateChanged{state, flags});
}

void PlayerListener::onError(om::OmIMediaPlayer*, unsigned int, unsigned int code,
                             om::OmPropertyGroup const& properties)
{
    bool const refused = properties.indexOf(om::OM_KEY_COMMAND) >= 0;
    push(Fault{code, detailOf(properties), refused ? Fault::refusal : Fault::end});
}

void PlayerListener::onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int event,
                             om::OmPropertyGroup const& properties)
{
    switch (event)
    {
    case om::OM_EVENT_END_OF_STREAM:
        push(Ended{});
        break;
    case om::OM_EVENT_SEEK_DONE:
        push(SeekDone{numberOf(properties, om::OM_KEY_POSITION, -1)});
        break;
    case om::OM_EVENT_SPEED_CHANGED:
        push(SpeedChanged{static_cast<int>(numberOf(properties, om::OM_KEY_SPEED, om::OM_PLAY_SPEED_NORMAL))});
        break;
    case om::OM_EVENT_BUFFERING:
        push(Buffering{static_cast<int>(numberOf(properties, om::OM_KEY_PERCENT, 100))});
        break;
    case om::OM_EVENT_WARNING:
        push(Fault{static_cast<unsigned int>(numberOf(properties, om::OM_KEY_CODE, om::OM_ERROR_NONE)),
                   detailOf(properties), Fault::warning});
        break;
    default:
        break;
    }
}

void PlayerListener::onMetaInfoUpdated(om::OmIMediaPlayer*, unsigned int, om::om_media_info_t* info,
                                       om::OmPropertyGroup const&)
{
    push(DurationKnown{info->duration});
}

void PlayerListener::onPlayTimeUpdated(om::OmIMediaPlayer*, unsigned int, long long const& position,
                                       om::OmPropertyGroup const&)
{
    push(PlayTime{position});
}

} // namespace tz::orvane::tools
