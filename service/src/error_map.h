// SPDX-License-Identifier: Apache-2.0
// From what a pipeline reports to the error codes that an application can act on.
#pragma once

#include "orvane/om_service.h"

#include <gst/gst.h>

#include <string>

namespace tz::orvane::service
{

/// An error as a client is told.
struct Fault
{
    om::om_error_e code = om::OM_ERROR_NONE;
    std::string text;
    std::string codec; ///< of what cannot be decoded; else empty
};

/// What the code alone does not tell.
struct FaultContext
{
    bool network = false;     ///< the medium comes from a server
    bool connected = false;   ///< it has answered already
    std::string missingCodec; ///< named by a missing-plugin message before
    bool encrypted = false;   ///< that message was about protected data
};

/// @param details of the error message, may be null
Fault mapError(GError const& error, GstStructure const* details, FaultContext const& context);

} // namespace tz::orvane::service
