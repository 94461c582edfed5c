// SPDX-License-Identifier: Apache-2.0
// From what a pipeline reports to the error codes that an application can act on.
#include "error_map.h"

namespace tz::orvane::service
{

namespace
{

unsigned int serverStatus(GstStructure const* details)
{
    guint status = 0;
    if (details != nullptr && gst_structure_get_uint(details, "http-status-code", &status) == FALSE)
    {
        gst_structure_get_uint(details, "rtsp-status-code", &status);
    }
    return status;
}

om::om_error_e fromStatus(unsigned int status)
{
    switch (status)
    {
    case 401:
    case 402:
    case 403:
    case 407:
    case 451:
        return om::OM_ERROR_FORBIDDEN;
    case 404:
    case 410:
        return om::OM_ERROR_NOT_FOUND;
    case 408:
    case 504:
        return om::OM_ERROR_TIMED_OUT;
    default:
        return om::OM_ERROR_SERVER;
    }
}

// Refused connections, unknown hosts and TLS faults arrive as nothing but a stream that does not flow.
om::om_error_e brokenFlow(FaultContext const& context)
{
    if (!context.network)
    {
        return om::OM_ERROR_BROKEN_FILE;
    }
    return context.connected ? om::OM_ERROR_CONNECTION_LOST : om::OM_ERROR_CONNECT_FAILED;
}

om::om_error_e fromResource(int code, FaultContext const& context)
{
    switch (code)
    {
    case GST_RESOURCE_ERROR_NOT_FOUND:
        return om::OM_ERROR_NOT_FOUND;
    case GST_RESOURCE_ERROR_NOT_AUTHORIZED:
        return om::OM_ERROR_FORBIDDEN;
    case GST_RESOURCE_ERROR_OPEN_READ:
        return context.network ? om::OM_ERROR_CONNECT_FAILED : om::OM_ERROR_FORBIDDEN;
    case GST_RESOURCE_ERROR_OPEN_WRITE:
    case GST_RESOURCE_ERROR_OPEN_READ_WRITE:
        return context.network ? om::OM_ERROR_CONNECT_FAILED : om::OM_ERROR_INTERNAL;
    case GST_RESOURCE_ERROR_SEEK:
        return om::OM_ERROR_NOT_SUPPORTED;
    case GST_RESOURCE_ERROR_NO_SPACE_LEFT:
        return om::OM_ERROR_LIMIT;
    case GST_RESOURCE_ERROR_READ:
    case GST_RESOURCE_ERROR_FAILED:
        return brokenFlow(context);
    default:
        return om::OM_ERROR_INTERNAL;
    }
}

om::om_error_e fromStream(int code, FaultContext const& context)
{
    switch (code)
    {
    case GST_STREAM_ERROR_TYPE_NOT_FOUND:
    case GST_STREAM_ERROR_WRONG_TYPE:
    case GST_STREAM_ERROR_FORMAT:
        return om::OM_ERROR_UNSUPPORTED_FORMAT;
    case GST_STREAM_ERROR_CODEC_NOT_FOUND:
        return om::OM_ERROR_UNSUPPORTED_CODEC;
    case GST_STREAM_ERROR_DECODE:
    case GST_STREAM_ERROR_DEMUX:
        return om::OM_ERROR_BROKEN_FILE;
    case GST_STREAM_ERROR_DECRYPT:
    case GST_STREAM_ERROR_DECRYPT_NOKEY:
        return om::OM_ERROR_KEY_MISSING;
    case GST_STREAM_ERROR_FAILED:
        return brokenFlow(context);
    default:
        return om::OM_ERROR_INTERNAL;
    }
}

om::om_error_e codeOf(GError const& error, FaultContext const& context)
{
    if (error.domain == GST_RESOURCE_ERROR)
    {
        return fromResource(error.code, context);
    }
    if (error.domain == GST_STREAM_ERROR)
    {
        return fromStream(error.code, context);
    }
    if (error.domain == GST_CORE_ERROR && error.code == GST_CORE_ERROR_MISSING_PLUGIN)
    {
        return om::OM_ERROR_UNKNOWN_SCHEME;
    }
    return om::OM_ERROR_INTERNAL;
}

} // namespace

Fault mapError(GError const& error, GstStructure const* details, FaultContext const& context)
{
    Fault fault;
    fault.text = error.message;
    if (unsigned int const status = serverStatus(details); status != 0)
    {
        fault.code = fromStatus(status);
        fault.text += " (" + std::to_string(status) + ")";
        return fault;
    }

    // A stream without a decoder ends in one of several errors; the message about the decoder came before them.
    bool const aboutContent = error.domain == GST_STREAM_ERROR || error.domain == GST_CORE_ERROR;
    if (aboutContent && !context.missingCodec.empty())
    {
        fault.code = context.encrypted ? om::OM_ERROR_KEY_MISSING : om::OM_ERROR_UNSUPPORTED_CODEC;
        fault.codec = context.missingCodec;
        return fault;
    }
    fault.code = codeOf(error, context);
    return fault;
}

} // namespace tz::orvane::service
