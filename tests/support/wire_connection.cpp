// SPDX-License-Identifier: Apache-2.0
// A connection made with the bare messenger, for tests of one proxy by itself.
#include "support/wire_connection.h"

#include "orvane/platform/mdtc_messenger.h"
#include "support/message_text.h"
#include "support/wait.h"

#include <gtest/gtest.h>
#include <mutex>

namespace tz::orvane::test
{

namespace
{

std::mutex s_takeMutex; // held while a message is taken
std::function<int(mdt::MsgData&)> s_take;

std::mutex s_resultMutex;
std::vector<int> s_results;

int receive(void* msg)
{
    std::lock_guard<std::mutex> take(s_takeMutex);
    int const result = s_take ? s_take(*static_cast<mdt::MsgData*>(msg)) : 0;
    std::lock_guard<std::mutex> lock(s_resultMutex);
    s_results.push_back(result);
    return result;
}

std::size_t takenCount()
{
    std::lock_guard<std::mutex> lock(s_resultMutex);
    return s_results.size();
}

} // namespace

WireConnection::WireConnection(ScriptedService& service)
    : m_service(service)
{
    m_service.giveCnid(kCnid);
    mdt::MdtcMessenger::GetInstance().init("Orvane.MediaPlayer.Server", mdt::MDT_TYPE_DEFAULT);
    mdt::_MdtInitParCfg_t config{};
    config.send_capacity = config.receive_capacity = config.event_capacity = 0x10000;
    config.callback = &receive;
    config.name = "wire test";
    int cnid = 0;
    m_connected = mdt::MdtcMessenger::GetInstance().connect(config, cnid) == 0;
    EXPECT_TRUE(m_connected);
    EXPECT_EQ(cnid, kCnid);
}

WireConnection::~WireConnection()
{
    disconnect();
    onMessage({});
}

void WireConnection::disconnect()
{
    if (m_connected)
    {
        EXPECT_EQ(mdt::MdtcMessenger::GetInstance().disConnect(kCnid), 0);
        m_connected = false;
    }
}

void WireConnection::onMessage(std::function<int(mdt::MsgData&)> take)
{
    std::lock_guard<std::mutex> lock(s_takeMutex);
    s_take = std::move(take);
}

int WireConnection::deliver(int uid, int msg, ScriptedService::Fill const& fill)
{
    {
        // What the test has prepared so far is seen by the thread that takes the message.
        std::lock_guard<std::mutex> take(s_takeMutex);
    }
    std::size_t const before = takenCount();
    EXPECT_EQ(m_service.postEvent(kCnid, uid, msg, fill), 0);
    EXPECT_TRUE(eventually([&] { return takenCount() > before; })) << "the message did not arrive";
    std::lock_guard<std::mutex> lock(s_resultMutex);
    return s_results.size() > before ? s_results.back() : 0;
}

std::vector<std::string> WireConnection::sent()
{
    ScriptedService::settle(kCnid);
    for (RecordedMessage const& message : m_service.messages())
    {
        EXPECT_EQ(message.pid, kCnid);
    }
    return takeTexts(m_service);
}

} // namespace tz::orvane::test
