// SPDX-License-Identifier: Apache-2.0
// What the tools tell scripts when they end.
#pragma once

namespace tz::orvane::tools
{

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitNoService = 3;
inline constexpr int kExitSignalBase = 128; ///< plus the number of the signal

} // namespace tz::orvane::tools
