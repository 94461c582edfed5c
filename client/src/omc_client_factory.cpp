// SPDX-License-Identifier: Apache-2.0
// The client side of a connection: making and destroying of players, preview tool and DRM agents.
#include "dispatch_gate.h"
#include "message_util.h"
#include "om_protocol.h"
#include "orvane/omc_client.h"
#include "orvane/omc_drm_agent.h"
#include "orvane/omc_mediaplayer.h"
#include "orvane/omc_preview_tool.h"
#include "orvane/platform/mdt_msg_data.h"
#include "orvane/platform/om_debug.h"
#include "spent_objects.h"
#include "tool_turn.h"

#include <map>
#include <optional>
#include <utility>

namespace tz::orvane::omc
{

namespace
{

constexpr char kLogFile[] = "omc_client";
constexpr char kLogClass[] = "OmcClient";

unsigned int number(int field)
{
    return static_cast<unsigned int>(field);
}

unsigned int readId(mdt::MsgData& reply)
{
    unsigned int plid = 0;
    reply.readUInt32(plid);
    return plid;
}

Request command(platform::LogSite const& site, unsigned int cnid, int code)
{
    return Request(site, cnid, 0, code, protocol::kTypeCommand);
}

Request query(platform::LogSite const& site, unsigned int cnid, int code)
{
    return Request(site, cnid, 0, code, protocol::kTypeQuery);
}

void logDrmFailure(platform::LogSite const& site, int result)
{
    ORVANE_LOG_AT(platform::DebugLevel::error, site,
                  "Error! Failed to send msg or command from client to binder. ErrorCode=%d .", result);
}

void logDrmResult(platform::LogSite const& site, int result)
{
    if (result < 0)
    {
        logDrmFailure(site, result);
        return;
    }
    ORVANE_LOG_AT(platform::DebugLevel::info, site, "Succeeded to send msg or command from client to binder..");
}

// An agent that is destroyed from inside a callback: nobody is called any more, and it stays until that has returned.
void silence(DispatchScope const& scope, std::shared_ptr<om::OmIDrmAgent> const& agent)
{
    if (auto* const own = dynamic_cast<OmcDrmAgent*>(agent.get()))
    {
        own->release();
    }
    DispatchGate::defer(scope, [agent] {});
}

} // namespace

om::OmIMediaPlayer* OmcClient::createPlayer(om::OmPropertyGroup* params)
{
    unsigned int const cnid = getClientID();
    ORVANE_LOG_DEBUG("Start. Client Id=0x%04X, params=%p", cnid, static_cast<void*>(params));
    om::OmPropertyGroup const none;
    mdt::MsgData reply;
    int const result =
        query(ORVANE_LOG_SITE, cnid, protocol::kCmdCreatePlayer).group(params != nullptr ? *params : none).post(reply);
    if (result < 0)
    {
        logSendFailure(ORVANE_LOG_SITE, result);
        return nullptr;
    }
    ORVANE_LOG_INFO("%s", Request::kSent);
    unsigned int const plid = readId(reply);
    ORVANE_LOG_INFO("Message Data: (pid=0x%04X, uid=0x%04X, cmd=0x%04X, type=%d, plId=0x%04X).",
                    number(reply.readPid()), number(reply.readUid()), number(reply.readMsg()), reply.readType(), plid);
    om::OmIMediaPlayer* const player = new OmcMediaPlayer(cnid, plid);
    SpentObjects::forget(player);
    unsigned int const key = player->getPlayerID();
    ORVANE_LOG_INFO("Client Id=0x%04X with appName %s generates new MediaPlayer whose client Id is 0x%04X and player's "
                    "Id is msgDataOut (m_plid=0x%04X).",
                    cnid, getAppName().c_str(), player->getClientID(), key);
    ORVANE_LOG_INFO("The print of the new player pointer is return value (OmcMediaPlayer =%p).",
                    static_cast<void*>(player));
    std::lock_guard<std::mutex> lock(m_mutex);
    // A second player of one id is kept by nobody: the service has broken its word, and what it still sends is for
    // both.
    return m_playerMap.emplace(key, player).second ? player : nullptr;
}

om::OmIMediaPlayer* OmcClient::findPlayer(unsigned int plid)
{
    if (!protocol::kPlayerIds.contains(plid))
    {
        ORVANE_LOG_ERROR("Error! The input parameter (Player Id=0x%04X) is invalid!.", plid);
        return nullptr;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto const found = m_playerMap.find(plid);
        if (found != m_playerMap.end())
        {
            return found->second;
        }
    }
    ORVANE_LOG_ERROR("Error! The input parameter (Player Id=0x%04X) points to the end of the PlayerMap!.", plid);
    return nullptr;
}

void OmcClient::destroyPlayer(unsigned int plid)
{
    ORVANE_LOG_DEBUG(" Called.");
    ORVANE_LOG_DEBUG("Start. this->cnid=0x%04x, plid=0x%04X", getClientID(), plid);
    // Its memory must not become that of another player before it was looked up again.
    DispatchGate::Use const use(this, plid);
    om::OmIMediaPlayer* const player = findPlayer(plid);
    if (player == nullptr)
    {
        ORVANE_LOG_ERROR("Invalid Param! player=NULL!");
        return;
    }
    destroyPlayer(player);
}

void OmcClient::destroyPlayer(om::OmIMediaPlayer* player)
{
    if (player == nullptr)
    {
        ORVANE_LOG_ERROR("Invalid Param! player=NULL!");
        return;
    }
    // Another thread may be destroying it: its getter is called only on a player that cannot go meanwhile.
    DispatchGate::Use const use(this);
    std::optional<DispatchGate::Use> getterUse;
    unsigned int plid = 0;
    bool gone = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (auto const& entry : m_playerMap)
        {
            if (entry.second == player)
            {
                getterUse.emplace(this, entry.first);
                break;
            }
        }
        gone = !getterUse && SpentObjects::find(player, plid);
    }
    if (!gone)
    {
        plid = player->getPlayerID();
    }
    // Whoever takes it out of the map destroys it.
    om::OmIMediaPlayer* own = nullptr;
    bool known = false;
    if (!gone)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto const found = m_playerMap.find(plid);
        known = found != m_playerMap.end();
        if (known)
        {
            own = found->second;
            SpentObjects::add(own, plid);
            m_playerMap.erase(found);
        }
    }
    getterUse.reset();
    if (!known)
    {
        ORVANE_LOG_ERROR("Not Found! the player is not in the map of client. plid=0x%04X.", plid);
        return;
    }
    int const result = command(ORVANE_LOG_SITE, getClientID(), protocol::kCmdDestroyPlayer).uint32(plid).post();
    if (result < 0)
    {
        logSendFailure(ORVANE_LOG_SITE, result);
    }
    retire(plid, own);
}

