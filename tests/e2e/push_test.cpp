// SPDX-License-Identifier: Apache-2.0
// Data that the application brings itself: containers and elementary streams.
#include "support/elementary_streams.h"
#include "support/tool_process.h"
#include "support/viewer.h"

#include "orvane/om_enums.h"
#include "orvane/omc_listeners.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <utility>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Ge;
using testing::Le;

constexpr std::size_t kPiece = 16 * 1024;

class Push : public WithService
{
};

/// Pushes a container as the service asks for it, from inside the listener.
class ContainerFeeder final : public omc::OmcIMediaPlayerListener
{
public:
    ContainerFeeder(Viewer& viewer, std::string const& file, bool tellsSize)
        : m_viewer(viewer)
        , m_bytes(fileContent(file))
        , m_tellsSize(tellsSize)
    {
        m_viewer.player().addListener(this);
    }
    ContainerFeeder(ContainerFeeder const&) = delete;
    ContainerFeeder& operator=(ContainerFeeder const&) = delete;
    ~ContainerFeeder() { m_viewer.player().removeListener(this); }

    void prepare()
    {
        Viewer::Options options;
        if (m_tellsSize)
        {
            options.emplace_back(om::OM_PREPARE_KEY_SIZE, std::to_string(m_bytes.size()));
        }
        m_viewer.prepare("pushed", om::OM_PREPARE_PUSH, options);
    }

private:
    void onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int evt, om::OmPropertyGroup const& props) override
    {
        if (evt != om::OM_EVENT_NEED_DATA)
        {
            return;
        }
        long long const from = std::stoll(props.get(om::OM_KEY_OFFSET));
        if (from >= 0)
        {
            m_at = static_cast<std::size_t>(from);
            EXPECT_EQ(m_viewer.command(om::OM_COMMAND_PUSH_FROM, {{om::OM_KEY_OFFSET, std::to_string(from)}}), 0);
        }
        while (m_at < m_bytes.size())
        {
            std::size_t const size = std::min(kPiece, m_bytes.size() - m_at);
            m_viewer.player().pushData(m_bytes.data() + m_at, static_cast<unsigned int>(size));
            m_at += size;
        }
        if (!m_tellsSize)
        {
            EXPECT_EQ(m_viewer.command(om::OM_COMMAND_END_OF_DATA), 0);
        }
    }

    Viewer& m_viewer;
    std::string m_bytes;
    bool m_tellsSize;
    std::size_t m_at = 0;
};

