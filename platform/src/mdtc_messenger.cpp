// SPDX-License-Identifier: Apache-2.0
// The client end of the platform messenger: the table of connections.
#include "orvane/platform/mdtc_messenger.h"

#include "mdtc_connection.h"
#include "mdtc_receiver.h"
#include "orvane/platform/om_debug.h"
#include "socket_address.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <new>
#include <pthread.h>
#include <string>
#include <vector>

namespace tz::orvane::mdt
{

namespace
{

constexpr char kLogFile[] = "mdtc_messenger";
constexpr char kLogClass[] = "MdtcMessenger";

/// Keeps the calling thread from being cancelled in the middle of something that others depend on.
class Uncancelled
{
public:
    Uncancelled() { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    Uncancelled(Uncancelled const&) = delete;
    Uncancelled& operator=(Uncancelled const&) = delete;
    ~Uncancelled() { ::pthread_setcancelstate(m_before, nullptr); }

private:
    int m_before = 0;
};

/// Runs the body of an operation, which always comes to its end and throws nothing at the application.
template <class Body> int wholly(Body&& body)
{
    Uncancelled const untilTheEnd;
    try
    {
        return body();
    }
    catch (std::bad_alloc const&)
    {
        return -ENOMEM;
    }
}

} // namespace

struct MdtcMessenger::State
{
    std::mutex mutex;
    std::string serviceName;
    std::vector<std::shared_ptr<Connection>> connections; ///< oldest first
    std::vector<std::shared_ptr<Connection>> leaving;     ///< taken out while posts are under way
    std::shared_ptr<Receiver> receiver;                   ///< of all connections; may have ended when there are none

    /// Ids can coincide when a service starts anew: posts go to the newest connection that lives.
    Connection* find(int cnid) const
    {
        Connection* best = nullptr;
        for (auto const& connection : connections)
        {
            if (connection->cnid() == cnid && (best == nullptr || connection->alive() || !best->alive()))
            {
                best = connection.get();
            }
        }
        return best;
    }

    /// A post's stay in its connection.
    class Visit
    {
    public:
        /// @param call to be entered there, null for a post without reply
        Visit(State& state, int cnid, Call* call)
            : m_state(state)
            , m_connection(state.enter(cnid, call))
            , m_call(call)
        {
        }

        Visit(Visit const&) = delete;
        Visit& operator=(Visit const&) = delete;

        ~Visit()
        {
            if (m_connection != nullptr)
            {
                m_state.leave(*m_connection, m_call);
            }
        }

        /// Null when there is none with this id.
        Connection* connection() const { return m_connection; }

    private:
        State& m_state;
        Connection* m_connection;
        Call* m_call;
    };

    /// Finds a connection and holds it until `leave`.
    Connection* enter(int cnid, Call* call)
    {
        std::lock_guard<std::mutex> lock(mutex);
        Connection* const connection = find(cnid);
        if (connection != nullptr)
        {
            connection->enter(call);
        }
        return connection;
    }

    void leave(Connection& connection, Call* call)
    {
        std::shared_ptr<Connection> unused; // goes after the mutex
        Call* toWake = nullptr;
        {
            std::lock_guard<std::mutex> lock(mutex);
            toWake = connection.leave(call);
            if (!leaving.empty() && !connection.inUse())
            {
                unused = takeLeaving(connection);
            }
        }
        CallTable::wakeUp(toWake);
    }

    std::shared_ptr<Connection> takeLeaving(Connection const& connection)
    {
        auto const found = std::find_if(leaving.begin(), leaving.end(),
                                        [&](auto const& candidate) { return candidate.get() == &connection; });
        if (found == leaving.end())
        {
            return nullptr;
        }
        std::shared_ptr<Connection> taken = std::move(*found);
        leaving.erase(found);
        return taken;
    }

    /// @return 0 or a negative errno value
    int add(std::shared_ptr<Connection> const& connection)
    {
        std::lock_guard<std::mutex> lock(mutex);
        connections.reserve(connections.size() + 1);
        leaving.reserve(leaving.size() + connections.size() + 1); // so that `take` cannot fail
        int result = receiver != nullptr ? receiver->add(connection) : -ESRCH;
        if (result == -ESRCH)
        {
            auto const fresh = std::make_shared<Receiver>();
            result = fresh->start();
            if (result != 0)
            {
                return result;
            }
            receiver = fresh;
            result = receiver->add(connection);
        }
        if (result != 0)
        {
            leaveReceiver(*connection);
            return result;
        }
        connections.push_back(connection);
        return 0;
    }

