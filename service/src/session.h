// SPDX-License-Identifier: Apache-2.0
// One connection: its objects, and where its messages go.
#pragma once

#include "drm_agents.h"
#include "player.h"
#include "request.h"

#include "orvane/platform/mdts_messenger.h"

#include <map>
#include <memory>
#include <set>

namespace tz::orvane::service
{

/// Gives out ids of players, and bounds their number.
class PlayerIds
{
public:
    /// @return 0 when there are as many players as there may be
    unsigned int take();
    void giveBack(unsigned int id) { m_used.erase(id); }

private:
    std::set<unsigned int> m_used;
    unsigned int m_next = protocol::kPlayerIds.first; ///< goes round: an id given back is not given out again at once
};

/// What one connection owns. Messages reach only its own objects. Loop thread.
class Session
{
public:
    Session(PlayerHost const& host, mdt::MdtsMessenger& messenger, PlayerIds& ids, int cnid);
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
    void stopPlayerAll(Request& request);
    void accept(Request& request);
    void createDrmAgent(Request& request);
    void destroyDrmAgent(Request& request);
    void destroyPlayers();
    void destroy(unsigned int plid);

    PlayerHost m_host;
    mdt::MdtsMessenger& m_messenger;
    PlayerIds& m_ids;
    int m_cnid;
    DrmAgents m_agents;
    std::map<unsigned int, std::unique_ptr<Player>> m_players;
};

} // namespace tz::orvane::service