void OmcClient::destroyPlayerAll()
{
    DispatchGate::Use const use(this);
    std::map<unsigned int, om::OmIMediaPlayer*> players;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        players.swap(m_playerMap);
        for (auto const& entry : players)
        {
            SpentObjects::add(entry.second, entry.first);
        }
    }
    if (players.empty())
    {
        ORVANE_LOG_INFO("player list is empty!");
        return;
    }
    int const result = command(ORVANE_LOG_SITE, getClientID(), protocol::kCmdDestroyPlayerAll).post();
    if (result < 0)
    {
        ORVANE_LOG_ERROR("call postMsg() fail, result=%d", result);
    }
    for (auto const& entry : players)
    {
        ORVANE_LOG_INFO("plid=%d", static_cast<int>(entry.first));
        retire(entry.first, entry.second);
    }
}

/// Destroys a player that is out of the map.
void OmcClient::retire(unsigned int plid, om::OmIMediaPlayer* player)
{
    DispatchScope const scope{this, plid, plid, player};
    bool const inside = DispatchGate::isInside(scope);
    if (!inside)
    {
        DispatchGate::waitForOthers(scope);
    }
    // Not left to the destructor, for which the operations of a subclass are gone.
    if (auto* const own = dynamic_cast<OmcMediaPlayer*>(player))
    {
        own->release(inside);
    }
    if (inside)
    {
        DispatchGate::defer(scope, [player] { delete player; });
        return;
    }
    delete player;
}

