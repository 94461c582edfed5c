// SPDX-License-Identifier: Apache-2.0
// The client side of the preview tool in the media service.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_ipreview_tool.h"

namespace tz::orvane::omc
{

/// Forwards preview requests to the service and its results to the one listener.
///
/// Made by OmcClient, which owns it and hands it its messages on the receive thread. Keeps no table of requests and
/// takes no lock.
class ORVANE_API OmcPreviewInfoTool : public om::OmIPreviewTool
{
public:
    /// Takes the ids of the connection and of the tool, as the service gave them.
    OmcPreviewInfoTool(unsigned int cnid, unsigned int id);
    OmcPreviewInfoTool(OmcPreviewInfoTool const&) = delete;
    OmcPreviewInfoTool& operator=(OmcPreviewInfoTool const&) = delete;
    ~OmcPreviewInfoTool() override;

    unsigned int getRequestID() override;
    int requestPreviewInfo(om::OmString const& uri, om::om_location_mode_e mode, long long const& pos, int flags,
                           om::OmPropertyGroup const& props) override;
    int stopPreview(om::OmString const& uri) override;
    int stopPreviewAll(om::OmPropertyGroup const& props) override;
    void reserved1() override {}
    void reserved2() override {}
    int doExtendCommand(om::OmString const& command, om::OmPropertyGroup& props) override;
    int dispatch(void* event) override;
};

} // namespace tz::orvane::omc
