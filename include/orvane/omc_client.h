// SPDX-License-Identifier: Apache-2.0
// The client side of a connection to the media service.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_iconnection.h"
#include "orvane/om_property_group.h"
#include "orvane/om_string.h"

#include <atomic>
#include <memory>

namespace tz::orvane::mdt
{
class MsgData;
}

namespace tz::orvane::platform
{
struct LogSite;
}

namespace tz::orvane::omc
{

/// Hands a message of the service to the object that it is addressed to; the messenger calls it on its receive thread.
/// @param msg a tz::orvane::mdt::MsgData
/// @return 0, or what the object's dispatch gives; -1 when there is no such object, -2 for null or a bad connection id
ORVANE_API int Global_CallbackToClient(void* msg);

/// One application's connection: owns its players and its preview tool, shares its DRM agents.
///
/// Made and destroyed by the registry. Any thread may call any operation, also from inside a listener; see
/// OmIConnection. Reaches its own operations through their virtual slots, so that a subclass may replace them.
class ORVANE_API OmcClient : public om::OmIConnection
{
public:
    /// Makes a client that is not connected. @param appName see setAppName
    explicit OmcClient(om::OmString const& appName);
    OmcClient(OmcClient const&) = delete;
    OmcClient& operator=(OmcClient const&) = delete;

    /// Tells the service and disconnects, unless release did. Does not remove the client from the registry.
    ~OmcClient() override;

    int connect(om::OmString const& appName, unsigned int flags) override;
    int disconnect() override;
    int setConfig(om::OmPropertyGroup const& config) override;
    om::OmIMediaPlayer* createPlayer(om::OmPropertyGroup* params) override;
    om::OmIMediaPlayer* findPlayer(unsigned int plid) override;
    void destroyPlayer(unsigned int plid) override;
    void destroyPlayer(om::OmIMediaPlayer* player) override;
    void destroyPlayerAll() override;
    void stopPlayerAll() override;
    om::OmIPreviewTool* createPreviewTool(om::OmPropertyGroup* params) override;
    void destroyPreviewTool() override;
    std::shared_ptr<om::OmIDrmAgent> createDrmAgent(unsigned int drmType) override;
    std::shared_ptr<om::OmIDrmAgent> findDrmAgent(unsigned int plid) override;
    void destroyDrmAgent(unsigned int plid) override;

    /// The same. @param agent empty is refused
    void destroyDrmAgent(std::shared_ptr<om::OmIDrmAgent> agent) override;

    /// Takes a message for the connection itself; called on the receive thread.
    /// @return 0 when handled or ignored, -1 when a part is missing or it is for another connection, -2 for null
    virtual int dispatch(void* msg);

    /// Opens the connection of the messenger. @return the messenger's result, negative on failure
    virtual int doConnect(om::OmString const& appName, unsigned int flags);

    /// Only logs: the constructor has made everything ready.
    void init();

    /// Puts id, name and status back to their initial values.
    void deinit();

    /// Does what is seen of the destruction, once: tells the service, destroys players and tool, disconnects and
    /// forgets listeners and agents. The memory stays.
    void release();

private:
    void retire(unsigned int plid, om::OmIMediaPlayer* player);
    void forgetAgents();

    void reportStatus(int status);
    bool isForThis(mdt::MsgData const& message, platform::LogSite const& site);
    int dispatchChanged(mdt::MsgData const& message, platform::LogSite const& site);
    int dispatchEvent(mdt::MsgData const& message, platform::LogSite const& site);

    std::atomic<bool> m_released{false};
};

} // namespace tz::orvane::omc
