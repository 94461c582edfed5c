// SPDX-License-Identifier: Apache-2.0
// One player of a client: its commands, their order, and what its medium says unasked.
#include "player.h"

#include "orvane/platform/om_debug.h"

#include <algorithm>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr char kLogFile[] = "player";
constexpr char kLogClass[] = "Player";

constexpr std::size_t kMostWaiting = 64;

} // namespace

Player::Player(PlayerHost const& host, PlayerEvents const& events)
    : m_host(host)
    , m_events(events)
    , m_speed(om::OM_PLAY_SPEED_NORMAL)
    , m_picture(host.settings)
    , m_subtitles(host.loop, host.jobs, host.share, *this)
    , m_alive(std::make_shared<Player*>(this))
{
}

Player::~Player()
{
    dropDeck();
}

void Player::prepare(Medium medium)
{
    if (m_phase != Phase::none)
    {
        m_subtitles.forgetMedium();
    }
    dropDeck();
    m_medium = std::move(medium);
    m_info.reset();
    m_command = "prepare";
    m_busy = true;
    for (std::string const& option : m_medium.unknownOptions)
    {
        warn(om::OM_ERROR_NOT_SUPPORTED, "option " + option);
    }
    openMedium([this] { m_medium.autoStart ? beginPlaying() : finished(); });
}

void Player::stop()
{
    if (m_phase == Phase::none)
    {
        m_events.refusal(om::OM_ERROR_BAD_STATE, "stop", "nothing is open");
        return;
    }
    dropDeck();
    m_phase = Phase::stopped;
    m_position = 0;
    report();
}

void Player::start(std::int64_t position)
{
    enqueue("start", [this, position] { doStart(position); });
}

void Player::pause()
{
    enqueue("pause",
            [this]
            {
                if (needsOpen())
                {
                    m_wantPlaying = false;
                    settle([this] { finished(); });
                }
            });
}

void Player::resume()
{
    enqueue("resume",
            [this]
            {
                if (!needsOpen())
                {
                    return;
                }
                if (m_ended)
                {
                    doStart(0);
                    return;
                }
                beginPlaying();
            });
}

void Player::seek(std::int64_t position, int flags)
{
    enqueue("seek", [this, position, flags] { doSeek(position, flags); });
}

void Player::setSpeed(int speed)
{
    enqueue("speed", [this, speed] { doSetSpeed(speed); });
}

void Player::setVolume(int percent)
{
    m_sound.setVolume(percent);
    applySound();
}

void Player::setAudioMute(bool muted)
{
    m_sound.setMute(muted);
    applySound();
}

bool Player::setAudioAttribute(int attribute, int value)
{
    bool const known = m_sound.setAttribute(attribute, value);
    applySound();
    return known;
}

void Player::movePhoto(int right, int down)
{
    enqueue("moveTo",
            [this, right, down]
            {
                if (!needsOpen())
                {
                    return;
                }
                if (!m_info || m_info->media.media_type != om::OM_MEDIA_TYPE_PHOTO)
                {
                    refuse(om::OM_ERROR_NOT_SUPPORTED, "only a photo can be moved");
                    return;
                }
                m_picture.move(right, down);
                finished();
            });
}

om::om_state_e Player::state() const
{
    switch (m_phase)
    {
    case Phase::none:
        return om::OM_STATE_NULL;
    case Phase::open:
        return m_running ? om::OM_STATE_PLAYING : om::OM_STATE_PAUSED;
    default:
        return om::OM_STATE_READY;
    }
}

void Player::report(int moreFlags)
{
    int flags = moreFlags;
    flags |= m_phase == Phase::opening ? om::OM_ACT_OPENING : 0;
    if (m_phase == Phase::open)
    {
        flags |= m_live ? om::OM_ACT_LIVE : 0;
        flags |= m_ended ? om::OM_ACT_ENDED : 0;
        flags |= m_wantPlaying && (m_buffering || m_awaitsKey) ? om::OM_ACT_BUFFERING : 0;
    }
    m_events.state(state(), flags);
    m_subtitles.follow(m_running, m_speed);
}

