// SPDX-License-Identifier: Apache-2.0
// An application's side of protected films: an agent with a session, and what pushes the film.
#pragma once

#include "examples/fragments.h"
#include "support/viewer.h"

#include "orvane/om_idrm_agent.h"
#include "orvane/omc_listeners.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::test
{

/// One call of an agent's listener.
struct DrmNote
{
    unsigned int type;
    unsigned int subType;
    unsigned int session;
    unsigned int count;
    std::string payload;
};

/// Makes an agent that is ready, listens to it, and destroys it at the end.
class DrmUser final : public omc::OmcIDrmAgentListener
{
public:
    using Operation = int (om::OmIDrmAgent::*)(void*, unsigned int, void*, unsigned int, unsigned int&);

    explicit DrmUser(Viewer& viewer, bool ready = true);
    DrmUser(DrmUser const&) = delete;
    DrmUser& operator=(DrmUser const&) = delete;
    ~DrmUser();

    om::OmIDrmAgent& agent() { return *m_agent; }

    /// @return what the operation gives, its answer in answer()
    int call(Operation operation, std::string const& in = {});
    std::string const& answer() const { return m_answer; }

    std::uint32_t openSession();
    int request(std::uint32_t session, om::om_drm_init_data_e kind, std::string const& data);
    int license(std::uint32_t session, std::string const& text);

    /// Waits for the next call of the listener.
    std::optional<DrmNote> take();

private:
    void onReceivedEvent(om::OmIDrmAgent* agent, unsigned int msgType, unsigned int msgSubType, unsigned int arg3,
                         unsigned long long arg4, unsigned int arg5, std::string data) override;

    Viewer& m_viewer;
    std::shared_ptr<om::OmIDrmAgent> m_agent;
    std::string m_answer;
    std::mutex m_mutex;
    std::condition_variable m_came;
    std::vector<DrmNote> m_notes;
    std::size_t m_next = 0;
};

/// The bytes of a record, in front of others.
template <class Record> std::string bytesOf(Record const& record)
{
    return {reinterpret_cast<char const*>(&record), sizeof record};
}

/// The third buffer of openEsMedia.
std::string optionImage(Viewer::Options const& options);

/// Pushes a film as the service asks for it, from inside the listener.
class FilmFeeder final : public omc::OmcIMediaPlayerListener
{
public:
    /// Changes how a sample is said to be protected.
    using Change = std::function<void(example::Sample const&, std::string& crypto)>;

    FilmFeeder(Viewer& viewer, std::string file, unsigned int agent, Change change = {});
    FilmFeeder(FilmFeeder const&) = delete;
    FilmFeeder& operator=(FilmFeeder const&) = delete;
    ~FilmFeeder();

    void open(om::om_stream_type_e only = om::OM_STREAM_TYPE_UNKNOWN, std::string const& options = {});
    example::Film const& film() const { return *m_film; }

private:
    void onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int evt, om::OmPropertyGroup const& props) override;
    void pushFrom(om::om_stream_type_e stream, long long position);
    void pushSome(om::om_stream_type_e stream);
    void push(example::Sample const& sample, bool restarts);
    std::vector<example::Sample const*> samplesOf(om::om_stream_type_e stream) const;

    Viewer& m_viewer;
    std::string m_file;
    unsigned int m_agent;
    Change m_change;
    std::optional<example::Film> m_film;
    std::size_t m_next[3] = {};
    bool m_restarts[3] = {};
};

} // namespace tz::orvane::test
