// SPDX-License-Identifier: Apache-2.0
// Errors of pipelines and the codes that become of them.
#include "error_map.h"

#include <gtest/gtest.h>

#include <memory>

namespace tz::orvane::service
{
namespace
{

FaultContext const kFile;

FaultContext network(bool connected)
{
    FaultContext context;
    context.network = true;
    context.connected = connected;
    return context;
}

Fault mapped(GQuark domain, int code, FaultContext const& context, GstStructure* details = nullptr)
{
    GError* const error = g_error_new_literal(domain, code, "message");
    Fault const fault = mapError(*error, details, context);
    g_error_free(error);
    if (details != nullptr)
    {
        gst_structure_free(details);
    }
    return fault;
}

om::om_error_e withStatus(char const* field, unsigned int status)
{
    return mapped(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND, network(false),
                  gst_structure_new("details", field, G_TYPE_UINT, status, nullptr))
        .code;
}

TEST(ErrorMap, aStatusOfTheServerDecides)
{
    EXPECT_EQ(withStatus("http-status-code", 404), om::OM_ERROR_NOT_FOUND);
    EXPECT_EQ(withStatus("http-status-code", 410), om::OM_ERROR_NOT_FOUND);
    EXPECT_EQ(withStatus("http-status-code", 401), om::OM_ERROR_FORBIDDEN);
    EXPECT_EQ(withStatus("http-status-code", 403), om::OM_ERROR_FORBIDDEN);
    EXPECT_EQ(withStatus("http-status-code", 500), om::OM_ERROR_SERVER);
    EXPECT_EQ(withStatus("http-status-code", 504), om::OM_ERROR_TIMED_OUT);
    EXPECT_EQ(withStatus("rtsp-status-code", 404), om::OM_ERROR_NOT_FOUND);
}

TEST(ErrorMap, aFlowThatBreaksMeansAnotherThingForFilesAndServers)
{
    EXPECT_EQ(mapped(GST_STREAM_ERROR, GST_STREAM_ERROR_FAILED, kFile).code, om::OM_ERROR_BROKEN_FILE);
    EXPECT_EQ(mapped(GST_STREAM_ERROR, GST_STREAM_ERROR_FAILED, network(false)).code, om::OM_ERROR_CONNECT_FAILED);
    EXPECT_EQ(mapped(GST_STREAM_ERROR, GST_STREAM_ERROR_FAILED, network(true)).code, om::OM_ERROR_CONNECTION_LOST);
}

TEST(ErrorMap, resourcesAndContent)
{
    EXPECT_EQ(mapped(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND, kFile).code, om::OM_ERROR_NOT_FOUND);
    EXPECT_EQ(mapped(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_OPEN_READ, kFile).code, om::OM_ERROR_FORBIDDEN);
    EXPECT_EQ(mapped(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_OPEN_READ_WRITE, network(false)).code,
              om::OM_ERROR_CONNECT_FAILED);
    EXPECT_EQ(mapped(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_AUTHORIZED, network(false)).code,
              om::OM_ERROR_FORBIDDEN);
    EXPECT_EQ(mapped(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_SEEK, network(true)).code, om::OM_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(mapped(GST_STREAM_ERROR, GST_STREAM_ERROR_TYPE_NOT_FOUND, kFile).code, om::OM_ERROR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(mapped(GST_STREAM_ERROR, GST_STREAM_ERROR_DEMUX, kFile).code, om::OM_ERROR_BROKEN_FILE);
    EXPECT_EQ(mapped(GST_STREAM_ERROR, GST_STREAM_ERROR_DECRYPT_NOKEY, kFile).code, om::OM_ERROR_KEY_MISSING);
    EXPECT_EQ(mapped(GST_CORE_ERROR, GST_CORE_ERROR_MISSING_PLUGIN, kFile).code, om::OM_ERROR_UNKNOWN_SCHEME);
    EXPECT_EQ(mapped(GST_CORE_ERROR, GST_CORE_ERROR_FAILED, kFile).code, om::OM_ERROR_INTERNAL);
}

TEST(ErrorMap, aDecoderThatIsMissingExplainsWhatFollows)
{
    FaultContext context;
    context.missingCodec = "Some Video";
    Fault const fault = mapped(GST_STREAM_ERROR, GST_STREAM_ERROR_FAILED, context);
    EXPECT_EQ(fault.code, om::OM_ERROR_UNSUPPORTED_CODEC);
    EXPECT_EQ(fault.codec, "Some Video");
    EXPECT_EQ(mapped(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND, context).code, om::OM_ERROR_NOT_FOUND);
    context.encrypted = true;
    EXPECT_EQ(mapped(GST_STREAM_ERROR, GST_STREAM_ERROR_FAILED, context).code, om::OM_ERROR_KEY_MISSING);
}

} // namespace
} // namespace tz::orvane::service
