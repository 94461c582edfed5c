// SPDX-License-Identifier: Apache-2.0
// The client side of a content-protection session: opaque buffers out and back, opaque events in.
#include "orvane/omc_drm_agent.h"

#include "dispatch_gate.h"
#include "drm_buffer_operation.h"
#include "event_reader.h"
#include "message_util.h"
#include "om_protocol.h"
#include "orvane/omc_listeners.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <iterator>

namespace tz::orvane::omc
{

using platform::DebugLevel;

namespace
{

constexpr char kLogFile[] = "omc_drmAgent";
constexpr char kLogClass[] = "OmcDrmAgent";

/// One query of an agent.
class DrmRequest : public Request
{
public:
    /// Logs the entry of the operation.
    DrmRequest(OmcDrmAgent& agent, platform::LogSite const& site, int code, int type = protocol::kTypeQuery)
        : DrmRequest(agent.getClientID(), agent.getAgentID(), site, code, type)
    {
    }

    /// Sends it and waits for the reply. @return the messenger's result
    int ask(mdt::MsgData& reply) const;

private:
    DrmRequest(unsigned int cnid, unsigned int plid, platform::LogSite const& site, int code, int type)
        : Request(site, cnid, plid, code, type)
    {
        ORVANE_LOG_AT(DebugLevel::debug, site, "Called. Client Id=%d, m_plid=%d.", static_cast<int>(cnid),
                      static_cast<int>(plid));
    }
};

int DrmRequest::ask(mdt::MsgData& reply) const
{
    int const result = post(reply);
    if (result < 0)
    {
        logSendFailure(site(), result);
        return result;
    }
    // The line shows this id as a pointer.
    void const* const uid = reinterpret_cast<void const*>(static_cast<std::uintptr_t>(reply.readUid()));
    ORVANE_LOG_AT(DebugLevel::info, site(), "Called, pid = %d, uid = %p, type = %d, cmd = %d", reply.readPid(), uid,
                  reply.readType(), reply.readMsg());
    return result;
}

// Operations whose answer is a number that nobody needs.
int askNumber(OmcDrmAgent& agent, platform::LogSite const& site, int code)
{
    mdt::MsgData reply;
    int const result = DrmRequest(agent, site, code).ask(reply);
    if (result >= 0)
    {
        unsigned int ignored = 0;
        reply.readUInt32(ignored);
    }
    return result;
}

struct BufferOperation
{
    char const* name;
    int code;
};

// In the order of DrmBufferOperation.
constexpr BufferOperation kBufferOperations[] = {
    {"setServerCertificate", protocol::kCmdDrmSetServerCertificate},
    {"openSession", protocol::kCmdDrmOpenSession},
    {"generateKeyRequest", protocol::kCmdDrmGenerateKeyRequest},
    {"updateSession", protocol::kCmdDrmUpdateSession},
    {"closeSession", protocol::kCmdDrmCloseSession},
    {"getKeyStatuses", protocol::kCmdDrmGetKeyStatuses},
    {"decrypt", protocol::kCmdDrmDecrypt},
    {"licenseQuery", protocol::kCmdDrmLicenseQuery},
    {"getMetrics", protocol::kCmdDrmGetMetrics},
    {"getCertificateRequest", protocol::kCmdDrmGetCertificateRequest},
    {"parseAndLoadServiceCertificateResponse", protocol::kCmdDrmParseAndLoadServiceCertificateResponse},
};
static_assert(std::size(kBufferOperations) ==
              static_cast<std::size_t>(om::DrmBufferOperation::parseAndLoadServiceCertificateResponse) + 1);

BufferOperation const& rowOf(om::DrmBufferOperation operation)
{
    return kBufferOperations[static_cast<int>(operation)];
}

// Operations whose answer is a buffer, copied to `*out`; one larger than `capacity` is not copied.
int askBuffer(OmcDrmAgent& agent, platform::LogSite const& site, int code, void const* in, unsigned int in_size,
              void** out, unsigned int capacity, unsigned int& out_size)
{
    DrmRequest request(agent, site, code);
    request.data(in, in_size);
    mdt::MsgData reply;
    int result = request.ask(reply);
    if (result < 0)
    {
        return result;
    }
    void* data = nullptr;
    int size = 0;
    void* const target = out != nullptr ? *out : nullptr;
    result = readBytes(reply, 0, &data, &size);
    auto const logResult = [&]
    {
        ORVANE_LOG_AT(DebugLevel::info, site, "Called, result = %d, size = %d, data = %p, wdata = %p, *wdata = %p",
                      result, size, data, static_cast<void*>(out), target);
    };
    logResult();
    out_size = static_cast<unsigned int>(size);
    if (out_size > capacity)
    {
        result = -E2BIG;
    }
    else if (out_size > 0 && target != nullptr)
    {
        std::memcpy(target, data, out_size);
    }
    logResult();
    return result;
}

// The forms that trust the caller's buffer to be large enough.
int askUnbounded(OmcDrmAgent& agent, platform::LogSite const& site, om::DrmBufferOperation operation, void const* in,
                 unsigned int in_size, void** out, unsigned int& out_size)
{
    return askBuffer(agent, site, rowOf(operation).code, in, in_size, out, UINT_MAX, out_size);
}

void dumpPayload(platform::LogSite const& site, std::string const& payload)
{
    if (!platform::debugEnabled(DebugLevel::debug))
    {
        return;
    }
    constexpr std::size_t kBytesPerLine = 16;
    constexpr char kDigits[] = "0123456789abcdef";
    for (std::size_t offset = 0; offset < payload.size(); offset += kBytesPerLine)
    {
        std::string line;
        for (char const byte : payload.substr(offset, kBytesPerLine))
        {
            auto const value = static_cast<unsigned char>(byte);
            line += {' ', kDigits[value >> 4], kDigits[value & 15]};
        }
        platform::debugLog(DebugLevel::debug, site, "%04zx:%s", offset, line.c_str());
    }
}

} // namespace

OmcDrmAgent::OmcDrmAgent(unsigned int cnid, unsigned int plid)
    : OmIDrmAgent(cnid, plid)
{
}

OmcDrmAgent::~OmcDrmAgent() = default;

int OmcDrmAgent::drmPluginCreate()
{
    return askNumber(*this, ORVANE_LOG_SITE, protocol::kCmdDrmPluginCreate);
}

int OmcDrmAgent::initialize()
{
    return askNumber(*this, ORVANE_LOG_SITE, protocol::kCmdDrmInitialize);
}

int OmcDrmAgent::cleanup()
{
    return askNumber(*this, ORVANE_LOG_SITE, protocol::kCmdDrmCleanup);
}

int OmcDrmAgent::setServerCertificate(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::setServerCertificate, in, in_size, out,
                        out_size);
}

