// SPDX-License-Identifier: Apache-2.0
// The registry of connections.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_iaccess.h"
#include "orvane/om_string.h"

#include <atomic>
#include <cstdio>
#include <mutex>

namespace tz::orvane::omc
{

/// The one registry of the process, where every application begins.
///
/// Made on first use and never deleted. Owns the connections that it created; see OmIAccess for its thread contract.
class ORVANE_API OmcClientAccess : public om::OmIAccess
{
public:
    /// @param type kind of the messenger, used by the first call only
    /// @return the registry of the process, made if there is none yet
    static OmcClientAccess* getApp(int type)
    {
        if (OmcClientAccess* const access = s_inst.load(std::memory_order_acquire))
        {
            return access;
        }
        std::lock_guard<std::mutex> lock(s_creation);
        OmcClientAccess* access = s_inst.load(std::memory_order_relaxed);
        if (access == nullptr)
        {
            access = new OmcClientAccess(type);
            s_inst.store(access, std::memory_order_release);
            std::printf("<Omc_access.h>getApp(). after New a Access \r\n");
        }
        return access;
    }

    /// Makes a registry and prepares the messenger. Applications call getApp instead.
    explicit OmcClientAccess(int type);
    OmcClientAccess(OmcClientAccess const&) = delete;
    OmcClientAccess& operator=(OmcClientAccess const&) = delete;

    /// Leaves the connections that are still registered alone.
    ~OmcClientAccess() override;

    /// @return whether an id is one of a connection
    static bool IsValidID(unsigned int cnid);

    om::OmIConnection* createConnection(om::OmString const& appName) override;
    int addConnection(om::OmIConnection* conn) override;
    om::OmIConnection* findConnection(unsigned int cnid) override;
    void removeConnection(om::OmIConnection* conn) override;
    void destroyConnection(unsigned int cnid) override;
    void destroyConnection(om::OmIConnection* conn) override;
    void destroyConnectionAll() override;

private:
    class Pin;

    static std::atomic<OmcClientAccess*> s_inst;
    static std::mutex s_creation; ///< held while the registry is made, and for nothing else
};

} // namespace tz::orvane::omc
