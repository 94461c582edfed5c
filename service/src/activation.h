// SPDX-License-Identifier: Apache-2.0
// What the service manager is told about this process.
#pragma once

namespace tz::orvane::service
{

/// Sends a line ("READY=1") to the manager that NOTIFY_SOCKET names; nothing happens when there is none.
void notifyManager(char const* line);

} // namespace tz::orvane::service