/// While an operation is under way, the pipeline stands somewhere between: what counts then is where it stood before,
/// and a question for that may still be on its way.
bool Player::isPositionKnown() const
{
    return m_phase != Phase::open || m_ended || (m_deck->busy() && !isAskingDeck());
}

bool Player::askPosition(PositionWaiters::Answer answer)
{
    if (isPositionKnown())
    {
        answer(m_position);
        return true;
    }
    bool const first = !isAskingDeck();
    bool const waits = m_positionWaiters.add(std::move(answer));
    if (first)
    {
        askDeck();
    }
    return waits;
}

void Player::askSubtitlePosition(std::function<void(std::int64_t)> answer)
{
    if (isPositionKnown())
    {
        answer(m_position);
        return;
    }
    bool const first = !isAskingDeck();
    m_positionWaiters.addNewest(std::move(answer));
    if (first)
    {
        askDeck();
    }
}

void Player::askDeck()
{
    m_deck->askPosition(deadline(), [this](std::optional<std::int64_t> position) { answerPosition(position); });
}

void Player::answerPosition(std::optional<std::int64_t> position)
{
    if (position && !m_ended)
    {
        m_position = clamped(*position);
    }
    m_positionWaiters.answer(m_position);
}

void Player::takeScreenshot(Screenshots::Taken taken)
{
    m_host.screenshots.take(
        [alive = std::weak_ptr<Player*>(m_alive),
         taken = std::move(taken)](int status, std::shared_ptr<Screenshot> const& screenshot)
        {
            auto const self = alive.lock();
            if (self == nullptr)
            {
                return;
            }
            if (screenshot != nullptr)
            {
                (*self)->m_screenshot = screenshot;
            }
            taken(status, screenshot);
        });
}

void Player::enqueue(char const* name, Then run)
{
    if (m_waiting.size() >= kMostWaiting)
    {
        m_events.refusal(om::OM_ERROR_LIMIT, name, "too many commands are waiting");
        return;
    }
    append(name, std::move(run));
}

void Player::append(char const* name, Then run)
{
    m_waiting.push_back({name, std::move(run)});
    runNext();
}

void Player::runNext()
{
    if (m_dispatching)
    {
        return;
    }
    m_dispatching = true;
    while (!m_busy && !m_waiting.empty())
    {
        Command const command = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_busy = true;
        m_command = command.name;
        askPosition([](std::int64_t) {}); // the worker comes to it before what the command does
        command.run();
    }
    m_dispatching = false;
}

void Player::finished()
{
    m_busy = false;
    runNext();
}

/// Ends the command at hand with an error that changes nothing else.
void Player::refuse(om::om_error_e code, std::string const& text)
{
    m_events.refusal(code, m_command, text);
    finished();
}

void Player::warn(om::om_error_e code, std::string const& text, std::string const& codec)
{
    m_events.event(om::OM_EVENT_WARNING, {{om::OM_KEY_CODE, std::to_string(static_cast<unsigned int>(code))},
                                          {om::OM_KEY_CODEC, codec},
                                          {om::OM_KEY_TEXT, text}});
}

/// Ends the medium with an error.
void Player::fail(Fault const& fault)
{
    ORVANE_LOG_INFO("error %u: %s", fault.code, fault.text.c_str());
    dropDeck();
    m_subtitles.forgetMedium();
    m_info.reset();
    m_phase = Phase::none;
    m_events.fault(fault);
    report();
}

void Player::dropDeck()
{
    m_waiting.clear();
    m_busy = false;
    closeDeck();
}

/// Forgets the medium at hand, but not the commands that wait for another one.
void Player::closeDeck()
{
    m_wantPlaying = false;
    m_running = false;
    m_live = false;
    m_buffering = false;
    m_bufferingPercent = kFilled;
    m_ended = false;
    m_endArrived = false;
    m_durationChanged = false;
    m_settlesLater = false;
    m_videoFeed.reset();
    m_audioFeed.reset();
    m_videoGate.reset();
    m_audioGate.reset();
    m_awaitsKey = false;
    m_overflowReported = false;
    m_unheard = false;
    m_frames.reset();
    m_host.loop.cancelTimer(m_tick);
    m_tick = 0;
    m_subtitles.close();
    m_gauges.reset();
    m_positionWaiters.answer(m_position); // the pipeline may hang
    m_picture.leave();
    if (m_deck != nullptr)
    {
        m_deck->input().onTrouble(nullptr);
        m_host.yard.take(std::move(m_deck));
    }
}

