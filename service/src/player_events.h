// SPDX-License-Identifier: Apache-2.0
// What a player tells its client.
#pragma once

#include "error_map.h"
#include "picture_memory.h"

#include "orvane/om_enums.h"
#include "orvane/om_property_group.h"
#include "orvane/om_records.h"
#include "orvane/om_service.h"
#include "orvane/platform/mdts_messenger.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>

namespace tz::orvane::service
{

/// Properties of an event; entries without a value are left out.
using Properties = std::initializer_list<std::pair<char const*, std::string>>;

/// Fills a group and keeps each value within bounds.
void addAll(om::OmPropertyGroup& group, Properties properties);

/// Writes a group as the last argument of a message.
void writeGroup(mdt::MsgData& message, om::OmPropertyGroup const& group);

/// Sends the events of one player. A client that is gone is no error. Loop thread.
class PlayerEvents
{
public:
    PlayerEvents(mdt::MdtsMessenger& messenger, int cnid, unsigned int plid)
        : m_messenger(messenger)
        , m_cnid(cnid)
        , m_plid(plid)
    {
    }

    void state(om::om_state_e state, int flags) const;

    /// The medium is of no use any more.
    void fault(Fault const& fault) const;

    /// One operation is not carried out; nothing else changes.
    void refusal(om::om_error_e code, std::string const& command, std::string const& text, Properties more = {}) const;

    void event(om::om_event_e code, Properties properties) const;
    void mediaInfo(om::om_media_info_t const& info) const;
    void containerInfo(om::om_container_info_t const& info) const;
    void exifInfo(om::om_exif_info_t const& info) const;
    void trackChanged(om::om_track_detail_t const& track) const;
    void playTime(std::int64_t milliseconds) const;

    /// @param picture copied
    void frame(PictureMemory const& picture, Properties properties) const;

    /// @return whether events are under way to the client that it has not received yet
    bool unread() const { return m_messenger.eventsUnread(m_cnid); }

private:
    template <class Write> void send(int message, Write write, om::OmPropertyGroup const& group) const;

    mdt::MdtsMessenger& m_messenger;
    int m_cnid;
    unsigned int m_plid;
};

} // namespace tz::orvane::service
