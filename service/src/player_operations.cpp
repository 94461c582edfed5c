// SPDX-License-Identifier: Apache-2.0
// One player of a client: what its commands are made of.
#include "es_pipeline.h"
#include "player.h"
#include "uri_pipeline.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr std::chrono::milliseconds kOperationDeadline{5'000};

/// Pipelines that end behind the players' backs, or never will.
constexpr int kMostLeftovers = 64;

/// Nothing in it tells where key frames are: a search for one ends seconds away, on a picture that cannot be decoded.
constexpr char kTransportStream[] = "video/mp2t";

constexpr int kSeekFlags =
    om::OM_SEEK_ACCURATE | om::OM_SEEK_KEY_UNIT | om::OM_SEEK_SNAP_BEFORE | om::OM_SEEK_SNAP_AFTER;
static_assert(om::OM_SEEK_ACCURATE == static_cast<int>(GST_SEEK_FLAG_ACCURATE));
static_assert(om::OM_SEEK_KEY_UNIT == static_cast<int>(GST_SEEK_FLAG_KEY_UNIT));
static_assert(om::OM_SEEK_SNAP_BEFORE == static_cast<int>(GST_SEEK_FLAG_SNAP_BEFORE));
static_assert(om::OM_SEEK_SNAP_AFTER == static_cast<int>(GST_SEEK_FLAG_SNAP_AFTER));

bool isSeekFlags(int flags)
{
    bool const accurate = (flags & om::OM_SEEK_ACCURATE) != 0;
    bool const keyUnit = (flags & om::OM_SEEK_KEY_UNIT) != 0;
    bool const snaps = (flags & (om::OM_SEEK_SNAP_BEFORE | om::OM_SEEK_SNAP_AFTER)) != 0;
    return (flags & ~kSeekFlags) == 0 && !(accurate && keyUnit) && (keyUnit || !snaps);
}

bool canDecode(Medium const& medium)
{
    return (!medium.video || videoCaps(*medium.video) != nullptr) &&
           (!medium.audio || audioCaps(*medium.audio) != nullptr);
}

} // namespace

/// What the application or a live server has to do takes as long as opening may.
std::chrono::milliseconds Player::deadline() const
{
    bool const waitsForOthers = m_live || m_medium.kind != Medium::Kind::uri || m_medium.fromNetwork();
    return waitsForOthers ? std::max(m_medium.openTimeout, kOperationDeadline) : kOperationDeadline;
}

bool Player::needsOpen()
{
    if (m_phase == Phase::open)
    {
        return true;
    }
    refuse(om::OM_ERROR_BAD_STATE, "nothing is open");
    return false;
}

std::unique_ptr<Pipeline> Player::makePipeline(ScreenInput const& input)
{
    GstElement* const audio = makeAudioChain(m_host.settings.audio);
    GstElement* const video =
        makeVideoOutlet(input.channel(), m_host.settings, m_frames == nullptr ? nullptr : m_frames->tap());
    m_gauges = std::make_unique<Gauges>(audio, video);
    switch (m_medium.kind)
    {
    case Medium::Kind::container:
        return std::make_unique<UriPipeline>(m_videoFeed, audio, video);
    case Medium::Kind::streams:
    {
        std::vector<EsPipeline::Stream> streams;
        if (m_medium.video)
        {
            streams.push_back({StreamPad::Kind::video, videoCaps(*m_medium.video), m_videoFeed});
        }
        if (m_medium.audio)
        {
            streams.push_back({StreamPad::Kind::audio, audioCaps(*m_medium.audio), m_audioFeed});
        }
        return std::make_unique<EsPipeline>(streams, audio, video);
    }
    default:
        return std::make_unique<UriPipeline>(m_medium.uri, m_medium.userAgent, audio, video);
    }
}

void Player::openMedium(Then then)
{
    m_phase = Phase::opening;
    m_info.reset();
    m_speed = om::OM_PLAY_SPEED_NORMAL;
    m_position = 0;
    report();
    if (m_medium.kind == Medium::Kind::uri && !isKnownScheme(m_medium.uri))
    {
        fail({om::OM_ERROR_UNKNOWN_SCHEME, m_medium.uri, {}});
        return;
    }
    if (!canDecode(m_medium))
    {
        fail({om::OM_ERROR_UNSUPPORTED_CODEC, "no such stream can be pushed", {}});
        return;
    }
    if (m_host.yard.leftovers() >= kMostLeftovers)
    {
        fail({om::OM_ERROR_LIMIT, "too many media are being closed", {}});
        return;
    }
    makeFeeds();
    if (m_medium.frames.wanted())
    {
        m_frames = FrameStream::make(m_host.frames, m_events, m_medium.frames);
    }
    auto input = m_host.screen.open();
    input->onTrouble([this](std::string const& text) { warn(om::OM_ERROR_INTERNAL, text); });
    auto pipeline = makePipeline(*input);
    m_audioTrack = 0;
    m_toldCodecs = 0;
    pipeline->takeTexts(*m_subtitles.open(*input, isFile() ? m_medium.uri : std::string()));
    m_deck = std::make_shared<Deck>(m_host.loop, std::move(pipeline), std::move(input), m_medium.fromNetwork());
    if (int const result = m_deck->start(); result < 0)
    {
        m_deck.reset();
        fail({om::OM_ERROR_LIMIT, std::strerror(-result), {}});
        return;
    }
    m_deck->setListener(this);
    applySound();
    m_deck->operate(
        Deck::Kind::state, m_medium.openTimeout, [](Pipeline& opening) { return opening.open(); },
        [this, then = std::move(then)](Deck::Outcome outcome)
        {
            m_live = outcome == Deck::Outcome::live;
            m_buffering = m_buffering && !m_live; // which is never waited for
            auto const opened = [this, then]
            {
                becomeOpen();
                then();
            };
            m_live ? opened() : probe(opened); // a live source shows its streams when it plays
        });
}

