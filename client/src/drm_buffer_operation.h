// SPDX-License-Identifier: Apache-2.0
// The buffer operations of a DRM agent by number, as the overloads with a capacity name them.
#pragma once

namespace tz::orvane::om
{

enum class DrmBufferOperation : int
{
    setServerCertificate,
    openSession,
    generateKeyRequest,
    updateSession,
    closeSession,
    getKeyStatuses,
    decrypt,
    licenseQuery,
    getMetrics,
    getCertificateRequest,
    parseAndLoadServiceCertificateResponse,
};

} // namespace tz::orvane::om
