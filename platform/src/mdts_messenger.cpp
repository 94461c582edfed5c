// SPDX-License-Identifier: Apache-2.0
// The service end of the platform messenger: connections on an event loop.
#include "orvane/platform/mdts_messenger.h"

#include "mdts_client.h"
#include "mdts_listener.h"
#include "om_protocol.h"
#include "orvane/platform/om_debug.h"
#include "socket_address.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <sys/epoll.h>
#include <utility>

namespace tz::orvane::mdt
{

namespace
{

constexpr char kLogFile[] = "mdts_messenger";
constexpr char kLogClass[] = "MdtsMessenger";

/// Messages of a client handled before others get their turn.
constexpr int kMessagesPerTurn = 16;

/// How long a client may take to introduce itself.
constexpr std::chrono::milliseconds kIntroductionTime{5000};

/// What the loop tells of a command socket: each arrival once, so that whoever is told must read all that is there. It
/// costs less than being told again and again until the socket is empty.
constexpr std::uint32_t kArrivals = EPOLLIN | EPOLLRDHUP | EPOLLET;

using ClientPtr = std::shared_ptr<ServiceClient>;

} // namespace

struct MdtsMessenger::State : std::enable_shared_from_this<State>
{
    State(platform::EventLoop& eventLoop, MdtsHandler& messageHandler, MdtsLimits const& clientLimits)
        : loop(eventLoop)
        , handler(messageHandler)
        , limits(clientLimits)
    {
    }

    platform::EventLoop& loop;
    MdtsHandler& handler;
    MdtsLimits limits;
    ServiceListener listener;
    std::map<std::uint64_t, ClientPtr> clients; ///< by serial number
    std::map<int, std::uint64_t> serials;       ///< of introduced clients, by cnid
    std::multiset<int> leaving;                 ///< cnids whose end the handler does not know yet
    std::map<std::uint64_t, platform::EventLoop::TimerId> introductions;
    std::uint64_t lastSerial = 0;
    int lastCnid = 0;

    int adopt(int socket);
    void acceptAll();
    void onCommand(ClientPtr const& client, std::uint32_t events);
    void onEventSocket(ClientPtr const& client, std::uint32_t events);
    bool takeMessage(ClientPtr const& client, bool isEnding);
    void introduce(ClientPtr const& client);
    bool isFull(pid_t pid) const;
    int freeCnid(std::vector<int> const& heldIds);
    int settle(ServiceClient& client, int result);
    void end(ServiceClient const& client, char const* reason);
    ServiceClient* find(int cnid) const;

