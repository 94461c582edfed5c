// SPDX-License-Identifier: Apache-2.0
// Which directory the media service is met in.
#pragma once

#include <string>

namespace tz::orvane::tools
{

struct SocketDirectory
{
    std::string path;
    std::string fault; ///< why no service can be met there or started; empty when it is usable
};

/// Finds the directory as the library does. When the environment names none and /run/orvane is of no use, a private
/// directory below /tmp is made and named in the environment, for the library and for a service that is started.
/// Call it before the library is touched and before there are threads.
SocketDirectory findSocketDirectory();

} // namespace tz::orvane::tools
