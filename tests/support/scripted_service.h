// SPDX-License-Identifier: Apache-2.0
// A media service without media: it records every message and answers as the test tells it to.
#pragma once

#include "orvane/platform/mdt_msg_data.h"
#include "orvane/platform/mdts_messenger.h"
#include "orvane/platform/om_event_loop.h"
#include "orvane/platform/om_thread.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tz::orvane::test
{

/// An argument as it arrived.
struct RecordedArgument
{
    mdt::MsgArgType type;
    std::string bytes;

    unsigned int asUInt32() const;
    int asSInt32() const;
    long long asSInt64() const;

    /// Without the NUL.
    std::string asText() const;
};

/// A message as it arrived.
struct RecordedMessage
{
    int pid = 0;
    int uid = 0;
    int msg = 0;
    int type = 0;
    bool wantsReply = false;
    std::vector<RecordedArgument> arguments;
};

/// The bytes that stand for a group on the wire: {{"key", "value"}, ...}.
std::string groupImage(std::vector<std::pair<std::string, std::string>> const& entries = {});

/// Listens in the socket directory of the test (see SocketDir) and runs on a thread of its own, in this process.
///
/// Without a script it accepts everybody, gives new players, tools, agents and requests ids that count up from the
/// first of their range, and answers any other query with 1 for numbers and an empty group for blocks, as the
/// protocol's table says. Scripts may be changed at any time and by any thread; they hold for all connections. Waiting
/// functions fail the test after ten seconds and then give what there is.
class ScriptedService final : private mdt::MdtsHandler
{
public:
    /// Writes the arguments of a reply or an event. Runs on the service's thread.
    using Fill = std::function<void(mdt::MsgData&)>;

    ScriptedService();
    ScriptedService(ScriptedService const&) = delete;
    ScriptedService& operator=(ScriptedService const&) = delete;
    ~ScriptedService();

    // What queries with a code get from now on.

    /// These arguments and this status; without `fill` no arguments.
    void answer(int code, Fill fill, int status = 0);

    /// A negative status.
    void refuse(int code, int status);

    /// No reply at all.
    void staySilent(int code);

    /// What the service does without a script.
    void behaveNormally(int code);

    /// New connections get this negative status; 0 accepts them again.
    void refuseConnections(int status);

    /// New connections get this cnid, also when others have it already; 0 lets the messenger choose again.
    void giveCnid(int cnid);

    // What the service does unasked.

    /// Sends a message and waits until it has been handed to the messenger.
    /// @return the messenger's result; -ENOTCONN also when the service was stopped
    int postEvent(int cnid, int uid, int msg, Fill const& fill = {}, int type = 1);

    /// Runs work on the service's thread and waits for its end. Not from that thread. @return false when the service
    /// was stopped
    bool run(std::function<void(mdt::MdtsMessenger&)> const& work);

    /// Ends one connection.
    void close(int cnid);

    /// Ends all connections and listens no more.
    void stop();

    // What has arrived.

    /// Everything since the beginning or the last forget, in order.
    std::vector<RecordedMessage> messages() const;

    /// How many messages with this code have arrived.
    std::size_t count(int code) const;

    /// Waits until at least `count` messages have arrived. @return all of them
    std::vector<RecordedMessage> waitFor(std::size_t count) const;

    /// Waits until the `nth` message with this code has arrived. @return it
    RecordedMessage waitForCode(int code, std::size_t nth = 1) const;

    /// Who connected last.
    mdt::MdtsPeer lastPeer() const;

    /// Waits until so many connections have ended.
    bool waitForDisconnects(std::size_t count) const;

    /// Waits until everything that this process has sent on a connection before is recorded, by a message of its own
    /// that is not recorded.
    static void settle(int cnid);

    /// Empties the record.
    void forget();

private:
    struct Script
    {
        Fill fill;
        int status = 0;
        bool silent = false;
    };

    int onConnect(mdt::MdtsPeer const& peer) override;
    void onDisconnect(int cnid) override;
    void onMessage(mdt::MsgData& msg, mdt::MdtsCall const& call) override;

    void fillNormally(mdt::MsgData const& msg, mdt::MsgData& reply);
    bool waitUntil(char const* what, std::function<bool()> const& done) const;

    std::mutex m_runMutex; ///< held while the service does something for a test: it is not stopped meanwhile
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::map<int, Script> m_scripts;
    std::vector<RecordedMessage> m_messages;
    std::map<int, unsigned int> m_nextIds;
    mdt::MdtsPeer m_lastPeer{};
    std::size_t m_disconnects = 0;
    int m_connectResult = 0;
    bool m_stopped = false;

    std::unique_ptr<platform::EventLoop> m_loop;
    std::unique_ptr<mdt::MdtsMessenger> m_messenger; ///< touched by the loop's thread only, once it runs
    platform::Thread m_thread;
};

} // namespace tz::orvane::test
