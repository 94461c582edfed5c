// SPDX-License-Identifier: Apache-2.0
// What a player tells its client.
#include "player_events.h"

#include "om_protocol.h"

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kLongestValue = 1024;

/// Requests carry no id of their own, so answers have none to name.
constexpr unsigned int kNoRequest = 0;

template <class Record> void writeRecord(mdt::MsgData& message, Record const& record)
{
    static_assert(sizeof record <= UINT16_MAX);
    message.writeData(reinterpret_cast<char const*>(&record), static_cast<unsigned short>(sizeof record));
}

} // namespace

void addAll(om::OmPropertyGroup& group, Properties properties)
{
    for (auto const& [key, value] : properties)
    {
        group.add(key, value.substr(0, kLongestValue).c_str());
    }
}

void writeGroup(mdt::MsgData& message, om::OmPropertyGroup const& group)
{
    char* data = nullptr;
    int length = 0;
    group.getData(&data, &length);
    message.writeData(data, static_cast<unsigned short>(length));
}

template <class Write> void PlayerEvents::send(int message, Write write, om::OmPropertyGroup const& group) const
{
    mdt::MsgData event(m_cnid, static_cast<int>(m_plid), message, protocol::kTypeCommand);
    event.writeUInt32(m_plid);
    event.writeUInt32(kNoRequest);
    write(event);
    writeGroup(event, group);
    m_messenger.postEvent(event);
}

void PlayerEvents::state(om::om_state_e state, int flags) const
{
    send(protocol::kMsgPlayerStateChanged,
         [&](mdt::MsgData& event)
         {
             event.writeUInt32(static_cast<unsigned int>(state));
             event.writeUInt32(static_cast<unsigned int>(flags));
         },
         {});
}

void PlayerEvents::fault(Fault const& fault) const
{
    om::OmPropertyGroup group;
    addAll(group, {{om::OM_KEY_TEXT, fault.text}, {om::OM_KEY_CODEC, fault.codec}});
    send(
        protocol::kMsgPlayerError, [&](mdt::MsgData& event) { event.writeUInt32(fault.code); }, group);
}

void PlayerEvents::refusal(om::om_error_e code, std::string const& command, std::string const& text,
                           Properties more) const
{
    om::OmPropertyGroup group;
    addAll(group, {{om::OM_KEY_TEXT, text}, {om::OM_KEY_COMMAND, command}});
    addAll(group, more);
    send(
        protocol::kMsgPlayerError, [&](mdt::MsgData& event) { event.writeUInt32(code); }, group);
}

void PlayerEvents::event(om::om_event_e code, Properties properties) const
{
    om::OmPropertyGroup group;
    addAll(group, properties);
    send(
        protocol::kMsgPlayerEvent, [&](mdt::MsgData& event) { event.writeUInt32(code); }, group);
}

void PlayerEvents::mediaInfo(om::om_media_info_t const& info) const
{
    send(protocol::kMsgPlayerMetaInfoUpdated, [&](mdt::MsgData& event) { writeRecord(event, info); }, {});
}

void PlayerEvents::containerInfo(om::om_container_info_t const& info) const
{
    send(protocol::kMsgPlayerContainerInfoUpdated, [&](mdt::MsgData& event) { writeRecord(event, info); }, {});
}

void PlayerEvents::exifInfo(om::om_exif_info_t const& info) const
{
    send(protocol::kMsgPlayerExifInfoUpdated, [&](mdt::MsgData& event) { writeRecord(event, info); }, {});
}

void PlayerEvents::trackChanged(om::om_track_detail_t const& track) const
{
    send(protocol::kMsgPlayerTrackInfoUpdated, [&](mdt::MsgData& event) { writeRecord(event, track); }, {});
}

void PlayerEvents::playTime(std::int64_t milliseconds) const
{
    send(protocol::kMsgPlayerPlayTimeUpdated, [&](mdt::MsgData& event) { event.writeSInt64(milliseconds); }, {});
}

void PlayerEvents::frame(PictureMemory const& picture, Properties properties) const
{
    om::OmPropertyGroup group;
    addAll(group, properties);
    send(
        protocol::kMsgPlayerFrameInfoUpdated,
        [&](mdt::MsgData& event)
        { event.writeBlockData(reinterpret_cast<char*>(picture.data()), static_cast<int>(picture.size())); },
        group);
}

} // namespace tz::orvane::service
