// SPDX-License-Identifier: Apache-2.0
// Names of formats: from capabilities of a stream to codec numbers and MIME types.
#pragma once

#include "orvane/om_enums.h"
#include "orvane/om_service.h"

#include <gst/gst.h>

#include <string>

namespace tz::orvane::service
{

/// @param caps of a compressed or raw stream; null gives unknown
om::om_video_codec_e videoCodecOf(GstCaps const* caps);
om::om_audio_codec_e audioCodecOf(GstCaps const* caps);

/// @return the MIME type of a stream or container in common use; empty for null
std::string mimeTypeOf(GstCaps const* caps);

/// @param codec name that the file's reader gives to the stream, may be empty
/// @return the MIME type of a subtitle stream
std::string subtitleTypeOf(GstCaps const* caps, std::string const& codec);

/// @return whether a subtitle stream holds texts or pictures
om::om_subtitle_draw_type_e drawTypeOf(GstCaps const* caps);

/// @param caps of the decoded sound
om::om_audio_format_e audioFormatOf(GstCaps const* caps);

/// @param caps of the decoded picture
om::om_hdr_type_e hdrTypeOf(GstCaps const* caps);

} // namespace tz::orvane::service
