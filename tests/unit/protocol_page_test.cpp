// SPDX-License-Identifier: Apache-2.0
// The documentation lists the messages that the code has.
#include "protocol_page.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace tz::orvane::protocol
{
namespace
{

TEST(ProtocolPage, isWhatTheTableGives)
{
    std::ifstream file(ORVANE_SOURCE_DIR "/docs/protocol.md");
    std::stringstream page;
    page << file.rdbuf();
    EXPECT_EQ(page.str(), protocolPage()) << "renew it: the page says how";
}

TEST(ProtocolPage, hasARowForEveryMessage)
{
    std::string const page = protocolPage();
    for (Message const& message : kMessages)
    {
        EXPECT_NE(
            page.find("| " + hexadecimal(static_cast<unsigned int>(message.code)) + " | `" + message.name + "` |"),
            std::string::npos)
            << message.name;
    }
}

} // namespace
} // namespace tz::orvane::protocol
