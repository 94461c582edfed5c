// SPDX-License-Identifier: Apache-2.0
// Descriptors as the messenger owns and writes to them, by the service's names.
#pragma once

#include "platform/src/unique_fd.h"
#include "platform/src/write_all.h"

namespace tz::orvane::service
{

using Descriptor = platform::UniqueFd;
using platform::writeAll;

} // namespace tz::orvane::service
