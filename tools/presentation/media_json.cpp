// SPDX-License-Identifier: Apache-2.0
// What is known of a medium, for programs.
#include "presentation/media_json.h"

#include "orvane/om_enums.h"
#include "orvane/om_service.h"
#include "presentation/exif_values.h"
#include "presentation/labels.h"
#include "presentation/text.h"

#include <nlohmann/json.hpp>

namespace tz::orvane::tools
{

namespace
{

using Json = nlohmann::ordered_json;

void add(Json& object, char const* key, std::string const& text)
{
    if (!text.empty())
    {
        object[key] = printable(text);
    }
}

template <std::size_t N> void add(Json& object, char const* key, char const (&field)[N])
{
    add(object, key, fieldText(field));
}

/// Zero and negative numbers stand for "not known".
void add(Json& object, char const* key, long long number)
{
    if (number > 0)
    {
        object[key] = number;
    }
}

void add(Json& object, char const* key, std::optional<double> number)
{
    if (number)
    {
        object[key] = *number;
    }
}

void add(Json& object, char const* key, Json const& part)
{
    if (!part.empty())
    {
        object[key] = part;
    }
}

Json tagsOf(om::om_tag_info_t const& tag)
{
    Json tags = Json::object();
    add(tags, "title", tag.title);
    add(tags, "artist", tag.artist);
    add(tags, "album", tag.album);
    add(tags, "year", tag.year);
    add(tags, "genre", tag.genre);
    return tags;
}

Json capabilitiesOf(int flags)
{
    Json names = Json::array();
    for (std::string const& name : capabilityLabels(flags))
    {
        names.push_back(name);
    }
    return names;
}

/// A list of tracks; `describe` adds what is special of their kind.
template <std::size_t N, class Describe>
Json tracks(om::om_stream_info_t const (&streams)[N], int count, Describe describe)
{
    Json list = Json::array();
    for (om::om_stream_info_t const& stream : tracksOf(streams, count))
    {
        Json track = {{"number", stream.id}};
        add(track, "mime_type", stream.mime_type);
        describe(track, stream);
        list.push_back(track);
    }
    return list;
}

Json chaptersOf(std::vector<Chapter> const& chapters)
{
    Json list = Json::array();
    for (Chapter const& chapter : chapters)
    {
        Json entry = {{"start_ms", chapter.start}};
        add(entry, "end_ms", chapter.end);
        add(entry, "title", chapter.title);
        add(entry, "language", chapter.language);
        list.push_back(entry);
    }
    return list;
}

Json exifOf(om::om_exif_info_t const& exif)
{
    Json entry = {{"rotation", exif.rotation}, {"mirrored", exif.mirror != 0}};
    add(entry, "maker", exif.camera_maker);
    add(entry, "model", exif.camera_model);
    add(entry, "taken", dateLabel(exif.date_taken));
    add(entry, "exposure_time_s", valueOf(exif.exposure_time));
    add(entry, "f_number", valueOf(exif.f_number));
    add(entry, "focal_length_mm", valueOf(exif.focal_length));
    add(entry, "iso", exif.iso);
    if (auto const location = locationOf(exif.gps))
    {
        entry["latitude"] = location->latitude;
        entry["longitude"] = location->longitude;
    }
    add(entry, "altitude_m", altitudeOf(exif.gps));
    return entry;
}

} // namespace

std::string mediaJson(Medium const& medium)
{
    om::om_media_info_t const& info = medium.info;
    om::om_container_info_t const& container = medium.container;
    Json object = {{"uri", printable(medium.uri)}};
    add(object, "type", std::string(mediaTypeLabel(info.media_type)));
    add(object, "mime_type", info.mime_type);
    add(object, "file_size", static_cast<long long>(info.file_size)); // "not known" is -1 here
    add(object, "duration_ms", info.duration);
    add(object, "bit_rate", info.bit_rate);
    add(object, "width", info.resolution.width);
    add(object, "height", info.resolution.height);
    add(object, "frame_rate", info.frame_rate);
    add(object, "rotation", info.disp_rotation);
    if (info.par.num > 0 && info.par.den > 0)
    {
        object["pixel_aspect_ratio"] = {info.par.num, info.par.den};
    }
    add(object, "hdr", std::string(hdrLabel(info.hdr_type)));
    add(object, "color_depth", info.color_depth);
    add(object, "created", dateLabel(info.create_date));
    add(object, "capabilities", capabilitiesOf(info.cap_flags));
    add(object, "tags", tagsOf(info.tag));
    add(object, "video_tracks",
        tracks(container.videos_detail, container.video_count,
               [&](Json& track, om::om_stream_info_t const& stream)
               {
                   if (stream.id == 0 && info.video_codec != om::OM_VIDEO_CODEC_UNKNOWN)
                   {
                       track["codec"] = videoCodecLabel(info.video_codec);
                   }
                   add(track, "width", stream.video.width);
                   add(track, "height", stream.video.height);
                   add(track, "frame_rate", stream.video.fps);
               }));
    add(object, "audio_tracks",
        tracks(container.audios_detail, container.audio_count,
               [](Json& track, om::om_stream_info_t const& stream)
               {
                   track["codec"] = audioCodecLabel(stream.audio.codec);
                   add(track, "sample_rate", stream.audio.samplerate);
                   add(track, "channels", stream.audio.ch);
                   add(track, "language", stream.audio.lang);
               }));
    add(object, "subtitle_tracks",
        tracks(container.subtitle_detail, container.text_count,
               [](Json& track, om::om_stream_info_t const& stream)
               {
                   add(track, "title", stream.subtitle.title);
                   add(track, "language", stream.subtitle.lang);
               }));
    add(object, "chapters", chaptersOf(medium.chapters));
    if (medium.exif)
    {
        object["exif"] = exifOf(*medium.exif);
    }
    return object.dump() + "\n";
}

} // namespace tz::orvane::tools
