// SPDX-License-Identifier: Apache-2.0
// One medium from opening to its end.
#pragma once

#include "omc_play/adjustments.h"
#include "omc_play/event_queue.h"
#include "omc_play/listeners.h"
#include "omc_play/options.h"
#include "omc_play/player_event.h"
#include "omc_play/view.h"
#include "orvane/om_iconnection.h"
#include "orvane/om_imediaplayer.h"
#include "presentation/key_decoder.h"

#include <chrono>
#include <optional>
#include <string>

namespace tz::orvane::tools
{

enum class Outcome
{
    played,
    skipped, ///< the user wants the next one
    quit,    ///< the user wants to end
    failed,
    serviceGone,
};

/// Owns a player of the service while one medium plays. Used on the main thread only; the player's events come to it
/// through the queue.
class Playback
{
public:
    using Clock = std::chrono::steady_clock;

    struct Surroundings
    {
        om::OmIConnection& connection;
        EventQueue& queue;
        View& view;
        Options& options; ///< the loudness is changed, so that the next medium keeps it
        bool hasUser;     ///< somebody can press keys
    };

    /// @param medium number of this medium in its events
    Playback(Surroundings const& surroundings, std::string uri, unsigned int medium);
    Playback(Playback const&) = delete;
    Playback& operator=(Playback const&) = delete;
    ~Playback();

    void handle(PlayerEvent const& event);
    void press(Key key);

    /// The program is stopped by the terminal, or goes on.
    void suspend();
    void wake();

    /// When `expire` has to be called if nothing happens before.
    std::optional<Clock::time_point> deadline() const { return m_deadline; }
    void expire();

    /// @return how it ended, nothing while it goes on
    std::optional<Outcome> outcome() const { return m_outcome; }

private:
    void on(StateChanged const& event);
    void on(PlayTime const& event);
    void on(DurationKnown const& event);
    void on(SeekDone const& event);
    void on(SpeedChanged const& event);
    void on(Buffering const& event);
    void on(Ended const& event);
    void on(Fault const& event);
    void on(ServiceGone const& event);

    void begin();
    void togglePause();
    void seekBy(long long distance);
    void seekTo(long long position);
    void changeSpeed(int direction);

    void send(int result);
    void finish(Outcome outcome);
    void fail(std::string const& reason);
    bool wantsToPlay() const;
    std::string stateText() const;
    void show();

    Surroundings m_surroundings;
    std::string m_uri;
    unsigned int m_medium;
    PlayerListener m_listener;
    om::OmIMediaPlayer* m_player; ///< owned by the connection, given back at the end
    std::optional<Adjustments> m_adjustments;

    om::om_state_e m_state = om::OM_STATE_NULL;
    int m_flags = 0;
    int m_bufferPercent = 100;
    long long m_position = 0;
    long long m_duration = 0;
    int m_speed = om::OM_PLAY_SPEED_NORMAL;
    bool m_opened = false;
    bool m_started = false; ///< it has played
    bool m_isPhoto = false;
    bool m_wakeResumes = false;
    std::optional<long long> m_seekSent;   ///< the service works on it
    std::optional<long long> m_seekWanted; ///< the user wants to be there
    std::optional<Clock::time_point> m_deadline;
    std::optional<Outcome> m_outcome;
};

} // namespace tz::orvane::tools
