// SPDX-License-Identifier: Apache-2.0
// One DRM agent of a client: the Clear Key system behind its operations.
#include "drm_agent.h"

#include "drm_decrypt.h"
#include "drm_init_data.h"
#include "drm_license.h"

#include "om_protocol.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kMostSessions = 16;

/// Reads a record from the beginning of a buffer. @return whether it is there
template <class Record> bool readRecord(std::string_view& in, Record& record)
{
    if (in.size() < sizeof record)
    {
        return false;
    }
    std::memcpy(&record, in.data(), sizeof record);
    in.remove_prefix(sizeof record);
    return true;
}

template <class Record> int answer(std::string& out, Record const& record)
{
    out.assign(reinterpret_cast<char const*>(&record), sizeof record);
    return 0;
}

} // namespace

struct DrmAgent::Row
{
    int code;
    int (DrmAgent::*operation)(std::string_view in, std::string& out);
    State from; ///< the least that must have been done before
    bool plain; ///< without buffers
};

DrmAgent::DrmAgent(std::function<void(DrmEvent const&)> tell, std::function<void()> keysChanged)
    : m_tell(std::move(tell))
    , m_keysChanged(std::move(keysChanged))
{
}

DrmAgent::Row const* DrmAgent::findRow(int code)
{
    static constexpr Row kRows[] = {
        {protocol::kCmdDrmPluginCreate, &DrmAgent::create, State::made, true},
        {protocol::kCmdDrmInitialize, &DrmAgent::initialize, State::created, true},
        {protocol::kCmdDrmCleanup, &DrmAgent::cleanup, State::made, true},
        {protocol::kCmdDrmOpenSession, &DrmAgent::openSession, State::ready, false},
        {protocol::kCmdDrmGenerateKeyRequest, &DrmAgent::generateKeyRequest, State::ready, false},
        {protocol::kCmdDrmUpdateSession, &DrmAgent::updateSession, State::ready, false},
        {protocol::kCmdDrmCloseSession, &DrmAgent::closeSession, State::ready, false},
        {protocol::kCmdDrmGetKeyStatuses, &DrmAgent::getKeyStatuses, State::ready, false},
        {protocol::kCmdDrmDecrypt, &DrmAgent::decryptBuffer, State::ready, false},
        {protocol::kCmdDrmLicenseQuery, &DrmAgent::licenseQuery, State::ready, false},
        {protocol::kCmdDrmGetMetrics, &DrmAgent::getMetrics, State::made, false},
        {protocol::kCmdDrmSetServerCertificate, &DrmAgent::notSupported, State::made, false},
        {protocol::kCmdDrmGetCertificateRequest, &DrmAgent::notSupported, State::made, false},
        {protocol::kCmdDrmParseAndLoadServiceCertificateResponse, &DrmAgent::notSupported, State::made, false},
    };
    for (Row const& row : kRows)
    {
        if (row.code == code)
        {
            return &row;
        }
    }
    return nullptr;
}

bool DrmAgent::isPlain(int code)
{
    Row const* const row = findRow(code);
    return row != nullptr && row->plain;
}

int DrmAgent::operate(int code, std::string_view in, std::string& out)
{
    Row const* const row = findRow(code);
    if (row == nullptr)
    {
        return -EOPNOTSUPP;
    }
    return m_state < row->from ? -EBADFD : (this->*row->operation)(in, out);
}

int DrmAgent::create(std::string_view, std::string&)
{
    m_state = std::max(m_state, State::created);
    return 0;
}

int DrmAgent::initialize(std::string_view, std::string&)
{
    m_state = State::ready;
    return 0;
}

int DrmAgent::cleanup(std::string_view, std::string&)
{
    while (!m_sessions.empty())
    {
        close(m_sessions.begin()->first);
    }
    m_state = std::min(m_state, State::created);
    return 0;
}

int DrmAgent::openSession(std::string_view in, std::string& out)
{
    om::om_drm_session_t record{};
    if (!in.empty() && (!readRecord(in, record) || !in.empty()))
    {
        return -EINVAL;
    }
    if (record.session != om::OM_DRM_SESSION_TEMPORARY)
    {
        return -EOPNOTSUPP;
    }
    if (m_sessions.size() >= kMostSessions)
    {
        return -EDQUOT;
    }
    do
    {
        ++m_lastSession;
    } while (m_lastSession == 0 || m_sessions.count(m_lastSession) != 0);
    m_sessions.try_emplace(m_lastSession);
    return answer(out, om::om_drm_session_t{m_lastSession});
}

DrmSession* DrmAgent::find(std::uint32_t session)
{
    auto const found = m_sessions.find(session);
    return found == m_sessions.end() ? nullptr : &found->second;
}

int DrmAgent::generateKeyRequest(std::string_view in, std::string& out)
{
    om::om_drm_key_request_t head{};
    if (!readRecord(in, head))
    {
        return -EINVAL;
    }
    DrmSession* const session = find(head.session);
    if (session == nullptr)
    {
        return -ENOENT;
    }
    DrmKeyIds ids;
    if (int const result = readInitData(head.init_data, in, ids); result < 0)
    {
        return result;
    }
    out = writeLicenseRequest(ids);
    session->ask(std::move(ids));
    ++m_metrics.requests;
    m_tell({om::OM_DRM_EVENT_MESSAGE, om::OM_DRM_MESSAGE_LICENSE_REQUEST, head.session, 0, out});
    return 0;
}

