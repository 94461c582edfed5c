// SPDX-License-Identifier: Apache-2.0
// A recorded message as one line of text, with the values of its arguments.
#include "support/message_text.h"

#include <cstdio>

namespace tz::orvane::test
{

namespace
{

std::string bytesText(char const* kind, std::string const& bytes)
{
    constexpr std::size_t kShown = 64;
    std::string text = std::string(kind) + "(" + std::to_string(bytes.size());
    if (!bytes.empty() && bytes.size() <= kShown)
    {
        text += ": " + hexOf(bytes);
    }
    return text + ")";
}

std::string textOf(RecordedArgument const& argument)
{
    switch (argument.type)
    {
    case mdt::MsgArgType::uint32:
        return "uint32(" + std::to_string(argument.asUInt32()) + ")";
    case mdt::MsgArgType::sint32:
        return "sint32(" + std::to_string(argument.asSInt32()) + ")";
    case mdt::MsgArgType::sint64:
        return "sint64(" + std::to_string(argument.asSInt64()) + ")";
    case mdt::MsgArgType::string:
        return "string(" + argument.asText() + ")";
    case mdt::MsgArgType::data:
        return bytesText("data", argument.bytes);
    case mdt::MsgArgType::block:
        return bytesText("block", argument.bytes);
    default:
        return "none";
    }
}

} // namespace

std::string hexOf(std::string const& bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (char const byte : bytes)
    {
        auto const value = static_cast<unsigned char>(byte);
        text += kDigits[value >> 4];
        text += kDigits[value & 15];
    }
    return text;
}

std::string textOf(RecordedMessage const& message)
{
    char envelope[80];
    std::snprintf(envelope, sizeof envelope, "msg=0x%04X uid=0x%04X type=%d %s", static_cast<unsigned int>(message.msg),
                  static_cast<unsigned int>(message.uid), message.type, message.wantsReply ? "query" : "oneway");
    std::string text = envelope;
    for (RecordedArgument const& argument : message.arguments)
    {
        text += " " + textOf(argument);
    }
    return text;
}

std::vector<std::string> takeTexts(ScriptedService& service)
{
    std::vector<std::string> texts;
    for (RecordedMessage const& message : service.messages())
    {
        texts.push_back(textOf(message));
    }
    service.forget();
    return texts;
}

} // namespace tz::orvane::test