void Player::onDeckFault(Fault const& fault)
{
    fail(blameKey(fault));
}

void Player::onDeckEnd()
{
    bool const still = m_info && m_info->media.media_type == om::OM_MEDIA_TYPE_PHOTO;
    if (m_phase == Phase::open && !still)
    {
        m_endArrived = true;
        append("end", [this] { doEnd(); });
    }
}

void Player::onDeckBuffering(int percent)
{
    if (m_live)
    {
        return; // holding up a live source loses what it sends
    }
    m_events.event(om::OM_EVENT_BUFFERING, {{om::OM_KEY_PERCENT, std::to_string(percent)}});
    m_bufferingPercent = percent;
    bool const buffering = percent < kFilled;
    if (buffering == m_buffering)
    {
        return;
    }
    m_buffering = buffering;
    settleLater("buffering");
}

/// Settles when the commands in front are done, once however often this is called until then.
void Player::settleLater(char const* reason)
{
    if (m_phase == Phase::open && m_wantPlaying && !std::exchange(m_settlesLater, true))
    {
        append(reason,
               [this]
               {
                   m_settlesLater = false;
                   settle([this] { finished(); });
               });
    }
}

void Player::onDeckDuration()
{
    if (!std::exchange(m_durationChanged, true))
    {
        probeLater();
    }
}

/// What opens is probed when it is open, and what is live when it plays.
void Player::probeLater()
{
    if (m_phase == Phase::open && m_info)
    {
        append("duration", [this] { probe([this] { finished(); }); });
    }
}

void Player::onDeckMessage(GstMessage* message)
{
    m_gauges->note(message);
}

void Player::applySound()
{
    if (m_deck != nullptr)
    {
        Sound sound = m_sound;
        sound.setMute(m_unheard || sound.muted());
        m_deck->set([sound, speed = m_speed](Pipeline& pipeline) { sound.apply(pipeline, speed); });
    }
}

void Player::armTick()
{
    if (m_medium.playTimeInterval.count() == 0)
    {
        return;
    }
    auto const now = platform::EventLoop::Clock::now();
    if (m_tick == 0)
    {
        m_nextTick = now;
    }
    m_nextTick = std::max(m_nextTick + m_medium.playTimeInterval, now);
    auto const delay = std::chrono::ceil<std::chrono::milliseconds>(m_nextTick - now);
    m_tick = m_host.loop.addTimer(delay, [this] { onTick(); });
}

void Player::setPlayTimeInterval(std::chrono::milliseconds interval)
{
    m_medium.playTimeInterval = interval;
    m_host.loop.cancelTimer(m_tick);
    m_tick = 0;
    if (m_running)
    {
        armTick();
    }
}

std::optional<std::chrono::milliseconds> Player::playTimeInterval() const
{
    return m_phase == Phase::none ? std::nullopt : std::optional(m_medium.playTimeInterval);
}

void Player::onTick()
{
    if (!m_running)
    {
        m_tick = 0;
        return;
    }
    armTick();
    if (!m_deck->busy() && !m_tickWaits)
    {
        m_tickWaits = true;
        bool const asked = askPosition(
            [this](std::int64_t position)
            {
                m_tickWaits = false;
                if (m_running)
                {
                    m_events.playTime(position);
                }
            });
        m_tickWaits = m_tickWaits && asked;
    }
}

std::int64_t Player::clamped(std::int64_t position) const
{
    // In nanoseconds, as GStreamer counts, it must still be a number.
    constexpr std::int64_t kLatest = INT64_MAX / 1'000'000;
    std::int64_t const duration = m_info ? m_info->media.duration : -1;
    return std::clamp<std::int64_t>(position, 0, duration >= 0 ? duration : kLatest);
}

} // namespace tz::orvane::service
