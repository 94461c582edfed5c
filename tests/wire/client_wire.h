// SPDX-License-Identifier: Apache-2.0
// What the tests of registry and client share: a scripted service, the registry and ways to look at both.
#pragma once

#include "om_protocol.h"
#include "orvane/omc_access.h"
#include "orvane/omc_client.h"
#include "orvane/omc_listeners.h"
#include "support/log_capture.h"
#include "support/message_text.h"
#include "support/process_state.h"
#include "support/scripted_service.h"
#include "support/temp_dir.h"
#include "support/wait.h"

#include <atomic>
#include <cstdio>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

namespace tz::orvane::test
{

/// "text" with numbers in it.
template <class... Values> std::string format(char const* pattern, Values... values)
{
    char text[512];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(text, sizeof text, pattern, values...);
#pragma GCC diagnostic pop
    return text;
}

/// The lines of registry and client in order, "OmcClient::connect: text".
inline std::vector<std::string> clientLines(LogCapture const& log)
{
    std::vector<std::string> lines;
    for (LogCapture::Line const& line : log.lines())
    {
        std::size_t const colon = line.place.find(": ");
        std::string const file = line.place.substr(0, colon);
        if (file == "omc_client" || file == "omc_access")
        {
            lines.push_back(line.place.substr(colon + 2) + ": " + line.text);
        }
    }
    return lines;
}

/// A client whose id the test chooses; it is connected to nothing.
class NumberedClient : public omc::OmcClient
{
public:
    explicit NumberedClient(unsigned int cnid, om::OmString const& appName = "numbered")
        : OmcClient(appName)
    {
        m_cnid = cnid;
    }
};

/// Notes what it hears and does what the test wants.
class ConnectionListener final : public omc::OmcIConnectionListener
{
public:
    std::function<void(om::OmIConnection*)> onCall; ///< after the call was noted

    void onConnectionChanged(om::OmIConnection* conn, int status) override
    {
        note(format("changed 0x%04X", static_cast<unsigned>(status)), conn);
    }

    void onEvent(om::OmIConnection* conn, int evt, om::OmPropertyGroup& props) override
    {
        std::string text = format("event %d", evt);
        for (int i = 0; i < props.count(); ++i)
        {
            text += " " + props.keyAt(i) + "=" + props.valueAt(i);
        }
        note(text, conn);
    }

    std::vector<std::string> calls() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }

private:
    void note(std::string const& text, om::OmIConnection* conn)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_calls.push_back(text);
        }
        if (onCall)
        {
            onCall(conn);
        }
    }

    mutable std::mutex m_mutex;
    std::vector<std::string> m_calls;
};

/// Calls a function whenever its player reports a state.
class PlayerListener final : public omc::OmcIMediaPlayerListener
{
public:
    std::function<void(om::OmIMediaPlayer*)> onCall;
    std::atomic<int> calls{0};

    void onStateChanged(om::OmIMediaPlayer* player, unsigned int, om::om_state_e, int,
                        om::OmPropertyGroup const&) override
    {
        ++calls;
        if (onCall)
        {
            onCall(player);
        }
    }
};

/// The registry of the process and a service that it connects to. Leaves no connection behind.
class ClientWire : public ::testing::Test
{
protected:
    ~ClientWire() override { access.destroyConnectionAll(); }

    omc::OmcClient& connect(std::string const& appName = "app")
    {
        auto* const client = dynamic_cast<omc::OmcClient*>(access.createConnection(appName));
        EXPECT_NE(client, nullptr);
        service.forget();
        return *client;
    }

    /// Everything that has been sent on a live connection since the last look.
    std::vector<std::string> sent(omc::OmcClient& client)
    {
        ScriptedService::settle(static_cast<int>(client.getClientID()));
        return sent();
    }

    std::vector<std::string> sent() { return takeTexts(service); }

private:
    ProcessState m_state;
    SocketDir m_directory;

protected:
    ScriptedService service;
    omc::OmcClientAccess& access = *omc::OmcClientAccess::getApp(0);
};

} // namespace tz::orvane::test
