// SPDX-License-Identifier: Apache-2.0
// Copies of the records.
#include "orvane/om_type_util.h"

#include "om_type_util_log.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace tz::orvane::om
{

namespace
{

template <class Field> void copyField(Field const& from, Field& to)
{
    if constexpr (std::is_class_v<Field>)
    {
        OmTypeUtil::copy(from, to);
    }
    else
    {
        std::memmove(&to, &from, sizeof to);
    }
}

/// Copies one field after the other, the records among them through their own copy.
template <class Record, class... Field> void copyFields(Record const& from, Record& to, Field Record::*... fields)
{
    (copyField(from.*fields, to.*fields), ...);
}

} // namespace

void OmTypeUtil::copy(om_rational_t const& from, om_rational_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_resolution_t const& from, om_resolution_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_display_rect_t const& from, om_display_rect_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_chapter_info_t const& from, om_chapter_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_time_t const& from, om_time_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_date_t const& from, om_date_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_date_t;
    copyFields(from, to, &R::year, &R::month, &R::day, &R::wday, &R::time);
}

void OmTypeUtil::copy(om_stream_info_t const& from, om_stream_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_stream_info_group_t const& from, om_stream_info_group_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_container_info_t const& from, om_container_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_tag_info_t const& from, om_tag_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_media_info_t const& from, om_media_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_media_info_t;
    copyFields(from, to, &R::media_type, &R::reserved, &R::file_size, &R::duration, &R::mime_type, &R::resolution,
               &R::frame_rate, &R::hdr_type, &R::color_depth, &R::bit_rate, &R::audio_codec, &R::video_codec,
               &R::audio_track_num, &R::video_track_num, &R::text_track_num, &R::disp_rotation, &R::par,
               &R::audio_channel, &R::sample_rate, &R::create_date, &R::cap_flags, &R::tag);
}

void OmTypeUtil::copy(om_uri_info_t const& from, om_uri_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_setting_info_t const& from, om_setting_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_setting_info_t;
    copyFields(from, to, &R::disp_rect, &R::disp_rotate, &R::zoom_mode, &R::zoom_ratio, &R::play_speed, &R::volume);
}

void OmTypeUtil::copy(om_request_info_t const& from, om_request_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_contents_info_t const& from, om_contents_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_contents_info_t;
    copyFields(from, to, &R::request, &R::media, &R::container, &R::reserved, &R::setting, &R::curr_pos,
               &R::buffered_pos);
}

void OmTypeUtil::copy(om_subtiltile_info_t const& from, om_subtiltile_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_subtiltile_style_t const& from, om_subtiltile_style_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_subtiltile_layout_t const& from, om_subtiltile_layout_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_thumbnail_request_info_t const& from, om_thumbnail_request_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_thumbnail_request_info_t;
    copyFields(from, to, &R::path, &R::time_mode, &R::target_pos, &R::target_resolution, &R::color_space, &R::format,
               &R::flags);
}

void OmTypeUtil::copy(om_thumbnail_data_info_t const& from, om_thumbnail_data_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_thumbnail_data_info_t;
    copyFields(from, to, &R::path, &R::pos, &R::resolution, &R::color_space, &R::format);
}

void OmTypeUtil::copy(om_preview_request_info_t const& from, om_preview_request_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_preview_request_info_t;
    copyFields(from, to, &R::req_id, &R::media_type, &R::reserved, &R::uri, &R::scale, &R::thumbnail, &R::stage,
               &R::app_name);
}

void OmTypeUtil::copy(om_preview_constents_info_t const& from, om_preview_constents_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_preview_constents_info_t;
    copyFields(from, to, &R::request, &R::thumbnail, &R::duration, &R::file_size, &R::create_time, &R::resolution,
               &R::artist, &R::album);
}

void OmTypeUtil::copy(om_error_detail_t const& from, om_error_detail_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_open_detail_t const& from, om_open_detail_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_open_detail_t;
    copyFields(from, to, &R::error, &R::media, &R::container);
}

void OmTypeUtil::copy(om_seek_detail_t const& from, om_seek_detail_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_seek_detail_t;
    copyFields(from, to, &R::error, &R::start_pos, &R::target_pos, &R::result_pos);
}

void OmTypeUtil::copy(om_state_detail_t const& from, om_state_detail_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_track_detail_t const& from, om_track_detail_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_track_detail_t;
    copyFields(from, to, &R::stream, &R::track_type, &R::track_no);
}

void OmTypeUtil::copy(om_thumbnail_detail_t const& from, om_thumbnail_detail_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_thumbnail_detail_t;
    copyFields(from, to, &R::error, &R::color_space, &R::format, &R::resolution, &R::size);
    std::copy_n(from.data, from.size, to.data);
}

void OmTypeUtil::copy(om_gps_info_t const& from, om_gps_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

void OmTypeUtil::copy(om_exif_info_t const& from, om_exif_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    using R = om_exif_info_t;
    copyFields(from, to, &R::rotation, &R::mirror, &R::exposure_time, &R::f_number, &R::focal_length, &R::camera_model,
               &R::camera_maker, &R::color_space, &R::date_taken, &R::gps, &R::iso);
}

void OmTypeUtil::copy(om_resrc_info_t const& from, om_resrc_info_t& to)
{
    ORVANE_LOG_DEBUG("Called!");
    to = from;
}

} // namespace tz::orvane::om
