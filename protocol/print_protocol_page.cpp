// SPDX-License-Identifier: Apache-2.0
// Prints docs/protocol.md.
#include "protocol_page.h"

int main()
{
    std::fputs(tz::orvane::protocol::protocolPage().c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
