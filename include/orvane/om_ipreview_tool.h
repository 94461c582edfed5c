// SPDX-License-Identifier: Apache-2.0
// Preview information of media without a player.
#pragma once

#include "orvane/om_enums.h"
#include "orvane/om_export.h"
#include "orvane/om_listener_list.h"
#include "orvane/om_property_group.h"
#include "orvane/om_string.h"

namespace tz::orvane::omc
{
class OmcIPreviewToolListener;
}

namespace tz::orvane::om
{

/// The preview tool of a connection, which owns it.
///
/// Any thread may call any operation, also from inside the listener. A request is known by an id that getRequestID
/// fetched before; its result arrives at the listener.
class ORVANE_API OmIPreviewTool
{
public:
    virtual ~OmIPreviewTool() = default;

    /// @return the id of the connection, 0x1000 to 0x1FFF
    virtual unsigned int getClientID() { return m_cnid; }

    /// @return the id of this tool, 0x4000 to 0x4FFF
    virtual unsigned int getToolID() { return m_toolId; }

    /// Fetches an id for the next request; waits for the service. @return the id, 0 on failure
    virtual unsigned int getRequestID() = 0;

    /// Asks for preview information.
    /// @param pos   position in the unit of `mode`
    /// @param flags OM_PREVIEW_... of om_service.h
    /// @return 0, or the messenger's negative result
    virtual int requestPreviewInfo(OmString const& uri, om_location_mode_e mode, long long const& pos, int flags,
                                   OmPropertyGroup const& props) = 0;

    /// Stops the requests for a URI. @return 0, or the messenger's negative result
    virtual int stopPreview(OmString const& uri) = 0;

    /// Stops all requests. @return 0, or the messenger's negative result
    virtual int stopPreviewAll(OmPropertyGroup const& props) = 0;

    /// Keeps a slot for what may come; does nothing.
    virtual void reserved1() = 0;

    /// Keeps a slot for what may come; does nothing.
    virtual void reserved2() = 0;

    /// Sends a named command of the service and waits for its answer; as OmIMediaPlayer::doExtendCommand.
    virtual int doExtendCommand(OmString const& command, OmPropertyGroup& props) = 0;

    /// Takes a message for this tool; called on the receive thread. @return 0, -1 when malformed, -2 for null
    virtual int dispatch(void* event) = 0;

    /// Sets the one listener; null for none. The former one is called no more when this returns (see OmListenerList).
    void setListener(omc::OmcIPreviewToolListener* listener) { m_listener.replace(listener); }

protected:
    /// Takes the ids that the service gave.
    OmIPreviewTool(unsigned int cnid, unsigned int toolId)
        : m_cnid(cnid)
        , m_toolId(toolId)
    {
    }

    unsigned int m_cnid;                                     ///< of the connection
    unsigned int m_toolId;                                   ///< of this object
    OmListenerList<omc::OmcIPreviewToolListener> m_listener; ///< guarded by itself
};

} // namespace tz::orvane::om
