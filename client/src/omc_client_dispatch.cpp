// SPDX-License-Identifier: Apache-2.0
// The way of a received message to the object that it is addressed to, and the messages for the connection itself.
#include "dispatch_gate.h"
#include "message_util.h"
#include "om_protocol.h"
#include "orvane/omc_access.h"
#include "orvane/omc_client.h"
#include "orvane/omc_drm_agent.h"
#include "orvane/omc_listeners.h"
#include "orvane/omc_mediaplayer.h"
#include "orvane/omc_preview_tool.h"
#include "orvane/platform/mdt_msg_data.h"
#include "orvane/platform/om_debug.h"

namespace tz::orvane::omc
{

namespace
{

constexpr char kLogFile[] = "omc_client";
constexpr char kLogClass[] = "OmcClient";

constexpr int kFailed = -1;
constexpr int kBadMessage = -2;

// What the header promises to listeners is what the protocol says.
static_assert(om::OM_CONNECTION_STATUS_DIED == protocol::kStatusConnectionDied);

int toPlayer(OmcClient& client, unsigned int plid, mdt::MsgData& message, platform::LogSite const& site)
{
    auto* const player = dynamic_cast<OmcMediaPlayer*>(client.findPlayer(plid));
    if (player == nullptr)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Invalid Param! player=NULL!");
        return kFailed;
    }
    return message.readMsg() == protocol::kMsgPlayerFrameInfoUpdated ? player->dispatchEx(&message)
                                                                     : player->dispatch(&message);
}

int toPreviewTool(OmcClient& client, unsigned int plid, mdt::MsgData& message, platform::LogSite const& site)
{
    auto* const tool = dynamic_cast<OmcPreviewInfoTool*>(client.getPreviewTool());
    if (tool == nullptr)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Invalid Param! player=NULL!");
        return kFailed;
    }
    if (tool->getToolID() != plid)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "PLID is not the same! prev_plid=0x%04X, plid=0x%04X.",
                      tool->getToolID(), plid);
        return kFailed;
    }
    return tool->dispatch(&message);
}

int toDrmAgent(OmcClient& client, unsigned int plid, mdt::MsgData& message, platform::LogSite const& site)
{
    // Held for the call: its last other owner may let go of it meanwhile.
    auto const agent = std::dynamic_pointer_cast<OmcDrmAgent>(client.findDrmAgent(plid));
    if (agent == nullptr)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Invalid Param! drm=NULL!");
        return kFailed;
    }
    return agent->dispatch(&message);
}

} // namespace

int Global_CallbackToClient(void* msg)
{
    if (msg == nullptr)
    {
        ORVANE_LOG_ERROR("Invalid Param! event=NULL!");
        return kBadMessage;
    }
    auto& message = *static_cast<mdt::MsgData*>(msg);
    auto const cnid = static_cast<unsigned int>(message.readPid());
    auto const plid = static_cast<unsigned int>(message.readUid());
    ORVANE_LOG_DEBUG("Start.--pid=0x%04X, uid=0x%04X, cmd=0x%04X, type=%d", cnid, plid,
                     static_cast<unsigned int>(message.readMsg()), message.readType());
    if (!protocol::kClientIds.contains(cnid))
    {
        ORVANE_LOG_ERROR("Invalid Param! cnid=0x%04X.", cnid);
        return kBadMessage;
    }
    // Before the lookup, so that whoever destroys what is found here waits for the end of this.
    DispatchGate::Delivery delivery(plid);
    auto* const client = dynamic_cast<OmcClient*>(OmcClientAccess::getApp(0)->findConnection(cnid));
    if (client == nullptr)
    {
        ORVANE_LOG_ERROR("Invalid Param! client=NULL!");
        return kFailed;
    }
    delivery.resolve(client);
    if (plid == 0)
    {
        client->dispatch(msg);
        return 0;
    }
    if (protocol::kPlayerIds.contains(plid))
    {
        return toPlayer(*client, plid, message, ORVANE_LOG_SITE);
    }
    if (protocol::kPreviewToolIds.contains(plid))
    {
        return toPreviewTool(*client, plid, message, ORVANE_LOG_SITE);
    }
    if (protocol::kDrmAgentIds.contains(plid))
    {
        return toDrmAgent(*client, plid, message, ORVANE_LOG_SITE);
    }
    ORVANE_LOG_ERROR("Unknown ID! plid=0x%04X.", plid);
    return 0;
}

