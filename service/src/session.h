// SPDX-License-Identifier: Apache-2.0
// One connection: its objects, and where its messages go.
#pragma once

#include "drm_agents.h"
#include "object_ids.h"
#include "player.h"
#include "preview_desk.h"
#include "request.h"

#include "orvane/platform/mdts_messenger.h"

#include <map>
#include <memory>

namespace tz::orvane::service
{

/// What one connection owns. Messages reach only its own objects. Loop thread.
class Session
{
public:
    Session(PlayerHost const& host, PreviewHost const& previews, mdt::MdtsMessenger& messenger, ObjectIds& ids,
            mdt::MdtsPeer const& peer);
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;
    ~Session();

    void handle(mdt::MsgData& message, mdt::MdtsCall const& call);

private:
    struct Row;

    void handleOwn(Request& request);
    void handlePlayer(Request& request, protocol::Message const& row);
    void handleAgent(Request& request);
    void refuse(Request& request, int status, om::om_error_e code, char const* text);
    void tellRefusal(om::om_error_e code, char const* command, std::string const& text);
    void warnOfKeys(Request& request, char const* command);

    void setConfig(Request& request);
    void createPlayer(Request& request);
    void destroyPlayer(Request& request);
    void destroyPlayerAll(Request& request);
    void destroyAll(Request& request);
    void stopPlayerAll(Request& request);
    void createPreviewTool(Request& request);
    void destroyPreviewTool(Request& request);
    void createDrmAgent(Request& request);
    void destroyDrmAgent(Request& request);
    void destroyPlayers();
    void destroy(unsigned int plid);

    PlayerHost m_host;
    mdt::MdtsMessenger& m_messenger;
    ObjectIds& m_ids;
    int m_cnid;
    DrmAgents m_agents;
    PreviewDesk m_previews;
    std::map<unsigned int, std::unique_ptr<Player>> m_players;
};

} // namespace tz::orvane::service
