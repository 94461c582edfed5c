// SPDX-License-Identifier: Apache-2.0
// Initial values of the records. Only records in which every byte belongs to a field are assigned as a whole.
#include "orvane/om_type_util.h"

#include "om_type_util_log.h"

#include <cstring>

namespace tz::orvane::om
{

namespace
{

/// For numbers and text.
template <class... Field> void setZero(Field&... fields)
{
    (std::memset(&fields, 0, sizeof fields), ...);
}

template <class... Field> void setUnknown(Field&... fields)
{
    ((fields = -1), ...);
}

template <class Record, std::size_t size> void resetAll(Record (&records)[size])
{
    for (Record& record : records)
    {
        OmTypeUtil::reset(record);
    }
}

} // namespace

void OmTypeUtil::reset(om_rational_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_resolution_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_display_rect_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_chapter_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_time_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {-1, -1, -1};
}

void OmTypeUtil::reset(om_date_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    setUnknown(record.year, record.month, record.day, record.wday);
    reset(record.time);
}

void OmTypeUtil::reset(om_stream_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record.id = -1;
    setZero(record.stream_type, record.mime_type, record.detail);
}

void OmTypeUtil::reset(om_stream_info_group_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record.count = -1;
    resetAll(record.streams);
}

void OmTypeUtil::reset(om_container_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    resetAll(record.videos_detail);
    setUnknown(record.video_count, record.video_selected);
    resetAll(record.audios_detail);
    setUnknown(record.audio_count, record.audio_selected);
    resetAll(record.subtitle_detail);
    setUnknown(record.text_count, record.text_selected);
    setZero(record.video_muted, record.audio_muted, record.text_muted);
}

void OmTypeUtil::reset(om_tag_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_media_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    setZero(record.media_type, record.file_size, record.mime_type, record.frame_rate, record.hdr_type,
            record.audio_codec, record.video_codec, record.disp_rotation, record.audio_channel, record.cap_flags);
    setUnknown(record.duration, record.color_depth, record.bit_rate, record.audio_track_num, record.video_track_num,
               record.text_track_num, record.sample_rate);
    reset(record.resolution);
    record.resolution = {-1, -1}; // not known, rather than none
    reset(record.par);
    reset(record.create_date);
    reset(record.tag);
}

void OmTypeUtil::reset(om_uri_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_setting_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.disp_rect);
    setZero(record.disp_rotate, record.zoom_mode, record.zoom_ratio, record.volume);
    record.play_speed = OM_PLAY_SPEED_NORMAL;
}

void OmTypeUtil::reset(om_request_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.uri);
    reset(record.subtitle_uri);
    reset(record.disp_rect);
    setZero(record.req_id, record.stage, record.result, record.err_detail, record.app_type, record.auto_start,
            record.video_play_mode, record.start_pos, record.m_smallWindowMode, record.request_time);
    record.play_scene = 1;
    record.end_pos = -1;
    record.bg_music = 3;
}

void OmTypeUtil::reset(om_contents_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.request);
    reset(record.media);
    reset(record.container);
    reset(record.setting);
    setZero(record.curr_pos, record.buffered_pos);
}

void OmTypeUtil::reset(om_subtiltile_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record.index = -1;
    setZero(record.name, record.type);
}

void OmTypeUtil::reset(om_subtiltile_style_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    setUnknown(record.subtitle_x, record.subtitle_y, record.subtitle_width, record.subtitle_height,
               record.subtitle_charset);
    record.subtitle_color = 256;
    record.subtitle_BGcolor = 256;
    record.subtitle_fontsize = 200;
}

void OmTypeUtil::reset(om_subtiltile_layout_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {1, 1, -1};
}

void OmTypeUtil::reset(om_thumbnail_request_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record.target_pos = -1;
    record.target_resolution = {-1, -1};
    setZero(record.path, record.time_mode, record.color_space, record.format, record.flags);
}

void OmTypeUtil::reset(om_thumbnail_data_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record.pos = -1;
    reset(record.resolution);
    setZero(record.path, record.color_space, record.format);
}

void OmTypeUtil::reset(om_preview_request_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.uri);
    reset(record.thumbnail);
    setZero(record.req_id, record.media_type, record.scale, record.stage);
    record.app_name[0] = '\0';
}

void OmTypeUtil::reset(om_preview_constents_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.request);
    reset(record.thumbnail);
    reset(record.create_time);
    reset(record.resolution);
    record.duration = -1;
    setZero(record.file_size, record.artist, record.album);
}

void OmTypeUtil::reset(om_error_detail_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_open_detail_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.error);
    reset(record.media);
    reset(record.container);
}

void OmTypeUtil::reset(om_seek_detail_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.error);
    setZero(record.start_pos, record.target_pos, record.result_pos);
}

void OmTypeUtil::reset(om_state_detail_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_track_detail_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.stream);
    setZero(record.track_type, record.track_no);
}

void OmTypeUtil::reset(om_thumbnail_detail_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.error);
    setZero(record.color_space, record.format, record.size);
    record.resolution = {-1, -1};
    record.data = nullptr;
}

void OmTypeUtil::reset(om_gps_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

void OmTypeUtil::reset(om_exif_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    reset(record.exposure_time);
    reset(record.f_number);
    reset(record.focal_length);
    reset(record.date_taken);
    reset(record.gps);
    setZero(record.rotation, record.mirror, record.camera_model, record.camera_maker, record.color_space, record.iso);
}

void OmTypeUtil::reset(om_resrc_info_t& record)
{
    ORVANE_LOG_DEBUG("Called!");
    record = {};
}

} // namespace tz::orvane::om
