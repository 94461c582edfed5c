// SPDX-License-Identifier: Apache-2.0
// What the service reports of a player, turned into listener calls.
#include "dispatch_gate.h"
#include "event_reader.h"
#include "om_protocol.h"
#include "omc_mediaplayer_messages.h"
#include "orvane/omc_listeners.h"

namespace tz::orvane::omc
{

using platform::DebugLevel;

namespace
{

using Listeners = om::OmListenerList<OmcIMediaPlayerListener>;

/// One message on its way to the listeners: one method for each kind, which gives the result of the dispatch.
///
/// A listener may destroy the player: the list is all that is touched behind a call.
class PlayerEvent
{
public:
    PlayerEvent(OmcMediaPlayer& player, Listeners& listeners, mdt::MsgData& message, platform::LogSite const& site)
        : m_player(player)
        , m_listeners(listeners)
        , m_reader(message, site)
    {
    }

    int stateChanged();
    int error();
    int event();
    int reply();
    int playTime();
    int frame();
    int alive();

    /// @param name    what the log calls the message
    /// @param invoked what the log calls the method
    template <class Record>
    int record(char const* name, char const* invoked,
               void (OmcIMediaPlayerListener::*method)(om::OmIMediaPlayer*, unsigned int, Record*,
                                                       om::OmPropertyGroup const&));

private:
    void logName(char const* name) const
    {
        ORVANE_LOG_AT(DebugLevel::debug, m_reader.site(), "Deal callback event. evt_id=%s.", name);
    }

    /// Every message but the sign of life begins with the id of the player and the one of the request.
    unsigned int begin(char const* name)
    {
        logName(name);
        m_reader.id(m_player.getPlayerID(), "Read 1st param failed!");
        return m_reader.number<unsigned int>("Read 2nd param failed!");
    }

    template <class Call> int deliver(Call call)
    {
        m_listeners.forEach(call);
        return 0;
    }

