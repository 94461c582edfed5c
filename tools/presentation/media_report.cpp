// SPDX-License-Identifier: Apache-2.0
// What is known of a medium, in words.
#include "presentation/media_report.h"

#include "orvane/om_enums.h"
#include "orvane/om_service.h"
#include "presentation/labels.h"
#include "presentation/media_uri.h"
#include "presentation/text.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

namespace tz::orvane::tools
{

namespace
{

/// A text field of a record, which need not have a NUL.
template <std::size_t N> std::string textOf(char const (&field)[N])
{
    return printable(std::string_view(field, ::strnlen(field, N)));
}

/// Joins the texts that are not empty.
std::string joined(std::vector<std::string> const& parts, char const* separator)
{
    std::string result;
    for (std::string const& part : parts)
    {
        if (!part.empty())
        {
            result += (result.empty() ? "" : separator) + part;
        }
    }
    return result;
}

std::string sizeText(int width, int height)
{
    return width > 0 && height > 0 ? std::to_string(width) + "x" + std::to_string(height) : "";
}

std::string countText(long long value, char const* unit)
{
    return value > 0 ? std::to_string(value) + " " + unit : "";
}

std::string videoText(om::om_media_info_t const& info)
{
    if (info.video_codec == om::OM_VIDEO_CODEC_UNKNOWN && info.resolution.width <= 0)
    {
        return "";
    }
    std::string const codec =
        info.media_type == om::OM_MEDIA_TYPE_PHOTO ? textOf(info.mime_type) : videoCodecLabel(info.video_codec);
    return joined({codec, sizeText(info.resolution.width, info.resolution.height), countText(info.frame_rate, "fps")},
                  " ");
}

std::string audioText(int codec, int sampleRate, int channels)
{
    return joined({audioCodecLabel(codec), countText(sampleRate, "Hz"), channels > 0 ? channelsLabel(channels) : ""},
                  " ");
}

std::string audioText(om::om_media_info_t const& info)
{
    bool const none = info.audio_codec == om::OM_AUDIO_CODEC_UNKNOWN && info.audio_channel <= 0;
    return none ? "" : audioText(info.audio_codec, info.sample_rate, info.audio_channel);
}

char const* typeText(int mediaType)
{
    switch (mediaType)
    {
    case om::OM_MEDIA_TYPE_VIDEO:
        return "video";
    case om::OM_MEDIA_TYPE_AUDIO:
        return "audio";
    case om::OM_MEDIA_TYPE_PHOTO:
        return "photo";
    default:
        return "";
    }
}

std::string durationText(long long milliseconds)
{
    if (milliseconds <= 0)
    {
        return "";
    }
    char buffer[16];
    std::snprintf(buffer, sizeof(buffer), ".%03d", static_cast<int>(milliseconds % 1000));
    return timeText(milliseconds) + buffer;
}

std::string fileSizeText(std::uint64_t bytes)
{
    // The record starts with "unknown", which is -1 in this field without a sign.
    return bytes == static_cast<std::uint64_t>(-1) ? "" : countText(static_cast<long long>(bytes), "bytes");
}

std::string capabilitiesText(int flags)
{
    return joined({(flags & om::OM_CAP_SEEKABLE) != 0 ? "seek" : "", (flags & om::OM_CAP_SPEEDABLE) != 0 ? "speed" : "",
                   (flags & om::OM_CAP_LIVE) != 0 ? "live" : ""},
                  ", ");
}

class Report
{
public:
    void line(std::string const& name, std::string const& value)
    {
        if (!value.empty())
        {
            std::string label = name + ":";
            label.resize(std::max<std::size_t>(label.size(), kLabelColumns), ' ');
            m_text += label + " " + value + "\n";
        }
    }

    /// One line for each track of one kind; `describe` gives what is special of the kind.
    template <std::size_t N, class Describe>
    void tracks(char const* kind, om::om_stream_info_t const (&streams)[N], int count, Describe describe)
    {
        for (int i = 0; i < std::min(count, static_cast<int>(N)); ++i)
        {
            om::om_stream_info_t const& stream = streams[i];
            line(std::string(kind) + " " + std::to_string(i + 1),
                 joined({describe(stream), textOf(stream.mime_type)}, ", "));
        }
    }

    std::string const& text() const { return m_text; }

private:
    static constexpr std::size_t kLabelColumns = 14;

    std::string m_text;
};

} // namespace

std::string titleOf(om::om_media_info_t const& info, std::string const& uri)
{
    std::string const title = textOf(info.tag.title);
    return title.empty() ? displayName(uri) : title;
}

std::string formatSummary(om::om_media_info_t const& info)
{
    return joined({videoText(info), audioText(info)}, ", ");
}

std::string mediaReport(std::string const& uri, om::om_media_info_t const& info,
                        om::om_container_info_t const& container)
{
    Report report;
    report.line("File", printable(uri));
    report.line("Type", typeText(info.media_type));
    report.line("Title", textOf(info.tag.title));
    report.line("Artist", textOf(info.tag.artist));
    report.line("Album", textOf(info.tag.album));
    report.line("Year", textOf(info.tag.year));
    report.line("Genre", textOf(info.tag.genre));
    report.line("Container", textOf(info.mime_type));
    report.line("Duration", durationText(info.duration));
    report.line("Size", fileSizeText(info.file_size));
    report.line("Resolution", sizeText(info.resolution.width, info.resolution.height));
    report.line("Frame rate", countText(info.frame_rate, "fps"));
    report.line("Bit rate", countText(info.bit_rate, "bit/s"));
    report.line("Rotation", countText(info.disp_rotation, "degrees"));
    report.line(info.media_type == om::OM_MEDIA_TYPE_PHOTO ? "Picture" : "Video", videoText(info));
    report.line("Audio", audioText(info));
    report.line("Can do", capabilitiesText(info.cap_flags));
    report.tracks(
        "Video track", container.videos_detail, container.video_count,
        [](om::om_stream_info_t const& stream) {
            return joined({sizeText(stream.video.width, stream.video.height), countText(stream.video.fps, "fps")}, " ");
        });
    report.tracks("Audio track", container.audios_detail, container.audio_count,
                  [](om::om_stream_info_t const& stream)
                  {
                      return joined({audioText(stream.audio.codec, stream.audio.samplerate, stream.audio.ch),
                                     textOf(stream.audio.lang)},
                                    ", ");
                  });
    report.tracks("Subtitles", container.subtitle_detail, container.text_count,
                  [](om::om_stream_info_t const& stream) {
                      return joined({textOf(stream.subtitle.title), textOf(stream.subtitle.lang)}, ", ");
                  });
    return report.text();
}

} // namespace tz::orvane::tools
