// SPDX-License-Identifier: Apache-2.0
// Layout of what crosses the process border as raw memory: records, enumerations, the messenger's configuration.
#include "orvane/om_enums.h"
#include "orvane/om_records.h"
#include "orvane/platform/mdtc_messenger.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace tz::orvane::om
{

namespace
{

template <class Record> void expectLayout(std::size_t size, std::size_t alignment)
{
    EXPECT_EQ(sizeof(Record), size);
    EXPECT_EQ(alignof(Record), alignment);
    EXPECT_TRUE(std::is_trivially_copyable_v<Record>);
    EXPECT_TRUE(std::is_standard_layout_v<Record>);
}

using Offsets = std::vector<std::size_t>;

TEST(Records, rationalAndResolution)
{
    expectLayout<om_rational_t>(8, 4);
    EXPECT_EQ((Offsets{offsetof(om_rational_t, num), offsetof(om_rational_t, den)}), (Offsets{0, 4}));
    expectLayout<om_resolution_t>(8, 4);
    EXPECT_EQ((Offsets{offsetof(om_resolution_t, width), offsetof(om_resolution_t, height)}), (Offsets{0, 4}));
}

TEST(Records, displayRect)
{
    using R = om_display_rect_t;
    expectLayout<R>(20, 4);
    EXPECT_EQ((Offsets{offsetof(R, px), offsetof(R, py), offsetof(R, width), offsetof(R, height), offsetof(R, zoom)}),
              (Offsets{0, 4, 8, 12, 16}));
}

TEST(Records, chapterInfo)
{
    using R = om_chapter_info_t;
    expectLayout<R>(288, 8);
    EXPECT_EQ((Offsets{offsetof(R, start_pos), offsetof(R, end_pos), offsetof(R, name), offsetof(R, lang)}),
              (Offsets{0, 8, 16, 272}));
    EXPECT_EQ((Offsets{sizeof R::start_pos, sizeof R::end_pos, sizeof R::name, sizeof R::lang}),
              (Offsets{8, 8, 256, 16}));
}

TEST(Records, timeAndDate)
{
    expectLayout<om_time_t>(12, 4);
    EXPECT_EQ((Offsets{offsetof(om_time_t, hour), offsetof(om_time_t, minute), offsetof(om_time_t, second)}),
              (Offsets{0, 4, 8}));
    using R = om_date_t;
    expectLayout<R>(28, 4);
    EXPECT_EQ((Offsets{offsetof(R, year), offsetof(R, month), offsetof(R, day), offsetof(R, wday), offsetof(R, time)}),
              (Offsets{0, 4, 8, 12, 16}));
}

TEST(Records, streamInfo)
{
    using R = om_stream_info_t;
    expectLayout<R>(472, 4);
    EXPECT_EQ((Offsets{offsetof(R, id), offsetof(R, stream_type), offsetof(R, mime_type)}), (Offsets{0, 4, 8}));
    EXPECT_EQ((Offsets{offsetof(R, video.width), offsetof(R, video.height), offsetof(R, video.fps)}),
              (Offsets{108, 112, 116}));
    EXPECT_EQ((Offsets{offsetof(R, audio.lang), offsetof(R, audio.codec), offsetof(R, audio.samplerate),
                       offsetof(R, audio.ch), offsetof(R, audio.audio_format)}),
              (Offsets{108, 124, 128, 132, 136}));
    EXPECT_EQ((Offsets{offsetof(R, subtitle.title), offsetof(R, subtitle.lang), offsetof(R, subtitle.drawtype),
                       offsetof(R, subtitle.embtype)}),
              (Offsets{108, 172, 188, 192}));
    EXPECT_EQ((Offsets{sizeof R::mime_type, sizeof om_audio_stream_detail_t::lang,
                       sizeof om_subtitle_stream_detail_t::title, sizeof om_subtitle_stream_detail_t::lang}),
              (Offsets{32, 16, 64, 16}));
}

TEST(Records, streamInfoGroup)
{
    using R = om_stream_info_group_t;
    expectLayout<R>(11340, 4);
    EXPECT_EQ((Offsets{offsetof(R, count), offsetof(R, streams)}), (Offsets{0, 4}));
    EXPECT_EQ(sizeof R::streams, 24U * 472U);
}

TEST(Records, containerInfo)
{
    using R = om_container_info_t;
    expectLayout<R>(18916, 4);
    EXPECT_EQ((Offsets{offsetof(R, videos_detail), offsetof(R, video_count), offsetof(R, video_selected),
                       offsetof(R, video_muted)}),
              (Offsets{0, 944, 948, 952}));
    EXPECT_EQ((Offsets{offsetof(R, audios_detail), offsetof(R, audio_count), offsetof(R, audio_selected),
                       offsetof(R, audio_muted)}),
              (Offsets{956, 9452, 9456, 9460}));
    EXPECT_EQ((Offsets{offsetof(R, subtitle_detail), offsetof(R, text_count), offsetof(R, text_selected),
                       offsetof(R, text_muted)}),
              (Offsets{9464, 18904, 18908, 18912}));
}

TEST(Records, tagInfo)
{
    using R = om_tag_info_t;
    expectLayout<R>(800, 4);
    EXPECT_EQ(
        (Offsets{offsetof(R, title), offsetof(R, artist), offsetof(R, album), offsetof(R, year), offsetof(R, genre)}),
        (Offsets{0, 256, 512, 768, 784}));
    EXPECT_EQ(sizeof R::genre, 16U);
}

TEST(Records, mediaInfo)
{
    using R = om_media_info_t;
    expectLayout<R>(984, 8);
    EXPECT_EQ((Offsets{offsetof(R, media_type), offsetof(R, file_size), offsetof(R, duration), offsetof(R, mime_type),
                       offsetof(R, resolution)}),
              (Offsets{0, 8, 16, 24, 88}));
    EXPECT_EQ((Offsets{offsetof(R, frame_rate), offsetof(R, hdr_type), offsetof(R, color_depth), offsetof(R, bit_rate),
                       offsetof(R, audio_codec), offsetof(R, video_codec)}),
              (Offsets{96, 100, 104, 108, 112, 116}));
    EXPECT_EQ((Offsets{offsetof(R, audio_track_num), offsetof(R, video_track_num), offsetof(R, text_track_num),
                       offsetof(R, disp_rotation), offsetof(R, par)}),
              (Offsets{120, 124, 128, 132, 136}));
    EXPECT_EQ((Offsets{offsetof(R, audio_channel), offsetof(R, sample_rate), offsetof(R, create_date),
                       offsetof(R, cap_flags), offsetof(R, tag)}),
              (Offsets{144, 148, 152, 180, 184}));
    EXPECT_TRUE(std::is_unsigned_v<decltype(R::file_size)>);
    EXPECT_TRUE(std::is_signed_v<decltype(R::duration)>);
}

TEST(Records, subtitleStyle)
{
    using R = om_subtiltile_style_t;
    expectLayout<R>(36, 4);
    EXPECT_EQ((Offsets{offsetof(R, subtitle_x), offsetof(R, subtitle_y), offsetof(R, subtitle_width),
                       offsetof(R, subtitle_height)}),
              (Offsets{0, 4, 8, 12}));
    EXPECT_EQ((Offsets{offsetof(R, subtitle_color), offsetof(R, subtitle_BGcolor), offsetof(R, subtitle_fontsize),
                       offsetof(R, subtitle_charset)}),
              (Offsets{20, 24, 28, 32}));
    EXPECT_TRUE((std::is_same_v<decltype(R::subtitle_color), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(R::subtitle_BGcolor), std::uint32_t>));
}

TEST(Records, trackDetail)
{
    using R = om_track_detail_t;
    expectLayout<R>(480, 8);
    EXPECT_EQ((Offsets{offsetof(R, stream), offsetof(R, track_type), offsetof(R, track_no)}), (Offsets{0, 472, 476}));
}

TEST(Records, exifInfo)
{
    expectLayout<om_exif_rational_t>(8, 4);
    expectLayout<om_gps_info_t>(64, 4);
    using R = om_exif_info_t;
    expectLayout<R>(260, 4);
    EXPECT_EQ((Offsets{offsetof(R, rotation), offsetof(R, mirror), offsetof(R, exposure_time), offsetof(R, f_number),
                       offsetof(R, focal_length)}),
              (Offsets{0, 4, 8, 16, 24}));
    EXPECT_EQ((Offsets{offsetof(R, camera_model), offsetof(R, camera_maker), offsetof(R, color_space),
                       offsetof(R, date_taken), offsetof(R, gps), offsetof(R, iso)}),
              (Offsets{32, 96, 160, 164, 192, 256}));
}

TEST(Records, uriInfo)
{
    using R = om_uri_info_t;
    expectLayout<R>(4224, 4);
    EXPECT_EQ((Offsets{offsetof(R, orign_uri), offsetof(R, pure_uri), offsetof(R, file_name), offsetof(R, header)}),
              (Offsets{0, 2048, 4096, 4160}));
    EXPECT_EQ(sizeof R::header, 64U);
}

TEST(Enumerations, travelAs32BitNumbers)
{
    EXPECT_EQ((Offsets{sizeof(om_state_e), sizeof(om_play_speed_e), sizeof(om_display_rotate_e), sizeof(om_zoom_mode_e),
                       sizeof(om_zoom_ratio_e), sizeof(om_photo_move_direction_e), sizeof(om_image_animation_e),
                       sizeof(om_location_mode_e), sizeof(om_video_codec_e), sizeof(om_audio_codec_e)}),
              Offsets(10, 4));
}

#if defined(__arm__)
TEST(Layout, messengerConfigurationOnArm)
{
    using C = mdt::_MdtInitParCfg_t;
    EXPECT_EQ(sizeof(C), 132U);
    EXPECT_EQ((Offsets{offsetof(C, send_capacity), offsetof(C, receive_capacity), offsetof(C, event_capacity),
                       offsetof(C, callback), offsetof(C, name), offsetof(C, flags)}),
              (Offsets{12, 52, 64, 100, 104, 128}));
}
#endif

} // namespace

} // namespace tz::orvane::om
