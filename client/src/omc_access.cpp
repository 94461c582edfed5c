// SPDX-License-Identifier: Apache-2.0
// The registry of connections.
#include "orvane/omc_access.h"

#include "dispatch_gate.h"
#include "fork_guard.h"
#include "om_protocol.h"
#include "orvane/omc_client.h"
#include "orvane/platform/mdtc_messenger.h"
#include "orvane/platform/om_debug.h"
#include "spent_objects.h"

#include <memory>
#include <optional>
#include <vector>

namespace tz::orvane::omc
{

namespace
{

constexpr char kLogFile[] = "omc_access";
constexpr char kLogClass[] = "OmcClientAccess";

constexpr int kDuplicate = 1;
constexpr int kBadArgument = -2;

unsigned long sizeOf(om::OmIAccess& access)
{
    return static_cast<unsigned long>(access.getConnectionCount());
}

// The connection is in no map any more.
void destroy(om::OmIConnection* conn)
{
    DispatchScope const scope{conn};
    if (!DispatchGate::isInside(scope))
    {
        DispatchGate::waitForOthers(scope);
        delete conn;
        return;
    }
    if (auto* const client = dynamic_cast<OmcClient*>(conn))
    {
        client->release();
    }
    DispatchGate::defer(scope, [conn] { delete conn; });
}

} // namespace

std::atomic<OmcClientAccess*> OmcClientAccess::s_inst{nullptr};
std::mutex OmcClientAccess::s_creation;

/// Keeps a registered connection alive while its getters are called, and recognises one that is destroyed already.
class OmcClientAccess::Pin
{
public:
    Pin(OmcClientAccess& access, om::OmIConnection* conn)
    {
        {
            std::lock_guard<std::mutex> lock(access.m_mutex);
            for (auto const& entry : access.m_connMap)
            {
                if (entry.second == conn)
                {
                    m_use.emplace(conn);
                    break;
                }
            }
            m_gone = !m_use && SpentObjects::find(conn, m_cnid);
        }
        if (!m_gone)
        {
            m_cnid = conn->getClientID();
        }
    }

    bool isGone() const { return m_gone; }
    unsigned int cnid() const { return m_cnid; }

private:
    std::optional<DispatchGate::Use> m_use;
    unsigned int m_cnid = 0;
    bool m_gone = false;
};

OmcClientAccess::OmcClientAccess(int type)
{
    ForkGuard::renewInChild(s_creation);
    ORVANE_LOG_DEBUG("Start to New a Access. type=%d", type);
    mdt::MdtcMessenger::GetInstance().init(protocol::kServiceName, static_cast<mdt::MdtType_e>(type));
    ForkGuard::add(m_mutex);
}

OmcClientAccess::~OmcClientAccess()
{
    ForkGuard::remove(m_mutex);
    ORVANE_LOG_DEBUG("Destroy this Access.");
}

bool OmcClientAccess::IsValidID(unsigned int cnid)
{
    return protocol::kClientIds.contains(cnid);
}

om::OmIConnection* OmcClientAccess::createConnection(om::OmString const& appName)
{
    ORVANE_LOG_DEBUG("Create a new client. app=%s.", appName.c_str());
    auto client = std::make_unique<OmcClient>(appName);
    int const connected = client->connect(appName, 0);
    if (connected < 0)
    {
        ORVANE_LOG_ERROR("Error! Failed to connect server from client to binder. ErrorCode=%d.", connected);
        return nullptr;
    }
    // From here on another thread may destroy it.
    DispatchGate::Use const use(client.get());
    ORVANE_LOG_INFO("Before addConnection(), the size of  Access' clients map is %lu.", sizeOf(*this));
    int const added = addConnection(client.get());
    ORVANE_LOG_INFO("After addConnection res=%d.", added);
    ORVANE_LOG_INFO("After addConnection(), the size of Access' clients map is %lu.", sizeOf(*this));
    if (added < 0)
    {
        ORVANE_LOG_ERROR("After addConnection, in if (res<0) ,will delete client..");
        return nullptr;
    }
    ORVANE_LOG_INFO("End of createConnection(). Succeed to create and add the connection! cnid=0x%04X, app=%s",
                    client->getClientID(), client->getAppName().c_str());
    return client.release();
}

int OmcClientAccess::addConnection(om::OmIConnection* conn)
{
    ORVANE_LOG_DEBUG("Start. conn=%p.", static_cast<void*>(conn));
    if (conn == nullptr)
    {
        ORVANE_LOG_ERROR("Invalid Param! conn is NULL.");
        return kBadArgument;
    }
    unsigned int const cnid = conn->getClientID();
    if (!IsValidID(cnid))
    {
        ORVANE_LOG_ERROR("Conn's ClientId is invalid..");
        return kBadArgument;
    }
    ORVANE_LOG_INFO("conn has Id=0x%04X, app=%s , before find Id in the map.", cnid, conn->getAppName().c_str());
    std::size_t before = 0;
    std::size_t after = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        before = m_connMap.size();
        m_connMap.emplace(cnid, conn);
        after = m_connMap.size();
    }
    if (after == before)
    {
        ORVANE_LOG_WARNING("In the m_connMap, There is a client whose clientId is same with the new adding client. "
                           "count=%lu.",
                           static_cast<unsigned long>(before));
        return kDuplicate;
    }
    ORVANE_LOG_INFO("Before inserting into m_connMap, the size of  Access' clients map is %lu.",
                    static_cast<unsigned long>(before));
    ORVANE_LOG_INFO("After inserting into m_connMap, the size of  Access' clients map is %lu.",
                    static_cast<unsigned long>(after));
    return 0;
}