void OmcClient::stopPlayerAll()
{
    int const result = command(ORVANE_LOG_SITE, getClientID(), protocol::kCmdStopPlayerAll).post();
    if (result < 0)
    {
        ORVANE_LOG_ERROR(" call postMsg() fail, result=%d", result);
    }
}

om::OmIPreviewTool* OmcClient::createPreviewTool(om::OmPropertyGroup* params)
{
    ToolTurn const turn(this);
    if (om::OmIPreviewTool* const present = getPreviewTool())
    {
        ORVANE_LOG_INFO(" Complete! preview-tool=%p", static_cast<void*>(present));
        return present;
    }
    unsigned int const cnid = getClientID();
    om::OmPropertyGroup const none;
    mdt::MsgData reply;
    int const result = query(ORVANE_LOG_SITE, cnid, protocol::kCmdCreatePreviewTool)
                           .group(params != nullptr ? *params : none)
                           .post(reply);
    if (result < 0)
    {
        ORVANE_LOG_ERROR(" Call MdtcMessenger::GetInstance().postMsg() Failed! result=%d", result);
        return nullptr;
    }
    ORVANE_LOG_INFO(" Message data reply: cnid=0x%04X, plid=0x%04X, type=%d, cmd=0x%04X", number(reply.readPid()),
                    number(reply.readUid()), reply.readType(), number(reply.readMsg()));
    om::OmIPreviewTool* const tool = new OmcPreviewInfoTool(cnid, readId(reply));
    unsigned int const toolId = tool->getToolID();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_prevTool_p = tool;
    }
    ORVANE_LOG_INFO(" Create complete! preview-tool=%04X", toolId);
    return tool;
}

void OmcClient::destroyPreviewTool()
{
    DispatchGate::Use const use(this);
    om::OmIPreviewTool* tool = nullptr;
    {
        ToolTurn const turn(this);
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            tool = std::exchange(m_prevTool_p, nullptr);
        }
        if (tool == nullptr)
        {
            // Every disconnection comes here, most of them without a tool: nothing has failed.
            ORVANE_LOG_INFO("Invalid Param! m_prevTool_p=NULL!");
            return;
        }
        int const result = command(ORVANE_LOG_SITE, getClientID(), protocol::kCmdDestroyPreviewTool).post();
        if (result < 0)
        {
            logSendFailure(ORVANE_LOG_SITE, result);
        }
    }
    DispatchScope const scope{this, protocol::kPreviewToolIds.first, protocol::kPreviewToolIds.last, tool};
    if (!DispatchGate::isInside(scope))
    {
        DispatchGate::waitForOthers(scope);
        delete tool;
        return;
    }
    tool->setListener(nullptr);
    DispatchGate::defer(scope, [tool] { delete tool; });
}

std::shared_ptr<om::OmIDrmAgent> OmcClient::createDrmAgent(unsigned int drmType)
{
    unsigned int const cnid = getClientID();
    ORVANE_LOG_DEBUG(" ENTER");
    ORVANE_LOG_DEBUG("Start of createDrmAgent()------------------------------m_cnid=0x%04X, drmType=%d", cnid,
                     static_cast<int>(drmType));
    mdt::MsgData reply;
    int const result = query(ORVANE_LOG_SITE, cnid, protocol::kCmdCreateDrmAgent).uint32(drmType).post(reply);
    if (result < 0)
    {
        logDrmFailure(ORVANE_LOG_SITE, result);
        return nullptr;
    }
    ORVANE_LOG_INFO(" Succeeded to send msg or command from client to binder..");
    unsigned int const plid = readId(reply);
    ORVANE_LOG_INFO("Start of createDrmAgent()------------------------------pid=0x%04X, uid=0x%04X, cmd=0x%04X, "
                    "type=%d",
                    number(reply.readPid()), number(reply.readUid()), number(reply.readMsg()), reply.readType());
    std::shared_ptr<om::OmIDrmAgent> agent = std::make_shared<OmcDrmAgent>(cnid, plid);
    unsigned int const key = agent->getAgentID();
    ORVANE_LOG_INFO("Client Id=0x%04X with appName %s generates new MediaPlayer whose client Id is 0x%04X and player's "
                    "Id is msgDataOut (m_plid=0x%04X).",
                    cnid, getAppName().c_str(), agent->getClientID(), key);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_drmMap.emplace(key, agent);
    return agent;
}

