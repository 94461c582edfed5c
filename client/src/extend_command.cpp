// SPDX-License-Identifier: Apache-2.0
// The exchange of named commands, one for every object that offers it.
#include "extend_command.h"

#include "message_util.h"
#include "om_protocol.h"

namespace tz::orvane::omc
{

using platform::DebugLevel;

int exchangeExtendCommand(platform::LogSite const& site, unsigned int cnid, unsigned int uid, int code,
                          om::OmString const& command, om::OmPropertyGroup& props)
{
    ORVANE_LOG_AT(DebugLevel::debug, site, "Start. cnid=0x%04X, plid=0x%04X.", cnid, uid);
    ORVANE_LOG_AT(DebugLevel::debug, site, "Input parameters (command=%s).", command.c_str());
    char* image = nullptr;
    int length = 0;
    props.getData(&image, &length);
    ORVANE_LOG_AT(DebugLevel::debug, site, "Input parameters (The length of properties =%d.).", length);
    ORVANE_LOG_AT(DebugLevel::debug, site, "Input parameters (The first OmString of properties =%p).",
                  static_cast<void*>(image));

    Request request(site, cnid, uid, code, protocol::kTypeQuery);
    mdt::MsgData reply;
    int const posted = request.string(command).data(image, static_cast<unsigned int>(length)).post(reply);
    if (posted < 0)
    {
        logSendFailure(site, posted);
        return -1;
    }
    ORVANE_LOG_AT(DebugLevel::info, site, "%s", Request::kSent);
    ORVANE_LOG_AT(DebugLevel::info, site, "msgDataOut (pid=0x%04X, uid=0x%04X, cmd=0x%04X, type=%d).",
                  static_cast<unsigned int>(reply.readPid()), static_cast<unsigned int>(reply.readUid()),
                  static_cast<unsigned int>(reply.readMsg()), reply.readType());

    void* answer = nullptr;
    int size = -1;
    int const status = readBytes(reply, 0, &answer, &size);
    if (status < 0)
    {
        ORVANE_LOG_AT(DebugLevel::error, site, "call msgDataOut.read() fail");
        return -1;
    }
    ORVANE_LOG_AT(DebugLevel::info, site, "Succeeded to readData from binder msgDataOut to client. .");
    // An empty answer makes a group built from nothing, which the assignment reports and ignores.
    props = om::OmPropertyGroup(answer, size);
    return status;
}

} // namespace tz::orvane::omc