void Player::becomeOpen()
{
    m_phase = Phase::open;
    m_fresh = true;
    tellMissingCodecs();
    report();
    if (m_durationChanged)
    {
        probeLater();
    }
}

/// A live source shows some of its streams when it plays only.
void Player::tellMissingCodecs()
{
    auto const& codecs = m_deck->missingCodecs();
    for (; m_toldCodecs < codecs.size(); ++m_toldCodecs)
    {
        warn(om::OM_ERROR_UNSUPPORTED_CODEC, "a stream cannot be decoded", codecs[m_toldCodecs]);
    }
}

void Player::probe(Then then)
{
    m_durationChanged = false;
    auto const answer = std::make_shared<MediaInfo>();
    m_deck->operate(
        Deck::Kind::query, kOperationDeadline,
        [answer, live = m_live](Pipeline& pipeline)
        {
            *answer = probeMedia(pipeline, live);
            return CallResult::done;
        },
        [this, answer, then = std::move(then)](Deck::Outcome)
        {
            judgeSubtitleFile(*answer);
            completeTracks(*answer);
            bool const known = m_info.has_value();
            bool const sameMedia = known && std::memcmp(&m_info->media, &answer->media, sizeof answer->media) == 0;
            bool const sameTracks =
                known && std::memcmp(&m_info->container, &answer->container, sizeof answer->container) == 0;
            bool const exifIsNew = answer->exif && !(known && m_info->exif);
            m_info = *answer;
            if (!sameMedia)
            {
                m_events.mediaInfo(m_info->media);
            }
            if (!sameTracks)
            {
                m_events.containerInfo(m_info->container);
            }
            if (exifIsNew)
            {
                m_events.exifInfo(*m_info->exif);
            }
            m_picture.show(m_deck->input(), *m_info, m_medium.animationDuration);
            then();
        });
}

/// Makes the pipeline run or stand as it is wanted, and reports the state, also when it is that already.
void Player::settle(Then then)
{
    bool const run = m_wantPlaying && !m_buffering && !m_awaitsKey;
    if (run == m_running)
    {
        report();
        then();
        return;
    }
    m_deck->operate(
        Deck::Kind::state, deadline(),
        [run](Pipeline& pipeline) { return pipeline.changeState(run ? GST_STATE_PLAYING : GST_STATE_PAUSED); },
        [this, run, then = std::move(then)](Deck::Outcome)
        {
            auto const settled = [this, run, then]
            {
                m_running = run;
                m_fresh = m_fresh && !run;
                if (run && m_tick == 0)
                {
                    armTick();
                }
                report();
                then();
            };
            auto const shown = [this, settled]
            {
                tellMissingCodecs();
                settled();
            };
            m_live && !m_info ? probe(shown) : settled();
        });
}

void Player::beginPlaying()
{
    m_wantPlaying = true;
    settle([this] { finished(); });
}

void Player::readPosition(Then then)
{
    auto const position = std::make_shared<std::int64_t>(m_position);
    m_deck->operate(
        Deck::Kind::query, kOperationDeadline,
        [position](Pipeline& pipeline)
        {
            *position = pipeline.position().value_or(*position);
            return CallResult::done;
        },
        [this, position, then = std::move(then)](Deck::Outcome)
        {
            m_position = clamped(*position);
            then();
        });
}

