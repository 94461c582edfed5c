// SPDX-License-Identifier: Apache-2.0
// What applications derive from to hear of events. Every method runs on the messenger's receive thread.
#pragma once

#include "orvane/om_enums.h"
#include "orvane/om_export.h"
#include "orvane/om_iconnection.h"
#include "orvane/om_idrm_agent.h"
#include "orvane/om_imediaplayer.h"
#include "orvane/om_ipreview_tool.h"
#include "orvane/om_property_group.h"
#include "orvane/om_records.h"
#include "orvane/om_string.h"

#include <string>

namespace tz::orvane::omc
{

// Any operation of the library, queries included, may be called from inside a listener. Pointers and references handed
// to it are valid during the call only. Destructors are not virtual: the library never deletes a listener.
//
// Do not throw: what leaves a listener on the receive thread ends the process. An application that hands messages to
// `dispatch` or Global_CallbackToClient itself gets the exception from there; the listeners behind are not called then.

/// Hears of the connection itself.
class ORVANE_API OmcIConnectionListener
{
public:
    /// @param status OM_CONNECTION_STATUS_DIED when the service is gone, else the service's value
    virtual void onConnectionChanged(om::OmIConnection* conn, int status) = 0;

    /// @param evt   OM_CLIENT_EVENT_... of om_service.h
    /// @param props what belongs to it
    virtual void onEvent(om::OmIConnection* conn, int evt, om::OmPropertyGroup& props) = 0;

protected:
    ~OmcIConnectionListener() = default;
};

/// Hears of a player. The methods that are not overridden only log.
class ORVANE_API OmcIMediaPlayerListener
{
public:
    /// @param actFlags OM_ACT_... of om_service.h
    virtual void onStateChanged(om::OmIMediaPlayer* player, unsigned int reqId, om::om_state_e state, int actFlags,
                                om::OmPropertyGroup const& props);

    /// @param errCode OM_ERROR_... of om_service.h
    virtual void onError(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int errCode,
                         om::OmPropertyGroup const& props);

    /// @param evt OM_EVENT_... of om_service.h
    virtual void onEvent(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int evt,
                         om::OmPropertyGroup const& props);

    /// The service's late answer to a command.
    /// @param evt    which one, as the service numbers them
    /// @param result negative when it failed
    virtual void onReply(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int evt, int result,
                         om::OmPropertyGroup const& props);

    /// More is known of the medium. @param info all that is known now
    virtual void onMetaInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, om::om_media_info_t* info,
                                   om::OmPropertyGroup const& props);

    /// The tracks of the medium are known, or have changed. @param info all of them
    virtual void onContainerInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, om::om_container_info_t* info,
                                        om::OmPropertyGroup const& props);

    /// A photo was opened that tells of itself. @param info what it tells
    virtual void onExifInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, om::om_exif_info_t* info,
                                   om::OmPropertyGroup const& props);

    /// Another track is shown or heard. @param track which one
    virtual void onTrackChanged(om::OmIMediaPlayer* player, unsigned int reqId, om::om_track_detail_t* track,
                                om::OmPropertyGroup const& props);

    /// @param currPos milliseconds
    virtual void onPlayTimeUpdated(om::OmIMediaPlayer* player, unsigned int reqId, long long const& currPos,
                                   om::OmPropertyGroup const& props);

    /// A decoded picture of a medium that was prepared with OM_PREPARE_KEY_FRAME_INFO.
    /// @param data  its pixels, row by row as `props` describes them
    /// @param size  bytes of them
    /// @param props OM_FRAME_KEY_...
    virtual void onFrameInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, void* data, int size,
                                    om::OmPropertyGroup const& props);

protected:
    ~OmcIMediaPlayerListener() = default;
};

/// Hears of preview requests.
class ORVANE_API OmcIPreviewToolListener
{
public:
    /// A request is done.
    /// @param reqId       as getRequestID gave it before the request
    /// @param res         OM_ERROR_NONE, or another om_error_e
    /// @param output_path where the picture is
    /// @param props       what else is known
    virtual void onPreviewInfoReply(om::OmIPreviewTool* tool, unsigned int reqId, int res,
                                    om::OmString const& output_path, om::OmPropertyGroup const& props) = 0;

protected:
    ~OmcIPreviewToolListener() = default;
};

/// Hears of a DRM agent. The method only logs when it is not overridden.
class ORVANE_API OmcIDrmAgentListener
{
public:
    /// @param data the payload, which may hold zero bytes
    virtual void onReceivedEvent(om::OmIDrmAgent* agent, unsigned int msgType, unsigned int msgSubType,
                                 unsigned int arg3, unsigned long long arg4, unsigned int arg5, std::string data);

protected:
    ~OmcIDrmAgentListener() = default;
};

} // namespace tz::orvane::omc