int OmcDrmAgent::openSession(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::openSession, in, in_size, out, out_size);
}

int OmcDrmAgent::generateKeyRequest(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::generateKeyRequest, in, in_size, out, out_size);
}

int OmcDrmAgent::updateSession(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::updateSession, in, in_size, out, out_size);
}

int OmcDrmAgent::closeSession(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::closeSession, in, in_size, out, out_size);
}

int OmcDrmAgent::getKeyStatuses(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::getKeyStatuses, in, in_size, out, out_size);
}

int OmcDrmAgent::decrypt(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::decrypt, in, in_size, out, out_size);
}

int OmcDrmAgent::licenseQuery(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::licenseQuery, in, in_size, out, out_size);
}

int OmcDrmAgent::getMetrics(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::getMetrics, in, in_size, out, out_size);
}

int OmcDrmAgent::getCertificateRequest(void* in, unsigned int in_size, void** out, unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::getCertificateRequest, in, in_size, out,
                        out_size);
}

int OmcDrmAgent::parseAndLoadServiceCertificateResponse(void* in, unsigned int in_size, void** out,
                                                        unsigned int& out_size)
{
    return askUnbounded(*this, ORVANE_LOG_SITE, om::DrmBufferOperation::parseAndLoadServiceCertificateResponse, in,
                        in_size, out, out_size);
}

int OmcDrmAgent::boundedOperation(int operation, void* in, unsigned int in_size, void* out, unsigned int out_capacity,
                                  unsigned int& out_size)
{
    if (operation < 0 || operation >= static_cast<int>(std::size(kBufferOperations)))
    {
        return -EINVAL;
    }
    BufferOperation const& row = rowOf(static_cast<om::DrmBufferOperation>(operation));
    return askBuffer(*this, {kLogFile, __LINE__, kLogClass, row.name}, row.code, in, in_size, &out,
                     out != nullptr ? out_capacity : 0, out_size);
}

int OmcDrmAgent::doExtendCommand(om::OmString const& command, om::OmPropertyGroup const& props)
{
    DrmRequest request(*this, ORVANE_LOG_SITE, protocol::kCmdDrmExtendCommand, protocol::kTypeCommand);
    int const result = request.string(command).group(props).post();
    if (result < 0)
    {
        logSendFailure(request.site(), result);
        return 0; // nobody waits for an answer: a loss is told by the log alone
    }
    return result;
}

int OmcDrmAgent::dispatch(void* event)
{
    ORVANE_LOG_DEBUG("OmcDrmAgent Called. version=3");
    ORVANE_LOG_DEBUG("OmcDrmAgent Lock for releasing.");
    DispatchGate::Delivery const delivery(static_cast<om::OmIDrmAgent*>(this), &m_mutex);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (event == nullptr)
    {
        ORVANE_LOG_ERROR("Invalid Param! event=NULL!");
        return -2;
    }
    auto& message = *static_cast<mdt::MsgData*>(event);
    auto const id = static_cast<unsigned int>(message.readMsg());
    if (message.readMsg() != protocol::kMsgDrmEvent)
    {
        ORVANE_LOG_ERROR("Unknown Event! evt_id=0x%04X.", id);
        return 0;
    }
    ORVANE_LOG_DEBUG("Deal callback event. evt_id=0x%04X", id);
    EventReader reader(message, ORVANE_LOG_SITE);
    reader.id(getAgentID(), "Read 1 param failed!");
    auto const msgType = reader.number<unsigned int>("Read 2 param failed!");
    // The numbers without a line of their own count as 0 when they are missing.
    auto const msgSubType = reader.number<unsigned int>(nullptr);
    auto const arg3 = reader.number<unsigned int>(nullptr);
    auto const arg4 = reader.number<unsigned long long>("Read 5 param failed!");
    auto const arg5 = reader.number<unsigned int>(nullptr);
    EventReader::Bytes const bytes = reader.bytes("Read 7 param failed!", ".");
    if (reader.failed())
    {
        return -1;
    }
    std::string const payload(static_cast<char const*>(bytes.data), static_cast<std::size_t>(bytes.size));
    ORVANE_LOG_INFO("To invoke listener->onReceivedEvent() function with params: msgType=%d, msgSubType=%d, size=%d.",
                    static_cast<int>(msgType), static_cast<int>(msgSubType), bytes.size);
    dumpPayload(reader.site(), payload);
    m_listeners.forEach([&](OmcIDrmAgentListener& listener)
                        { listener.onReceivedEvent(this, msgType, msgSubType, arg3, arg4, arg5, payload); });
    return 0;
}

} // namespace tz::orvane::omc
