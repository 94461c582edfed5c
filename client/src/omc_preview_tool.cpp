// SPDX-License-Identifier: Apache-2.0
// The client side of the preview tool: requests and the delivery of their results.
#include "orvane/omc_preview_tool.h"

#include "dispatch_gate.h"
#include "event_reader.h"
#include "extend_command.h"
#include "message_util.h"
#include "om_protocol.h"
#include "orvane/omc_listeners.h"

namespace tz::orvane::omc
{

using platform::DebugLevel;

namespace
{

constexpr char kLogFile[] = "omc_preview_tool";
constexpr char kLogClass[] = "OmcPreviewInfoTool";

int logPostFailure(platform::LogSite const& site, int result)
{
    ORVANE_LOG_AT(DebugLevel::error, site, " Call MdtcMessenger::GetInstance().postMsg() Failed! result=%d", result);
    return result;
}

// Sends a request whose result arrives as an event. 0, or the messenger's negative result.
int sendRequest(Request const& request)
{
    int const result = request.post();
    if (result < 0)
    {
        return logPostFailure(request.site(), result);
    }
    ORVANE_LOG_AT(DebugLevel::info, request.site(), " Complete!");
    return 0;
}

} // namespace

OmcPreviewInfoTool::OmcPreviewInfoTool(unsigned int cnid, unsigned int id)
    : OmIPreviewTool(cnid, id)
{
}

OmcPreviewInfoTool::~OmcPreviewInfoTool()
{
    ORVANE_LOG_DEBUG(" Called.");
}

unsigned int OmcPreviewInfoTool::getRequestID()
{
    ORVANE_LOG_DEBUG(" Called.");
    // Request ids belong to the connection, not to the tool.
    Request const request(ORVANE_LOG_SITE, getClientID(), 0, protocol::kCmdGetPreviewRequestId, protocol::kTypeQuery);
    mdt::MsgData reply;
    int result = request.post(reply);
    if (result < 0)
    {
        logPostFailure(request.site(), result);
        return 0;
    }
    ORVANE_LOG_INFO(" Message data reply: cnid=%u, plid=%u, type=%d, cmd=%d",
                    static_cast<unsigned int>(reply.readPid()), static_cast<unsigned int>(reply.readUid()),
                    reply.readType(), reply.readMsg());
    unsigned int reqId = 0;
    result = reply.readUInt32(reqId);
    if (result < 0)
    {
        ORVANE_LOG_ERROR(" Call msgDataOut.readUInt32() Failed! result=%d", result);
        return 0;
    }
    ORVANE_LOG_INFO(" Complete! req_id=%u", reqId);
    return reqId;
}

int OmcPreviewInfoTool::requestPreviewInfo(om::OmString const& uri, om::om_location_mode_e mode, long long const& pos,
                                           int flags, om::OmPropertyGroup const& props)
{
    Request request(ORVANE_LOG_SITE, getClientID(), getToolID(), protocol::kCmdRequestPreviewInfo,
                    protocol::kTypeCommand);
    return sendRequest(request.string(uri).sint32(mode).sint64(pos).sint32(flags).group(props));
}

int OmcPreviewInfoTool::stopPreview(om::OmString const& uri)
{
    Request request(ORVANE_LOG_SITE, getClientID(), getToolID(), protocol::kCmdStopPreview, protocol::kTypeCommand);
    return sendRequest(request.string(uri));
}

int OmcPreviewInfoTool::stopPreviewAll(om::OmPropertyGroup const& props)
{
    Request request(ORVANE_LOG_SITE, getClientID(), getToolID(), protocol::kCmdStopPreviewAll, protocol::kTypeCommand);
    return sendRequest(request.group(props));
}

int OmcPreviewInfoTool::doExtendCommand(om::OmString const& command, om::OmPropertyGroup& props)
{
    return exchangeExtendCommand(ORVANE_LOG_SITE, getClientID(), getToolID(), protocol::kCmdPreviewExtendCommand,
                                 command, props);
}

int OmcPreviewInfoTool::dispatch(void* event)
{
    if (event == nullptr)
    {
        ORVANE_LOG_ERROR("Invalid Param! event=NULL!");
        return -2;
    }
    DispatchGate::Delivery const delivery(static_cast<om::OmIPreviewTool*>(this));
    auto& message = *static_cast<mdt::MsgData*>(event);
    if (message.readMsg() != protocol::kMsgPreviewInfo)
    {
        ORVANE_LOG_ERROR("Unknown Event! evt_id=msgId.");
        return 0;
    }
    ORVANE_LOG_DEBUG("Deal callback event. evt_id=OM_TRANS_MSG_ID_REQ_PREVIEW_INFO.");
    EventReader reader(message, ORVANE_LOG_SITE);
    reader.id(getToolID(), "Read 1st param failed!");
    auto const reqId = reader.number<unsigned int>("Read 2nd param failed!");
    auto const res = reader.number<int>("Read 3rd param failed!");
    char const* const path = reader.text("Read 4th param failed!");
    if (!reader.takeGroup("Read 5th param failed!", ""))
    {
        return -1;
    }
    om::OmString const output_path = path;
    om::OmPropertyGroup const props = reader.group();
    ORVANE_LOG_INFO("To invoke listener->onPreviewInfoReply() with params: reqId=0x%04X, res%d, output_path=%s.", reqId,
                    res, output_path.c_str());
    m_listener.forEach([&](OmcIPreviewToolListener& listener)
                       { listener.onPreviewInfoReply(this, reqId, res, output_path, props); });
    return 0;
}

} // namespace tz::orvane::omc
