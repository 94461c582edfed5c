// SPDX-License-Identifier: Apache-2.0
// One player of a client: its states, and the commands that move it from one to the next.
#pragma once

#include "deck.h"
#include "deck_yard.h"
#include "drm_gate.h"
#include "feed.h"
#include "frame_courier.h"
#include "gauges.h"
#include "job_yard.h"
#include "media_info.h"
#include "medium.h"
#include "picture.h"
#include "player_events.h"
#include "position_waiters.h"
#include "screen.h"
#include "screenshot.h"
#include "settings.h"
#include "sound.h"
#include "subtitles.h"

#include "orvane/om_enums.h"
#include "orvane/platform/om_event_loop.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace tz::orvane::service
{

/// What all players share.
struct PlayerHost
{
    platform::EventLoop& loop;
    Screen& screen;
    Screenshots& screenshots;
    DeckYard& yard;
    JobYard& jobs;
    std::shared_ptr<JobShare> share; ///< that the player's connection has of them
    FrameCourier& frames;
    Settings const& settings;
    DrmAgents const* agents = nullptr; ///< of the player's connection
};

/// A player. Loop thread.
///
/// Commands are carried out one after another, each when the one before is complete. Prepare and stop do not wait: they
/// discard what waits, and end an operation that is under way. A medium that was stopped or failed is closed behind the
/// player's back, so that nothing that hangs holds up what comes next.
class Player final : private DeckListener, private SubtitleHost
{
public:
    Player(PlayerHost const& host, PlayerEvents const& events);
    Player(Player const&) = delete;
    Player& operator=(Player const&) = delete;
    ~Player();

    void prepare(Medium medium);
    void start(std::int64_t position);
    void stop();
    bool isOpen() const { return m_phase != Phase::none; }
    void pause();
    void resume();
    void seek(std::int64_t position, int flags);

    /// @param speed sixteenths of the normal one
    void setSpeed(int speed);
    void setVolume(int percent);
    void setAudioMute(bool muted);

    /// @param attribute,value see om_audio_attribute_e @return whether there are such
    bool setAudioAttribute(int attribute, int value);

    /// Pixels of the screen by which a photo is moved, as far as there is more of it.
    void movePhoto(int right, int down);

    void setAudioTrack(unsigned int number);

    /// @param number OM_TRACK_NONE for none
    void setSubtitleTrack(unsigned int number);

    /// @param uri of a file of subtitles, empty for none
    void setSubtitleUri(std::string const& uri);
    Subtitles& subtitles() { return m_subtitles; }

    /// Container data. @param data copied
    void push(void const* data, std::size_t size);

    /// An access unit. @param crypto how it is protected, if it is @param data copied
    void push(om::om_es_unit_t const& unit, std::optional<DrmCryptoInfo> crypto, void const* data, std::size_t size);

    /// The application wants one more picture. @return 0 or a negative errno value
    int pullFrame();

    /// It is done with the last one.
    void freeFrame();

    /// Units that wait may have their keys now.
    void keysChanged();

    /// What is pushed from now on begins at this byte. @return 0 or a negative errno value
    int pushFrom(std::int64_t offset);

    /// All was pushed. @return 0 or a negative errno value
    int endOfData();

    om::om_state_e state() const;
    int speed() const { return m_speed; }
    bool audioMuted() const { return m_sound.muted(); }

    /// Gives the position now or later; the last one that was known when the medium or the player goes meanwhile.
    /// @return false when too many wait for it: then it is not given
    bool askPosition(PositionWaiters::Answer answer);

    Picture& picture() { return m_picture; }

    /// Takes a picture of the whole screen, which lasts until the next one or the player's end. The answer comes later,
    /// and not at all when this player is destroyed first.
    /// @param taken gets 0 and the picture, or a negative errno value
    void takeScreenshot(Screenshots::Taken taken);

    /// @return null while nothing is known of the medium
    MediaInfo const* info() const { return m_info ? &*m_info : nullptr; }

    /// @return all tracks as they are now; only while something is known of the medium
    om::om_container_info_t tracks() const;
    PlayerEvents const& events() const { return m_events; }

    /// @return null while nothing is open
    Gauges const* gauges() const { return m_gauges.get(); }
    int bufferingPercent() const { return m_bufferingPercent; }

    /// Changes the time between play-time reports of the medium at hand. @param interval 0: none
    void setPlayTimeInterval(std::chrono::milliseconds interval);

    /// @return nothing while there is no medium
    std::optional<std::chrono::milliseconds> playTimeInterval() const;

private:
    using Then = std::function<void()>;

    static constexpr int kFilled = 100; ///< percent

    enum class Phase
    {
        none, ///< nothing was prepared, or it failed
        opening,
        stopped,
        open
    };

    struct Command
    {
        char const* name;
        Then run;
    };

    void onDeckFault(Fault const& fault) override;
    void onDeckEnd() override;
    void onDeckBuffering(int percent) override;
    void onDeckDuration() override;
    void onDeckMessage(GstMessage* message) override;

    void askSubtitlePosition(std::function<void(std::int64_t)> answer) override;
    void onSubtitlesLoaded() override;
    void onSubtitleRefusal(Fault const& fault, char const* command) override;
    void onSubtitleWarning(Fault const& fault) override;
    Fault subtitleObstacle() const override;

    // player_tracks.cpp
    using Switched = std::function<void(SwitchResult result)>;
    static double rateOf(int speed) { return static_cast<double>(speed) / om::OM_PLAY_SPEED_NORMAL; }
    void doSetAudioTrack(unsigned int number);
    void doSetSubtitleTrack(unsigned int number);
    void chooseEmbedded(int number);
    void judgeSubtitleFile(MediaInfo const& info);
    bool needsTracks();
    void switchAudio(int number, Switched then);
    std::int64_t placeToSwitch() const;
    void passSwitch(int number, Switched then);
    void standAgain(Then then);
    void flushTo(std::optional<std::int64_t> position, int speed, Then then);
    void completeTracks(MediaInfo& info) const;
    void completeMutes(om::om_container_info_t& container) const;
    void tellTracks(StreamPad::Kind kind);

    // player_operations.cpp: what commands are made of
    void openMedium(Then then);
    std::unique_ptr<Pipeline> makePipeline(ScreenInput const& input);
    void becomeOpen();
    void probe(Then then);
    void probeLater();
    void tellMissingCodecs();
    void settle(Then then);
    void moveTo(int speed, std::optional<std::int64_t> position, int flags, Then then);
    void readPosition(Then then);
    bool isFile() const { return m_medium.kind == Medium::Kind::uri && !m_medium.fromNetwork(); }
    bool isSeekable() const { return m_info && m_info->seekable; }
    std::chrono::milliseconds deadline() const;
    void doStart(std::int64_t position);
    void startOpened(std::optional<std::int64_t> position);
    void reopen(Then then);
    void doSeek(std::int64_t position, int flags);
    void doSetSpeed(int speed);
    void doEnd();
    void beginPlaying();
    bool needsOpen();

    // player_feeding.cpp
    void makeFeeds();
    void onFeedNews(om::om_stream_type_e stream, FeedNews const& news);
    std::shared_ptr<Feed> makeFeed(om::om_stream_type_e stream, Feed::Format format);
    Feed* feedOf(std::int32_t stream) const;
    void answerPush(Feed::Taken taken, char const* command, Properties more);

    // player_protection.cpp
    void passUnits(om::om_stream_type_e stream);
    void passLater(om::om_stream_type_e stream);
    void deliver(om::om_stream_type_e stream, DrmGate::Unit unit);
    void tellOfKey(om::om_stream_type_e stream, DrmGate& gate);
    void noteKeyWait();
    Fault blameKey(Fault const& fault) const;
    DrmGate* gateOf(std::int32_t stream);

    void enqueue(char const* name, Then run);
    void append(char const* name, Then run);
    void settleLater(char const* reason);
    void runNext();
    void finished();
    void refuse(om::om_error_e code, std::string const& text);
    void warn(om::om_error_e code, std::string const& text, std::string const& codec = {});
    void fail(Fault const& fault);
    void dropDeck();
    void closeDeck();
    void report(int moreFlags = 0);
    void applySound();
    void armTick();
    void onTick();
    bool isPositionKnown() const;
    bool isAskingDeck() const { return !m_positionWaiters.empty(); }
    void askDeck();
    void answerPosition(std::optional<std::int64_t> position);
    std::int64_t clamped(std::int64_t position) const;

    PlayerHost m_host;
    PlayerEvents m_events;
    Medium m_medium;
    Phase m_phase = Phase::none;
    std::shared_ptr<Deck> m_deck;
    std::unique_ptr<Gauges> m_gauges; ///< of the deck
    std::optional<MediaInfo> m_info;

    std::deque<Command> m_waiting;
    char const* m_command = "";
    bool m_busy = false;
    bool m_dispatching = false;

    bool m_wantPlaying = false;
    bool m_running = false; ///< as the pipeline is
    bool m_live = false;
    bool m_buffering = false;
    int m_bufferingPercent = kFilled;
    bool m_ended = false;
    bool m_endArrived = false;
    bool m_durationChanged = false; ///< since it was probed
    std::size_t m_toldCodecs = 0;   ///< of those that are missing
    bool m_settlesLater = false;    ///< among the commands that wait
    bool m_fresh = false;           ///< open and not moved yet
    std::int64_t m_position = 0;
    PositionWaiters m_positionWaiters; ///< for the deck
    int m_speed;
    Sound m_sound;
    bool m_unheard = false; ///< whatever the settings say, while the track of a medium that stands is switched
    Picture m_picture;
    int m_audioTrack = 0;
    Subtitles m_subtitles;
    std::shared_ptr<Screenshot> m_screenshot;

    platform::EventLoop::TimerId m_tick = 0;
    platform::EventLoop::Clock::time_point m_nextTick{};
    bool m_tickWaits = false; ///< for a position

    std::shared_ptr<Feed> m_videoFeed; ///< also of a pushed container
    std::shared_ptr<Feed> m_audioFeed;
    std::optional<DrmGate> m_videoGate;
    std::optional<DrmGate> m_audioGate;
    std::set<om::om_stream_type_e> m_passesLater; ///< streams whose units go on in the loop's next turn
    bool m_awaitsKey = false;
    bool m_overflowReported = false;
    std::shared_ptr<FrameStream> m_frames; ///< null: nobody wants them

    /// Dies with the player: what is on its way to the loop looks here first.
    std::shared_ptr<Player*> m_alive;
};

} // namespace tz::orvane::service
