// SPDX-License-Identifier: Apache-2.0
// A media service without media: it records every message and answers as the test tells it to.
#include "support/scripted_service.h"

#include "om_protocol.h"
#include "orvane/om_property_group.h"
#include "orvane/platform/mdtc_messenger.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <stdexcept>

namespace tz::orvane::test
{

namespace
{

constexpr std::chrono::seconds kPatience{60};

/// No message of the protocol.
constexpr int kSettleCode = 0;

template <class Number> Number numberOf(std::string const& bytes)
{
    Number number{};
    std::memcpy(&number, bytes.data(), std::min(sizeof number, bytes.size()));
    return number;
}

RecordedMessage record(mdt::MsgData const& msg, bool wantsReply)
{
    RecordedMessage message{msg.readPid(), msg.readUid(), msg.readMsg(), msg.readType(), wantsReply, {}};
    for (int i = 0; i < msg.argCount(); ++i)
    {
        auto const* bytes = static_cast<char const*>(msg.read(i));
        auto const size = static_cast<std::size_t>(msg.argSize(i));
        message.arguments.push_back({msg.argType(i), bytes != nullptr ? std::string(bytes, size) : std::string()});
    }
    return message;
}

protocol::Message const* entryOf(int uid, int code)
{
    using protocol::ObjectClass;
    for (ObjectClass const object : {ObjectClass::client, ObjectClass::player, ObjectClass::preview, ObjectClass::drm})
    {
        bool const isDrm = protocol::kDrmAgentIds.contains(static_cast<unsigned int>(uid));
        auto const* const entry = protocol::findMessage(object, protocol::Direction::toService, code);
        if (entry != nullptr && isDrm == (object == ObjectClass::drm))
        {
            return entry;
        }
    }
    return nullptr;
}

/// The range that new ids of a creating query come from.
protocol::IdRange const* idsFor(int code)
{
    static constexpr protocol::IdRange kRequestIds{1, 0xFFFF};
    switch (code)
    {
    case protocol::kCmdCreatePlayer:
        return &protocol::kPlayerIds;
    case protocol::kCmdCreatePreviewTool:
        return &protocol::kPreviewToolIds;
    case protocol::kCmdCreateDrmAgent:
        return &protocol::kDrmAgentIds;
    case protocol::kCmdGetPreviewRequestId:
        return &kRequestIds;
    default:
        return nullptr;
    }
}

} // namespace

unsigned RecordedArgument::asUInt32() const
{
    return numberOf<unsigned>(bytes);
}

int RecordedArgument::asSInt32() const
{
    return numberOf<int>(bytes);
}

long long RecordedArgument::asSInt64() const
{
    return numberOf<long long>(bytes);
}

std::string RecordedArgument::asText() const
{
    return bytes.c_str();
}

std::string groupImage(std::vector<std::pair<std::string, std::string>> const& entries)
{
    om::OmPropertyGroup group;
    for (auto const& entry : entries)
    {
        group.add(entry.first, entry.second);
    }
    char* image = nullptr;
    int length = 0;
    group.getData(&image, &length);
    return std::string(image, static_cast<std::size_t>(length));
}

ScriptedService::ScriptedService()
    : m_loop(std::make_unique<platform::EventLoop>())
    , m_messenger(std::make_unique<mdt::MdtsMessenger>(*m_loop, static_cast<mdt::MdtsHandler&>(*this)))
{
    int const result = m_messenger->listen(protocol::kServiceName);
    if (result != 0)
    {
        throw std::runtime_error("The scripted service cannot listen: " + std::to_string(result));
    }
    m_thread.start("scripted",
                   [this]
                   {
                       m_loop->run();
                       m_messenger.reset();
                   });
}

ScriptedService::~ScriptedService()
{
    stop();
}

void ScriptedService::answer(int code, Fill fill, int status)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_scripts[code] = {std::move(fill), status, false};
}

void ScriptedService::refuse(int code, int status)
{
    answer(code, {}, status);
}

void ScriptedService::staySilent(int code)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_scripts[code] = {{}, 0, true};
}

void ScriptedService::behaveNormally(int code)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_scripts.erase(code);
}

void ScriptedService::refuseConnections(int status)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_connectResult = status;
}

void ScriptedService::giveCnid(int cnid)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_connectResult = cnid;
}

int ScriptedService::postEvent(int cnid, int uid, int msg, Fill const& fill, int type)
{
    int result = -ENOTCONN;
    run(
        [&](mdt::MdtsMessenger& messenger)
        {
            mdt::MsgData event(cnid, uid, msg, type);
            if (fill)
            {
                fill(event);
            }
            result = messenger.postEvent(event);
        });
    return result;
}

