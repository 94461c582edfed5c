// SPDX-License-Identifier: Apache-2.0
// One DRM agent of a client: the Clear Key system behind its operations.
#pragma once

#include "drm_session.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace tz::orvane::service
{

/// An event of an agent; see om_drm_event_e.
struct DrmEvent
{
    unsigned int type;
    unsigned int subType;
    std::uint32_t session;
    std::uint32_t count;
    std::string payload;
};

/// Loop thread.
class DrmAgent
{
public:
    /// @param tell sends an event @param keysChanged runs when there are other keys than before
    DrmAgent(std::function<void(DrmEvent const&)> tell, std::function<void()> keysChanged);

    /// Operations by the code of their message.
    /// @param[out] out the answer's bytes @return 0 or a negative errno value
    int operate(int code, std::string_view in, std::string& out);

    /// @return whether the code is one of an operation without buffers
    static bool isPlain(int code);

    /// Asks for the keys of a session again. @return 0 or a negative errno value
    int renew(std::uint32_t id);

    /// Counts one that is missing.
    /// @return of all sessions the key that came last; null while none has it
    DrmHeldKey const* keyFor(DrmKeyId const& id);

    void countDecrypted(std::size_t bytes);

private:
    enum class State
    {
        made,
        created,
        ready
    };

    struct Row;

    int create(std::string_view in, std::string& out);
    int initialize(std::string_view in, std::string& out);
    int cleanup(std::string_view in, std::string& out);
    int openSession(std::string_view in, std::string& out);
    int generateKeyRequest(std::string_view in, std::string& out);
    int updateSession(std::string_view in, std::string& out);
    int closeSession(std::string_view in, std::string& out);
    int getKeyStatuses(std::string_view in, std::string& out);
    int decryptBuffer(std::string_view in, std::string& out);
    int licenseQuery(std::string_view in, std::string& out);
    int getMetrics(std::string_view in, std::string& out);
    int notSupported(std::string_view in, std::string& out);

    static Row const* findRow(int code);
    DrmSession* find(std::uint32_t session);
    DrmSession* sessionOf(std::string_view in);
    DrmHeldKey const* newest(DrmKeyId const& id) const;
    DrmHeldKeys hold(DrmKeys const& keys);
    void tellStatus(std::uint32_t id, DrmSession const& session);
    bool close(std::uint32_t id);

    std::function<void(DrmEvent const&)> m_tell;
    std::function<void()> m_keysChanged;
    State m_state = State::made;
    std::map<std::uint32_t, DrmSession> m_sessions;
    std::uint32_t m_lastSession = 0;
    std::uint64_t m_lastUpdate = 0;
    std::uint64_t m_lastSerial = 0;
    om::om_drm_metrics_t m_metrics{};
};

} // namespace tz::orvane::service
