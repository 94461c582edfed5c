// SPDX-License-Identifier: Apache-2.0
// Owner of one descriptor: the messenger's, by the service's name.
#pragma once

#include "platform/src/unique_fd.h"

namespace tz::orvane::service
{

using Descriptor = platform::UniqueFd;

} // namespace tz::orvane::service
