// SPDX-License-Identifier: Apache-2.0
// What an open pipeline tells about its medium, as the records that clients get.
#include "media_info.h"

#include "codec_map.h"
#include "container_caps.h"
#include "dates.h"
#include "exif.h"
#include "mp4_facts.h"
#include "stream_chapters.h"
#include "stream_path.h"
#include "stream_tags.h"
#include "text_field.h"

#include "orvane/om_service.h"

#include <gst/audio/audio.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace tz::orvane::service
{

namespace
{

constexpr int kUnknown = -1;

/// A demuxer that does not know the size of its data makes something up.
constexpr gint64 kLongestDuration = 1000LL * 3600 * GST_SECOND;

/// In files of these kinds the titles of streams are names of tracks.
constexpr std::string_view kNamedTracks[] = {"video/mp4",  "audio/mp4",        "video/3gpp",
                                             "video/webm", "video/x-matroska", "audio/x-matroska"};
constexpr std::string_view kMp4Types[] = {"video/mp4", "audio/mp4", "video/3gpp"};

MediaInfo emptyInfo()
{
    MediaInfo info;
    std::memset(&info.media, 0, sizeof info.media);
    std::memset(&info.container, 0, sizeof info.container);
    info.media.duration = kUnknown;
    info.media.resolution = {kUnknown, kUnknown};
    info.media.color_depth = kUnknown;
    info.media.bit_rate = kUnknown;
    info.media.sample_rate = kUnknown;
    info.media.create_date = unknownDate();
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

void readVideo(StreamPath const& path, GstCaps const* compressed, om::om_stream_info_t& entry,
               om::om_media_info_t& media, bool first)
{
    CapsPtr const raw = path.caps();
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
    if (known)
    {
        media.resolution = {picture.width, picture.height};
        media.frame_rate = fps;
        media.par = {picture.par_n, picture.par_d};
        media.color_depth = static_cast<std::int32_t>(GST_VIDEO_INFO_COMP_DEPTH(&picture, 0));
        media.hdr_type = hdrTypeOf(raw.get());
    }
}

void readAudio(StreamPath const& path, GstTagList const* tags, GstCaps const* compressed, om::om_stream_info_t& entry,
               om::om_media_info_t& media, bool first)
{
    CapsPtr const raw = path.caps();
    GstStructure const* const sound = raw == nullptr ? nullptr : gst_caps_get_structure(raw.get(), 0);
    entry.audio.codec = audioCodecOf(compressed);
    entry.audio.audio_format = audioFormatOf(raw.get());
    if (sound != nullptr)
    {
        gst_structure_get_int(sound, "rate", &entry.audio.samplerate);
        gst_structure_get_int(sound, "channels", &entry.audio.ch);
    }
    setText(entry.audio.lang, languageOf(tags));
    if (first)
    {
        media.audio_codec = entry.audio.codec;
        media.audio_channel = entry.audio.ch;
        media.sample_rate = entry.audio.samplerate > 0 ? entry.audio.samplerate : kUnknown;
    }
}

void readText(StreamPath const& path, GstCaps const* compressed, om::om_stream_info_t& entry)
{
    // Among all tags of the stream are those of the whole, whose title is not this track's.
    TagListPtr const tags = path.tags(GST_TAG_SCOPE_STREAM);
    setText(entry.mime_type, subtitleTypeOf(compressed, tagText(tags.get(), GST_TAG_SUBTITLE_CODEC)));
    setText(entry.subtitle.title, trackTitleOf(tags.get()));
    setText(entry.subtitle.lang, languageOf(tags.get()));
    entry.subtitle.drawtype = drawTypeOf(compressed);
    entry.subtitle.embtype = om::OM_SUBTITLE_EMBEDDED;
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
    StreamPath const path(stream.pad.get());
    CapsPtr const compressed = path.compressedCaps();
    setText(entry.mime_type, mimeTypeOf(compressed.get()));
    switch (stream.kind)
    {
    case StreamPad::Kind::video:
        readVideo(path, compressed.get(), entry, info.media, number == 0);
        info.orientation = number == 0 ? orientationOf(stream.tags.get()) : info.orientation;
        break;
    case StreamPad::Kind::audio:
        readAudio(path, stream.tags.get(), compressed.get(), entry, info.media, number == 0);
        break;
    case StreamPad::Kind::text:
        readText(path, compressed.get(), entry);
        break;
    }
}

template <std::size_t count> bool isOneOf(std::string_view const (&types)[count], std::string_view type)
{
    return std::find(types, types + count, type) != types + count;
}

/// What is told of the whole comes first, what of a stream fills the gaps, where it is no name of a track.
void readAllTags(std::vector<StreamPad> const& streams, om::om_media_info_t& media)
{
    bool const namedTracks = isOneOf(kNamedTracks, media.mime_type);
    for (GstTagScope const scope : {GST_TAG_SCOPE_GLOBAL, GST_TAG_SCOPE_STREAM})
    {
        for (StreamPad const& stream : streams)
        {
            if (stream.pad != nullptr && !(namedTracks && scope == GST_TAG_SCOPE_STREAM))
            {
                readTags(StreamPath(stream.pad.get()).tags(scope).get(), media);
            }
        }
    }
}

/// What the pipeline does not tell, but the medium's own bytes.
void readBytes(Pipeline const& pipeline, std::vector<StreamPad> const& streams, MediaInfo& info)
{
    info.chapters = chaptersOf(streams);
    std::string const file = pipeline.localFile();
    if (!file.empty() && isOneOf(kMp4Types, info.media.mime_type))
    {
        Mp4Facts facts = readMp4Facts(FileBytes(file));
        if (info.chapters.empty())
        {
            info.chapters = std::move(facts.chapters);
        }
        if (facts.created >= 0)
        {
            info.media.create_date = dateOf(facts.created);
        }
    }
    completeChapters(info.chapters, info.media.duration);
    if (info.media.media_type == om::OM_MEDIA_TYPE_PHOTO)
    {
        info.exif = readExif(pipeline.imageHead());
    }
    if (info.exif)
    {
        info.orientation = {info.exif->rotation / kDegreesOfQuarter, info.exif->mirror != 0};
        info.media.create_date = info.exif->date_taken; // nothing else tells of a photo's
    }
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
    bool const isPhoto = media.media_type == om::OM_MEDIA_TYPE_PHOTO;
    info.seekable = !live && !isPhoto && pipeline.seekable();
    media.cap_flags = (info.seekable ? om::OM_CAP_SEEKABLE | om::OM_CAP_SPEEDABLE : 0) | (live ? om::OM_CAP_LIVE : 0);
}

} // namespace

MediaInfo probeMedia(Pipeline const& pipeline, bool live)
{
    MediaInfo info = emptyInfo();
    unsigned long long bitRate = 0;
    bool bitRateKnown = true;
    std::vector<StreamPad> const streams = pipeline.streams();
    for (StreamPad const& stream : streams)
    {
        readStream(stream, info);
        if (stream.kind != StreamPad::Kind::text)
        {
            // A parser tells the average of what it has seen so far, which is another one every time.
            bool const guessed = stream.pad == nullptr || StreamPath(stream.pad.get()).isBare();
            unsigned int const rate = guessed ? 0 : bitRateOf(stream.tags.get());
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
    readAllTags(streams, info.media);
    readBytes(pipeline, streams, info);
    info.media.disp_rotation = info.orientation.degrees();
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
