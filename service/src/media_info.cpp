// SPDX-License-Identifier: Apache-2.0
// What an open pipeline tells about its medium, as the records that clients get.
#include "media_info.h"

#include "codec_map.h"
#include "stream_caps.h"
#include "text_field.h"

#include "orvane/om_service.h"

#include <gst/audio/audio.h>
#include <gst/tag/tag.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cstring>

namespace tz::orvane::service
{

namespace
{

constexpr int kUnknown = -1;

/// A demuxer that does not know the size of its data makes something up.
constexpr gint64 kLongestDuration = 1000LL * 3600 * GST_SECOND;

void clear(om::om_date_t& date)
{
    date = {kUnknown, kUnknown, kUnknown, kUnknown, {kUnknown, kUnknown, kUnknown}};
}

MediaInfo emptyInfo()
{
    MediaInfo info;
    std::memset(&info.media, 0, sizeof info.media);
    std::memset(&info.container, 0, sizeof info.container);
    info.seekable = false;
    info.media.duration = kUnknown;
    info.media.resolution = {kUnknown, kUnknown};
    info.media.color_depth = kUnknown;
    info.media.bit_rate = kUnknown;
    info.media.sample_rate = kUnknown;
    clear(info.media.create_date);
    for (auto* const list :
         {info.container.videos_detail, info.container.audios_detail, info.container.subtitle_detail})
    {
        int const capacity = list == info.container.videos_detail   ? om::om_container_info_t::kVideoCapacity
                             : list == info.container.audios_detail ? om::om_container_info_t::kAudioCapacity
                                                                    : om::om_container_info_t::kTextCapacity;
        std::for_each(list, list + capacity, [](om::om_stream_info_t& stream) { stream.id = kUnknown; });
    }
    info.container.video_selected = kUnknown;
    info.container.audio_selected = kUnknown;
    info.container.text_selected = kUnknown;
    return info;
}

std::string tagText(GstTagList const* tags, char const* tag)
{
    gchar* value = nullptr;
    if (tags == nullptr || gst_tag_list_get_string(tags, tag, &value) == FALSE)
    {
        return {};
    }
    TextPtr const owner(value);
    return owner.get();
}

unsigned int tagNumber(GstTagList const* tags, char const* tag)
{
    guint value = 0;
    if (tags != nullptr)
    {
        gst_tag_list_get_uint(tags, tag, &value);
    }
    return value;
}

/// Three letters of ISO 639-2, the form that files of most kinds carry.
std::string languageOf(GstTagList const* tags)
{
    std::string const language = tagText(tags, GST_TAG_LANGUAGE_CODE);
    char const* const code = language.empty() ? nullptr : gst_tag_get_language_code_iso_639_2T(language.c_str());
    return code == nullptr ? language : code;
}

unsigned int bitRateOf(GstTagList const* tags)
{
    unsigned int const exact = tagNumber(tags, GST_TAG_BITRATE);
    return exact != 0 ? exact : tagNumber(tags, GST_TAG_NOMINAL_BITRATE);
}

/// Clockwise degrees by which the picture has to be turned to stand upright.
int rotationOf(GstTagList const* tags)
{
    std::string const orientation = tagText(tags, GST_TAG_IMAGE_ORIENTATION);
    constexpr std::string_view kRotate = "rotate-";
    return orientation.compare(0, kRotate.size(), kRotate) == 0 ? std::atoi(orientation.c_str() + kRotate.size()) : 0;
}

void readDate(GstTagList const* tags, om::om_media_info_t& media)
{
    GstDateTime* date = nullptr;
    if (tags == nullptr || gst_tag_list_get_date_time(tags, GST_TAG_DATE_TIME, &date) == FALSE)
    {
        return;
    }
    om::om_date_t& to = media.create_date;
    to.year = gst_date_time_get_year(date);
    to.month = gst_date_time_has_month(date) != FALSE ? gst_date_time_get_month(date) : kUnknown;
    to.day = gst_date_time_has_day(date) != FALSE ? gst_date_time_get_day(date) : kUnknown;
    if (gst_date_time_has_time(date) != FALSE)
    {
        to.time.hour = gst_date_time_get_hour(date);
        to.time.minute = gst_date_time_get_minute(date);
        to.time.second = gst_date_time_has_second(date) != FALSE ? gst_date_time_get_second(date) : kUnknown;
    }
    setText(media.tag.year, std::to_string(to.year));
    gst_date_time_unref(date);
}

/// Tags of the whole come with each of its streams: the first stream that has one wins.
void readTags(GstTagList const* tags, om::om_media_info_t& media)
{
    struct Field
    {
        char* text;
        std::size_t size;
        char const* tag;
    };
    for (Field const& field : {Field{media.tag.title, sizeof media.tag.title, GST_TAG_TITLE},
                               Field{media.tag.artist, sizeof media.tag.artist, GST_TAG_ARTIST},
                               Field{media.tag.album, sizeof media.tag.album, GST_TAG_ALBUM},
                               Field{media.tag.genre, sizeof media.tag.genre, GST_TAG_GENRE}})
    {
        if (field.text[0] == '\0')
        {
            setText(field.text, field.size, tagText(tags, field.tag));
        }
    }
    if (media.create_date.year == kUnknown)
    {
        readDate(tags, media);
    }
}

void readVideo(StreamPad const& stream, GstCaps const* compressed, om::om_stream_info_t& entry,
               om::om_media_info_t& media, bool first)
{
    CapsPtr const raw(gst_pad_get_current_caps(stream.pad.get()));
    GstVideoInfo picture;
    gst_video_info_init(&picture);
    bool const known = raw != nullptr && gst_video_info_from_caps(&picture, raw.get()) != FALSE;
    int const fps = picture.fps_d > 0 ? (picture.fps_n + picture.fps_d / 2) / picture.fps_d : 0;
    entry.video.width = known ? picture.width : 0;
    entry.video.height = known ? picture.height : 0;
    entry.video.fps = fps;
    if (!first)
    {
        return;
    }
    media.video_codec = videoCodecOf(compressed);
    media.disp_rotation = rotationOf(stream.tags.get());
    if (known)
    {
        media.resolution = {picture.width, picture.height};
        media.frame_rate = fps;
        media.par = {picture.par_n, picture.par_d};
        media.color_depth = static_cast<std::int32_t>(GST_VIDEO_INFO_COMP_DEPTH(&picture, 0));
        media.hdr_type = hdrTypeOf(raw.get());
    }
}

void readAudio(StreamPad const& stream, GstCaps const* compressed, om::om_stream_info_t& entry,
               om::om_media_info_t& media, bool first)
{
    CapsPtr const raw(gst_pad_get_current_caps(stream.pad.get()));
    GstStructure const* const sound = raw == nullptr ? nullptr : gst_caps_get_structure(raw.get(), 0);
    entry.audio.codec = audioCodecOf(compressed);
    if (sound != nullptr)
    {
        gst_structure_get_int(sound, "rate", &entry.audio.samplerate);
        gst_structure_get_int(sound, "channels", &entry.audio.ch);
    }
    setText(entry.audio.lang, languageOf(stream.tags.get()));
    if (first)
    {
        media.audio_codec = entry.audio.codec;
        media.audio_channel = entry.audio.ch;
        media.sample_rate = entry.audio.samplerate > 0 ? entry.audio.samplerate : kUnknown;
    }
}

void readText(StreamPad const& stream, om::om_stream_info_t& entry)
{
    setText(entry.subtitle.title, tagText(stream.tags.get(), GST_TAG_TITLE));
    setText(entry.subtitle.lang, languageOf(stream.tags.get()));
}

/// A list of the container record.
struct TrackList
{
    om::om_stream_info_t* entries;
    int capacity;
    std::int32_t* count;
    std::int32_t* selected;
    om::om_stream_type_e type;
};

TrackList listOf(om::om_container_info_t& container, StreamPad::Kind kind)
{
    using Container = om::om_container_info_t;
    switch (kind)
    {
    case StreamPad::Kind::video:
        return {container.videos_detail, Container::kVideoCapacity, &container.video_count, &container.video_selected,
                om::OM_STREAM_TYPE_VIDEO};
    case StreamPad::Kind::audio:
        return {container.audios_detail, Container::kAudioCapacity, &container.audio_count, &container.audio_selected,
                om::OM_STREAM_TYPE_AUDIO};
    default:
        return {container.subtitle_detail, Container::kTextCapacity, &container.text_count, &container.text_selected,
                om::OM_STREAM_TYPE_SUBTITLE};
    }
}

void readStream(StreamPad const& stream, MediaInfo& info)
{
    TrackList const list = listOf(info.container, stream.kind);
    int const number = (*list.count)++;
    if (number >= list.capacity || stream.pad == nullptr)
    {
        return;
    }
    om::om_stream_info_t& entry = list.entries[number];
    entry.id = number;
    entry.stream_type = list.type;
    CapsPtr const compressed = compressedCaps(stream.pad.get());
    setText(entry.mime_type, mimeTypeOf(compressed.get()));
    switch (stream.kind)
    {
    case StreamPad::Kind::video:
        readVideo(stream, compressed.get(), entry, info.media, number == 0);
        break;
    case StreamPad::Kind::audio:
        readAudio(stream, compressed.get(), entry, info.media, number == 0);
        break;
    case StreamPad::Kind::text:
        readText(stream, entry);
        break;
    }
    readTags(stream.tags.get(), info.media);
}

om::om_media_type_e typeOf(MediaInfo const& info, std::string const& mime)
{
    if (mime.compare(0, 6, "image/") == 0)
    {
        return om::OM_MEDIA_TYPE_PHOTO;
    }
    if (info.container.video_count > 0)
    {
        return om::OM_MEDIA_TYPE_VIDEO;
    }
    return info.container.audio_count > 0 ? om::OM_MEDIA_TYPE_AUDIO : om::OM_MEDIA_TYPE_UNKNOWN;
}

void readWhole(Pipeline const& pipeline, bool live, MediaInfo& info)
{
    om::om_media_info_t& media = info.media;
    CapsPtr const container = containerCaps(pipeline.element());
    std::string const mime = mimeTypeOf(container.get());
    setText(media.mime_type, mime);
    media.media_type = typeOf(info, mime);
    media.file_size = pipeline.fileSize();
    gint64 duration = 0;
    if (gst_element_query_duration(pipeline.element(), GST_FORMAT_TIME, &duration) != FALSE && duration > 0 &&
        duration < kLongestDuration)
    {
        media.duration = duration / static_cast<gint64>(GST_MSECOND);
    }
    info.seekable = !live && pipeline.seekable();
    media.cap_flags = (info.seekable ? om::OM_CAP_SEEKABLE | om::OM_CAP_SPEEDABLE : 0) | (live ? om::OM_CAP_LIVE : 0);
}

} // namespace

MediaInfo probeMedia(Pipeline const& pipeline, bool live)
{
    MediaInfo info = emptyInfo();
    unsigned long long bitRate = 0;
    bool bitRateKnown = true;
    for (StreamPad const& stream : pipeline.streams())
    {
        readStream(stream, info);
        if (stream.kind != StreamPad::Kind::text)
        {
            unsigned int const rate = bitRateOf(stream.tags.get());
            bitRateKnown = bitRateKnown && rate != 0;
            bitRate += rate;
        }
    }
    om::om_container_info_t& container = info.container;
    info.media.video_track_num = container.video_count;
    info.media.audio_track_num = container.audio_count;
    info.media.text_track_num = container.text_count;
    // Whoever walks a list up to its count must not leave it.
    container.video_count = std::min<std::int32_t>(container.video_count, om::om_container_info_t::kVideoCapacity);
    container.audio_count = std::min<std::int32_t>(container.audio_count, om::om_container_info_t::kAudioCapacity);
    container.text_count = std::min<std::int32_t>(container.text_count, om::om_container_info_t::kTextCapacity);
    container.video_selected = container.video_count > 0 ? 0 : kUnknown;
    container.audio_selected = container.audio_count > 0 ? 0 : kUnknown;
    readWhole(pipeline, live, info);
    if (bitRateKnown && bitRate > 0 && bitRate <= INT32_MAX)
    {
        info.media.bit_rate = static_cast<std::int32_t>(bitRate);
    }
    else if (info.media.file_size > 0 && info.media.duration > 0)
    {
        auto const average = info.media.file_size * 8000 / static_cast<std::uint64_t>(info.media.duration);
        info.media.bit_rate = static_cast<std::int32_t>(std::min<std::uint64_t>(average, INT32_MAX));
    }
    return info;
}

om::om_stream_info_group_t trackGroup(om::om_container_info_t const& container, StreamPad::Kind kind)
{
    om::om_stream_info_group_t group;
    std::memset(&group, 0, sizeof group);
    om::om_container_info_t copy = container;
    TrackList const list = listOf(copy, kind);
    group.count = std::min<std::int32_t>(*list.count, list.capacity);
    for (int number = 0; number < om::om_stream_info_group_t::kCapacity; ++number)
    {
        group.streams[number].id = kUnknown;
        if (number < group.count)
        {
            group.streams[number] = list.entries[number];
        }
    }
    return group;
}

} // namespace tz::orvane::service
