// SPDX-License-Identifier: Apache-2.0
// The parts that tests put messages of the service together from.
#pragma once

#include "support/scripted_service.h"

#include <string>
#include <vector>

namespace tz::orvane::test
{

using Fill = ScriptedService::Fill;

inline Fill number(unsigned int value)
{
    return [value](mdt::MsgData& msg) { msg.writeUInt32(value); };
}

inline Fill bytes(std::string const& content)
{
    return [content](mdt::MsgData& msg) { msg.writeData(content.data(), static_cast<unsigned short>(content.size())); };
}

/// All parts, one behind the other.
inline Fill whole(std::vector<Fill> const& parts)
{
    return [parts](mdt::MsgData& msg)
    {
        for (Fill const& part : parts)
        {
            part(msg);
        }
    };
}

} // namespace tz::orvane::test
