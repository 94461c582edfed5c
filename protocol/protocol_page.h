// SPDX-License-Identifier: Apache-2.0
// The page of the documentation that lists the messages, made from the table that the code uses.
#pragma once

#include "om_protocol.h"

#include <cstdio>
#include <string>

namespace tz::orvane::protocol
{

inline char const* nameOf(ArgKind kind)
{
    switch (kind)
    {
    case ArgKind::uint32:
        return "uint32";
    case ArgKind::sint32:
        return "sint32";
    case ArgKind::sint64:
        return "sint64";
    case ArgKind::string:
        return "string";
    case ArgKind::data:
        return "data";
    case ArgKind::block:
        return "block";
    case ArgKind::group:
        return "group";
    default:
        return "";
    }
}

/// @return "uint32, group"; "-" for none
template <std::size_t count> std::string namesOf(ArgKind const (&kinds)[count])
{
    std::string names;
    for (ArgKind const kind : kinds)
    {
        if (kind != ArgKind::none)
        {
            names += (names.empty() ? "" : ", ") + std::string(nameOf(kind));
        }
    }
    return names.empty() ? "-" : names;
}

inline std::string hexadecimal(unsigned int number)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", number);
    return text;
}

inline std::string rangeRow(char const* object, IdRange const& range)
{
    return std::string("| ") + object + " | " + hexadecimal(range.first) + " to " + hexadecimal(range.last) + " |\n";
}

inline std::string messageTable(ObjectClass object, Direction direction)
{
    bool const toService = direction == Direction::toService;
    std::string table = toService ? "| code | operation | type | arguments | reply |\n|---|---|---|---|---|\n"
                                  : "| code | name | arguments |\n|---|---|---|\n";
    for (Message const& message : kMessages)
    {
        if (message.object == object && message.direction == direction)
        {
            table += "| " + hexadecimal(static_cast<unsigned int>(message.code)) + " | `" + message.name + "` | ";
            table += toService ? std::to_string(message.type) + " | " : "";
            table += namesOf(message.arguments) + " |" + (toService ? " " + namesOf(message.reply) + " |" : "") + "\n";
        }
    }
    return table;
}

inline std::string protocolPage()
{
    struct Section
    {
        ObjectClass object;
        char const* title;
    };
    constexpr Section kSections[] = {{ObjectClass::client, "Connection"},
                                     {ObjectClass::player, "Player"},
                                     {ObjectClass::preview, "Preview tool"},
                                     {ObjectClass::drm, "DRM agent"}};
    std::string page =
        "# The protocol\n\n"
        "What the library and the media service \"" +
        std::string(kServiceName) +
        "\" say to each other. This page is made from\n"
        "`protocol/om_protocol.h`:\n\n"
        "    cmake --preset dev && cmake --build build/dev --target print_protocol_page &&\n"
        "        build/dev/protocol/print_protocol_page > docs/protocol.md\n\n"
        "Each message carries the id of a connection, the id of an object (0: the connection itself), a code, "
        "a type, and\narguments in order. Object and direction belong to a code: the same number means "
        "different things elsewhere.\n\n"
        "| object | ids |\n|---|---|\n";
    page += rangeRow("connection", kClientIds) + rangeRow("player", kPlayerIds) +
            rangeRow("preview tool", kPreviewToolIds) + rangeRow("DRM agent", kDrmAgentIds);
    page += "\n| type | of |\n|---|---|\n| " + std::to_string(kTypeCommand) + " | commands and events |\n| " +
            std::to_string(kTypeQuery) + " | requests that wait for a reply |\n| " + std::to_string(kTypePush) +
            " | data for the service |\n| " + std::to_string(kTypePull) + " | data from the service |\n\n" +
            "A post waits at most " + std::to_string(kPostTimeout) +
            " ms. Numbers are little-endian. `data` is at most 65535 bytes: a record or a\n"
            "buffer; `group` is data that holds the image of a property group with its NUL; a `block` has any size.\n";
    for (Section const& section : kSections)
    {
        page += "\n## " + std::string(section.title) + "\n\nTo the service:\n\n" +
                messageTable(section.object, Direction::toService) + "\nTo the client:\n\n" +
                messageTable(section.object, Direction::toClient);
    }
    return page;
}

} // namespace tz::orvane::protocol
