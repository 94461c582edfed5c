// SPDX-License-Identifier: Apache-2.0
// Keeps the pitch of sound at other speeds.
#pragma once

#include "gst_ptr.h"

namespace tz::orvane::service
{

/// The fastest speed at which sound is heard, as a multiple of the normal one.
inline constexpr double kFastestHeard = 2.0;

/// Keeps a scaletempo from what it does wrong: at speeds at which nothing is heard it passes everything on as it is,
/// since backwards it would tell wrong positions, and gaps before the place where playing begins do not reach it, since
/// it would take them for the far future.
/// @param scaletempo the element
void guardTempo(GstElement* scaletempo);

} // namespace tz::orvane::service
