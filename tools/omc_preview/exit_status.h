// SPDX-License-Identifier: Apache-2.0
// What the preview tool tells scripts when it ends.
#pragma once

namespace tz::orvane::tools
{

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitWrongUsage = 2;
inline constexpr int kExitServiceMissing = 3;
inline constexpr int kExitBySignal = 128; ///< plus the number of the signal

} // namespace tz::orvane::tools
