// SPDX-License-Identifier: Apache-2.0
// The process that makes previews, beside the service.
#pragma once

namespace tz::orvane::service
{

/// Makes this program that process when it is its only argument.
inline constexpr char kNurseryOption[] = "--preview-worker";

/// Where it finds its socket.
inline constexpr int kNurserySocket = 3;

/// Has GStreamer ready and never touches a medium itself: each preview is made in a child of its own, which costs a
/// fork instead of a start, and which nothing outlives. Has one thread, so that forking is safe.
/// @return the exit status, when the service is gone
int runPreviewNursery();

} // namespace tz::orvane::service
