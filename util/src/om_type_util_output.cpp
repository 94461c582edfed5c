// SPDX-License-Identifier: Apache-2.0
// Dumps of the records.
#include "orvane/om_type_util.h"

#include "om_type_util_log.h"

#include <algorithm>

namespace tz::orvane::om
{

namespace
{

constexpr char kEntryIndent[] = "     ";
constexpr char kResourceIndent[] = "    ";

template <std::size_t size> void logBracketed(platform::LogSite const& site, char const* name, char const (&text)[size])
{
    ORVANE_LOG_AT(platform::DebugLevel::debug, site, "%s:[%.*s]", name, shownLength(text, size), text);
}

/// Of a list of streams: what all kinds have in common, then what the kind has of its own.
/// @param count as the record tells it, which may be more than the list holds
template <int capacity, class LogDetail>
void logStreams(FieldLog const& entry, om_stream_info_t const (&streams)[capacity], int count, char const* mimeLabel,
                LogDetail logDetail)
{
    for (int i = 0; i < std::min(count, capacity); ++i)
    {
        entry.field("id", streams[i].id);
        entry.field("stream_type", streams[i].stream_type);
        entry.field(mimeLabel, streams[i].mime_type);
        logDetail(streams[i]);
    }
}

} // namespace

void OmTypeUtil::output(om_display_rect_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" Disp-rect-Info:");
    FieldLog const log(ORVANE_LOG_SITE);
    logEdges(log, record);
    log.field("zoom", record.zoom);
}

void OmTypeUtil::output(om_container_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    FieldLog const log(ORVANE_LOG_SITE);
    FieldLog const entry(ORVANE_LOG_SITE, kEntryIndent);

    ORVANE_LOG_DEBUG(" Container-Info:(video)");
    log.field("count", record.video_count);
    log.field("selected", record.video_selected);
    log.field("muted", record.video_muted);
    ORVANE_LOG_DEBUG(" |- videos_detail:");
    logStreams(entry, record.videos_detail, record.video_count, "mime_type",
               [&](om_stream_info_t const& stream)
               {
                   entry.field("video.width", stream.video.width);
                   entry.field("video.height", stream.video.height);
                   entry.field("video.fps", stream.video.fps);
               });

    ORVANE_LOG_DEBUG(" Container-Info:(audio)");
    log.field("count", record.audio_count);
    log.field("selected", record.audio_selected);
    log.field("muted", record.audio_muted);
    ORVANE_LOG_DEBUG(" |- audios_detail:");
    // The second "stream_type" is the mime type: who reads these logs knows it under that label.
    logStreams(entry, record.audios_detail, record.audio_count, "stream_type",
               [&](om_stream_info_t const& stream)
               {
                   entry.field("audio.lang", stream.audio.lang);
                   entry.field("audio.codec", stream.audio.codec);
                   entry.field("audio.samplerate", stream.audio.samplerate);
                   entry.field("audio.ch", stream.audio.ch);
                   entry.field("audio.audio_format", stream.audio.audio_format);
               });

    ORVANE_LOG_DEBUG(" Container-Info:(subtitle)");
    log.field("count", record.text_count);
    log.field("selected", record.text_selected);
    log.field("muted", record.text_muted);
    ORVANE_LOG_DEBUG(" |- subtitle_detail:");
    logStreams(entry, record.subtitle_detail, record.text_count, "mime_type",
               [&](om_stream_info_t const& stream)
               {
                   entry.field("subtitle.title", stream.subtitle.title);
                   entry.field("subtitle.lang", stream.subtitle.lang);
                   entry.field("subtitle.drawtype", stream.subtitle.drawtype);
                   entry.field("subtitle.embtype", stream.subtitle.embtype);
               });
}

void OmTypeUtil::output(om_tag_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" Tag-Info:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("title", record.title);
    log.field("artist", record.artist);
    log.field("album", record.album);
    log.field("year", record.year);
    log.field("genre", record.genre);
}

void OmTypeUtil::output(om_media_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" Meta-Info:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("media_type", record.media_type);
    log.field("file_size", record.file_size);
    log.field("duration", record.duration);
    log.field("mime_type", record.mime_type);
    log.field("width", record.resolution.width);
    log.field("height", record.resolution.height);
    log.field("frame_rate", record.frame_rate);
    log.field("hdr_type", record.hdr_type);
    log.field("color_depth", record.color_depth);
    log.field("bit_rate", record.bit_rate);
    log.field("audio_codec", record.audio_codec);
    log.field("video_codec", record.video_codec);
    log.field("audio_track_num", record.audio_track_num);
    log.field("video_track_num", record.video_track_num);
    log.field("text_track_num", record.text_track_num);
    log.field("disp_rotation", record.disp_rotation);
    ORVANE_LOG_DEBUG(" |- par=%d:%d", record.par.num, record.par.den);
    log.field("audio_channel", record.audio_channel);
    log.field("sample_rate", record.sample_rate);
    om_date_t const& date = record.create_date;
    ORVANE_LOG_DEBUG(" |- create_date=%04d-%02d-%02d(%d)::%02d::%02d::%02d", date.year, date.month, date.day, date.wday,
                     date.time.hour, date.time.minute, date.time.second);
    log.field("cap_flags", record.cap_flags);
    output(record.tag);
}

void OmTypeUtil::output(om_uri_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    logBracketed(ORVANE_LOG_SITE, "orign_uri", record.orign_uri);
    logBracketed(ORVANE_LOG_SITE, "pure_uri", record.pure_uri);
    logBracketed(ORVANE_LOG_SITE, "file_name", record.file_name);
    logBracketed(ORVANE_LOG_SITE, "header", record.header);
}

