// SPDX-License-Identifier: Apache-2.0
// How subtitles look on the picture.
#pragma once

#include "orvane/om_records.h"

#include <gst/gst.h>

#include <string>

namespace tz::orvane::service
{

struct TextLook
{
    om::om_subtiltile_style_t style;
    std::string font; ///< family and style; empty for the usual one

    TextLook();
};

/// @return what is wrong with a style, null when nothing is
char const* faultOf(om::om_subtiltile_style_t const& style);

/// Makes a textoverlay show a text. @param text plain, empty for none
void drawText(GstElement* overlay, std::string const& text, TextLook const& look);

} // namespace tz::orvane::service
