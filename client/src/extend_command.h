// SPDX-License-Identifier: Apache-2.0
// The exchange of named commands, one for every object that offers it.
#pragma once

#include "orvane/om_property_group.h"
#include "orvane/om_string.h"
#include "orvane/platform/om_debug.h"

namespace tz::orvane::omc
{

/// Sends a named command and replaces `props` by the answer, which is kept when the answer is empty.
/// @param uid the object that is addressed
/// @return the status of reading the answer; -1 when the command could not be sent or its answer not be read
int exchangeExtendCommand(platform::LogSite const& site, unsigned int cnid, unsigned int uid, int code,
                          om::OmString const& command, om::OmPropertyGroup& props);

} // namespace tz::orvane::omc
