// SPDX-License-Identifier: Apache-2.0
// Applications that bring their data themselves.
#include "support/feeders.h"

#include "support/tool_process.h"

#include "orvane/om_enums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <utility>

namespace tz::orvane::test
{

namespace
{

constexpr std::size_t kPiece = 16 * 1024;

} // namespace

ContainerFeeder::ContainerFeeder(Viewer& viewer, std::string const& file, bool tellsSize)
    : m_viewer(viewer)
    , m_bytes(fileContent(file))
    , m_tellsSize(tellsSize)
{
    m_viewer.player().addListener(this);
}

ContainerFeeder::~ContainerFeeder()
{
    m_viewer.player().removeListener(this);
}

void ContainerFeeder::prepare()
{
    Viewer::Options options;
    if (m_tellsSize)
    {
        options.emplace_back(om::OM_PREPARE_KEY_SIZE, std::to_string(m_bytes.size()));
    }
    m_viewer.prepare("pushed", om::OM_PREPARE_PUSH, options);
}

void ContainerFeeder::onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int evt, om::OmPropertyGroup const& props)
{
    if (evt != om::OM_EVENT_NEED_DATA)
    {
        return;
    }
    long long const from = std::stoll(props.get(om::OM_KEY_OFFSET));
    if (from >= 0)
    {
        if (m_viewer.command(om::OM_COMMAND_PUSH_FROM, {{om::OM_KEY_OFFSET, std::to_string(from)}}) != 0)
        {
            return; // it wants another place meanwhile, and says so
        }
        m_at = static_cast<std::size_t>(from);
    }
    while (m_at < m_bytes.size())
    {
        std::size_t const size = std::min(kPiece, m_bytes.size() - m_at);
        m_viewer.player().pushData(m_bytes.data() + m_at, static_cast<unsigned int>(size));
        m_at += size;
    }
    if (!m_tellsSize)
    {
        m_viewer.command(om::OM_COMMAND_END_OF_DATA); // refused when it wants another place meanwhile
    }
}

StreamFeeder::StreamFeeder(Viewer& viewer)
    : m_viewer(viewer)
    , m_video{readH264(media("v.h264"))}
    , m_audio{readAdts(media("v.aac"))}
{
    m_viewer.player().addListener(this);
}

StreamFeeder::~StreamFeeder()
{
    m_viewer.player().removeListener(this);
}

void StreamFeeder::open()
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

void StreamFeeder::onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int evt, om::OmPropertyGroup const& props)
{
    if (evt == om::OM_EVENT_NEED_DATA)
    {
        bool const isVideo = std::stoi(props.get(om::OM_KEY_STREAM)) == om::OM_STREAM_TYPE_VIDEO;
        onNeed(isVideo ? m_video : m_audio, std::stoll(props.get(om::OM_KEY_POSITION)) * 1'000);
    }
}

long long StreamFeeder::timeOf(Stream const& stream)
{
    return stream.next < stream.units.size() ? stream.units[stream.next].unit.pts : 0;
}

void StreamFeeder::onNeed(Stream& stream, long long microseconds)
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
    // Two seconds at a time, since it asks again when it has had enough; after a seek it may swallow more than that.
    long long const most = microseconds >= 0 ? LLONG_MAX : 2'000'000;
    for (long long const first = timeOf(stream); stream.next < stream.units.size() && timeOf(stream) - first < most;)
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

void StreamFeeder::push(Stream& stream)
{
    AccessUnit const& unit = stream.units[stream.next++];
    om::om_es_unit_t head = unit.unit;
    head.flags |= std::exchange(stream.restarted, false) ? om::OM_ES_DISCONTINUITY : 0;
    m_viewer.player().pushEsData(unit.bytes.data(), static_cast<unsigned int>(unit.bytes.size()), &head, sizeof head,
                                 nullptr, 0, nullptr, 0);
}

} // namespace tz::orvane::test