bool ScriptedService::run(std::function<void(mdt::MdtsMessenger&)> const& work)
{
    std::lock_guard<std::mutex> running(m_runMutex);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopped)
        {
            return false;
        }
    }
    std::promise<void> done;
    m_loop->post(
        [&]
        {
            work(*m_messenger);
            done.set_value();
        });
    done.get_future().wait();
    return true;
}

void ScriptedService::close(int cnid)
{
    run([cnid](mdt::MdtsMessenger& messenger) { messenger.close(cnid); });
}

void ScriptedService::stop()
{
    std::lock_guard<std::mutex> running(m_runMutex);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (std::exchange(m_stopped, true))
        {
            return;
        }
    }
    m_loop->stop();
    m_thread.join();
    m_loop.reset(); // with the last descriptors
}

std::vector<RecordedMessage> ScriptedService::messages() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_messages;
}

std::size_t ScriptedService::count(int code) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<std::size_t>(std::count_if(
        m_messages.begin(), m_messages.end(), [code](RecordedMessage const& message) { return message.msg == code; }));
}

std::vector<RecordedMessage> ScriptedService::waitFor(std::size_t count) const
{
    waitUntil("enough messages", [&] { return m_messages.size() >= count; });
    return messages();
}

RecordedMessage ScriptedService::waitForCode(int code, std::size_t nth) const
{
    RecordedMessage result;
    waitUntil("a message with the code",
              [&]
              {
                  std::size_t seen = 0;
                  for (RecordedMessage const& message : m_messages)
                  {
                      seen += message.msg == code ? 1 : 0;
                      if (seen == nth)
                      {
                          result = message;
                          return true;
                      }
                  }
                  return false;
              });
    return result;
}

mdt::MdtsPeer ScriptedService::lastPeer() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastPeer;
}

bool ScriptedService::waitForDisconnects(std::size_t count) const
{
    return waitUntil("the end of connections", [&] { return m_disconnects >= count; });
}

void ScriptedService::settle(int cnid)
{
    mdt::MsgData const query(cnid, 0, kSettleCode, protocol::kTypeQuery);
    mdt::MsgData reply;
    EXPECT_GE(mdt::MdtcMessenger::GetInstance().postMsg(query, reply, protocol::kPostTimeout), 0);
}

void ScriptedService::forget()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_messages.clear();
}

int ScriptedService::onConnect(mdt::MdtsPeer const& peer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lastPeer = peer;
    return m_connectResult;
}

void ScriptedService::onDisconnect(int)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_disconnects;
    m_changed.notify_all();
}

void ScriptedService::onMessage(mdt::MsgData& msg, mdt::MdtsCall const& call)
{
    mdt::MsgData reply;
    if (msg.readMsg() == kSettleCode)
    {
        m_messenger->reply(call, 0, reply);
        return;
    }
    Script script;
    bool scripted = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_messages.push_back(record(msg, call.wantsReply()));
        auto const found = m_scripts.find(msg.readMsg());
        scripted = found != m_scripts.end();
        if (scripted)
        {
            script = found->second;
        }
        m_changed.notify_all();
    }
    if (!call.wantsReply() || script.silent)
    {
        return;
    }
    if (script.fill)
    {
        script.fill(reply);
    }
    else if (!scripted)
    {
        fillNormally(msg, reply);
    }
    m_messenger->reply(call, script.status, reply);
}

void ScriptedService::fillNormally(mdt::MsgData const& msg, mdt::MsgData& reply)
{
    if (protocol::IdRange const* const ids = idsFor(msg.readMsg()))
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        reply.writeUInt32(ids->first + m_nextIds[msg.readMsg()]++);
        return;
    }
    protocol::Message const* const entry = entryOf(msg.readUid(), msg.readMsg());
    if (entry == nullptr)
    {
        return;
    }
    std::string const image = groupImage();
    for (protocol::ArgKind const kind : entry->reply)
    {
        switch (kind)
        {
        case protocol::ArgKind::none:
            break;
        case protocol::ArgKind::uint32:
            reply.writeUInt32(1);
            break;
        case protocol::ArgKind::sint32:
            reply.writeSInt32(1);
            break;
        case protocol::ArgKind::sint64:
            reply.writeSInt64(1);
            break;
        case protocol::ArgKind::string:
            reply.writeString("");
            break;
        case protocol::ArgKind::data:
        case protocol::ArgKind::block:
        case protocol::ArgKind::group:
            reply.writeData(image.data(), static_cast<unsigned short>(image.size()));
            break;
        }
    }
}

bool ScriptedService::waitUntil(char const* what, std::function<bool()> const& done) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    bool const happened = m_changed.wait_for(lock, kPatience, done);
    EXPECT_TRUE(happened) << "The scripted service waited in vain for " << what << '.';
    return happened;
}

} // namespace tz::orvane::test
