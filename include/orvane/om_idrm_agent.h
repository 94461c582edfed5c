// SPDX-License-Identifier: Apache-2.0
// A content-protection session in the media service, as applications see it.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_listener_list.h"
#include "orvane/om_property_group.h"
#include "orvane/om_string.h"

namespace tz::orvane::omc
{
class OmcIDrmAgentListener;
}

namespace tz::orvane::om
{

/// A DRM agent: forwards opaque buffers to the service and brings opaque answers back.
///
/// Shared between its connection and the application. Any thread may call any operation; each waits for the service,
/// 5000 ms at most, and gives the messenger's negative result when it did not answer.
///
/// Buffer operations take an input of at most 65535 bytes (longer ones are cut) and copy the answer to where `*out`
/// points: without a capacity the buffer must be large enough. The overloads with `out_capacity` check it: an answer
/// that does not fit gives -E2BIG and `out_size` = the bytes needed, nothing is copied and the answer is spent.
class ORVANE_API OmIDrmAgent
{
public:
    virtual ~OmIDrmAgent() = default;

    /// @return the id of this agent, 0x6000 to 0x6FFF
    virtual unsigned int getAgentID() { return m_plid; }

    /// @return the id of the connection, 0x1000 to 0x1FFF
    virtual unsigned int getClientID() { return m_cnid; }

    /// @name Life of the session
    /// @{

    /// Makes, prepares and ends the session in the service.
    /// @return the messenger's result, negative when the service refused or did not answer
    virtual int drmPluginCreate() = 0;
    virtual int initialize() = 0;
    virtual int cleanup() = 0;
    /// @}

    /// @name Buffer operations
    /// @{

    /// Each sends a buffer to the service and waits for one in return; om_service.h tells what is in them.
    /// @param in            what is sent, @p in_size bytes; only read
    /// @param[in,out] out   `*out` is where the answer goes; nothing is copied when it is null
    /// @param[out] out_size bytes of the answer, also when nothing was copied; left alone when the service did not
    /// answer
    /// @return 0, or negative: the service refused, did not answer, or answered without a buffer
    virtual int setServerCertificate(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int openSession(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int generateKeyRequest(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int updateSession(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int closeSession(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int getKeyStatuses(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int decrypt(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int licenseQuery(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int getMetrics(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int getCertificateRequest(void* in, unsigned int in_size, void** out, unsigned int& out_size) = 0;
    virtual int parseAndLoadServiceCertificateResponse(void* in, unsigned int in_size, void** out,
                                                       unsigned int& out_size) = 0;
    /// @}

    /// Sends a named command without waiting. @return the messenger's result, 0 also when it could not be sent
    virtual int doExtendCommand(OmString const& command, OmPropertyGroup const& props) = 0;

    /// Takes a message for this agent; called on the receive thread. @return 0, -1 when malformed, -2 for null
    virtual int dispatch(void* event) = 0;

    /// @name Buffer operations with a checked capacity
    /// @{

    /// The same, for a caller that says how large its buffer is.
    /// @param in            what is sent, @p in_size bytes; only read
    /// @param out           where the answer goes
    /// @param out_capacity  bytes that have room there
    /// @param[out] out_size bytes of the answer, also when they did not fit
    /// @return 0; -E2BIG when the answer does not fit, which loses it; else as without a capacity
    int setServerCertificate(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                             unsigned int& out_size);
    int openSession(void* in, unsigned int in_size, void* out, unsigned int out_capacity, unsigned int& out_size);
    int generateKeyRequest(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                           unsigned int& out_size);
    int updateSession(void* in, unsigned int in_size, void* out, unsigned int out_capacity, unsigned int& out_size);
    int closeSession(void* in, unsigned int in_size, void* out, unsigned int out_capacity, unsigned int& out_size);
    int getKeyStatuses(void* in, unsigned int in_size, void* out, unsigned int out_capacity, unsigned int& out_size);
    int decrypt(void* in, unsigned int in_size, void* out, unsigned int out_capacity, unsigned int& out_size);
    int licenseQuery(void* in, unsigned int in_size, void* out, unsigned int out_capacity, unsigned int& out_size);
    int getMetrics(void* in, unsigned int in_size, void* out, unsigned int out_capacity, unsigned int& out_size);
    int getCertificateRequest(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                              unsigned int& out_size);
    int parseAndLoadServiceCertificateResponse(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                                               unsigned int& out_size);
    /// @}

    /// Adds a listener, called in the order of adding on the receive thread. @return 0, -2 for null, 1 when present
    int addListener(omc::OmcIDrmAgentListener* listener) { return m_listeners.add(listener); }

    /// Removes a listener; see OmListenerList for what may run meanwhile. @return 0, -2 for null, 1 when absent
    int removeListener(omc::OmcIDrmAgentListener* listener) { return m_listeners.remove(listener); }

protected:
    /// Takes the ids that the service gave.
    OmIDrmAgent(unsigned int cnid, unsigned int plid)
        : m_cnid(cnid)
        , m_plid(plid)
    {
    }

    /// The one virtual behind all overloads with a capacity.
    /// @param operation 0 for setServerCertificate, 1 for openSession and so on in the order above
    virtual int boundedOperation(int operation, void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                                 unsigned int& out_size) = 0;

    unsigned int m_cnid;                                   ///< of the connection
    unsigned int m_plid;                                   ///< of this object
    OmListenerList<omc::OmcIDrmAgentListener> m_listeners; ///< guarded by itself
};

} // namespace tz::orvane::om