    /// Takes a connection out: of several with this id the oldest dead one, else the oldest.
    std::shared_ptr<Connection> take(int cnid)
    {
        std::lock_guard<std::mutex> lock(mutex);
        auto best = connections.end();
        for (auto entry = connections.begin(); entry != connections.end(); ++entry)
        {
            if ((*entry)->cnid() == cnid && (best == connections.end() || (!(*entry)->alive() && (*best)->alive())))
            {
                best = entry;
            }
        }
        if (best == connections.end())
        {
            return nullptr;
        }
        std::shared_ptr<Connection> const taken = *best;
        connections.erase(best);
        if (taken->inUse())
        {
            leaving.push_back(taken);
        }
        leaveReceiver(*taken);
        return taken;
    }

    void leaveReceiver(Connection const& connection) const
    {
        // A forked child has its parent's connections but no receiver.
        if (receiver != nullptr)
        {
            receiver->remove(connection);
        }
    }

    void lockForFork()
    {
        mutex.lock();
        if (receiver != nullptr)
        {
            receiver->lock();
        }
    }

    void unlockAfterFork()
    {
        if (receiver != nullptr)
        {
            receiver->unlock();
        }
        mutex.unlock();
    }

    // Posts of the parent's other threads never leave in the child: what they use stays.
    void abandon()
    {
        for (auto const* const group : {&connections, &leaving})
        {
            for (auto const& connection : *group)
            {
                connection->abandon();
            }
        }
        if (receiver != nullptr)
        {
            receiver->abandon();
            receiver->unlock();
            receiver.reset();
        }
    }

    std::vector<int> heldIds()
    {
        std::lock_guard<std::mutex> lock(mutex);
        std::vector<int> ids;
        for (auto const& connection : connections)
        {
            ids.push_back(connection->cnid());
        }
        return ids;
    }

    int connect(_MdtInitParCfg_t const& cfg, int& cnid)
    {
        std::string path = socketDirectory() + "/";
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (serviceName.empty())
            {
                return -EINVAL;
            }
            path += serviceName;
        }
        auto const connection = std::make_shared<Connection>(mutex);
        int result = connection->open(path, cfg, heldIds());
        if (result == 0)
        {
            result = add(connection);
        }
        if (result != 0)
        {
            ORVANE_LOG_ERROR("No connection to %s: %s.", path.c_str(), std::strerror(-result));
            return result;
        }
        cnid = connection->cnid();
        return 0;
    }
};

MdtcMessenger& MdtcMessenger::GetInstance()
{
    // Never destroyed: its receive thread and late callers outlive the end of main.
    static MdtcMessenger* const instance = new MdtcMessenger;
    return *instance;
}

// A forked child has neither the receive thread nor a right to the parent's conversations: it closes its copies, so
// that the service notices the end of the parent.
MdtcMessenger::MdtcMessenger()
    : m_state(std::make_unique<State>())
{
    static State* const state = m_state.get();
    ::pthread_atfork([] { state->lockForFork(); }, [] { state->unlockAfterFork(); },
                     []
                     {
                         state->abandon();
                         state->unlockAfterFork();
                     });
}

MdtcMessenger::~MdtcMessenger() = default;

int MdtcMessenger::init(char const* serviceName, MdtType_e type)
{
    if (!isServiceName(serviceName))
    {
        return -EINVAL;
    }
    ORVANE_LOG_DEBUG("service=%s, type=%d", serviceName, static_cast<int>(type));
    return wholly(
        [&]
        {
            std::lock_guard<std::mutex> lock(m_state->mutex);
            m_state->serviceName = serviceName;
            return 0;
        });
}

int MdtcMessenger::connect(_MdtInitParCfg_t const& cfg, int& cnid)
{
    return wholly([&] { return m_state->connect(cfg, cnid); });
}

int MdtcMessenger::disConnect(int const& cnid)
{
    return wholly(
        [&]
        {
            std::shared_ptr<Connection> const connection = m_state->take(cnid);
            if (connection == nullptr)
            {
                return -ENOTCONN;
            }
            connection->close();
            return 0;
        });
}

int MdtcMessenger::postMsg(MsgData const& msg, int const& timeout)
{
    return wholly(
        [&]
        {
            State::Visit const visit(*m_state, msg.readPid(), nullptr);
            return visit.connection() != nullptr ? visit.connection()->post(msg, timeout) : -ENOTCONN;
        });
}

int MdtcMessenger::postMsg(MsgData const& msg, MsgData& reply, int const& timeout)
{
    return wholly(
        [&]
        {
            Call call(reply);
            State::Visit const visit(*m_state, msg.readPid(), &call);
            return visit.connection() != nullptr ? visit.connection()->query(msg, call, timeout) : -ENOTCONN;
        });
}

} // namespace tz::orvane::mdt