int OmcClient::dispatch(void* msg)
{
    ORVANE_LOG_DEBUG("Called.");
    if (msg == nullptr)
    {
        ORVANE_LOG_ERROR("Invalid Param! event=NULL!");
        return kBadMessage;
    }
    DispatchGate::Delivery const delivery(this, 0);
    auto& message = *static_cast<mdt::MsgData*>(msg);
    int const id = message.readMsg();
    if (id == protocol::kMsgConnectionDied || id == protocol::kMsgConnectionDiedOld)
    {
        ORVANE_LOG_DEBUG("Deal callback event. evt_id=OM_TRANS_MSG_ID_CONNECTION_DIED.");
        reportStatus(protocol::kStatusConnectionDied);
        return 0;
    }
    if (id == protocol::kMsgConnectionChanged)
    {
        ORVANE_LOG_DEBUG("Deal callback event. evt_id=OM_TRANS_MSG_ID_CONNECTION_CHANGED.");
        return dispatchChanged(message, ORVANE_LOG_SITE);
    }
    if (id == protocol::kMsgEvent)
    {
        ORVANE_LOG_DEBUG("Deal callback event. evt_id=OM_TRANS_MSG_ID_EVENT.");
        return dispatchEvent(message, ORVANE_LOG_SITE);
    }
    ORVANE_LOG_ERROR("Unknown Event! evt_id=0x%04X.", static_cast<unsigned int>(id));
    return 0;
}

void OmcClient::reportStatus(int status)
{
    m_listeners.forEach([&](OmcIConnectionListener& listener) { listener.onConnectionChanged(this, status); });
}

bool OmcClient::isForThis(mdt::MsgData const& message, platform::LogSite const& site)
{
    unsigned int cnid = 0;
    if (!readNumber(message, 0, cnid))
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Read 1st param failed!");
        return false;
    }
    unsigned int const own = getClientID();
    if (cnid != own)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "CNID is not the same! cnid=0x%04X, this->cnid=0x%04X.", cnid,
                      own);
        return false;
    }
    return true;
}

int OmcClient::dispatchChanged(mdt::MsgData const& message, platform::LogSite const& site)
{
    if (!isForThis(message, site))
    {
        return kFailed;
    }
    int status = 0;
    if (!readNumber(message, 1, status))
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Read 2nc param failed!.");
        return kFailed;
    }
    ORVANE_LOG_AT(platform::DebugLevel::info, site, "To call onConnectionChanged() function with params: status=%d.",
                  status);
    reportStatus(status);
    return 0;
}

int OmcClient::dispatchEvent(mdt::MsgData const& message, platform::LogSite const& site)
{
    if (!isForThis(message, site))
    {
        return kFailed;
    }
    int evt = 0;
    if (!readNumber(message, 1, evt))
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Read 3rd param failed!");
        return kFailed;
    }
    void* image = nullptr;
    int size = 0;
    int const result = readGroupBytes(message, 2, &image, &size);
    if (result < 0)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Read 4th param failed! result=%d.", result);
        return kFailed;
    }
    om::OmPropertyGroup props = makeGroup(image, size);
    ORVANE_LOG_AT(platform::DebugLevel::info, site, "To invoke listener->onEvent() function with params: evt=%d.", evt);
    m_listeners.forEach([&](OmcIConnectionListener& listener) { listener.onEvent(this, evt, props); });
    return 0;
}

} // namespace tz::orvane::omc