om::OmIConnection* OmcClientAccess::findConnection(unsigned int cnid)
{
    ORVANE_LOG_DEBUG("Start. The conn to find has Id=0x%04X.", cnid);
    if (platform::debugEnabled(platform::DebugLevel::debug))
    {
        std::vector<unsigned int> members;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            for (auto const& entry : m_connMap)
            {
                members.push_back(entry.first);
            }
        }
        for (unsigned int const member : members)
        {
            ORVANE_LOG_DEBUG("<Main>checkMultipleClients. The clientId of the members in Access m_connMap is :0x%04X..",
                             member);
        }
    }
    if (!IsValidID(cnid))
    {
        ORVANE_LOG_ERROR(" In !IsValidID(), ClientId is invalid. Will Return NULL!");
        return nullptr;
    }
    om::OmIConnection* conn = nullptr;
    std::optional<DispatchGate::Use> use;
    bool known = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto const found = m_connMap.find(cnid);
        known = found != m_connMap.end();
        if (known)
        {
            conn = found->second;
            if (conn == nullptr)
            {
                m_connMap.erase(found);
            }
            else
            {
                use.emplace(conn);
            }
        }
    }
    if (!known)
    {
        ORVANE_LOG_ERROR(" Can't find the ClientId in the ClientMap m_connMap. Will Return NULL!");
    }
    else if (conn == nullptr)
    {
        ORVANE_LOG_ERROR(" Find connection failed, remove it! client=NULL!");
    }
    else
    {
        ORVANE_LOG_INFO(" Succeed to find the ClientId in the ClientMap m_connMap, and will Return OmIConnection*! "
                        "cnid=0x%04X, app=%s",
                        cnid, conn->getAppName().c_str());
    }
    return conn;
}

void OmcClientAccess::removeConnection(om::OmIConnection* conn)
{
    if (conn == nullptr)
    {
        ORVANE_LOG_ERROR("The Client(Address=%p) to remove is NULL.", static_cast<void*>(conn));
        return;
    }
    om::OmIConnection* removed = nullptr;
    {
        Pin const pin(*this, conn);
        ORVANE_LOG_DEBUG("Start. The Client to remove has Id=0x%04X, app=%s.", pin.cnid(),
                         pin.isGone() ? "" : conn->getAppName().c_str());
        if (!IsValidID(pin.cnid()))
        {
            ORVANE_LOG_ERROR("The ClientId is invalid.");
            return;
        }
        bool known = false;
        if (!pin.isGone())
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            auto const found = m_connMap.find(pin.cnid());
            known = found != m_connMap.end();
            if (known)
            {
                removed = found->second;
                m_connMap.erase(found);
            }
        }
        if (!known)
        {
            ORVANE_LOG_ERROR("Can't find the ClientId in the ClientMap m_connMap. Will Return!");
            return;
        }
    }
    ORVANE_LOG_INFO(
        "Succeed to find the ClientId in the ClientMap m_connMap, and will erase OmIConnection from m_connMap!");
    DispatchScope const scope{removed};
    if (!DispatchGate::isInside(scope))
    {
        DispatchGate::waitForOthers(scope);
    }
}

void OmcClientAccess::destroyConnection(unsigned int cnid)
{
    ORVANE_LOG_DEBUG("Start. The Client to remove has Id=0x%04X.", cnid);
    // Its memory must not become that of another connection before it was looked up again.
    DispatchGate::Use use(nullptr);
    om::OmIConnection* const conn = findConnection(cnid);
    use.resolve(conn);
    destroyConnection(conn);
}

void OmcClientAccess::destroyConnection(om::OmIConnection* conn)
{
    if (conn == nullptr)
    {
        ORVANE_LOG_ERROR("The Client(Address=%p) to destroy is NULL.", static_cast<void*>(conn));
        return;
    }
    om::OmIConnection* target = nullptr;
    {
        Pin const pin(*this, conn);
        ORVANE_LOG_DEBUG("Start. The Client to destroy has Id=0x%04X.", pin.cnid());
        bool known = false;
        if (!pin.isGone())
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            auto const found = m_connMap.find(pin.cnid());
            known = found != m_connMap.end();
            target = known ? found->second : nullptr;
            if (target != nullptr)
            {
                SpentObjects::add(target, pin.cnid());
                m_connMap.erase(found);
            }
        }
        if (!known)
        {
            ORVANE_LOG_ERROR("Can't find the ClientId in the ClientMap m_connMap. Will Return!");
            return;
        }
    }
    if (target == nullptr)
    {
        ORVANE_LOG_ERROR("Target that fdound from map is NULL!");
        return;
    }
    destroy(target);
}

void OmcClientAccess::destroyConnectionAll()
{
    ORVANE_LOG_DEBUG("Start.");
    if (getConnectionCount() == 0)
    {
        ORVANE_LOG_INFO("m_connMap is empty, will Return..");
        return;
    }
    for (unsigned int cnid = 0;; ++cnid)
    {
        om::OmIConnection* conn = nullptr;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            auto const next = m_connMap.lower_bound(cnid);
            if (next == m_connMap.end())
            {
                break;
            }
            cnid = next->first;
            conn = next->second;
            SpentObjects::add(conn, cnid);
            m_connMap.erase(next);
        }
        ORVANE_LOG_INFO("cnid=%d, client=%p", static_cast<int>(cnid), static_cast<void*>(conn));
        if (conn != nullptr)
        {
            destroy(conn);
        }
    }
    ORVANE_LOG_INFO("Finish to delete and erase all the members in m_connMap, will Return..");
}

} // namespace tz::orvane::omc
