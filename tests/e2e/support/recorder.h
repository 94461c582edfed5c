// SPDX-License-Identifier: Apache-2.0
// Keeps what a player tells, in order, and waits for what is to come.
#pragma once

#include "orvane/om_service.h"
#include "orvane/omc_listeners.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::test
{

/// One call of a listener.
struct Note
{
    enum class Kind
    {
        state,
        error,
        event,
        mediaInfo,
        containerInfo,
        playTime,
        track
    };

    Kind kind;
    int code = 0;        ///< state, error, event or kind of a track
    int flags = 0;       ///< of a state
    long long value = 0; ///< a play time, or the number of a track
    std::map<std::string, std::string> properties;
    std::chrono::steady_clock::time_point at;

    long long number(std::string const& key) const { return std::stoll(properties.at(key)); }
};

/// A listener. Waiting fails the test when nothing comes in time.
class Recorder final : public omc::OmcIMediaPlayerListener
{
public:
    using Wanted = std::function<bool(Note const&)>;

    std::vector<Note> notes() const;

    /// The states that were told, "READY+1" with flags, repetitions left out.
    std::vector<std::string> states() const;

    /// Notes that came before now no longer count for take.
    void forget();

    /// Waits for a note behind the last one that was taken. @return nothing when it does not come
    std::optional<Note> take(Wanted const& wanted);
    std::optional<Note> takeState(om::om_state_e state, int flags = 0);
    std::optional<Note> takeError();
    std::optional<Note> takeEvent(om::om_event_e event);
    std::optional<Note> takePlayTime();
    std::optional<Note> takeTrack(om::om_stream_type_e kind, long long number);

    om::om_media_info_t mediaInfo() const;
    om::om_container_info_t containerInfo() const;

private:
    void onStateChanged(om::OmIMediaPlayer* player, unsigned int reqId, om::om_state_e state, int actFlags,
                        om::OmPropertyGroup const& props) override;
    void onError(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int errCode,
                 om::OmPropertyGroup const& props) override;
    void onEvent(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int evt,
                 om::OmPropertyGroup const& props) override;
    void onMetaInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, om::om_media_info_t* info,
                           om::OmPropertyGroup const& props) override;
    void onContainerInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, om::om_container_info_t* info,
                                om::OmPropertyGroup const& props) override;
    void onPlayTimeUpdated(om::OmIMediaPlayer* player, unsigned int reqId, long long const& currPos,
                           om::OmPropertyGroup const& props) override;

    void onTrackChanged(om::OmIMediaPlayer* player, unsigned int reqId, om::om_track_detail_t* track,
                        om::OmPropertyGroup const& props) override;

    void add(Note note, om::OmPropertyGroup const& props);

    mutable std::mutex m_mutex;
    std::condition_variable m_came;
    std::vector<Note> m_notes;
    std::size_t m_next = 0;
    om::om_media_info_t m_mediaInfo{};
    om::om_container_info_t m_containerInfo{};
};

/// Waits for the end of a medium that plays. @return how fast time ran from the next play time up to the last one
/// before the end, 1 at the usual speed; 0 when it cannot be told
double speedUpToTheEnd(Recorder& recorder);

} // namespace tz::orvane::test