    static bool present(ServiceClient const& client) { return client.commandSocket() >= 0; }
};

int MdtsMessenger::State::adopt(int socket)
{
    platform::UniqueFd owned(socket);
    MdtsPeer peer{};
    int result = peerOf(socket, peer);
    if (result != 0)
    {
        return result;
    }
    // Those beyond the limit get their reason when they introduce themselves; beyond twice the limit there is no room
    // for that either.
    if (clients.size() >= 2 * static_cast<std::size_t>(limits.connections))
    {
        ORVANE_LOG_WARNING("Process %d is refused: too many connections.", static_cast<int>(peer.pid));
        return -EUSERS;
    }
    auto const client = std::make_shared<ServiceClient>(owned.release(), peer, ++lastSerial, limits.queuedBytes);
    result = loop.watch(client->commandSocket(), kArrivals,
                        [this, client](std::uint32_t events) { onCommand(client, events); });
    if (result != 0)
    {
        return result;
    }
    clients.emplace(client->serial(), client);
    introductions.emplace(client->serial(), loop.addTimer(kIntroductionTime, [this, client]
                                                          { end(*client, "it did not introduce itself"); }));
    return 0;
}

void MdtsMessenger::State::acceptAll()
{
    for (;;)
    {
        int const socket = listener.accept();
        if (socket < 0)
        {
            return;
        }
        MdtsPeer peer{};
        if (peerOf(socket, peer) == 0 && listener.admits(socket, peer))
        {
            adopt(socket);
        }
        else
        {
            ORVANE_LOG_WARNING("User %u is refused.", peer.uid);
            platform::UniqueFd const refused(socket);
        }
    }
}

void MdtsMessenger::State::onCommand(ClientPtr const& client, std::uint32_t events)
{
    // The watch, which the loop keeps until this returns, holds the client. One that hung up with replies unread is
    // learnt of by the next send only.
    if ((events & (EPOLLOUT | EPOLLHUP | EPOLLERR)) != 0)
    {
        settle(*client, client->flushReplies());
    }
    bool const isEnding = (events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
    for (int i = 0; present(*client) && !client->repliesWait(); ++i)
    {
        if (i == kMessagesPerTurn)
        {
            loop.change(client->commandSocket(), kArrivals); // tells once more of what is left
            return;
        }
        if (!takeMessage(client, isEnding))
        {
            return;
        }
    }
}

// @param isEnding the last that there is to read is the end
// @return whether there may be more to read
bool MdtsMessenger::State::takeMessage(ClientPtr const& client, bool isEnding)
{
    ssize_t const received = client->receive();
    if (received == -EAGAIN)
    {
        return false;
    }
    FrameReader& reader = client->reader();
    if (received <= 0)
    {
        end(*client, received == 0 ? nullptr : reader.reason());
        return false;
    }
    FrameKind const kind = reader.kind();
    // Who sent a query is mostly silent until he has the reply, and need not be read again. Asked before he is
    // answered: of what he sends then the loop tells. Who sent a command may well send more while he is read.
    bool const more = kind != FrameKind::query || isEnding || !client->isDrained();
    if (!client->introduced())
    {
        introduce(client);
    }
    else if (kind != FrameKind::command && kind != FrameKind::query)
    {
        end(*client, "not a frame that a client may send");
    }
    else
    {
        MsgData message;
        reader.fill(message, false);
        MdtsCall call;
        call.m_cnid = client->peer().cnid;
        call.m_uid = message.readUid();
        call.m_msg = message.readMsg();
        call.m_type = message.readType();
        call.m_connection = client->serial();
        call.m_id = kind == FrameKind::query ? reader.header().call : 0;
        if (message.readPid() == client->peer().cnid)
        {
            handler.onMessage(message, call);
        }
        else
        {
            ORVANE_LOG_WARNING("0x%04X of client 0x%04X names another connection, 0x%04X.",
                               static_cast<unsigned>(message.readMsg()), static_cast<unsigned>(client->peer().cnid),
                               static_cast<unsigned>(message.readPid()));
            if (call.wantsReply())
            {
                FrameHeader envelope = reader.header();
                envelope.status = -EACCES;
                settle(*client, client->sendReply(envelope, MsgData()));
            }
        }
    }
    reader.finish(client->ring());
    return more;
}

void MdtsMessenger::State::introduce(ClientPtr const& client)
{
    std::vector<int> heldIds;
    if (client->introduce(heldIds) != 0)
    {
        end(*client, "its introduction is malformed");
        return;
    }
    auto const timer = introductions.find(client->serial());
    loop.cancelTimer(timer->second);
    introductions.erase(timer);
    MdtsPeer& peer = client->peer();
    peer.cnid = freeCnid(heldIds);
    int const answer = peer.cnid == 0 || isFull(peer.pid) ? -EUSERS : handler.onConnect(peer);
    if (answer < 0)
    {
        client->greet(answer);
        peer.cnid = 0; // the handler has nothing to forget
        end(*client, "it is refused");
        return;
    }
    peer.cnid = answer > 0 ? answer : peer.cnid;
    serials[peer.cnid] = client->serial();
    int result =
        loop.watch(client->eventSocket(), 0, [this, client](std::uint32_t events) { onEventSocket(client, events); });
    if (result == 0)
    {
        result = client->greet(0);
    }
    if (result != 0)
    {
        end(*client, std::strerror(-result));
    }
}

bool MdtsMessenger::State::isFull(pid_t pid) const
{
    auto const ofPeer = std::count_if(serials.begin(), serials.end(),
                                      [&](auto const& entry) { return clients.at(entry.second)->peer().pid == pid; });
    return serials.size() >= static_cast<std::size_t>(limits.connections) || ofPeer >= limits.connectionsPerPeer;
}

// Ids go round from a start of chance, so that one that a dead connection still uses is not met by accident.
int MdtsMessenger::State::freeCnid(std::vector<int> const& heldIds)
{
    constexpr int kFirst = static_cast<int>(protocol::kClientIds.first);
    constexpr int kCount = static_cast<int>(protocol::kClientIds.last) - kFirst + 1;
    if (lastCnid == 0)
    {
        lastCnid = kFirst + static_cast<int>(platform::EventLoop::Clock::now().time_since_epoch().count() % kCount);
    }
    std::vector<bool> held(kCount);
    for (int id : heldIds)
    {
        if (protocol::kClientIds.contains(static_cast<unsigned>(id)))
        {
            held[static_cast<std::size_t>(id - kFirst)] = true;
        }
    }
    for (int i = 0; i < kCount; ++i)
    {
        lastCnid = kFirst + (lastCnid - kFirst + 1) % kCount;
        if (serials.count(lastCnid) == 0 && leaving.count(lastCnid) == 0 &&
            !held[static_cast<std::size_t>(lastCnid - kFirst)])
        {
            return lastCnid;
        }
    }
    return 0;
}

void MdtsMessenger::State::onEventSocket(ClientPtr const& client, std::uint32_t events)
{
    if ((events & (EPOLLHUP | EPOLLERR)) != 0)
    {
        // What the client still had sent stands in the command socket, whose end ends the connection.
        loop.unwatch(client->eventSocket());
    }
    else if ((events & EPOLLOUT) != 0)
    {
        settle(*client, client->flushEvents());
    }
}

// After every send: ends a connection that is of no use any more, and waits for room where something is left. A client
// whose replies wait is not read: it has more to do with reading than with asking.
// @return -ENOTCONN when the client is gone, else the result of the send
int MdtsMessenger::State::settle(ServiceClient& client, int result)
{
    bool const isBroken =
        result == -EPIPE || result == -ECONNRESET || result == -ENOTCONN || result == -EPROTO || result == -ENOBUFS;
    if (isBroken)
    {
        end(client, result == -ENOBUFS ? "it does not read what it is sent" : std::strerror(-result));
        return -ENOTCONN;
    }
    if (!present(client))
    {
        return -ENOTCONN;
    }
    if (client.repliesArmed != client.repliesWait())
    {
        client.repliesArmed = client.repliesWait();
        loop.change(client.commandSocket(), client.repliesArmed ? std::uint32_t{EPOLLOUT} : kArrivals);
    }
    if (client.eventsArmed != client.eventsWait())
    {
        client.eventsArmed = client.eventsWait();
        loop.change(client.eventSocket(), client.eventsArmed ? std::uint32_t{EPOLLOUT} : 0);
    }
    return result;
}

void MdtsMessenger::State::end(ServiceClient const& client, char const* reason)
{
    auto const found = clients.find(client.serial());
    if (found == clients.end())
    {
        return;
    }
    ClientPtr const gone = std::move(found->second);
    clients.erase(found);
    int const cnid = gone->peer().cnid;
    if (reason != nullptr)
    {
        ORVANE_LOG_WARNING("Client 0x%04X (process %d) is cut off: %s.", static_cast<unsigned>(cnid),
                           static_cast<int>(gone->peer().pid), reason);
    }
    auto const timer = introductions.find(gone->serial());
    if (timer != introductions.end())
    {
        loop.cancelTimer(timer->second);
        introductions.erase(timer);
    }
    auto const serial = serials.find(cnid);
    if (serial != serials.end() && serial->second == gone->serial())
    {
        serials.erase(serial);
    }
    loop.unwatch(gone->commandSocket());
    if (gone->eventSocket() >= 0)
    {
        loop.unwatch(gone->eventSocket());
    }
    gone->hangUp();
    if (cnid != 0)
    {
        // Later, because the handler may be in the middle of something that posts to this client.
        leaving.insert(cnid);
        loop.post(
            [weak = weak_from_this(), cnid]
            {
                if (auto const state = weak.lock())
                {
                    state->leaving.erase(state->leaving.find(cnid));
                    state->handler.onDisconnect(cnid);
                }
            });
    }
}

ServiceClient* MdtsMessenger::State::find(int cnid) const
{
    auto const serial = serials.find(cnid);
    return serial != serials.end() ? clients.at(serial->second).get() : nullptr;
}

MdtsMessenger::MdtsMessenger(platform::EventLoop& loop, MdtsHandler& handler, MdtsLimits const& limits)
    : m_state(std::make_shared<State>(loop, handler, limits))
{
}

MdtsMessenger::~MdtsMessenger()
{
    if (m_state->listener.socket() >= 0)
    {
        m_state->loop.unwatch(m_state->listener.socket());
    }
    while (!m_state->clients.empty())
    {
        m_state->end(*m_state->clients.begin()->second, nullptr);
    }
}

int MdtsMessenger::listen(char const* serviceName)
{
    int result = m_state->listener.open(serviceName);
    if (result == 0)
    {
        result = m_state->loop.watch(m_state->listener.socket(), EPOLLIN,
                                     [state = m_state.get()](std::uint32_t) { state->acceptAll(); });
    }
    return result;
}

int MdtsMessenger::adopt(int socket)
{
    return m_state->adopt(socket);
}

int MdtsMessenger::reply(MdtsCall const& call, int status, MsgData const& arguments)
{
    if (!call.wantsReply())
    {
        return -EALREADY;
    }
    auto const found = m_state->clients.find(call.m_connection);
    if (found == m_state->clients.end())
    {
        return -ENOTCONN;
    }
    ServiceClient& client = *found->second;
    FrameHeader envelope{};
    envelope.pid = call.m_cnid;
    envelope.uid = call.m_uid;
    envelope.msg = call.m_msg;
    envelope.type = call.m_type;
    envelope.status = status;
    envelope.call = call.m_id;
    return m_state->settle(client, client.sendReply(envelope, arguments));
}

int MdtsMessenger::postEvent(MsgData const& event)
{
    ServiceClient* const client = m_state->find(event.readPid());
    return client != nullptr ? m_state->settle(*client, client->sendEvent(event)) : -ENOTCONN;
}

void MdtsMessenger::close(int cnid)
{
    ServiceClient* const client = m_state->find(cnid);
    if (client != nullptr)
    {
        m_state->end(*client, nullptr);
    }
}

std::size_t MdtsMessenger::queuedBytes(int cnid) const
{
    ServiceClient* const client = m_state->find(cnid);
    return client != nullptr ? client->queuedBytes() : 0;
}

bool MdtsMessenger::eventsUnread(int cnid) const
{
    ServiceClient const* const client = m_state->find(cnid);
    return client != nullptr && client->eventsUnread();
}

} // namespace tz::orvane::mdt
