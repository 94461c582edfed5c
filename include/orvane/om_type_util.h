// SPDX-License-Identifier: Apache-2.0
// Helpers for the records: initial values, copies, dumps, names of codecs, and text to and from them.
#pragma once

#include "orvane/om_enums.h"
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

    /// @name Initial values
    /// @{

    /// Numbers become 0 and text all zero bytes, except as said beside; a record inside another gets its own initial
    /// values. Reserved fields and alignment gaps are left alone, except those of om_resrc_info_t, which is cleared as
    /// a whole.
    static void reset(om_rational_t& record);
    static void reset(om_resolution_t& record);
    static void reset(om_display_rect_t& record);
    static void reset(om_chapter_info_t& record);
    static void reset(om_time_t& record);              ///< -1 throughout
    static void reset(om_date_t& record);              ///< -1 throughout
    static void reset(om_stream_info_t& record);       ///< `id` -1
    static void reset(om_stream_info_group_t& record); ///< `count` -1: not known
    static void reset(om_container_info_t& record);    ///< counts and selections -1: no track is known
    static void reset(om_tag_info_t& record);

    /// Numbers of tracks, duration, resolution, colour depth, bit rate and sample rate -1.
    static void reset(om_media_info_t& record);

    static void reset(om_uri_info_t& record);
    static void reset(om_setting_info_t& record); ///< `play_speed` OM_PLAY_SPEED_NORMAL
    static void reset(om_request_info_t& record); ///< `play_scene` 1, `bg_music` 3, `end_pos` -1
    static void reset(om_contents_info_t& record);
    static void reset(om_subtiltile_info_t& record);        ///< `index` -1
    static void reset(om_subtiltile_style_t& record);       ///< both colours 256, `subtitle_fontsize` 200, the rest -1
    static void reset(om_subtiltile_layout_t& record);      ///< 1, 1, -1
    static void reset(om_thumbnail_request_info_t& record); ///< `target_pos` and `target_resolution` -1
    static void reset(om_thumbnail_data_info_t& record);    ///< `pos` -1
    static void reset(om_preview_request_info_t& record);   ///< of `app_name` the first byte only
    static void reset(om_preview_constents_info_t& record); ///< `duration` -1
    static void reset(om_error_detail_t& record);
    static void reset(om_open_detail_t& record);
    static void reset(om_seek_detail_t& record);
    static void reset(om_state_detail_t& record);
    static void reset(om_track_detail_t& record);
    static void reset(om_thumbnail_detail_t& record); ///< `resolution` -1, `data` null without freeing it
    static void reset(om_gps_info_t& record);
    static void reset(om_exif_info_t& record);
    static void reset(om_resrc_info_t& record);
    /// @}

    /// @name Copies
    /// @{

    /// Makes `to` equal to `from`, reserved fields included.
    static void copy(om_rational_t const& from, om_rational_t& to);
    static void copy(om_resolution_t const& from, om_resolution_t& to);
    static void copy(om_display_rect_t const& from, om_display_rect_t& to);
    static void copy(om_chapter_info_t const& from, om_chapter_info_t& to);
    static void copy(om_time_t const& from, om_time_t& to);
    static void copy(om_date_t const& from, om_date_t& to);
    static void copy(om_stream_info_t const& from, om_stream_info_t& to);
    static void copy(om_stream_info_group_t const& from, om_stream_info_group_t& to);
    static void copy(om_container_info_t const& from, om_container_info_t& to);
    static void copy(om_tag_info_t const& from, om_tag_info_t& to);
    static void copy(om_media_info_t const& from, om_media_info_t& to);
    static void copy(om_uri_info_t const& from, om_uri_info_t& to);
    static void copy(om_setting_info_t const& from, om_setting_info_t& to);
    static void copy(om_request_info_t const& from, om_request_info_t& to);
    static void copy(om_contents_info_t const& from, om_contents_info_t& to);
    static void copy(om_subtiltile_info_t const& from, om_subtiltile_info_t& to);
    static void copy(om_subtiltile_style_t const& from, om_subtiltile_style_t& to);
    static void copy(om_subtiltile_layout_t const& from, om_subtiltile_layout_t& to);
    static void copy(om_thumbnail_request_info_t const& from, om_thumbnail_request_info_t& to);
    static void copy(om_thumbnail_data_info_t const& from, om_thumbnail_data_info_t& to);
    static void copy(om_preview_request_info_t const& from, om_preview_request_info_t& to);
    static void copy(om_preview_constents_info_t const& from, om_preview_constents_info_t& to);
    static void copy(om_error_detail_t const& from, om_error_detail_t& to);
    static void copy(om_open_detail_t const& from, om_open_detail_t& to);
    static void copy(om_seek_detail_t const& from, om_seek_detail_t& to);
    static void copy(om_state_detail_t const& from, om_state_detail_t& to);
    static void copy(om_track_detail_t const& from, om_track_detail_t& to);

    /// Copies the picture as well: `to` keeps its own `data`, which must have room for the `size` bytes of `from`.
    static void copy(om_thumbnail_detail_t const& from, om_thumbnail_detail_t& to);

    static void copy(om_gps_info_t const& from, om_gps_info_t& to);
    static void copy(om_exif_info_t const& from, om_exif_info_t& to);
    static void copy(om_resrc_info_t const& from, om_resrc_info_t& to);
    /// @}

    /// Copies as many bytes as both sides have. No NUL is added: let `fsize` include the one of `from`, or keep the
    /// last byte of `to` out of `tsize`.
    /// @param fsize,tsize bytes
    /// @return 0, or -2 when a size is below 1, which copies nothing
    static int copy(char const* from, int fsize, char* to, int tsize);

    /// @name Dumps
    /// @{

    /// Puts a record into the debug output at level debug, one field a line. Those that no field is shown of put out
    /// "Called!" and no more: ratios, sizes, times, dates, places, chapters, streams and their groups, subtitle tracks
    /// and layouts, whole contents, thumbnails, and the details of a seek, a state, a track or a thumbnail.
    static void output(om_rational_t const& record);
    static void output(om_resolution_t const& record);
    static void output(om_display_rect_t const& record);
    static void output(om_chapter_info_t const& record);
    static void output(om_time_t const& record);
    static void output(om_date_t const& record);
    static void output(om_stream_info_t const& record);
    static void output(om_stream_info_group_t const& record);
    static void output(om_container_info_t const& record);
    static void output(om_tag_info_t const& record);
    static void output(om_media_info_t const& record);
    static void output(om_uri_info_t const& record);
    static void output(om_setting_info_t const& record);
    static void output(om_request_info_t const& record);
    static void output(om_contents_info_t const& record);
    static void output(om_subtiltile_info_t const& record);
    static void output(om_subtiltile_style_t const& record);
    static void output(om_subtiltile_layout_t const& record);
    static void output(om_thumbnail_request_info_t const& record);
    static void output(om_thumbnail_data_info_t const& record);
    static void output(om_preview_request_info_t const& record);
    static void output(om_preview_constents_info_t const& record);
    static void output(om_error_detail_t const& record);
    static void output(om_open_detail_t const& record);
    static void output(om_seek_detail_t const& record);
    static void output(om_state_detail_t const& record);
    static void output(om_track_detail_t const& record);
    static void output(om_thumbnail_detail_t const& record);
    static void output(om_gps_info_t const& record);
    static void output(om_exif_info_t const& record);
    static void output(om_resrc_info_t const& record);
    static void output(om_resrc_cfg_info_t const& record);
    /// @}

    /// @return the codec's display name, "unknown" for a value without one
    static OmString to_string(om_video_codec_e codec);

    /// @return the codec's display name, "unknown" for a value without one
    static OmString to_string(om_audio_codec_e codec);

    /// Reads a rectangle from text such as "{10,20,640,480}": left, top, width and height, in pixels.
    /// @param[in,out] rect fields that the text does not give keep their values, `zoom` always does
    /// @return 0, also when fewer numbers or none were found; -1 when `from` is empty or ends before a number could
    static int convert(OmString const& from, om_display_rect_t& rect);
};

/// Makes bytes printable: '*' for each zero byte; leading white space is skipped and the next one ends the text.
/// @param len bytes of `data`; below 1 gives an empty string
ORVANE_API OmString serializeChar(char const* data, int len);

} // namespace tz::orvane::om