std::shared_ptr<om::OmIDrmAgent> OmcClient::findDrmAgent(unsigned int plid)
{
    ORVANE_LOG_DEBUG("Start. Client Id=0x%04X..", getClientID());
    if (!protocol::kDrmAgentIds.contains(plid))
    {
        ORVANE_LOG_ERROR("Start. Error! The input parameter (Player Id=0x%04X) is invalid!.", plid);
        return nullptr;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto const found = m_drmMap.find(plid);
        if (found != m_drmMap.end())
        {
            return found->second;
        }
    }
    ORVANE_LOG_ERROR("Start. Error! The input parameter (Player Id=0x%04X) points to the end of the PlayerMap!.", plid);
    return nullptr;
}

void OmcClient::destroyDrmAgent(unsigned int plid)
{
    unsigned int const cnid = getClientID();
    ORVANE_LOG_DEBUG("Start. Client Id=0x%04X, the Id of the mediaPlayer to destroy =0x%04X).", cnid, plid);
    if (!protocol::kDrmAgentIds.contains(plid))
    {
        ORVANE_LOG_ERROR("Error! The input parameter (Player Id=0x%04X) is invalid!.", plid);
        return;
    }
    DispatchGate::Use const use(this);
    std::shared_ptr<om::OmIDrmAgent> agent;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto const found = m_drmMap.find(plid);
        if (found != m_drmMap.end())
        {
            agent = std::move(found->second);
            m_drmMap.erase(found);
        }
    }
    if (agent == nullptr)
    {
        ORVANE_LOG_ERROR("Error! The input parameter (Player Id=%d) points to the end of the PlayerMap!.",
                         static_cast<int>(plid));
        return;
    }
    DispatchScope const scope{this, plid, plid, agent.get()};
    bool const inside = DispatchGate::isInside(scope);
    if (inside)
    {
        silence(scope, agent);
    }
    agent.reset();
    logDrmResult(ORVANE_LOG_SITE,
                 command(ORVANE_LOG_SITE, cnid, protocol::kCmdDestroyDrmAgentById).uint32(plid).post());
    if (!inside)
    {
        DispatchGate::waitForOthers(scope);
    }
}

/// Lets go of the agents at the end of the connection.
void OmcClient::forgetAgents()
{
    std::map<unsigned int, std::shared_ptr<om::OmIDrmAgent>> agents;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        agents.swap(m_drmMap);
    }
    for (auto const& entry : agents)
    {
        DispatchScope scope{this};
        scope.object = entry.second.get();
        if (DispatchGate::isInside(scope))
        {
            silence(scope, entry.second);
        }
    }
}

void OmcClient::destroyDrmAgent(std::shared_ptr<om::OmIDrmAgent> agent)
{
    if (agent == nullptr)
    {
        ORVANE_LOG_ERROR("Error! Invalid Param! player=NULL.");
        return;
    }
    unsigned int const plid = agent->getAgentID();
    unsigned int const cnid = getClientID();
    ORVANE_LOG_DEBUG("Start. the client Id=0x%04X, and the Id of the mediaPlayer to destroy =0x%04X).", cnid, plid);
    DispatchGate::Use const use(this);
    destroyDrmAgent(plid);
    // The service expects both messages.
    logDrmResult(ORVANE_LOG_SITE, command(ORVANE_LOG_SITE, cnid, protocol::kCmdDestroyDrmAgent).uint32(plid).post());
}

} // namespace tz::orvane::omc
