// SPDX-License-Identifier: Apache-2.0
// One connection of an application to the media service.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_listener_list.h"
#include "orvane/om_property_group.h"
#include "orvane/om_string.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>

namespace tz::orvane::omc
{
class OmcIConnectionListener;
}

namespace tz::orvane::om
{

class OmIDrmAgent;
class OmIMediaPlayer;
class OmIPreviewTool;

/// A connection: makes players, one preview tool and DRM agents, and owns them.
///
/// Any thread may call any operation, also from inside a listener. Operations that wait for the service do so for
/// 5000 ms at most. Created and destroyed through OmIAccess.
class ORVANE_API OmIConnection
{
public:
    virtual ~OmIConnection() = default;

    /// @return the connection id that the service gave (0x1000 to 0x1FFF), 0 when not connected
    virtual unsigned int getClientID() { return m_cnid; }

    /// Connects to the service. @return negative on failure (a negative errno value of the messenger)
    virtual int connect(OmString const& appName, unsigned int flags) = 0;

    /// Destroys the players and the preview tool and closes the connection. DRM agents stay. @return 0
    virtual int disconnect() = 0;

    /// Sends settings of the whole connection. @return 0, -1 when they could not be sent
    virtual int setConfig(OmPropertyGroup const& config) = 0;

    /// Makes a player; waits for the service.
    /// @param params options, null for none
    /// @return the player, owned by this connection; null on failure
    virtual OmIMediaPlayer* createPlayer(OmPropertyGroup* params) = 0;

    /// @return the player with this id (0x2000 to 0x2FFF), null when there is none
    virtual OmIMediaPlayer* findPlayer(unsigned int plid) = 0;

    /// @return how many players there are
    virtual std::size_t getPlayerCount()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_playerMap.size();
    }

    /// @return the bare map, not guarded: use it only while nothing creates or destroys players
    virtual std::map<unsigned int, OmIMediaPlayer*>& getPlayerMap() { return m_playerMap; }

    /// @return the preview tool, null when there is none
    virtual OmIPreviewTool* getPreviewTool()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_prevTool_p;
    }

    /// Destroys a player. From another thread this waits for a callback of that player that is running: hold no lock
    /// that its listener takes. From inside its own callback the service is told at once and the memory goes when the
    /// callback has returned.
    virtual void destroyPlayer(unsigned int plid) = 0;

    /// The same. @param player null is refused
    virtual void destroyPlayer(OmIMediaPlayer* player) = 0;

    /// Destroys all players of this connection; the rules of destroyPlayer hold.
    virtual void destroyPlayerAll() = 0;

    /// Stops all players of this connection; they stay.
    virtual void stopPlayerAll() = 0;

    /// Makes the preview tool, or gives the one that exists; waits for the service. @return null on failure
    virtual OmIPreviewTool* createPreviewTool(OmPropertyGroup* params) = 0;

    /// Destroys the preview tool; the rules of destroyPlayer hold.
    virtual void destroyPreviewTool() = 0;

    /// @return the name that the application connected with
    virtual OmString getAppName()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_appName;
    }

    /// Changes the name here; the service keeps the one of the connection. @param name the new one
    virtual void setAppName(OmString const& name)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_appName = name;
    }

    /// Makes a DRM agent; waits for the service.
    /// @param drmType om_drm_type_e of om_service.h
    /// @return the agent, shared with this connection; empty on failure
    virtual std::shared_ptr<OmIDrmAgent> createDrmAgent(unsigned int drmType) = 0;

    /// @return the agent with this id (0x6000 to 0x6FFF), empty when there is none
    virtual std::shared_ptr<OmIDrmAgent> findDrmAgent(unsigned int plid) = 0;

    /// Ends an agent's session; waits for its callbacks as destroyPlayer does. The agent lives as long as it is held.
    virtual void destroyDrmAgent(unsigned int plid) = 0;

    /// The same. @param agent empty is refused
    virtual void destroyDrmAgent(std::shared_ptr<OmIDrmAgent> agent) = 0;

    /// Keeps a slot for what may come. @return -4
    virtual int reserved1() { return -4; }

    /// Keeps a slot for what may come. @return 0
    virtual int reserved2() { return 0; }

    /// Keeps a slot for what may come. @return 0
    virtual int reserved3() { return 0; }

    /// Keeps a number for the application. @param status any
    virtual void setClientStatus(int status) { m_clientStatus = status; }

    /// @return what setClientStatus was given last; 0xA000 at first and after disconnect
    virtual int getClientStatus() { return m_clientStatus; }

    /// Adds a listener, called in the order of adding on the receive thread. @return 0, -2 for null, 1 when present
    int addListener(omc::OmcIConnectionListener* listener) { return m_listeners.add(listener); }

    /// Removes a listener; see OmListenerList for what may run meanwhile. @return 0, -2 for null, 1 when absent
    int removeListener(omc::OmcIConnectionListener* listener) { return m_listeners.remove(listener); }

protected:
    OmIConnection() = default;

    std::atomic<unsigned int> m_cnid{0};                           ///< 0 while not connected
    OmString m_appName;                                            ///< see setAppName
    OmPropertyGroup m_properties;                                  ///< for a subclass; not used here
    std::atomic<int> m_clientStatus{kInitialStatus};               ///< see setClientStatus
    std::map<unsigned int, OmIMediaPlayer*> m_playerMap;           ///< by plid, owned
    std::map<unsigned int, std::shared_ptr<OmIDrmAgent>> m_drmMap; ///< by plid, shared with the application
    OmIPreviewTool* m_prevTool_p = nullptr;                        ///< owned
    OmListenerList<omc::OmcIConnectionListener> m_listeners;       ///< guarded by itself
    std::mutex m_mutex; ///< guards name, maps and tool; never held while anything else is called

    static constexpr int kInitialStatus = 0xA000; ///< see getClientStatus
};

} // namespace tz::orvane::om