int DrmAgent::renew(std::uint32_t id)
{
    DrmSession* const session = find(id);
    if (session == nullptr)
    {
        return -ENOENT;
    }
    DrmKeyIds const pending = session->pending();
    if (pending.empty())
    {
        return -ENODATA;
    }
    ++m_metrics.requests;
    m_tell({om::OM_DRM_EVENT_MESSAGE, om::OM_DRM_MESSAGE_LICENSE_RENEWAL, id, 0, writeLicenseRequest(pending)});
    return 0;
}

int DrmAgent::updateSession(std::string_view in, std::string&)
{
    om::om_drm_session_t head{};
    if (!readRecord(in, head))
    {
        return -EINVAL;
    }
    DrmSession* const session = find(head.session);
    if (session == nullptr)
    {
        return -ENOENT;
    }
    DrmKeys keys;
    if (int const result = readLicense(in, keys); result < 0)
    {
        return result;
    }
    if (!session->add(hold(keys)))
    {
        return -EDQUOT;
    }
    ++m_metrics.licenses;
    tellStatus(head.session, *session);
    m_keysChanged();
    return 0;
}

/// A key that came before keeps its number: nothing that was learnt of it is wrong now.
DrmHeldKeys DrmAgent::hold(DrmKeys const& keys)
{
    ++m_lastUpdate;
    DrmHeldKeys held;
    for (auto const& [id, key] : keys)
    {
        DrmHeldKey const* const before = newest(id);
        bool const same = before != nullptr && before->key == key;
        held[id] = {key, m_lastUpdate, same ? before->serial : ++m_lastSerial};
    }
    return held;
}

void DrmAgent::tellStatus(std::uint32_t id, DrmSession const& session)
{
    std::string statuses = session.statuses();
    auto const count = static_cast<std::uint32_t>(statuses.size() / sizeof(om::om_drm_key_status_t));
    m_tell({om::OM_DRM_EVENT_KEY_STATUS, 0, id, count, std::move(statuses)});
}

/// @return the session that a buffer names which holds nothing else
DrmSession* DrmAgent::sessionOf(std::string_view in)
{
    om::om_drm_session_t head{};
    return readRecord(in, head) && in.empty() ? find(head.session) : nullptr;
}

int DrmAgent::closeSession(std::string_view in, std::string&)
{
    om::om_drm_session_t head{};
    if (!readRecord(in, head) || !in.empty())
    {
        return -EINVAL;
    }
    return close(head.session) ? 0 : -ENOENT;
}

/// Forgets a session's keys and says so. @return false when there is no such session
bool DrmAgent::close(std::uint32_t id)
{
    if (m_sessions.erase(id) == 0)
    {
        return false;
    }
    tellStatus(id, DrmSession());
    return true;
}

int DrmAgent::getKeyStatuses(std::string_view in, std::string& out)
{
    DrmSession const* const session = sessionOf(in);
    if (session == nullptr)
    {
        return in.size() == sizeof(om::om_drm_session_t) ? -ENOENT : -EINVAL;
    }
    out = session->statuses();
    return 0;
}

int DrmAgent::licenseQuery(std::string_view in, std::string& out)
{
    DrmSession const* const session = sessionOf(in);
    if (session == nullptr)
    {
        return in.size() == sizeof(om::om_drm_session_t) ? -ENOENT : -EINVAL;
    }
    om::om_drm_session_t head{};
    readRecord(in, head);
    return answer(out, om::om_drm_license_t{head.session, om::OM_DRM_SESSION_TEMPORARY,
                                            static_cast<std::uint32_t>(session->usable()),
                                            static_cast<std::uint32_t>(session->pending().size())});
}

int DrmAgent::decryptBuffer(std::string_view in, std::string& out)
{
    DrmCryptoInfo info;
    std::string_view data;
    if (int const result = readCryptoInfo(in, info, data); result < 0)
    {
        return result;
    }
    if (!fits(info, data.size()))
    {
        return -EINVAL;
    }
    DrmHeldKey const* const held = keyFor(info.keyId);
    if (held == nullptr)
    {
        return -ENOKEY;
    }
    out.assign(data);
    int const result = decrypt(info, held->key, reinterpret_cast<std::uint8_t*>(out.data()), out.size());
    if (result == 0)
    {
        countDecrypted(out.size());
    }
    return result;
}

int DrmAgent::getMetrics(std::string_view in, std::string& out)
{
    if (!in.empty())
    {
        return -EINVAL;
    }
    om::om_drm_metrics_t metrics = m_metrics;
    metrics.sessions = static_cast<std::uint32_t>(m_sessions.size());
    for (auto const& entry : m_sessions)
    {
        metrics.keys += static_cast<std::uint32_t>(entry.second.usable());
    }
    return answer(out, metrics);
}

/// Clear Key has no certificates.
int DrmAgent::notSupported(std::string_view, std::string&)
{
    return -EOPNOTSUPP;
}

DrmHeldKey const* DrmAgent::keyFor(DrmKeyId const& id)
{
    DrmHeldKey const* const key = newest(id);
    m_metrics.missing_keys += key == nullptr ? 1 : 0;
    return key;
}

DrmHeldKey const* DrmAgent::newest(DrmKeyId const& id) const
{
    DrmHeldKey const* newest = nullptr;
    for (auto const& entry : m_sessions)
    {
        DrmHeldKey const* const key = entry.second.find(id);
        newest = key != nullptr && (newest == nullptr || key->update > newest->update) ? key : newest;
    }
    return newest;
}

void DrmAgent::countDecrypted(std::size_t bytes)
{
    ++m_metrics.decrypted_units;
    m_metrics.decrypted_bytes += bytes;
}

} // namespace tz::orvane::service