void OmTypeUtil::output(om_setting_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" Setting-Info:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("disp_rotate", record.disp_rotate);
    log.field("zoom_mode", record.zoom_mode);
    log.field("zoom_ratio", record.zoom_mode); // the mode, as who reads these logs knows it
    log.field("play_speed", record.play_speed);
    log.field("volume", record.volume);
}

void OmTypeUtil::output(om_request_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" Request-Info:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("req_id", record.req_id);
    log.field("stage", record.stage);
    log.field("result", record.result);
    log.field("err_detail", record.err_detail);
    log.field("app_type", record.app_type);
    log.field("auto_start", record.auto_start);
    log.field("play_scene", record.play_scene);
    log.field("video_play_mode", record.video_play_mode);
    log.field("bg_music", record.bg_music);
    log.field("m_smallWindowMode", record.m_smallWindowMode);
}

void OmTypeUtil::output(om_subtiltile_style_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG("Subtitle style:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("subtitle_x", record.subtitle_x);
    log.field("subtitle_y", record.subtitle_y);
    log.field("subtitle_width", record.subtitle_width);
    log.field("subtitle_height", record.subtitle_height);
    log.field("subtitle_color", record.subtitle_color);
    log.field("subtitle_BGcolor", record.subtitle_BGcolor);
    log.field("subtitle_fontsize", record.subtitle_fontsize);
    log.field("subtitle_charset", record.subtitle_charset);
}

void OmTypeUtil::output(om_preview_request_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" Request Info:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("req_id", record.req_id);
    log.field("media_type", record.media_type);
    log.field("scale", record.scale);
}

void OmTypeUtil::output(om_preview_constents_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    om_preview_request_info_t const& request = record.request;
    om_thumbnail_request_info_t const& target = request.thumbnail;
    om_date_t const& date = record.create_time;
    ORVANE_LOG_DEBUG(" Preview-Content:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("request id", request.req_id);
    log.field("orign uri", request.uri.orign_uri);
    log.field("pure uri", request.uri.pure_uri);
    log.field("media type", request.media_type);
    log.field("duration", record.duration);
    log.field("file size", record.file_size);
    log.field("artist", record.artist);
    log.field("album", record.album);
    ORVANE_LOG_DEBUG(" |- resolution=(%d, %d)", record.resolution.width, record.resolution.height);
    ORVANE_LOG_DEBUG(" |- create time=%d/%d/%d %d:%d:%d", date.year, date.month, date.day, date.time.hour,
                     date.time.minute, date.time.second);
    log.field("flags", target.flags);
    log.field("time mode", target.time_mode);
    log.field("target pos", target.target_pos);
    log.field("color space", target.color_space);
    log.field("format", target.format);
    ORVANE_LOG_DEBUG(" |- target resolution=(%d, %d)", target.target_resolution.width, target.target_resolution.height);
}

void OmTypeUtil::output(om_error_detail_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" Error-Detail:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("err_code", record.err_code);
    log.field("err_str", record.err_str);
}

void OmTypeUtil::output(om_open_detail_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    output(record.error);
    output(record.media);
    output(record.container);
}

void OmTypeUtil::output(om_exif_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" ExifInfo:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("rotation", record.rotation);
    ORVANE_LOG_DEBUG(" |- mirror=%s", record.mirror != 0 ? "TRUE" : "FALSE");
    log.field("camera_model", record.camera_model);
    log.field("color_space", record.color_space);
    log.field("iso", record.iso);
}

void OmTypeUtil::output(om_resrc_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" resource-player-Info:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("enable", record.enable);
    log.field("appId", record.appId);
    log.field("cnid", record.cnid);
    log.field("plid", record.plid);
    ORVANE_LOG_DEBUG(" |- msgId=%x", record.msgId);
    log.field("priority", record.priority);
    log.field("state", record.state);

    FieldLog const entry(ORVANE_LOG_SITE, kResourceIndent);
    for (int i = 0; i < std::min(record.count, om_resrc_info_t::kCapacity); ++i)
    {
        om_resrc_entry_t const& resource = record.resources[i];
        entry.field("type", resource.type);
        entry.field("limit_num", resource.limit_num);
        entry.field("req_num", resource.req_num);
        entry.field("curr_num", resource.curr_num);
    }
}

void OmTypeUtil::output(om_resrc_cfg_info_t const& record)
{
    ORVANE_LOG_DEBUG("Called!");
    ORVANE_LOG_DEBUG(" resource-cfg-Info:");
    FieldLog const log(ORVANE_LOG_SITE);
    log.field("type", record.type);

    FieldLog const entry(ORVANE_LOG_SITE, kResourceIndent);
    for (int i = 0; i < std::min(record.count, om_resrc_cfg_info_t::kCapacity); ++i)
    {
        entry.field("num", record.num[i]);
    }
}

// These have no field dump: that they were asked for is all that is told.

void OmTypeUtil::output(om_rational_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_resolution_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_chapter_info_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_time_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_date_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_stream_info_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_stream_info_group_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_contents_info_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_subtiltile_info_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_subtiltile_layout_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_thumbnail_request_info_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_thumbnail_data_info_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_seek_detail_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_state_detail_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_track_detail_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_thumbnail_detail_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

void OmTypeUtil::output(om_gps_info_t const&)
{
    ORVANE_LOG_DEBUG("Called!");
}

} // namespace tz::orvane::om
