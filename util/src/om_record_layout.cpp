// SPDX-License-Identifier: Apache-2.0
// Checks the layout of the records on every target that the library is built for: a record that changes it no longer
// reads what the other end writes.
#include "orvane/om_records.h"

#include <cstddef>
#include <initializer_list>
#include <type_traits>

namespace tz::orvane::om
{

namespace
{

// The images are little-endian, and nobody turns them round.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

struct Place
{
    std::size_t actual;
    std::size_t expected;
};

constexpr bool placed(std::initializer_list<Place> fields)
{
    for (Place const& field : fields)
    {
        if (field.actual != field.expected)
        {
            return false;
        }
    }
    return true;
}

/// @return whether it can cross as raw memory, with this size and alignment
template <class Record> constexpr bool image(std::size_t size, std::size_t alignment)
{
    return std::is_trivially_copyable_v<Record> && std::is_standard_layout_v<Record> && sizeof(Record) == size &&
           alignof(Record) == alignment;
}

static_assert(image<om_rational_t>(8, 4));
static_assert(placed({{offsetof(om_rational_t, num), 0}, {offsetof(om_rational_t, den), 4}}));

static_assert(image<om_resolution_t>(8, 4));
static_assert(placed({{offsetof(om_resolution_t, width), 0}, {offsetof(om_resolution_t, height), 4}}));

static_assert(image<om_display_rect_t>(20, 4));
static_assert(placed({{offsetof(om_display_rect_t, px), 0},
                      {offsetof(om_display_rect_t, py), 4},
                      {offsetof(om_display_rect_t, width), 8},
                      {offsetof(om_display_rect_t, height), 12},
                      {offsetof(om_display_rect_t, zoom), 16}}));

static_assert(image<om_chapter_info_t>(288, 8));
static_assert(placed({{offsetof(om_chapter_info_t, start_pos), 0},
                      {offsetof(om_chapter_info_t, end_pos), 8},
                      {offsetof(om_chapter_info_t, name), 16},
                      {offsetof(om_chapter_info_t, lang), 272}}));

static_assert(image<om_time_t>(12, 4));
static_assert(
    placed({{offsetof(om_time_t, hour), 0}, {offsetof(om_time_t, minute), 4}, {offsetof(om_time_t, second), 8}}));

static_assert(image<om_date_t>(28, 4));
static_assert(placed({{offsetof(om_date_t, year), 0},
                      {offsetof(om_date_t, month), 4},
                      {offsetof(om_date_t, day), 8},
                      {offsetof(om_date_t, wday), 12},
                      {offsetof(om_date_t, time), 16}}));

static_assert(image<om_stream_info_t>(472, 4));
static_assert(placed({{offsetof(om_stream_info_t, id), 0},
                      {offsetof(om_stream_info_t, stream_type), 4},
                      {offsetof(om_stream_info_t, mime_type), 8},
                      {offsetof(om_stream_info_t, reserved), 40},
                      {offsetof(om_stream_info_t, detail), 108},
                      {offsetof(om_stream_info_t, video.width), 108},
                      {offsetof(om_stream_info_t, video.height), 112},
                      {offsetof(om_stream_info_t, video.fps), 116},
                      {offsetof(om_stream_info_t, audio.lang), 108},
                      {offsetof(om_stream_info_t, audio.codec), 124},
                      {offsetof(om_stream_info_t, audio.samplerate), 128},
                      {offsetof(om_stream_info_t, audio.ch), 132},
                      {offsetof(om_stream_info_t, audio.audio_format), 136},
                      {offsetof(om_stream_info_t, subtitle.title), 108},
                      {offsetof(om_stream_info_t, subtitle.lang), 172},
                      {offsetof(om_stream_info_t, subtitle.drawtype), 188},
                      {offsetof(om_stream_info_t, subtitle.embtype), 192}}));

static_assert(image<om_stream_info_group_t>(11340, 4));
static_assert(placed({{offsetof(om_stream_info_group_t, count), 0},
                      {offsetof(om_stream_info_group_t, streams), 4},
                      {offsetof(om_stream_info_group_t, reserved), 11332}}));

static_assert(image<om_container_info_t>(18916, 4));
static_assert(placed({{offsetof(om_container_info_t, videos_detail), 0},
                      {offsetof(om_container_info_t, video_count), 944},
                      {offsetof(om_container_info_t, video_selected), 948},
                      {offsetof(om_container_info_t, video_muted), 952},
                      {offsetof(om_container_info_t, audios_detail), 956},
                      {offsetof(om_container_info_t, audio_count), 9452},
                      {offsetof(om_container_info_t, audio_selected), 9456},
                      {offsetof(om_container_info_t, audio_muted), 9460},
                      {offsetof(om_container_info_t, subtitle_detail), 9464},
                      {offsetof(om_container_info_t, text_count), 18904},
                      {offsetof(om_container_info_t, text_selected), 18908},
                      {offsetof(om_container_info_t, text_muted), 18912}}));

static_assert(image<om_tag_info_t>(800, 4));
static_assert(placed({{offsetof(om_tag_info_t, title), 0},
                      {offsetof(om_tag_info_t, artist), 256},
                      {offsetof(om_tag_info_t, album), 512},
                      {offsetof(om_tag_info_t, year), 768},
                      {offsetof(om_tag_info_t, genre), 784}}));

static_assert(image<om_media_info_t>(984, 8));
static_assert(placed({{offsetof(om_media_info_t, media_type), 0},
                      {offsetof(om_media_info_t, file_size), 8},
                      {offsetof(om_media_info_t, duration), 16},
                      {offsetof(om_media_info_t, mime_type), 24},
                      {offsetof(om_media_info_t, resolution), 88},
                      {offsetof(om_media_info_t, frame_rate), 96},
                      {offsetof(om_media_info_t, hdr_type), 100},
                      {offsetof(om_media_info_t, color_depth), 104},
                      {offsetof(om_media_info_t, bit_rate), 108},
                      {offsetof(om_media_info_t, audio_codec), 112},
                      {offsetof(om_media_info_t, video_codec), 116},
                      {offsetof(om_media_info_t, audio_track_num), 120},
                      {offsetof(om_media_info_t, video_track_num), 124},
                      {offsetof(om_media_info_t, text_track_num), 128},
                      {offsetof(om_media_info_t, disp_rotation), 132},
                      {offsetof(om_media_info_t, par), 136},
                      {offsetof(om_media_info_t, audio_channel), 144},
                      {offsetof(om_media_info_t, sample_rate), 148},
                      {offsetof(om_media_info_t, create_date), 152},
                      {offsetof(om_media_info_t, cap_flags), 180},
                      {offsetof(om_media_info_t, tag), 184}}));

static_assert(image<om_uri_info_t>(4224, 4));
static_assert(placed({{offsetof(om_uri_info_t, orign_uri), 0},
                      {offsetof(om_uri_info_t, pure_uri), 2048},
                      {offsetof(om_uri_info_t, file_name), 4096},
                      {offsetof(om_uri_info_t, header), 4160}}));

static_assert(image<om_setting_info_t>(40, 4));
static_assert(placed({{offsetof(om_setting_info_t, disp_rect), 0},
                      {offsetof(om_setting_info_t, disp_rotate), 20},
                      {offsetof(om_setting_info_t, zoom_mode), 24},
                      {offsetof(om_setting_info_t, zoom_ratio), 28},
                      {offsetof(om_setting_info_t, play_speed), 32},
                      {offsetof(om_setting_info_t, volume), 36}}));

static_assert(image<om_request_info_t>(8536, 8));
static_assert(placed({{offsetof(om_request_info_t, req_id), 0},
                      {offsetof(om_request_info_t, uri), 4},
                      {offsetof(om_request_info_t, stage), 4228},
                      {offsetof(om_request_info_t, result), 4232},
                      {offsetof(om_request_info_t, err_detail), 4236},
                      {offsetof(om_request_info_t, reserved), 4240},
                      {offsetof(om_request_info_t, subtitle_uri), 4244},
                      {offsetof(om_request_info_t, app_type), 8468},
                      {offsetof(om_request_info_t, auto_start), 8472},
                      {offsetof(om_request_info_t, play_scene), 8476},
                      {offsetof(om_request_info_t, video_play_mode), 8480},
                      {offsetof(om_request_info_t, disp_rect), 8484},
                      {offsetof(om_request_info_t, start_pos), 8504},
                      {offsetof(om_request_info_t, end_pos), 8512},
                      {offsetof(om_request_info_t, bg_music), 8520},
                      {offsetof(om_request_info_t, m_smallWindowMode), 8524},
                      {offsetof(om_request_info_t, request_time), 8528}}));

static_assert(image<om_contents_info_t>(28752, 8));
static_assert(placed({{offsetof(om_contents_info_t, request), 0},
                      {offsetof(om_contents_info_t, media), 8536},
                      {offsetof(om_contents_info_t, container), 9520},
                      {offsetof(om_contents_info_t, reserved), 28436},
                      {offsetof(om_contents_info_t, setting), 28696},
                      {offsetof(om_contents_info_t, curr_pos), 28736},
                      {offsetof(om_contents_info_t, buffered_pos), 28744}}));

static_assert(image<om_subtiltile_info_t>(264, 4));
static_assert(placed({{offsetof(om_subtiltile_info_t, index), 0},
                      {offsetof(om_subtiltile_info_t, name), 4},
                      {offsetof(om_subtiltile_info_t, type), 260}}));

static_assert(image<om_subtiltile_style_t>(36, 4));
static_assert(placed({{offsetof(om_subtiltile_style_t, subtitle_x), 0},
                      {offsetof(om_subtiltile_style_t, subtitle_y), 4},
                      {offsetof(om_subtiltile_style_t, subtitle_width), 8},
                      {offsetof(om_subtiltile_style_t, subtitle_height), 12},
                      {offsetof(om_subtiltile_style_t, reserved), 16},
                      {offsetof(om_subtiltile_style_t, subtitle_color), 20},
                      {offsetof(om_subtiltile_style_t, subtitle_BGcolor), 24},
                      {offsetof(om_subtiltile_style_t, subtitle_fontsize), 28},
                      {offsetof(om_subtiltile_style_t, subtitle_charset), 32}}));

static_assert(image<om_subtiltile_layout_t>(12, 4));
static_assert(placed({{offsetof(om_subtiltile_layout_t, horizontal), 0},
                      {offsetof(om_subtiltile_layout_t, vertical), 4},
                      {offsetof(om_subtiltile_layout_t, line_spacing), 8}}));

static_assert(image<om_thumbnail_request_info_t>(2088, 8));
static_assert(placed({{offsetof(om_thumbnail_request_info_t, path), 0},
                      {offsetof(om_thumbnail_request_info_t, time_mode), 2048},
                      {offsetof(om_thumbnail_request_info_t, target_pos), 2056},
                      {offsetof(om_thumbnail_request_info_t, target_resolution), 2064},
                      {offsetof(om_thumbnail_request_info_t, color_space), 2072},
                      {offsetof(om_thumbnail_request_info_t, format), 2076},
                      {offsetof(om_thumbnail_request_info_t, flags), 2080}}));

static_assert(image<om_thumbnail_data_info_t>(2072, 8));
static_assert(placed({{offsetof(om_thumbnail_data_info_t, path), 0},
                      {offsetof(om_thumbnail_data_info_t, pos), 2048},
                      {offsetof(om_thumbnail_data_info_t, resolution), 2056},
                      {offsetof(om_thumbnail_data_info_t, color_space), 2064},
                      {offsetof(om_thumbnail_data_info_t, format), 2068}}));

static_assert(image<om_preview_request_info_t>(6360, 8));
static_assert(placed({{offsetof(om_preview_request_info_t, req_id), 0},
                      {offsetof(om_preview_request_info_t, media_type), 4},
                      {offsetof(om_preview_request_info_t, reserved), 8},
                      {offsetof(om_preview_request_info_t, uri), 12},
                      {offsetof(om_preview_request_info_t, scale), 4236},
                      {offsetof(om_preview_request_info_t, thumbnail), 4240},
                      {offsetof(om_preview_request_info_t, stage), 6328},
                      {offsetof(om_preview_request_info_t, app_name), 6332}}));

static_assert(image<om_preview_constents_info_t>(9000, 8));
static_assert(placed({{offsetof(om_preview_constents_info_t, request), 0},
                      {offsetof(om_preview_constents_info_t, thumbnail), 6360},
                      {offsetof(om_preview_constents_info_t, duration), 8432},
                      {offsetof(om_preview_constents_info_t, file_size), 8440},
                      {offsetof(om_preview_constents_info_t, create_time), 8448},
                      {offsetof(om_preview_constents_info_t, resolution), 8476},
                      {offsetof(om_preview_constents_info_t, artist), 8484},
                      {offsetof(om_preview_constents_info_t, album), 8740}}));

static_assert(image<om_error_detail_t>(260, 4));
static_assert(placed({{offsetof(om_error_detail_t, err_code), 0}, {offsetof(om_error_detail_t, err_str), 4}}));

static_assert(image<om_open_detail_t>(20168, 8));
static_assert(placed({{offsetof(om_open_detail_t, error), 0},
                      {offsetof(om_open_detail_t, media), 264},
                      {offsetof(om_open_detail_t, container), 1248}}));

static_assert(image<om_seek_detail_t>(288, 8));
static_assert(placed({{offsetof(om_seek_detail_t, error), 0},
                      {offsetof(om_seek_detail_t, start_pos), 264},
                      {offsetof(om_seek_detail_t, target_pos), 272},
                      {offsetof(om_seek_detail_t, result_pos), 280}}));

static_assert(image<om_state_detail_t>(12, 4));
static_assert(placed({{offsetof(om_state_detail_t, old_state), 0},
                      {offsetof(om_state_detail_t, new_state), 4},
                      {offsetof(om_state_detail_t, act_flags), 8}}));

static_assert(image<om_track_detail_t>(480, 8));
static_assert(placed({{offsetof(om_track_detail_t, stream), 0},
                      {offsetof(om_track_detail_t, track_type), 472},
                      {offsetof(om_track_detail_t, track_no), 476}}));

static_assert(image<om_gps_info_t>(64, 4));
static_assert(placed({{offsetof(om_gps_info_t, latitude), 0},
                      {offsetof(om_gps_info_t, longitude), 24},
                      {offsetof(om_gps_info_t, altitude), 48},
                      {offsetof(om_gps_info_t, latitude_ref), 56},
                      {offsetof(om_gps_info_t, longitude_ref), 58},
                      {offsetof(om_gps_info_t, altitude_ref), 60}}));

static_assert(image<om_exif_info_t>(260, 4));
static_assert(placed({{offsetof(om_exif_info_t, rotation), 0},
                      {offsetof(om_exif_info_t, mirror), 4},
                      {offsetof(om_exif_info_t, exposure_time), 8},
                      {offsetof(om_exif_info_t, f_number), 16},
                      {offsetof(om_exif_info_t, focal_length), 24},
                      {offsetof(om_exif_info_t, camera_model), 32},
                      {offsetof(om_exif_info_t, camera_maker), 96},
                      {offsetof(om_exif_info_t, color_space), 160},
                      {offsetof(om_exif_info_t, date_taken), 164},
                      {offsetof(om_exif_info_t, gps), 192},
                      {offsetof(om_exif_info_t, iso), 256}}));

static_assert(image<om_resrc_info_t>(88, 4));
static_assert(placed({{offsetof(om_resrc_info_t, enable), 0},
                      {offsetof(om_resrc_info_t, appId), 4},
                      {offsetof(om_resrc_info_t, cnid), 8},
                      {offsetof(om_resrc_info_t, plid), 12},
                      {offsetof(om_resrc_info_t, msgId), 16},
                      {offsetof(om_resrc_info_t, priority), 20},
                      {offsetof(om_resrc_info_t, state), 24},
                      {offsetof(om_resrc_info_t, count), 28},
                      {offsetof(om_resrc_info_t, resources), 32},
                      {offsetof(om_resrc_info_t, reserved), 80}}));

static_assert(image<om_resrc_cfg_info_t>(20, 4));
static_assert(placed({{offsetof(om_resrc_cfg_info_t, type), 0},
                      {offsetof(om_resrc_cfg_info_t, count), 4},
                      {offsetof(om_resrc_cfg_info_t, num), 8}}));

// The address in it has the width of the target's.
static_assert(placed({{offsetof(om_thumbnail_detail_t, error), 0},
                      {offsetof(om_thumbnail_detail_t, color_space), 260},
                      {offsetof(om_thumbnail_detail_t, format), 264},
                      {offsetof(om_thumbnail_detail_t, resolution), 268}}));
static_assert(sizeof(void*) != 4 ||
              (image<om_thumbnail_detail_t>(284, 4) &&
               placed({{offsetof(om_thumbnail_detail_t, data), 276}, {offsetof(om_thumbnail_detail_t, size), 280}})));

} // namespace

} // namespace tz::orvane::om
