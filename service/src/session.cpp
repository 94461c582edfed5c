// SPDX-License-Identifier: Apache-2.0
// One connection: its objects, and where its messages go.
#include "session.h"

#include "player_commands.h"

#include "orvane/platform/om_debug.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>

namespace tz::orvane::service
{

namespace
{

constexpr char kLogFile[] = "session";
constexpr char kLogClass[] = "Session";

constexpr std::size_t kMostPlayersOfOne = 8;

protocol::ObjectClass classOf(Request const& request)
{
    unsigned int const object = request.object();
    // Request ids are asked of the connection.
    if (protocol::kPreviewToolIds.contains(object) || request.code() == protocol::kCmdGetPreviewRequestId)
    {
        return protocol::ObjectClass::preview;
    }
    if (protocol::kDrmAgentIds.contains(object))
    {
        return protocol::ObjectClass::drm;
    }

    // A player announces itself before it uses its id.
    bool const isClients = object == 0 && request.code() != protocol::kCmdCreateMediaPlayer;
    return isClients ? protocol::ObjectClass::client : protocol::ObjectClass::player;
}

/// A client with other rights must not have files written with ours.
bool hasOurRights(mdt::MdtsPeer const& peer)
{
    return peer.uid == geteuid() || peer.uid == 0;
}

} // namespace

struct Session::Row
{
    int code;
    void (Session::*handle)(Request&);
};

Session::Session(PlayerHost const& host, PreviewHost const& previews, mdt::MdtsMessenger& messenger, ObjectIds& ids,
                 mdt::MdtsPeer const& peer)
    : m_host(host)
    , m_messenger(messenger)
    , m_ids(ids)
    , m_cnid(peer.cnid)
    , m_agents(messenger, peer.cnid,
               [this]
               {
                   for (auto const& entry : m_players)
                   {
                       entry.second->keysChanged();
                   }
               })
    , m_previews(previews, messenger, peer.cnid, hasOurRights(peer))
{
    m_host.agents = &m_agents;
}

Session::~Session()
{
    destroyPlayers();
}

void Session::handle(mdt::MsgData& message, mdt::MdtsCall const& call)
{
    Request request(m_messenger, message, call);
    protocol::ObjectClass const object = classOf(request);
    auto const* const row = protocol::findMessage(object, protocol::Direction::toService, request.code());
    if (row == nullptr)
    {
        refuse(request, -ENOSYS, om::OM_ERROR_BAD_ARGUMENT, "unknown command");
    }
    else if (!fitArguments(message, *row))
    {
        refuse(request, -EINVAL, om::OM_ERROR_BAD_ARGUMENT, "wrong arguments");
    }
    else if (object == protocol::ObjectClass::client)
    {
        handleOwn(request);
    }
    else if (object == protocol::ObjectClass::player)
    {
        handlePlayer(request, *row);
    }
    else if (object == protocol::ObjectClass::drm)
    {
        handleAgent(request);
    }
    else if (object == protocol::ObjectClass::preview)
    {
        if (auto const refusal = m_previews.handle(request))
        {
            refuse(request, refusal->status, refusal->code, refusal->text);
        }
    }
    else
    {
        refuse(request, -ENOENT, om::OM_ERROR_BAD_STATE, "no such object");
    }
    if (request.code() == protocol::kCmdDrmUpdateSession)
    {
        request.wipe(); // a license holds keys, whoever it was for
    }
    if (request.wantsReply())
    {
        request.reply(0); // a command whose sender waits for it to be taken
    }
}

void Session::handleOwn(Request& request)
{
    static constexpr Row kRows[] = {
        {protocol::kCmdSetConfig, &Session::setConfig},
        {protocol::kCmdCreatePlayer, &Session::createPlayer},
        {protocol::kCmdDestroyPlayer, &Session::destroyPlayer},
        {protocol::kCmdDestroyPlayerAll, &Session::destroyPlayerAll},
        {protocol::kCmdDestroyClient, &Session::destroyAll},
        {protocol::kCmdStopPlayerAll, &Session::stopPlayerAll},
        {protocol::kCmdCreatePreviewTool, &Session::createPreviewTool},
        {protocol::kCmdDestroyPreviewTool, &Session::destroyPreviewTool},
        {protocol::kCmdCreateDrmAgent, &Session::createDrmAgent},
        {protocol::kCmdDestroyDrmAgentById, &Session::destroyDrmAgent},
        {protocol::kCmdDestroyDrmAgent, &Session::destroyDrmAgent},
    };
    for (Row const& row : kRows)
    {
        if (row.code == request.code())
        {
            (this->*row.handle)(request);
            return;
        }
    }
    refuse(request, -EOPNOTSUPP, om::OM_ERROR_NOT_SUPPORTED, "not offered by this service");
}

void Session::handlePlayer(Request& request, protocol::Message const& row)
{
    // Both messages come a second time where an object is destroyed, or before it is known.
    if (request.code() == protocol::kCmdCreateMediaPlayer)
    {
        return;
    }
    if (request.code() == protocol::kCmdReleaseMediaPlayer)
    {
        destroy(request.object());
        return;
    }
    auto const found = m_players.find(request.object());
    if (found == m_players.end())
    {
        refuse(request, -ENOENT, om::OM_ERROR_BAD_STATE, "no such player");
        return;
    }
    PlayerCommand const command = findPlayerCommand(row.code);
    if (command == nullptr)
    {
        refuse(request, -EOPNOTSUPP, om::OM_ERROR_NOT_SUPPORTED, "not offered by this service");
        return;
    }
    command(*found->second, request);
}

void Session::handleAgent(Request& request)
{
    if (int const result = m_agents.handle(request); result < 0)
    {
        bool const unknown = result == -EOPNOTSUPP;
        refuse(request, result, unknown ? om::OM_ERROR_NOT_SUPPORTED : om::OM_ERROR_BAD_ARGUMENT,
               std::strerror(-result));
    }
}

/// Says no where it is heard: in the answer, at the player, or else at the connection.
void Session::refuse(Request& request, int status, om::om_error_e code, char const* text)
{
    auto const* const row = protocol::findMessage(classOf(request), protocol::Direction::toService, request.code());
    char const* const command = row == nullptr ? "unknown" : row->name;
    ORVANE_LOG_INFO("0x%04X, 0x%04X: %s (0x%04X) refused, %s", static_cast<unsigned int>(m_cnid), request.object(),
                    command, static_cast<unsigned int>(request.code()), text);
    auto const player = m_players.find(request.object());
    if (request.wantsReply())
    {
        request.reply(status);
    }
    else if (player != m_players.end())
    {
        player->second->events().refusal(code, command, text);
    }
    else
    {
        tellRefusal(code, command, text);
    }
}

void Session::tellRefusal(om::om_error_e code, char const* command, std::string const& text)
{
    om::OmPropertyGroup group;
    addAll(group, {{om::OM_KEY_CODE, std::to_string(static_cast<unsigned int>(code))},
                   {om::OM_KEY_COMMAND, command},
                   {om::OM_KEY_TEXT, text}});
    mdt::MsgData event(m_cnid, 0, protocol::kMsgEvent, protocol::kTypeCommand);
    event.writeUInt32(static_cast<unsigned int>(m_cnid));
    event.writeUInt32(om::OM_CLIENT_EVENT_REFUSED);
    writeGroup(event, group);
    m_messenger.postEvent(event);
}

/// No key has a meaning yet where this is called; the sender is told so.
void Session::warnOfKeys(Request& request, char const* command)
{
    std::string const group = request.bytes(0);
    for (auto const entry : protocol::PropertyView(group.data(), static_cast<int>(group.size())))
    {
        tellRefusal(om::OM_ERROR_NOT_SUPPORTED, command, "key " + std::string(entry.key));
    }
}

void Session::setConfig(Request& request)
{
    warnOfKeys(request, "setConfig");
}

void Session::createPlayer(Request& request)
{
    unsigned int const plid = m_players.size() < kMostPlayersOfOne ? m_ids.take() : 0;
    if (plid == 0)
    {
        ORVANE_LOG_WARNING("0x%04X: too many players", static_cast<unsigned int>(m_cnid));
        request.reply(-EDQUOT);
        return;
    }
    warnOfKeys(request, "createPlayer");
    m_players.emplace(plid, std::make_unique<Player>(m_host, PlayerEvents(m_messenger, m_cnid, plid)));
    request.reply(std::uint32_t{plid});
}

void Session::destroyPlayer(Request& request)
{
    destroy(request.number(0));
}

void Session::destroyPlayerAll(Request&)
{
    destroyPlayers();
}

void Session::destroyAll(Request&)
{
    destroyPlayers();
    m_previews.destroyTool();
}

void Session::stopPlayerAll(Request&)
{
    for (auto const& entry : m_players)
    {
        if (entry.second->isOpen())
        {
            entry.second->stop();
        }
    }
}

void Session::createPreviewTool(Request& request)
{
    unsigned int const plid = m_previews.createTool();
    if (plid == 0)
    {
        request.reply(-EDQUOT);
        return;
    }
    warnOfKeys(request, "createPreviewTool");
    request.reply(std::uint32_t{plid});
}

void Session::destroyPreviewTool(Request&)
{
    m_previews.destroyTool();
}

void Session::createDrmAgent(Request& request)
{
    m_agents.create(request);
}

/// Of the two messages that destroy an agent the second finds none.
void Session::destroyDrmAgent(Request& request)
{
    m_agents.destroy(request.number(0));
}

void Session::destroyPlayers()
{
    while (!m_players.empty())
    {
        destroy(m_players.begin()->first);
    }
}

/// Of two messages that destroy a player the second finds none.
void Session::destroy(unsigned int plid)
{
    if (m_players.erase(plid) != 0)
    {
        m_ids.giveBack(plid);
    }
}

} // namespace tz::orvane::service