    OmcMediaPlayer& m_player;
    Listeners& m_listeners;
    EventReader m_reader;
};

int PlayerEvent::stateChanged()
{
    unsigned int const reqId = begin("OM_TRANS_MSG_ID_STATE_CHANGED");
    auto const state = m_reader.number<int>("Read 3rd param failed!");
    auto const actFlags = m_reader.number<int>("Read 4th param failed!");
    if (!m_reader.takeGroup("Read 5th param failed!", ""))
    {
        return -1;
    }
    om::OmPropertyGroup const props = m_reader.group();
    ORVANE_LOG_AT(DebugLevel::info, m_reader.site(),
                  "To invoke listener->onStateChanged() with params: reqId=0x%04X, newSts=%d, actSts=0x%08X.", reqId,
                  state, static_cast<unsigned int>(actFlags));
    return deliver([&](OmcIMediaPlayerListener& listener)
                   { listener.onStateChanged(&m_player, reqId, static_cast<om::om_state_e>(state), actFlags, props); });
}

int PlayerEvent::error()
{
    unsigned int const reqId = begin("OM_TRANS_MSG_ID_ERROR");
    auto const errCode = m_reader.number<unsigned int>("Read 3rd param failed!.");
    if (!m_reader.takeGroup("Read 4th param failed!", ""))
    {
        return -1;
    }
    om::OmPropertyGroup const props = m_reader.group();
    ORVANE_LOG_AT(DebugLevel::info, m_reader.site(),
                  "To invoke listener->onError() function with params: reqId=0x%04X, errCode=%d.", reqId,
                  static_cast<int>(errCode));
    return deliver([&](OmcIMediaPlayerListener& listener) { listener.onError(&m_player, reqId, errCode, props); });
}

int PlayerEvent::event()
{
    unsigned int const reqId = begin("OM_TRANS_MSG_ID_EVENT");
    auto const evt = m_reader.number<unsigned int>("Read 3rd param failed!");
    if (!m_reader.takeGroup("Read 4th param failed!", "."))
    {
        return -1;
    }
    om::OmPropertyGroup const props = m_reader.group();
    ORVANE_LOG_AT(DebugLevel::info, m_reader.site(),
                  "To invoke listener->onEvent() function with params: reqId=0x%04X, evt=%d.", reqId,
                  static_cast<int>(evt));
    return deliver([&](OmcIMediaPlayerListener& listener) { listener.onEvent(&m_player, reqId, evt, props); });
}

int PlayerEvent::reply()
{
    unsigned int const reqId = begin("OM_TRANS_MSG_ID_REPLY");
    auto const evt = m_reader.number<unsigned int>("Read 3rd param failed!");
    auto const result = m_reader.number<int>("Read 4th param failed!");
    if (!m_reader.takeGroup("Read 5th param failed!", "."))
    {
        return -1;
    }
    om::OmPropertyGroup const props = m_reader.group();
    ORVANE_LOG_AT(DebugLevel::info, m_reader.site(),
                  "To invoke listener->onReply() function with params: reqId=0x%04X, evt=%d, res=%d.", reqId,
                  static_cast<int>(evt), result);
    return deliver([&](OmcIMediaPlayerListener& listener) { listener.onReply(&m_player, reqId, evt, result, props); });
}

template <class Record>
int PlayerEvent::record(char const* name, char const* invoked,
                        void (OmcIMediaPlayerListener::*method)(om::OmIMediaPlayer*, unsigned int, Record*,
                                                                om::OmPropertyGroup const&))
{
    unsigned int const reqId = begin(name);
    Record spare; // filled only when the record came too short
    Record* const info = m_reader.record(spare, "Read 3rd param failed!");
    if (!m_reader.takeGroup("Read 4th param failed!", "."))
    {
        return -1;
    }
    om::OmPropertyGroup const props = m_reader.group();
    ORVANE_LOG_AT(DebugLevel::info, m_reader.site(), "To invoke listener->%s() function with params: reqId=0x%04X.",
                  invoked, reqId);
    return deliver([&](OmcIMediaPlayerListener& listener) { (listener.*method)(&m_player, reqId, info, props); });
}

int PlayerEvent::playTime()
{
    unsigned int const reqId = begin("OM_TRANS_MSG_ID_PLAYTIME_UPDATED");
    // This one alone counts from four here.
    auto const currPos = m_reader.number<long long>("Read 4th param failed!");
    if (!m_reader.takeGroup("Read 4th param failed!", "."))
    {
        return -1;
    }
    om::OmPropertyGroup const props = m_reader.group();
    ORVANE_LOG_AT(DebugLevel::info, m_reader.site(),
                  "To invoke listener->onPlayTimeUpdated() function with params: reqId=0x%04X, currPos=%lld.", reqId,
                  currPos);
    return deliver([&](OmcIMediaPlayerListener& listener)
                   { listener.onPlayTimeUpdated(&m_player, reqId, currPos, props); });
}

int PlayerEvent::frame()
{
    unsigned int const reqId = begin("OM_TRANS_MSG_ID_FRAME_INFO_UPDATED");
    EventReader::Bytes const frame = m_reader.bytes("Read big data failed!", ".");
    if (!m_reader.takeGroup("Read 3th param failed!", "."))
    {
        return -1;
    }
    om::OmPropertyGroup const props = m_reader.group();
    ORVANE_LOG_AT(DebugLevel::info, m_reader.site(),
                  "To invoke listener->onFrameInfoUpdate() function with params: reqId=0x%04X.", reqId);
    return deliver([&](OmcIMediaPlayerListener& listener)
                   { listener.onFrameInfoUpdated(&m_player, reqId, frame.data, frame.size, props); });
}

int PlayerEvent::alive()
{
    logName("OM_TRANS_MSG_ID_ALIVE_UPDATED");
    return 0;
}

int unknownEvent(platform::LogSite const& site, int id)
{
    ORVANE_LOG_AT(DebugLevel::error, site, "Unknown Event! evt_id=0x%04X.", static_cast<unsigned int>(id));
    return 0;
}

} // namespace

int OmcMediaPlayer::dispatch(void* event)
{
    platform::LogSite const site = ORVANE_LOG_SITE;
    ORVANE_LOG_AT(DebugLevel::debug, site, "Called. version=3");
    ORVANE_LOG_AT(DebugLevel::debug, site, "Lock for releasing.");
    // Around the lock: the end of the delivery may destroy this player.
    DispatchGate::Delivery const delivery(static_cast<om::OmIMediaPlayer*>(this), &m_mutex);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (event == nullptr)
    {
        ORVANE_LOG_AT(DebugLevel::error, site, "Invalid Param! event=NULL!");
        return -2;
    }
    auto& message = *static_cast<mdt::MsgData*>(event);
    PlayerEvent received(*this, m_listeners, message, site);
    using Listener = OmcIMediaPlayerListener;
    switch (message.readMsg())
    {
    case protocol::kMsgPlayerStateChanged:
        return received.stateChanged();
    case protocol::kMsgPlayerError:
        return received.error();
    case protocol::kMsgPlayerEvent:
        return received.event();
    case protocol::kMsgPlayerReply:
        return received.reply();
    case protocol::kMsgPlayerMetaInfoUpdated:
        return received.record("OM_TRANS_MSG_ID_METAINFO_UPDATED", "onMetaInfoUpdated", &Listener::onMetaInfoUpdated);
    case protocol::kMsgPlayerContainerInfoUpdated:
        return received.record("OM_TRANS_MSG_ID_CONTAINERINFO_UPDATED", "onContainerInfoUpdated",
                               &Listener::onContainerInfoUpdated);
    case protocol::kMsgPlayerExifInfoUpdated: // has no name of its own and borrows this one
        return received.record("OM_TRANS_MSG_ID_METAINFO_UPDATED", "onMetaInfoUpdated", &Listener::onExifInfoUpdated);
    case protocol::kMsgPlayerTrackInfoUpdated:
        return received.record("OM_TRANS_MSG_ID_TRACKINFO_UPDATED", "onTrackChanged", &Listener::onTrackChanged);
    case protocol::kMsgPlayerPlayTimeUpdated:
        return received.playTime();
    case protocol::kMsgPlayerAliveUpdated:
        return received.alive();
    default:
        return unknownEvent(site, message.readMsg());
    }
}

int OmcMediaPlayer::dispatchEx(void* event)
{
    platform::LogSite const site = ORVANE_LOG_SITE;
    ORVANE_LOG_AT(DebugLevel::debug, site, "Called. version=3");
    if (event == nullptr)
    {
        ORVANE_LOG_AT(DebugLevel::error, site, "Invalid Param! event=NULL!");
        return -2;
    }
    DispatchGate::Delivery const delivery(static_cast<om::OmIMediaPlayer*>(this));
    auto& message = *static_cast<mdt::MsgData*>(event);
    if (message.readMsg() != protocol::kMsgPlayerFrameInfoUpdated)
    {
        return unknownEvent(site, message.readMsg());
    }
    return PlayerEvent(*this, m_listeners, message, site).frame();
}

} // namespace tz::orvane::omc
