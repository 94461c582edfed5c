// SPDX-License-Identifier: Apache-2.0
// The library's callbacks, turned into events for the main thread.
#pragma once

#include "omc_play/event_queue.h"
#include "orvane/omc_listeners.h"

namespace tz::orvane::tools
{

class ConnectionListener final : public omc::OmcIConnectionListener
{
public:
    explicit ConnectionListener(EventQueue& queue);

    void onConnectionChanged(om::OmIConnection* connection, int status) override;
    void onEvent(om::OmIConnection* connection, int event, om::OmPropertyGroup& properties) override;

private:
    EventQueue& m_queue;
};

class PlayerListener final : public omc::OmcIMediaPlayerListener
{
public:
    /// @param medium number that all events of the player carry
    PlayerListener(EventQueue& queue, unsigned int medium);

    void onStateChanged(om::OmIMediaPlayer* player, unsigned int request, om::om_state_e state, int flags,
                        om::OmPropertyGroup const& properties) override;
    void onError(om::OmIMediaPlayer* player, unsigned int request, unsigned int code,
                 om::OmPropertyGroup const& properties) override;
    void onEvent(om::OmIMediaPlayer* player, unsigned int request, unsigned int event,
                 om::OmPropertyGroup const& properties) override;
    void onMetaInfoUpdated(om::OmIMediaPlayer* player, unsigned int request, om::om_media_info_t* info,
                           om::OmPropertyGroup const& properties) override;
    void onPlayTimeUpdated(om::OmIMediaPlayer* player, unsigned int request, long long const& position,
                           om::OmPropertyGroup const& properties) override;

private:
    template <class Content> void push(Content content) { m_queue.push({m_medium, std::move(content)}); }

    EventQueue& m_queue;
    unsigned int m_medium;
};

} // namespace tz::orvane::tools
