// SPDX-License-Identifier: Apache-2.0
// What is told of real media, beside what other programs tell of the same files.
#include "support/media_probe.h"
#include "support/viewer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

namespace tz::orvane::test
{
namespace
{

using nlohmann::json;
using testing::AllOf;
using testing::Ge;
using testing::Le;

int codecOf(json const& stream)
{
    static std::map<std::string, int> const kCodecs = {
        {"h264", om::OM_VIDEO_CODEC_H264},        {"hevc", om::OM_VIDEO_CODEC_H265},
        {"vp9", om::OM_VIDEO_CODEC_VP9},          {"mjpeg", om::OM_VIDEO_CODEC_MJPEG},
        {"png", om::OM_VIDEO_CODEC_UNKNOWN},      {"aac", om::OM_AUDIO_CODEC_AAC_LC},
        {"mp3", om::OM_AUDIO_CODEC_MPEG1_LAYER3}, {"opus", om::OM_AUDIO_CODEC_OPUS},
        {"vorbis", om::OM_AUDIO_CODEC_VORBIS},    {"flac", om::OM_AUDIO_CODEC_FLAC},
        {"pcm_s16le", om::OM_AUDIO_CODEC_PCM},
    };
    return kCodecs.at(stream["codec_name"]);
}

std::string subtitleTypeOf(json const& stream)
{
    static std::map<std::string, std::string> const kTypes = {
        {"mov_text", "text/3gpp-tt"}, {"subrip", "application/x-subrip"}, {"ass", "application/x-ass"}};
    return kTypes.at(stream["codec_name"]);
}

std::string languageOf(json const& stream)
{
    std::string const language = stream["tags"].value("language", "");
    return language == "und" ? std::string() : language;
}

double number(json const& object, char const* key)
{
    return object.contains(key) ? std::stod(object[key].get<std::string>()) : 0;
}

/// "25/1" or "16:11"
double ratio(json const& object, char const* key)
{
    int over = 0;
    int under = 1;
    char between = 0;
    std::sscanf(object.value(key, "0/1").c_str(), "%d%c%d", &over, &between, &under);
    return under == 0 ? 0 : static_cast<double>(over) / under;
}

/// Streams of one kind; a cover is none.
std::vector<json> streamsOf(json const& told, char const* kind)
{
    std::vector<json> streams;
    for (json const& stream : told["streams"])
    {
        if (stream["codec_type"] == kind && stream["disposition"]["attached_pic"] == 0)
        {
            streams.push_back(stream);
        }
    }
    return streams;
}

int rotationOf(json const& stream)
{
    for (json const& side : stream.value("side_data_list", json::array()))
    {
        if (side.contains("rotation"))
        {
            return (360 - side["rotation"].get<int>()) % 360; // told counterclockwise
        }
    }
    return 0;
}

int hdrOf(json const& stream)
{
    std::string const transfer = stream.value("color_transfer", "");
    return transfer == "smpte2084"      ? om::OM_HDR_TYPE_PQ
           : transfer == "arib-std-b67" ? om::OM_HDR_TYPE_HLG
                                        : om::OM_HDR_TYPE_NONE;
}

class Info : public WithService
{
};

class InfoOf : public Info, public testing::WithParamInterface<char const*>
{
protected:
    void SetUp() override
    {
        Info::SetUp();
        m_viewer = std::make_unique<Viewer>();
        ASSERT_TRUE(m_viewer->open(media(GetParam())));
        m_told = ffprobe(media(GetParam()));
        m_exif = exiftool(media(GetParam()));
        m_media = m_viewer->recorder().mediaInfo();
        m_tracks = m_viewer->recorder().containerInfo();
        m_isPhoto = std::string(m_media.mime_type).substr(0, 6) == "image/";
    }

    void TearDown() override
    {
        m_viewer.reset();
        Info::TearDown();
    }

    void expectSameWhole();
    void expectSameBitRate();
    void expectSamePicture();
    void expectSameSound();
    void expectSameSubtitles();
    void expectSameTags();
    void expectSameChapters();

