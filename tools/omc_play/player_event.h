// SPDX-License-Identifier: Apache-2.0
// What the receive thread tells the main thread.
#pragma once

#include "orvane/om_enums.h"

#include <string>
#include <variant>

namespace tz::orvane::tools
{

struct StateChanged
{
    om::om_state_e state;
    int flags; ///< om_act_state_e
};

struct PlayTime
{
    long long position; ///< milliseconds
};

struct DurationKnown
{
    long long duration; ///< milliseconds
};

struct SeekDone
{
    long long position; ///< milliseconds, negative when the service did not say
};

struct SpeedChanged
{
    int speed; ///< sixteenths of the normal one
};

struct Buffering
{
    int percent;
};

struct Ended
{
};

/// A fault that the service reports.
struct Fault
{
    unsigned int code; ///< om_error_e
    std::string text;  ///< more about it, perhaps empty
    enum
    {
        warning, ///< playing goes on
        refusal, ///< a command had no effect
        end,     ///< the medium is closed
    } effect;
};

struct ServiceGone
{
};

/// An event and the medium that it belongs to: what comes late must not be taken for the next medium's.
struct PlayerEvent
{
    unsigned int medium;
    std::variant<StateChanged, PlayTime, DurationKnown, SeekDone, SpeedChanged, Buffering, Ended, Fault, ServiceGone>
        content;
};

} // namespace tz::orvane::tools
