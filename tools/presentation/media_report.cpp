// SPDX-License-Identifier: Apache-2.0
// What is known of a medium, in words.
#include "presentation/media_report.h"

#include "orvane/om_enums.h"
#include "orvane/om_service.h"
#include "presentation/exif_values.h"
#include "presentation/labels.h"
#include "presentation/media_uri.h"
#include "presentation/text.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <vector>

namespace tz::orvane::tools
{

namespace
{

template <std::size_t N> std::string textOf(char const (&field)[N])
{
    return printable(fieldText(field));
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

/// Hours to milliseconds.
std::string exactTimeText(long long milliseconds)
{
    char buffer[16];
    std::snprintf(buffer, sizeof(buffer), ".%03d", static_cast<int>(milliseconds % 1000));
    return timeText(milliseconds) + buffer;
}

std::string fileSizeText(std::uint64_t bytes)
{
    // The record starts with "unknown", which is -1 in this field without a sign.
    return bytes == static_cast<std::uint64_t>(-1) ? "" : countText(static_cast<long long>(bytes), "bytes");
}

std::string numberText(char const* before, std::optional<double> value, char const* after)
{
    if (!value)
    {
        return "";
    }
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%.8g", *value);
    return std::string(before) + buffer + after;
}

std::string exposureText(om::om_rational_t const& seconds)
{
    auto const value = valueOf(seconds);
    bool const isFraction = value && *value > 0 && *value < 0.5;
    return isFraction ? numberText("1/", std::round(1 / *value), " s") : numberText("", value, " s");
}

std::string locationText(om::om_gps_info_t const& gps)
{
    auto const location = locationOf(gps);
    return location ? joined({numberText("", location->latitude, ""), numberText("", location->longitude, ""),
                              numberText("", altitudeOf(gps), " m")},
                             ", ")
                    : "";
}

std::string chapterText(Chapter const& chapter)
{
    std::string const end = chapter.end >= 0 ? " - " + exactTimeText(chapter.end) : "";
    return joined({exactTimeText(chapter.start) + end, printable(chapter.title), printable(chapter.language)}, ", ");
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
        int number = 0;
        for (om::om_stream_info_t const& stream : tracksOf(streams, count))
        {
            line(std::string(kind) + " " + std::to_string(++number),
                 joined({describe(stream), textOf(stream.mime_type)}, ", "));
        }
    }

    std::string const& text() const { return m_text; }

private:
    static constexpr std::size_t kLabelColumns = 14;

    std::string m_text;
};

/// Square pixels are not worth a line.
std::string aspectText(om::om_rational_t const& par)
{
    bool const isSquare = par.num == par.den || par.num <= 0 || par.den <= 0;
    return isSquare ? "" : std::to_string(par.num) + ":" + std::to_string(par.den);
}

void addExif(Report& report, om::om_exif_info_t const& exif)
{
    report.line("Camera", joined({textOf(exif.camera_maker), textOf(exif.camera_model)}, " "));
    report.line("Taken", dateLabel(exif.date_taken));
    report.line("Exposure", exposureText(exif.exposure_time));
    report.line("Aperture", numberText("f/", valueOf(exif.f_number), ""));
    report.line("Focal length", numberText("", valueOf(exif.focal_length), " mm"));
    report.line("ISO", exif.iso > 0 ? std::to_string(exif.iso) : "");
    report.line("Orientation", joined({countText(exif.rotation, "degrees"), exif.mirror != 0 ? "mirrored" : ""}, ", "));
    report.line("Location", locationText(exif.gps));
}

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

std::string mediaReport(Medium const& medium)
{
    om::om_media_info_t const& info = medium.info;
    om::om_container_info_t const& container = medium.container;
    Report report;
    report.line("File", printable(medium.uri));
    report.line("Type", mediaTypeLabel(info.media_type));
    report.line("Title", textOf(info.tag.title));
    report.line("Artist", textOf(info.tag.artist));
    report.line("Album", textOf(info.tag.album));
    report.line("Year", textOf(info.tag.year));
    report.line("Genre", textOf(info.tag.genre));
    report.line("Container", textOf(info.mime_type));
    report.line("Duration", info.duration > 0 ? exactTimeText(info.duration) : "");
    report.line("Size", fileSizeText(info.file_size));
    report.line("Resolution", sizeText(info.resolution.width, info.resolution.height));
    report.line("Frame rate", countText(info.frame_rate, "fps"));
    report.line("Bit rate", countText(info.bit_rate, "bit/s"));
    report.line("Rotation", countText(info.disp_rotation, "degrees"));
    report.line("Pixel aspect", aspectText(info.par));
    report.line("HDR", hdrLabel(info.hdr_type));
    report.line("Color depth", countText(info.color_depth, "bits"));
    report.line("Created", dateLabel(info.create_date));
    report.line(info.media_type == om::OM_MEDIA_TYPE_PHOTO ? "Picture" : "Video", videoText(info));
    report.line("Audio", audioText(info));
    report.line("Can do", joined(capabilityLabels(info.cap_flags), ", "));
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
    int number = 0;
    for (Chapter const& chapter : medium.chapters)
    {
        report.line("Chapter " + std::to_string(++number), chapterText(chapter));
    }
    if (medium.exif)
    {
        addExif(report, *medium.exif);
    }
    return report.text();
}

} // namespace tz::orvane::tools
