// SPDX-License-Identifier: Apache-2.0
// Helpers for the records: initial values, copies, and text to and from them.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_records.h"
#include "orvane/om_string.h"

namespace tz::orvane::om
{

/// Any thread may call any of these; none keeps what it is given.
class ORVANE_API OmTypeUtil
{
public:
    OmTypeUtil() = delete;

    /// Sets the initial values: all zero.
    static void reset(om_uri_info_t& record);

    /// Makes `to` equal to `from`.
    static void copy(om_uri_info_t const& from, om_uri_info_t& to);

    /// Copies as many bytes as both sides have. No NUL is added: let `fsize` include the one of `from`, or keep the
    /// last byte of `to` out of `tsize`.
    /// @param fsize,tsize bytes
    /// @return 0, or -2 when a size is below 1, which copies nothing
    static int copy(char const* from, int fsize, char* to, int tsize);

    /// Reads a rectangle from text such as "{10,20,640,480}": left, top, width and height, in pixels.
    /// @param[in,out] rect fields that the text does not give keep their values, `zoom` always does
    /// @return 0, also when fewer numbers or none were found; -1 when `from` is empty or ends before a number could
    static int convert(OmString const& from, om_display_rect_t& rect);
};

/// Makes bytes printable: '*' for each zero byte; leading white space is skipped and the next one ends the text.
/// @param len bytes of `data`; below 1 gives an empty string
ORVANE_API OmString serializeChar(char const* data, int len);

} // namespace tz::orvane::om