TEST_F(Push, aContainerOfKnownSizePlaysAndCanBeSought)
{
    Viewer viewer;
    ContainerFeeder feeder(viewer, media("v.mp4"), true);
    feeder.prepare();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    om::om_media_info_t const info = viewer.recorder().mediaInfo();
    EXPECT_EQ(info.video_codec, om::OM_VIDEO_CODEC_H264);
    EXPECT_THAT(info.duration, AllOf(Ge(10'000), Le(10'100)));
    EXPECT_GT(info.file_size, 50'000u);
    EXPECT_EQ(viewer.player().isSeekable(), 1);
    viewer.player().start(8'500);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_THAT(viewer.position(), AllOf(Ge(8'480), Le(10'000)));
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    viewer.player().seek(2'520, om::OM_SEEK_DEFAULT);
    auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
    ASSERT_TRUE(done);
    EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(2'500), Le(2'560)));
    viewer.player().start(9'500);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Push, anIndexAtTheEndIsAskedFor)
{
    Viewer viewer;
    ContainerFeeder feeder(viewer, media("v_end.mp4"), true);
    feeder.prepare();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_THAT(viewer.recorder().mediaInfo().duration, AllOf(Ge(10'000), Le(10'100)));
    viewer.player().start(9'000);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Push, aStreamOfUnknownSizePlaysUntilItsEndIsAnnounced)
{
    Viewer viewer;
    ContainerFeeder feeder(viewer, media("short.ts"), false);
    feeder.prepare();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    EXPECT_EQ(viewer.player().isSeekable(), 0);
    viewer.player().seek(1'000, om::OM_SEEK_DEFAULT);
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "seek");
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(2'500), Le(4'000)));
}

TEST_F(Push, whatWasStoppedAsksForItsDataAgain)
{
    Viewer viewer;
    {
        ContainerFeeder feeder(viewer, media("v.mp4"), true);
        feeder.prepare();
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    }
    viewer.player().stop();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
    ContainerFeeder again(viewer, media("v.mp4"), true);
    viewer.player().start(9'000);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Push, dataBeyondTheBoundAreRefusedAndCanBePushedLater)
{
    Viewer viewer;
    std::string const bytes = fileContent(media("v.mp4"));
    std::string const block(1u << 20, '\0');
    viewer.prepare("pushed", om::OM_PREPARE_PUSH, {{om::OM_PREPARE_KEY_SIZE, std::to_string(std::size_t{1} << 30)}});
    viewer.player().pushData(bytes.data(), static_cast<unsigned int>(bytes.size()));
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    for (int count = 0; count < 80; ++count)
    {
        viewer.player().pushData(block.data(), static_cast<unsigned int>(block.size()));
    }
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_LIMIT);
    EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "pushData");
    EXPECT_EQ(viewer.command(om::OM_COMMAND_PUSH_FROM, {{om::OM_KEY_OFFSET, "1"}}), -1);
    EXPECT_EQ(viewer.command(om::OM_COMMAND_PUSH_FROM, {{om::OM_KEY_OFFSET, error->properties.at(om::OM_KEY_OFFSET)}}),
              0);
    EXPECT_EQ(viewer.state(), om::OM_STATE_PAUSED);
}

/// Pushes elementary streams as the service asks for them, from inside the listener.
class StreamFeeder final : public omc::OmcIMediaPlayerListener
{
public:
    explicit StreamFeeder(Viewer& viewer)
        : m_viewer(viewer)
        , m_video{readH264(media("v.h264"))}
        , m_audio{readAdts(media("v.aac"))}
    {
        m_viewer.player().addListener(this);
    }
    StreamFeeder(StreamFeeder const&) = delete;
    StreamFeeder& operator=(StreamFeeder const&) = delete;
    ~StreamFeeder() { m_viewer.player().removeListener(this); }

    void open()
    {
        om::om_es_format_t video{};
        video.codec = om::OM_VIDEO_CODEC_H264;
        video.fps_num = 25;
        video.fps_den = 1;
        om::om_es_format_t audio{};
        audio.codec = om::OM_AUDIO_CODEC_AAC_LC;
        audio.sample_rate = 48'000;
        audio.channels = 2;
        m_viewer.player().openEsMedia(&video, sizeof video, &audio, sizeof audio, nullptr, 0);
    }

    std::size_t pictures() const { return m_video.units.size(); }

private:
    struct Stream
    {
        std::vector<AccessUnit> units;
        std::size_t next = 0;
        bool restarted = false;
    };

    void onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int evt, om::OmPropertyGroup const& props) override
    {
        if (evt == om::OM_EVENT_NEED_DATA)
        {
            bool const isVideo = std::stoi(props.get(om::OM_KEY_STREAM)) == om::OM_STREAM_TYPE_VIDEO;
            onNeed(isVideo ? m_video : m_audio, std::stoll(props.get(om::OM_KEY_POSITION)) * 1'000);
        }
    }

    void onNeed(Stream& stream, long long microseconds)
    {
        if (microseconds >= 0)
        {
            stream.next = 0;
            for (std::size_t at = 0; at < stream.units.size() && stream.units[at].unit.pts <= microseconds; ++at)
            {
                bool const isKey = (stream.units[at].unit.flags & om::OM_ES_KEY_FRAME) != 0;
                stream.next = isKey ? at : stream.next;
            }
            stream.restarted = true;
        }
        // Two seconds at a time: the service asks again.
        for (long long const first = timeOf(stream);
             stream.next < stream.units.size() && timeOf(stream) - first < 2'000'000;)
        {
            push(stream);
        }
        if (stream.next == stream.units.size())
        {
            om::om_es_unit_t unit = stream.units.back().unit;
            unit.flags = om::OM_ES_END_OF_STREAM;
            m_viewer.player().pushEsData(nullptr, 0, &unit, sizeof unit, nullptr, 0, nullptr, 0);
        }
    }

    static long long timeOf(Stream const& stream)
    {
        return stream.next < stream.units.size() ? stream.units[stream.next].unit.pts : 0;
    }

    void push(Stream& stream)
    {
        AccessUnit const& unit = stream.units[stream.next++];
        om::om_es_unit_t head = unit.unit;
        head.flags |= std::exchange(stream.restarted, false) ? om::OM_ES_DISCONTINUITY : 0;
        m_viewer.player().pushEsData(unit.bytes.data(), static_cast<unsigned int>(unit.bytes.size()), &head,
                                     sizeof head, nullptr, 0, nullptr, 0);
    }

    Viewer& m_viewer;
    Stream m_video;
    Stream m_audio;
};

TEST_F(Push, elementaryStreamsPlayAndCanBeSought)
{
    Viewer viewer;
    StreamFeeder feeder(viewer);
    ASSERT_EQ(feeder.pictures(), 250u);
    feeder.open();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    om::om_media_info_t const info = viewer.recorder().mediaInfo();
    EXPECT_EQ(info.video_codec, om::OM_VIDEO_CODEC_H264);
    EXPECT_EQ(info.audio_codec, om::OM_AUDIO_CODEC_AAC_LC);
    EXPECT_EQ(info.resolution.width, 320);
    EXPECT_EQ(info.sample_rate, 48'000);
    EXPECT_EQ(info.duration, -1);
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    viewer.player().seek(8'520, om::OM_SEEK_DEFAULT);
    auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
    ASSERT_TRUE(done);
    EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(8'500), Le(9'000)));
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(9'900), Le(10'200)));
    viewer.player().seek(1'000, om::OM_SEEK_DEFAULT);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
}

TEST_F(Push, elementaryStreamsAreCheckedBeforeTheyAreOpened)
{
    Viewer viewer;
    om::om_es_format_t format{};
    format.codec = om::OM_VIDEO_CODEC_RV;
    auto const refusedWith = [&](om::om_error_e code)
    {
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, static_cast<int>(code));
    };
    viewer.player().openEsMedia(&format, sizeof format, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_UNSUPPORTED_CODEC);
    viewer.player().openEsMedia(&format, 5, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().openEsMedia(nullptr, 0, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().openEsMedia(&format, sizeof format, nullptr, 0, "junk", 4);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);

    om::om_es_unit_t unit{};
    unit.stream_type = om::OM_STREAM_TYPE_VIDEO;
    viewer.player().pushEsData("x", 1, &unit, sizeof unit, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_STATE);
    viewer.player().pushEsData("x", 1, &unit, 3, nullptr, 0, nullptr, 0);
    refusedWith(om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().pushEsData("x", 1, &unit, sizeof unit, "key", 3, nullptr, 0);
    refusedWith(om::OM_ERROR_KEY_MISSING);
}

} // namespace
} // namespace tz::orvane::test
