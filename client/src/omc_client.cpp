// SPDX-License-Identifier: Apache-2.0
// The client side of a connection: opening, settings, closing and the end.
#include "orvane/omc_client.h"

#include "dispatch_gate.h"
#include "fork_guard.h"
#include "message_util.h"
#include "om_protocol.h"
#include "orvane/platform/mdtc_messenger.h"
#include "orvane/platform/om_debug.h"
#include "spent_objects.h"

namespace tz::orvane::omc
{

namespace
{

constexpr char kLogFile[] = "omc_client";
constexpr char kLogClass[] = "OmcClient";

constexpr unsigned int kCapacity = 0x10000;

} // namespace

OmcClient::OmcClient(om::OmString const& appName)
{
    SpentObjects::forget(static_cast<om::OmIConnection*>(this));
    ORVANE_LOG_DEBUG("Start to New a Client with name %s.", appName.c_str());
    m_appName = appName;
    init();
    ForkGuard::add(m_mutex);
}

OmcClient::~OmcClient()
{
    release();
    ForkGuard::remove(m_mutex);
}

void OmcClient::init()
{
    ORVANE_LOG_DEBUG(" Called.");
}

void OmcClient::deinit()
{
    m_cnid = 0;
    m_clientStatus = kInitialStatus;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_appName.clear();
}

void OmcClient::release()
{
    if (m_released.exchange(true))
    {
        return;
    }
    // Part of the destruction, whoever calls it.
    platform::LogSite const site{kLogFile, __LINE__, kLogClass, "~OmcClient"};
    ORVANE_LOG_AT(platform::DebugLevel::debug, site, " Called.");
    ORVANE_LOG_AT(platform::DebugLevel::debug, site, "m_cnid=0x%04X, appName=%s", m_cnid.load(),
                  OmcClient::getAppName().c_str());
    int const result = Request(site, getClientID(), 0, protocol::kCmdDestroyClient, protocol::kTypeCommand).post();
    if (result < 0)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "call postMsg() fail, result=%d", result);
    }
    OmcClient::disconnect();
    m_listeners.clear();
    forgetAgents();
}

int OmcClient::connect(om::OmString const& appName, unsigned int flags)
{
    ORVANE_LOG_DEBUG("Start to connect. Input parameters (appName=%s, flags=%d).", appName.c_str(),
                     static_cast<int>(flags));
    int const result = doConnect(appName, flags);
    if (result < 0)
    {
        ORVANE_LOG_ERROR("Error!Client failed to connect server. ErrorCode=%d.", result);
    }
    else
    {
        ORVANE_LOG_INFO("Client succeeded to connect server.");
    }
    return result;
}

int OmcClient::doConnect(om::OmString const& appName, unsigned int flags)
{
    ORVANE_LOG_DEBUG("Start to connect. Input parameters (appName=%s, flags=%d)..", appName.c_str(),
                     static_cast<int>(flags));
    mdt::_MdtInitParCfg_t cfg{};
    cfg.send_capacity = kCapacity;
    cfg.receive_capacity = kCapacity;
    cfg.event_capacity = kCapacity;
    cfg.callback = &Global_CallbackToClient;
    cfg.name = appName;
    cfg.flags = flags;
    int cnid = 0;
    int const result = mdt::MdtcMessenger::GetInstance().connect(cfg, cnid);
    if (result < 0)
    {
        ORVANE_LOG_ERROR("call connect() fail");
        return result;
    }
    m_cnid = static_cast<unsigned int>(cnid);
    setAppName(appName);
    ORVANE_LOG_INFO("Complete! Input parameters (appName=%s, flags=%d, m_cnid=0x%04X).", appName.c_str(),
                    static_cast<int>(flags), m_cnid.load());
    return result;
}

int OmcClient::disconnect()
{
    ORVANE_LOG_DEBUG(" Called.");
    ORVANE_LOG_DEBUG("m_cnid=0x%04X, appName=%s", m_cnid.load(), getAppName().c_str());
    DispatchGate::Use const use(this);
    destroyPlayerAll();
    destroyPreviewTool();
    if (mdt::MdtcMessenger::GetInstance().disConnect(static_cast<int>(m_cnid.load())) < 0)
    {
        ORVANE_LOG_ERROR("call disConnect() fail");
    }
    deinit();
    ORVANE_LOG_INFO("RETURN %d", 0);
    return 0;
}

int OmcClient::setConfig(om::OmPropertyGroup const& config)
{
    ORVANE_LOG_DEBUG("Set config to the Client. Client Id=0x%04X, appName is: %s.", getClientID(),
                     getAppName().c_str());
    int const result = Request(ORVANE_LOG_SITE, getClientID(), 0, protocol::kCmdSetConfig, protocol::kTypeCommand)
                           .group(config)
                           .post();
    if (result < 0)
    {
        logSendFailure(ORVANE_LOG_SITE, result);
        return -1;
    }
    return 0;
}

} // namespace tz::orvane::omc
