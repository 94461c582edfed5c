// SPDX-License-Identifier: Apache-2.0
// Layout of what crosses the process border as raw memory beyond the places of a record's fields: signs, enumerations,
// the messenger's configuration.
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

using Offsets = std::vector<std::size_t>;

// Sizes, alignments and offsets of the records are checked when the library is compiled.
TEST(Records, numbersAreSignedUnlessTheyAreSizesColoursOrIds)
{
    EXPECT_TRUE((std::is_same_v<decltype(om_rational_t::num), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_display_rect_t::px), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_date_t::year), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_stream_info_t::id), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_stream_info_group_t::count), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_container_info_t::video_count), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_container_info_t::audio_selected), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_container_info_t::text_count), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_media_info_t::file_size), std::uint64_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_media_info_t::duration), std::int64_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_media_info_t::audio_track_num), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_media_info_t::bit_rate), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_chapter_info_t::start_pos), std::int64_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_chapter_info_t::end_pos), std::int64_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_subtiltile_style_t::subtitle_x), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_subtiltile_style_t::subtitle_charset), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_subtiltile_style_t::subtitle_color), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_subtiltile_style_t::subtitle_BGcolor), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_thumbnail_request_info_t::target_pos), std::int64_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_preview_constents_info_t::duration), std::int64_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_preview_constents_info_t::file_size), std::uint64_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_error_detail_t::err_code), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_exif_info_t::rotation), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_exif_info_t::mirror), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_exif_info_t::color_space), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_exif_info_t::iso), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_resrc_info_t::appId), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_resrc_info_t::cnid), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(om_resrc_info_t::plid), std::uint32_t>));
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