    std::unique_ptr<Viewer> m_viewer;
    json m_told;
    json m_exif;
    om::om_media_info_t m_media{};
    om::om_container_info_t m_tracks{};
    bool m_isPhoto = false;
};

void InfoOf::expectSameWhole()
{
    json const& format = m_told["format"];
    EXPECT_EQ(m_media.file_size, std::stoull(format["size"].get<std::string>()));
    if (m_isPhoto)
    {
        EXPECT_EQ(m_media.duration, -1);
        EXPECT_EQ(m_media.cap_flags, 0);
    }
    else
    {
        EXPECT_NEAR(m_media.duration, number(format, "duration") * 1000, 50);
        EXPECT_EQ(m_media.cap_flags, om::OM_CAP_SEEKABLE | om::OM_CAP_SPEEDABLE);
    }
    int const expected = m_isPhoto                            ? om::OM_MEDIA_TYPE_PHOTO
                         : streamsOf(m_told, "video").empty() ? om::OM_MEDIA_TYPE_AUDIO
                                                              : om::OM_MEDIA_TYPE_VIDEO;
    EXPECT_EQ(m_media.media_type, expected);
    if (format["format_name"] == "mpegts") // exiftool takes it for something else
    {
        EXPECT_STREQ(m_media.mime_type, "video/mp2t");
        return;
    }
    std::string const type = m_exif["MIMEType"];
    EXPECT_EQ(m_media.mime_type, type == "audio/x-wav" ? "audio/wav" : type);
}

void InfoOf::expectSameBitRate()
{
    double streams = 0;
    bool all = true;
    for (char const* const kind : {"video", "audio"})
    {
        for (json const& stream : streamsOf(m_told, kind))
        {
            all = all && number(stream, "bit_rate") > 0;
            streams += number(stream, "bit_rate");
        }
    }
    double const rate = all ? streams : number(m_told["format"], "bit_rate");
    if (m_isPhoto)
    {
        EXPECT_EQ(m_media.bit_rate, -1);
    }
    else
    {
        EXPECT_THAT(m_media.bit_rate, AllOf(Ge(rate * 0.9), Le(rate * 1.1)));
    }
}

void InfoOf::expectSamePicture()
{
    std::vector<json> const streams = streamsOf(m_told, "video");
    ASSERT_EQ(m_tracks.video_count, static_cast<int>(streams.size()));
    EXPECT_EQ(m_media.video_track_num, m_tracks.video_count);
    if (streams.empty())
    {
        EXPECT_EQ(m_media.resolution.width, -1);
        EXPECT_EQ(m_media.video_codec, om::OM_VIDEO_CODEC_UNKNOWN);
        return;
    }
    json const& stream = streams[0];
    EXPECT_EQ(m_media.video_codec, codecOf(stream));
    EXPECT_EQ(m_media.resolution.width, stream["width"]);
    EXPECT_EQ(m_media.resolution.height, stream["height"]);
    EXPECT_EQ(m_tracks.videos_detail[0].video.width, stream["width"]);
    EXPECT_EQ(m_media.frame_rate, m_isPhoto ? 0 : static_cast<int>(std::lround(ratio(stream, "avg_frame_rate"))));
    EXPECT_EQ(static_cast<double>(m_media.par.num) / m_media.par.den, ratio(stream, "sample_aspect_ratio"));
    EXPECT_EQ(m_media.hdr_type, hdrOf(stream));
    bool const deep = stream["pix_fmt"].get<std::string>().find("10") != std::string::npos;
    EXPECT_EQ(m_media.color_depth, deep ? 10 : 8);
    if (!m_isPhoto)
    {
        EXPECT_EQ(m_media.disp_rotation, rotationOf(stream));
    }
}

void InfoOf::expectSameSound()
{
    std::vector<json> const streams = streamsOf(m_told, "audio");
    ASSERT_EQ(m_tracks.audio_count, static_cast<int>(streams.size()));
    EXPECT_EQ(m_media.audio_track_num, m_tracks.audio_count);
    for (int number = 0; number < m_tracks.audio_count; ++number)
    {
        json const& stream = streams[number];
        om::om_audio_stream_detail_t const& track = m_tracks.audios_detail[number].audio;
        EXPECT_EQ(m_tracks.audios_detail[number].id, number);
        EXPECT_EQ(m_tracks.audios_detail[number].stream_type, om::OM_STREAM_TYPE_AUDIO);
        EXPECT_EQ(track.codec, codecOf(stream));
        EXPECT_EQ(std::to_string(track.samplerate), stream["sample_rate"]);
        EXPECT_EQ(track.ch, stream["channels"]);
        EXPECT_EQ(track.lang, languageOf(stream));
        bool const exact = stream["codec_name"] == "flac" || stream["codec_name"] == "pcm_s16le";
        EXPECT_GT(track.audio_format, 0);
        EXPECT_TRUE(!exact || track.audio_format == om::OM_AUDIO_FORMAT_16);
    }
    if (!streams.empty())
    {
        EXPECT_EQ(m_media.audio_codec, codecOf(streams[0]));
        EXPECT_EQ(m_media.audio_channel, streams[0]["channels"]);
        EXPECT_EQ(std::to_string(m_media.sample_rate), streams[0]["sample_rate"]);
    }
}

void InfoOf::expectSameSubtitles()
{
    std::vector<json> const streams = streamsOf(m_told, "subtitle");
    ASSERT_EQ(m_tracks.text_count, static_cast<int>(streams.size()));
    EXPECT_EQ(m_media.text_track_num, m_tracks.text_count);
    for (int number = 0; number < m_tracks.text_count; ++number)
    {
        json const& stream = streams[number];
        om::om_stream_info_t const& track = m_tracks.subtitle_detail[number];
        EXPECT_EQ(track.stream_type, om::OM_STREAM_TYPE_SUBTITLE);
        EXPECT_EQ(track.mime_type, subtitleTypeOf(stream));
        EXPECT_EQ(track.subtitle.lang, languageOf(stream));
        if (stream["codec_name"] != "mov_text") // whose titles ffprobe does not read
        {
            EXPECT_EQ(track.subtitle.title, stream["tags"].value("title", ""));
        }
        EXPECT_EQ(track.subtitle.drawtype, om::OM_SUBTITLE_DRAW_TEXT);
        EXPECT_EQ(track.subtitle.embtype, om::OM_SUBTITLE_EMBEDDED);
    }
}

void InfoOf::expectSameTags()
{
    json const& tags = m_told["format"]["tags"];
    EXPECT_EQ(m_media.tag.title, tags.value("title", ""));
    EXPECT_EQ(m_media.tag.artist, tags.value("artist", ""));
    EXPECT_EQ(m_media.tag.album, tags.value("album", ""));
    EXPECT_EQ(m_media.tag.genre, tags.value("genre", ""));
    std::string const date = tags.value("date", "");
    std::string const created = tags.value("creation_time", "");
    bool const ownField = m_told["format"]["format_name"].get<std::string>().find("mov") == 0 ||
                          m_told["format"]["format_name"].get<std::string>().find("matroska") == 0;
    if (!date.empty())
    {
        EXPECT_EQ(m_media.tag.year, date.substr(0, 4));
    }
    if (!created.empty() && ownField)
    {
        EXPECT_EQ(dateText(m_media.create_date), created.substr(0, 19));
        EXPECT_EQ(m_media.create_date.wday, 4); // the second of January 2020 was a Thursday
    }
    else if (!date.empty())
    {
        EXPECT_EQ(std::to_string(m_media.create_date.year), date.substr(0, 4));
        EXPECT_EQ(m_media.create_date.month, date.size() > 4 ? std::stoi(date.substr(5, 2)) : -1);
        EXPECT_EQ(m_media.create_date.time.hour, -1);
    }
    else if (m_exif.contains("DateTimeOriginal"))
    {
        EXPECT_EQ(dateText(m_media.create_date, ':', ' '), m_exif["DateTimeOriginal"]);
    }
    else
    {
        EXPECT_EQ(m_media.create_date.year, -1);
    }
}

void InfoOf::expectSameChapters()
{
    json const& chapters = m_told["chapters"];
    om::OmPropertyGroup group;
    EXPECT_GE(m_viewer->player().doExtendCommand(om::OM_COMMAND_CHAPTER, group), 0);
    EXPECT_EQ(group.get(om::OM_KEY_COUNT), std::to_string(chapters.size()));
    for (std::size_t index = 0; index < chapters.size(); ++index)
    {
        json const& chapter = chapters[index];
        om::OmPropertyGroup asked;
        asked.add(om::OM_KEY_INDEX, std::to_string(index).c_str());
        EXPECT_GE(m_viewer->player().doExtendCommand(om::OM_COMMAND_CHAPTER, asked), 0);
        EXPECT_EQ(asked.get(om::OM_KEY_INDEX), std::to_string(index));
        EXPECT_EQ(asked.get(om::OM_KEY_TITLE), chapter["tags"]["title"].get<std::string>());
        EXPECT_EQ(asked.get(om::OM_KEY_START), std::to_string(std::llround(number(chapter, "start_time") * 1000)));
        EXPECT_EQ(asked.get(om::OM_KEY_END), std::to_string(std::llround(number(chapter, "end_time") * 1000)));
    }
}

TEST_P(InfoOf, isWhatOtherProgramsSay)
{
    expectSameWhole();
    expectSameBitRate();
    expectSamePicture();
    expectSameSound();
    expectSameSubtitles();
    expectSameTags();
    expectSameChapters();
}

std::string nameOf(testing::TestParamInfo<char const*> const& info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(File, InfoOf,
                         testing::Values("v.mp4", "named.mp4", "multi.mp4", "titles.mp4", "rot90.mp4", "sar.mp4",
                                         "hdr.mp4", "hlg.mp4", "v.mkv", "named.mkv", "chapters.mkv", "titles.mkv",
                                         "v.webm", "v.ts", "a.mp3", "chapters.mp3", "a.flac", "named.flac", "a.ogg",
                                         "named.ogg", "a.wav", "named.wav", "a.m4a", "chapters.m4a", "p.jpg",
                                         "exif.jpg", "p.png"),
                         nameOf);

TEST_F(Info, titlesOfTracksAreNotThoseOfTheWhole)
{
    Viewer viewer;
    for (char const* const file : {"titles.mp4", "titles.mkv"})
    {
        SCOPED_TRACE(file);
        ASSERT_TRUE(viewer.open(media(file)));
        om::om_container_info_t const tracks = viewer.recorder().containerInfo();
        EXPECT_STREQ(viewer.recorder().mediaInfo().tag.title, "Test Title");
        EXPECT_STREQ(tracks.subtitle_detail[0].subtitle.title, "Text");
        EXPECT_STREQ(tracks.subtitle_detail[1].subtitle.title, "Untertitel");
    }
}

} // namespace
} // namespace tz::orvane::test
