// SPDX-License-Identifier: Apache-2.0
// The client side of a content-protection session in the media service.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_idrm_agent.h"

#include <mutex>

namespace tz::orvane::omc
{

/// Forwards opaque buffers to the service, copies its answers out and hands its events to the listeners.
///
/// Made by OmcClient, shared by it and the application. Operations take no lock. One mutex serialises `dispatch`; it is
/// held while listeners run, so a listener must not hand this agent another message.
class ORVANE_API OmcDrmAgent : public om::OmIDrmAgent
{
public:
    /// Takes the ids that the service gave; tells it nothing.
    OmcDrmAgent(unsigned int cnid, unsigned int plid);
    OmcDrmAgent(OmcDrmAgent const&) = delete;
    OmcDrmAgent& operator=(OmcDrmAgent const&) = delete;
    ~OmcDrmAgent() override;

    int drmPluginCreate() override;
    int initialize() override;
    int cleanup() override;

    // Both forms of each, with and without a capacity.
    using OmIDrmAgent::closeSession;
    using OmIDrmAgent::decrypt;
    using OmIDrmAgent::generateKeyRequest;
    using OmIDrmAgent::getCertificateRequest;
    using OmIDrmAgent::getKeyStatuses;
    using OmIDrmAgent::getMetrics;
    using OmIDrmAgent::licenseQuery;
    using OmIDrmAgent::openSession;
    using OmIDrmAgent::parseAndLoadServiceCertificateResponse;
    using OmIDrmAgent::setServerCertificate;
    using OmIDrmAgent::updateSession;

    int setServerCertificate(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int openSession(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int generateKeyRequest(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int updateSession(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int closeSession(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int getKeyStatuses(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int decrypt(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int licenseQuery(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int getMetrics(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int getCertificateRequest(void* in, unsigned int in_size, void** out, unsigned int& out_size) override;
    int parseAndLoadServiceCertificateResponse(void* in, unsigned int in_size, void** out,
                                               unsigned int& out_size) override;

    int doExtendCommand(om::OmString const& command, om::OmPropertyGroup const& props) override;
    int dispatch(void* event) override;

    /// Forgets the listeners: none is called any more, also not for the message at hand.
    void release() { m_listeners.clear(); }

protected:
    int boundedOperation(int operation, void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                         unsigned int& out_size) override;

private:
    std::mutex m_mutex;
};

} // namespace tz::orvane::omc
