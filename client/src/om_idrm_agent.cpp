// SPDX-License-Identifier: Apache-2.0
// The buffer operations with a capacity: none has a slot of its own, all go through one.
#include "orvane/om_idrm_agent.h"

#include "drm_buffer_operation.h"

namespace tz::orvane::om
{

int OmIDrmAgent::setServerCertificate(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                                      unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::setServerCertificate), in, in_size, out, out_capacity,
                            out_size);
}

int OmIDrmAgent::openSession(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                             unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::openSession), in, in_size, out, out_capacity,
                            out_size);
}

int OmIDrmAgent::generateKeyRequest(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                                    unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::generateKeyRequest), in, in_size, out, out_capacity,
                            out_size);
}

int OmIDrmAgent::updateSession(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                               unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::updateSession), in, in_size, out, out_capacity,
                            out_size);
}

int OmIDrmAgent::closeSession(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                              unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::closeSession), in, in_size, out, out_capacity,
                            out_size);
}

int OmIDrmAgent::getKeyStatuses(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                                unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::getKeyStatuses), in, in_size, out, out_capacity,
                            out_size);
}

int OmIDrmAgent::decrypt(void* in, unsigned int in_size, void* out, unsigned int out_capacity, unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::decrypt), in, in_size, out, out_capacity, out_size);
}

int OmIDrmAgent::licenseQuery(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                              unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::licenseQuery), in, in_size, out, out_capacity,
                            out_size);
}

int OmIDrmAgent::getMetrics(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                            unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::getMetrics), in, in_size, out, out_capacity, out_size);
}

int OmIDrmAgent::getCertificateRequest(void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                                       unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::getCertificateRequest), in, in_size, out, out_capacity,
                            out_size);
}

int OmIDrmAgent::parseAndLoadServiceCertificateResponse(void* in, unsigned int in_size, void* out,
                                                        unsigned int out_capacity, unsigned int& out_size)
{
    return boundedOperation(static_cast<int>(DrmBufferOperation::parseAndLoadServiceCertificateResponse), in, in_size,
                            out, out_capacity, out_size);
}

} // namespace tz::orvane::om
