// SPDX-License-Identifier: Apache-2.0
// A player by itself, connected to a scripted service, and the check of its one-way commands.
#pragma once

#include "om_protocol.h"
#include "orvane/omc_mediaplayer.h"
#include "orvane/platform/mdtc_messenger.h"
#include "support/log_capture.h"
#include "support/message_text.h"
#include "support/scripted_service.h"
#include "support/temp_dir.h"
#include "support/wire_connection.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tz::orvane::test
{

inline constexpr unsigned int kPlid = 0x2DEF;

inline constexpr char kStart[] = "debug: Start. cnid=0x1ABC, plid=0x2DEF.";

/// A one-way command of the player.
struct CommandRow
{
    char const* operation;
    std::function<int(om::OmIMediaPlayer&)> call;
    char const* message; ///< as textOf gives it
    std::vector<std::string> entry;
    char const* success = "info: Succeeded to send msg or command from client to binder.";
};

class PlayerFixture : public ::testing::Test
{
protected:
    PlayerFixture()
    {
        m_service.settle(kCnid);
        m_service.forget();
    }

    /// What has arrived since the last call, as text.
    std::vector<std::string> sent() { return m_connection.sent(); }

    static std::string operationName(char const* operation) { return std::string("OmcMediaPlayer::") + operation; }

    void expectSent(CommandRow const& row)
    {
        SCOPED_TRACE(row.operation);
        LogCapture log;
        int const result = row.call(m_player);
        std::vector<std::string> lines = row.entry;
        lines.push_back(row.success);
        EXPECT_EQ(log.linesOf(operationName(row.operation)), lines);
        EXPECT_EQ(log.lines().front().place, "omc_mediaplayer: " + operationName(row.operation));

        ScriptedService::settle(kCnid);
        std::vector<RecordedMessage> const messages = m_service.messages();
        EXPECT_THAT(sent(), ::testing::ElementsAre(row.message));
        ASSERT_FALSE(messages.empty());
        EXPECT_EQ(result, postAgain(messages.back())) << "the messenger's own result";
        EXPECT_GT(result, 0);
        sent();
    }

    /// What the messenger gives when it is handed the same one-way message by the test.
    static int postAgain(RecordedMessage const& message)
    {
        mdt::MsgData again(message.pid, message.uid, message.msg, message.type);
        for (RecordedArgument const& argument : message.arguments)
        {
            switch (argument.type)
            {
            case mdt::MsgArgType::uint32:
                again.writeUInt32(argument.asUInt32());
                break;
            case mdt::MsgArgType::sint32:
                again.writeSInt32(argument.asSInt32());
                break;
            case mdt::MsgArgType::sint64:
                again.writeSInt64(argument.asSInt64());
                break;
            case mdt::MsgArgType::string:
                again.writeString(argument.asText());
                break;
            case mdt::MsgArgType::data:
                again.writeData(argument.bytes.data(), static_cast<unsigned short>(argument.bytes.size()));
                break;
            default:
                ADD_FAILURE() << "no command has such an argument";
            }
        }
        return mdt::MdtcMessenger::GetInstance().postMsg(again, protocol::kPostTimeout);
    }

    /// The connection must be gone.
    void expectUnsent(CommandRow const& row)
    {
        SCOPED_TRACE(row.operation);
        LogCapture log;
        EXPECT_EQ(row.call(m_player), -1);
        std::vector<std::string> lines = row.entry;
        lines.push_back("error: Error! Failed to send msg or command from client to binder. ErrorCode=-107.");
        EXPECT_EQ(log.linesOf(operationName(row.operation)), lines);
    }

    SocketDir m_dir;
    ScriptedService m_service;
    WireConnection m_connection{m_service};
    omc::OmcMediaPlayer m_player{kCnid, kPlid};
};

} // namespace tz::orvane::test