/// Seeks, and reads where that has led. @param position nothing: where it stands
void Player::moveTo(int speed, std::optional<std::int64_t> position, int flags, Then then)
{
    bool const endHadArrived = std::exchange(m_endArrived, false);
    report(om::OM_ACT_SEEKING);
    auto const target = std::make_shared<std::int64_t>(position.value_or(m_position));
    m_deck->operate(
        Deck::Kind::seek, deadline(),
        [position, target, flags, speed, sound = m_sound](Pipeline& pipeline)
        {
            double const rate = rateOf(speed);
            if (!position)
            {
                *target = pipeline.position().value_or(*target);
            }
            sound.apply(pipeline, speed); // not a sound of the new speed that is not to be heard
            return pipeline.seek(rate, *target, flags);
        },
        [this, speed, target, endHadArrived, then = std::move(then)](Deck::Outcome outcome)
        {
            if (outcome == Deck::Outcome::refused)
            {
                m_endArrived = m_endArrived || endHadArrived; // it was not left behind
                applySound();
                report();
                refuse(om::OM_ERROR_NOT_SUPPORTED, "the medium cannot do that");
                return;
            }
            m_ended = false;
            m_fresh = false;
            m_speed = speed;
            m_position = *target;
            applySound(); // it may have been changed meanwhile
            readPosition(then);
        });
}

void Player::doStart(std::int64_t position)
{
    auto const target = position < 0 ? std::nullopt : std::optional<std::int64_t>(position);
    switch (m_phase)
    {
    case Phase::stopped:
        openMedium([this, target] { startOpened(target); });
        break;
    case Phase::open:
        startOpened(m_ended && !target ? 0 : target);
        break;
    default:
        refuse(om::OM_ERROR_BAD_STATE, "nothing is open");
        break;
    }
}

void Player::startOpened(std::optional<std::int64_t> position)
{
    bool const fromBeginning = position && *position == 0;
    bool const isThere = !position ? m_speed == om::OM_PLAY_SPEED_NORMAL : fromBeginning && (m_fresh || m_live);
    if (isThere)
    {
        beginPlaying();
    }
    else if (isSeekable())
    {
        auto const target = position ? std::optional<std::int64_t>(clamped(*position)) : std::nullopt;
        moveTo(om::OM_PLAY_SPEED_NORMAL, target, om::OM_SEEK_ACCURATE, [this] { beginPlaying(); });
    }
    else if (fromBeginning)
    {
        reopen([this] { beginPlaying(); });
    }
    else
    {
        refuse(om::OM_ERROR_NOT_SUPPORTED, "the medium cannot start there");
    }
}

/// What cannot be sought is opened again to be played again.
void Player::reopen(Then then)
{
    closeDeck();
    openMedium(std::move(then));
}

void Player::doSeek(std::int64_t position, int flags)
{
    if (!needsOpen())
    {
        return;
    }
    if (position < 0 || !isSeekFlags(flags))
    {
        refuse(om::OM_ERROR_BAD_ARGUMENT, "no such position or flags");
        return;
    }
    if (!isSeekable())
    {
        refuse(om::OM_ERROR_NOT_SUPPORTED, "the medium cannot be sought");
        return;
    }
    bool const hasIndex = std::strcmp(m_info->media.mime_type, kTransportStream) != 0;
    int const how = flags == om::OM_SEEK_DEFAULT || !hasIndex ? om::OM_SEEK_ACCURATE : flags;
    moveTo(m_speed, clamped(position), how,
           [this]
           {
               m_events.event(om::OM_EVENT_SEEK_DONE, {{om::OM_KEY_POSITION, std::to_string(m_position)}});
               report();
               finished();
           });
}

void Player::doSetSpeed(int speed)
{
    if (!needsOpen())
    {
        return;
    }
    if (speed == 0 || speed < om::OM_PLAY_SPEED_BACKWARD_8X || speed > om::OM_PLAY_SPEED_8X)
    {
        refuse(om::OM_ERROR_BAD_ARGUMENT, "no such speed");
        return;
    }
    if (!isSeekable())
    {
        refuse(om::OM_ERROR_NOT_SUPPORTED, "the medium has one speed only");
        return;
    }
    if (speed < 0 && m_medium.kind != Medium::Kind::uri)
    {
        refuse(om::OM_ERROR_NOT_SUPPORTED, "what is pushed goes forward only");
        return;
    }
    moveTo(speed, std::nullopt, om::OM_SEEK_ACCURATE,
           [this]
           {
               m_events.event(om::OM_EVENT_SPEED_CHANGED, {{om::OM_KEY_SPEED, std::to_string(m_speed)}});
               report();
               finished();
           });
}

void Player::doEnd()
{
    if (!m_endArrived)
    {
        finished(); // a seek has led away from it meanwhile
        return;
    }
    m_endArrived = false;
    readPosition(
        [this]
        {
            m_ended = true;
            m_wantPlaying = false;
            bool const forward = m_speed > 0;
            m_position = forward ? std::max(m_position, m_info ? m_info->media.duration : 0) : 0;
            if (m_medium.playTimeInterval.count() > 0)
            {
                m_events.playTime(m_position);
            }
            m_events.event(om::OM_EVENT_END_OF_STREAM, {{om::OM_KEY_POSITION, std::to_string(m_position)}});
            settle(
                [this, forward]
                {
                    // On a busy machine the last pictures backwards came too late to be shown.
                    forward ? finished() : flushTo(0, om::OM_PLAY_SPEED_NORMAL, [this] { finished(); });
                });
        });
}

} // namespace tz::orvane::service
