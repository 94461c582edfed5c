// SPDX-License-Identifier: Apache-2.0
// Keeps what a player tells, in order, and waits for what is to come.
#include "support/recorder.h"

#include <utility>

namespace tz::orvane::test
{

namespace
{

constexpr std::chrono::seconds kPatience{60};

std::string nameOf(Note const& note)
{
    static char const* const kNames[] = {"VOID", "NULL", "READY", "PAUSED", "PLAYING"};
    std::string const flags = note.flags == 0 ? std::string() : "+" + std::to_string(note.flags);
    return kNames[note.code] + flags;
}

} // namespace

std::vector<Note> Recorder::notes() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_notes;
}

std::vector<std::string> Recorder::states() const
{
    std::vector<std::string> names;
    for (Note const& note : notes())
    {
        if (note.kind == Note::Kind::state && (names.empty() || names.back() != nameOf(note)))
        {
            names.push_back(nameOf(note));
        }
    }
    return names;
}

void Recorder::forget()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_next = m_notes.size();
}

std::optional<Note> Recorder::take(Wanted const& wanted)
{
    auto const deadline = std::chrono::steady_clock::now() + kPatience;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true)
    {
        while (m_next < m_notes.size())
        {
            Note const& note = m_notes[m_next++];
            if (wanted(note))
            {
                return note;
            }
        }
        if (m_came.wait_until(lock, deadline) == std::cv_status::timeout && m_next == m_notes.size())
        {
            return std::nullopt;
        }
    }
}

std::optional<Note> Recorder::takeState(om::om_state_e state, int flags)
{
    return take([=](Note const& note)
                { return note.kind == Note::Kind::state && note.code == state && note.flags == flags; });
}

std::optional<Note> Recorder::takeError()
{
    return take([](Note const& note) { return note.kind == Note::Kind::error; });
}

std::optional<Note> Recorder::takeEvent(om::om_event_e event)
{
    return take([=](Note const& note)
                { return note.kind == Note::Kind::event && note.code == static_cast<int>(event); });
}

std::optional<Note> Recorder::takePlayTime()
{
    return take([](Note const& note) { return note.kind == Note::Kind::playTime; });
}

std::optional<Note> Recorder::takeTrack(om::om_stream_type_e kind, long long number)
{
    return take([=](Note const& note)
                { return note.kind == Note::Kind::track && note.code == kind && note.value == number; });
}

om::om_media_info_t Recorder::mediaInfo() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_mediaInfo;
}

om::om_container_info_t Recorder::containerInfo() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_containerInfo;
}

double speedUpToTheEnd(Recorder& recorder)
{
    std::optional<Note> first;
    std::optional<Note> last;
    auto const isEnd = [](Note const& note)
    { return note.kind == Note::Kind::event && note.code == static_cast<int>(om::OM_EVENT_END_OF_STREAM); };
    auto note = recorder.take([](Note const&) { return true; });
    for (; note && !isEnd(*note); note = recorder.take([](Note const&) { return true; }))
    {
        if (note->kind == Note::Kind::playTime)
        {
            first = first ? first : note;
            last = note;
        }
    }
    if (!note || !first || last->at == first->at)
    {
        return 0;
    }
    std::chrono::duration<double, std::milli> const passed = last->at - first->at;
    return static_cast<double>(last->value - first->value) / passed.count();
}

void Recorder::add(Note note, om::OmPropertyGroup const& props)
{
    note.at = std::chrono::steady_clock::now();
    for (int index = 0; index < props.count(); ++index)
    {
        note.properties.emplace(props.keyAt(index), props.valueAt(index));
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_notes.push_back(std::move(note));
    m_came.notify_all();
}

void Recorder::onStateChanged(om::OmIMediaPlayer*, unsigned int, om::om_state_e state, int actFlags,
                              om::OmPropertyGroup const& props)
{
    add({Note::Kind::state, state, actFlags, 0, {}, {}}, props);
}

void Recorder::onError(om::OmIMediaPlayer*, unsigned int, unsigned int errCode, om::OmPropertyGroup const& props)
{
    add({Note::Kind::error, static_cast<int>(errCode), 0, 0, {}, {}}, props);
}

void Recorder::onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int evt, om::OmPropertyGroup const& props)
{
    add({Note::Kind::event, static_cast<int>(evt), 0, 0, {}, {}}, props);
}

void Recorder::onMetaInfoUpdated(om::OmIMediaPlayer*, unsigned int, om::om_media_info_t* info,
                                 om::OmPropertyGroup const& props)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_mediaInfo = *info;
    }
    add({Note::Kind::mediaInfo, 0, 0, 0, {}, {}}, props);
}

void Recorder::onContainerInfoUpdated(om::OmIMediaPlayer*, unsigned int, om::om_container_info_t* info,
                                      om::OmPropertyGroup const& props)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_containerInfo = *info;
    }
    add({Note::Kind::containerInfo, 0, 0, 0, {}, {}}, props);
}

void Recorder::onPlayTimeUpdated(om::OmIMediaPlayer*, unsigned int, long long const& currPos,
                                 om::OmPropertyGroup const& props)
{
    add({Note::Kind::playTime, 0, 0, currPos, {}, {}}, props);
}

void Recorder::onTrackChanged(om::OmIMediaPlayer*, unsigned int, om::om_track_detail_t* track,
                              om::OmPropertyGroup const& props)
{
    add({Note::Kind::track, track->track_type, 0, track->track_no, {}, {}}, props);
}

} // namespace tz::orvane::test
