// SPDX-License-Identifier: Apache-2.0
// An application's side of protected films: an agent with a session, and what pushes the film.
#include "support/drm_user.h"

#include "orvane/om_iconnection.h"

#include <chrono>
#include <cstring>
#include <utility>

namespace tz::orvane::test
{

namespace
{

constexpr unsigned int kCapacity = 65535;
constexpr std::chrono::seconds kPatience{60};

/// Microseconds: so much that the service says when it is enough, and then asks again.
constexpr long long kAtATime = 4'000'000;

} // namespace

DrmUser::DrmUser(Viewer& viewer, bool ready)
    : m_viewer(viewer)
    , m_agent(viewer.connection().createDrmAgent(om::OM_DRM_TYPE_CLEARKEY))
{
    EXPECT_NE(m_agent, nullptr);
    m_agent->addListener(this);
    if (ready)
    {
        EXPECT_GE(m_agent->drmPluginCreate(), 0);
        EXPECT_GE(m_agent->initialize(), 0);
    }
}

DrmUser::~DrmUser()
{
    m_agent->removeListener(this);
    m_viewer.connection().destroyDrmAgent(m_agent);
}

int DrmUser::call(Operation operation, std::string const& in)
{
    std::string input = in;
    std::string output(kCapacity, '\0');
    unsigned int size = 0;
    int const result =
        (*m_agent.*operation)(input.data(), static_cast<unsigned int>(input.size()), output.data(), kCapacity, size);
    m_answer = output.substr(0, size);
    return result;
}

std::uint32_t DrmUser::openSession()
{
    om::om_drm_session_t session{};
    EXPECT_EQ(call(&om::OmIDrmAgent::openSession), 0);
    EXPECT_EQ(m_answer.size(), sizeof session);
    std::memcpy(&session, m_answer.data(), sizeof session);
    return session.session;
}

int DrmUser::request(std::uint32_t session, om::om_drm_init_data_e kind, std::string const& data)
{
    return call(&om::OmIDrmAgent::generateKeyRequest, bytesOf(om::om_drm_key_request_t{session, kind}) + data);
}

int DrmUser::license(std::uint32_t session, std::string const& text)
{
    return call(&om::OmIDrmAgent::updateSession, bytesOf(om::om_drm_session_t{session}) + text);
}

std::optional<DrmNote> DrmUser::take()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_came.wait_for(lock, kPatience, [this] { return m_next < m_notes.size(); }))
    {
        ADD_FAILURE() << "no event of the agent";
        return std::nullopt;
    }
    return m_notes[m_next++];
}

void DrmUser::onReceivedEvent(om::OmIDrmAgent*, unsigned int msgType, unsigned int msgSubType, unsigned int arg3,
                              unsigned long long arg4, unsigned int arg5, std::string data)
{
    EXPECT_EQ(arg4, 0u) << "keys that expire";
    std::lock_guard<std::mutex> lock(m_mutex);
    m_notes.push_back({msgType, msgSubType, arg3, arg5, std::move(data)});
    m_came.notify_all();
}

std::string optionImage(Viewer::Options const& options)
{
    om::OmPropertyGroup group;
    for (auto const& [key, value] : options)
    {
        group.add(key, value);
    }
    char* image = nullptr;
    int size = 0;
    group.getData(&image, &size);
    return {image, static_cast<std::size_t>(size)};
}

FilmFeeder::FilmFeeder(Viewer& viewer, std::string file, unsigned int agent, Change change)
    : m_viewer(viewer)
    , m_file(std::move(file))
    , m_agent(agent)
    , m_change(std::move(change))
    , m_film(example::readFragments(m_file))
{
    EXPECT_TRUE(m_film);
    m_viewer.player().addListener(this);
}

FilmFeeder::~FilmFeeder()
{
    m_viewer.player().removeListener(this);
}

void FilmFeeder::open(om::om_stream_type_e only, std::string const& options)
{
    std::string formats[2];
    for (example::Track const& track : m_film->tracks)
    {
        if (only == om::OM_STREAM_TYPE_UNKNOWN || only == track.kind)
        {
            formats[track.kind == om::OM_STREAM_TYPE_VIDEO ? 0 : 1] = formatBuffer(track);
        }
    }
    m_viewer.player().openEsMedia(formats[0].data(), static_cast<unsigned int>(formats[0].size()), formats[1].data(),
                                  static_cast<unsigned int>(formats[1].size()), options.data(),
                                  static_cast<unsigned int>(options.size()));
}

void FilmFeeder::onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int evt, om::OmPropertyGroup const& props)
{
    if (evt == om::OM_EVENT_NEED_DATA)
    {
        auto const stream = static_cast<om::om_stream_type_e>(std::stoi(props.get(om::OM_KEY_STREAM)));
        pushFrom(stream, std::stoll(props.get(om::OM_KEY_POSITION)) * 1'000);
        pushSome(stream);
    }
}

std::vector<example::Sample const*> FilmFeeder::samplesOf(om::om_stream_type_e stream) const
{
    std::vector<example::Sample const*> samples;
    for (example::Sample const& sample : m_film->samples)
    {
        if (sample.unit.stream_type == stream)
        {
            samples.push_back(&sample);
        }
    }
    return samples;
}

/// @param position microseconds, negative: go on
void FilmFeeder::pushFrom(om::om_stream_type_e stream, long long position)
{
    if (position < 0)
    {
        return;
    }
    auto const samples = samplesOf(stream);
    m_next[stream] = 0;
    for (std::size_t at = 0; at < samples.size(); ++at)
    {
        bool const isKey = (samples[at]->unit.flags & om::OM_ES_KEY_FRAME) != 0;
        m_next[stream] = isKey && samples[at]->unit.pts <= position ? at : m_next[stream];
    }
    m_restarts[stream] = true;
}

void FilmFeeder::pushSome(om::om_stream_type_e stream)
{
    auto const samples = samplesOf(stream);
    std::size_t& next = m_next[stream];
    long long const first = next < samples.size() ? samples[next]->unit.dts : 0;
    while (next < samples.size() && samples[next]->unit.dts - first < kAtATime)
    {
        push(*samples[next++], std::exchange(m_restarts[stream], false));
    }
    if (next == samples.size())
    {
        om::om_es_unit_t end{};
        end.stream_type = stream;
        end.flags = om::OM_ES_END_OF_STREAM;
        m_viewer.player().pushEsData(nullptr, 0, &end, sizeof end, nullptr, 0, nullptr, 0);
    }
}

void FilmFeeder::push(example::Sample const& sample, bool restarts)
{
    om::om_es_unit_t unit = sample.unit;
    unit.flags |= restarts ? om::OM_ES_DISCONTINUITY : 0;
    std::string crypto = cryptoBuffer(m_film->tracks[sample.track], sample, m_agent);
    if (m_change)
    {
        m_change(sample, crypto);
    }
    m_viewer.player().pushEsData(m_file.data() + sample.offset, static_cast<unsigned int>(sample.size), &unit,
                                 sizeof unit, crypto.data(), static_cast<unsigned int>(crypto.size()), nullptr, 0);
}

} // namespace tz::orvane::test
