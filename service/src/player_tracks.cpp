// SPDX-License-Identifier: Apache-2.0
// One player of a client: its tracks of sound and subtitles.
#include "player.h"
#include "stream_path.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// @return the id of a text stream, empty when there is none
std::string textStream(Pipeline const& pipeline, int number)
{
    for (StreamPad const& stream : pipeline.streams())
    {
        if (stream.kind == StreamPad::Kind::text && number-- == 0)
        {
            return stream.pad == nullptr ? std::string() : StreamPath(stream.pad.get()).id();
        }
    }
    return {};
}

/// How many tracks of subtitles a medium itself brings to the list.
int embeddedTexts(MediaInfo const& info)
{
    return std::min<int>(info.media.text_track_num, om::om_container_info_t::kTextCapacity);
}

bool hasPicture(MediaInfo const& info)
{
    return info.container.video_count > 0;
}

constexpr char kEnded[] = "the medium has ended";
constexpr char kNoPicture[] = "there is no picture for texts";

/// @return why a medium has no use for a file of subtitles
Fault obstacleIn(MediaInfo const& info)
{
    if (!hasPicture(info))
    {
        return {om::OM_ERROR_NOT_SUPPORTED, kNoPicture, {}};
    }
    bool const isFull = embeddedTexts(info) >= om::om_container_info_t::kTextCapacity;
    return isFull ? Fault{om::OM_ERROR_LIMIT, "the list of tracks is full", {}} : Fault{};
}

/// More than a switch ever takes.
constexpr std::int64_t kWayOfSwitch = 5'000;

constexpr char kSetSubtitleUri[] = "setSubtitleUri";

} // namespace

void Player::setAudioTrack(unsigned int number)
{
    enqueue("setAudioTrackNo", [this, number] { doSetAudioTrack(number); });
}

void Player::setSubtitleTrack(unsigned int number)
{
    enqueue("setSubtitleTrackNo", [this, number] { doSetSubtitleTrack(number); });
}

void Player::setSubtitleUri(std::string const& uri)
{
    Fault const fault = uri.empty() ? Fault{} : subtitleObstacle();
    if (fault.code != om::OM_ERROR_NONE)
    {
        onSubtitleRefusal(fault, kSetSubtitleUri);
        return;
    }
    m_subtitles.setUri(uri);
}

Fault Player::subtitleObstacle() const
{
    return m_phase == Phase::none || !m_info ? Fault{} : obstacleIn(*m_info);
}

/// What was chosen before anything was known of the medium may be of no use to it.
void Player::judgeSubtitleFile(MediaInfo const& info)
{
    Fault const fault = obstacleIn(info);
    if (fault.code != om::OM_ERROR_NONE && m_subtitles.hasExternal())
    {
        m_subtitles.forgetMedium();
        onSubtitleRefusal(fault, kSetSubtitleUri);
    }
}

bool Player::needsTracks()
{
    if (!needsOpen())
    {
        return false;
    }
    if (!m_info)
    {
        refuse(om::OM_ERROR_BAD_STATE, "its tracks are not known before it plays");
    }
    return m_info.has_value();
}

void Player::doSetAudioTrack(unsigned int number)
{
    if (!needsTracks())
    {
        return;
    }
    if (number >= static_cast<unsigned int>(m_info->container.audio_count))
    {
        refuse(om::OM_ERROR_BAD_ARGUMENT, "no such track");
        return;
    }
    auto const track = static_cast<int>(number);
    auto const chosen = [this, track](SwitchResult result)
    {
        if (result != SwitchResult::done)
        {
            result == SwitchResult::ended ? refuse(om::OM_ERROR_BAD_STATE, kEnded)
                                          : refuse(om::OM_ERROR_NOT_SUPPORTED, "the track gives no sound");
            return;
        }
        m_audioTrack = track;
        tellTracks(StreamPad::Kind::audio);
        finished();
    };
    track == m_audioTrack ? chosen(SwitchResult::done) : switchAudio(track, chosen);
}

void Player::doSetSubtitleTrack(unsigned int number)
{
    if (!needsTracks())
    {
        return;
    }
    auto const embedded = static_cast<unsigned int>(embeddedTexts(*m_info));
    if (number < embedded)
    {
        if (!hasPicture(*m_info))
        {
            refuse(om::OM_ERROR_NOT_SUPPORTED, kNoPicture);
            return;
        }
        auto const& tracks = m_info->container.subtitle_detail;
        if (number < std::size(tracks) && tracks[number].subtitle.drawtype == om::OM_SUBTITLE_DRAW_PICTURE)
        {
            refuse(om::OM_ERROR_NOT_SUPPORTED, "subtitles that are pictures are not shown");
            return;
        }
        chooseEmbedded(static_cast<int>(number));
        return;
    }
    if (number == om::OM_TRACK_NONE)
    {
        m_subtitles.chooseNone();
    }
    else if (number == embedded && m_subtitles.hasExternal())
    {
        m_subtitles.chooseExternal();
    }
    else
    {
        refuse(om::OM_ERROR_BAD_ARGUMENT, "no such track");
        return;
    }
    tellTracks(StreamPad::Kind::text);
    finished();
}

/// Nothing is switched: the texts of all tracks are collected while it plays.
void Player::chooseEmbedded(int number)
{
    auto const stream = std::make_shared<std::string>();
    m_deck->operate(
        Deck::Kind::query, deadline(),
        [stream, number](Pipeline& pipeline)
        {
            *stream = textStream(pipeline, number);
            return CallResult::done;
        },
        [this, stream, number](Deck::Outcome)
        {
            m_subtitles.chooseEmbedded(number, *stream);
            tellTracks(StreamPad::Kind::text);
            finished();
        });
}

/// What stands has to play for a moment: then nobody hears it, and it goes back to where it stood.
void Player::switchAudio(int number, Switched then)
{
    if (m_ended)
    {
        refuse(om::OM_ERROR_BAD_STATE, kEnded);
        return;
    }
    if (m_running)
    {
        passSwitch(number,
                   [this, then = std::move(then)](SwitchResult result)
                   {
                       // What is on its way to the output still comes from the old track. Fetching it again from a
                       // server or from the application takes longer than waiting for its end.
                       // But without, an end that came meanwhile may be lost.
                       bool const flushes = isSeekable() && (isFile() || result != SwitchResult::done);
                       flushes ? flushTo(std::nullopt, m_speed, [then, result] { then(result); }) : then(result);
                   });
        return;
    }
    if (!isSeekable())
    {
        refuse(om::OM_ERROR_NOT_SUPPORTED, "the medium cannot do that while it stands still");
        return;
    }
    readPosition(
        [this, number, then = std::move(then)]
        {
            m_unheard = true;
            applySound();
            auto const play = [this, number, then]
            {
                m_deck->operate(
                    Deck::Kind::state, deadline(),
                    [](Pipeline& pipeline) { return pipeline.changeState(GST_STATE_PLAYING); },
                    [this, number, then](Deck::Outcome) {
                        passSwitch(number,
                                   [this, then](SwitchResult result) { standAgain([then, result] { then(result); }); });
                    });
            };
            std::int64_t const place = placeToSwitch();
            bool const isThere = place == m_position && m_speed == om::OM_PLAY_SPEED_NORMAL;
            isThere ? play() : flushTo(place, om::OM_PLAY_SPEED_NORMAL, play);
        });
}

/// Where it may play for a moment and not come to its end, at which no switch is ever done.
std::int64_t Player::placeToSwitch() const
{
    std::int64_t const duration = m_info->media.duration;
    return duration < 0 ? m_position : std::clamp<std::int64_t>(duration - kWayOfSwitch, 0, m_position);
}

void Player::passSwitch(int number, Switched then)
{
    auto const result = std::make_shared<SwitchResult>(SwitchResult::failed);
    m_deck->operate(
        Deck::Kind::query, deadline(),
        [result, number, former = m_audioTrack](Pipeline& pipeline)
        {
            *result = pipeline.switchAudio(number, former);
            return CallResult::done;
        },
        [result, then = std::move(then)](Deck::Outcome) { then(*result); });
}

void Player::standAgain(Then then)
{
    m_deck->operate(
        Deck::Kind::state, deadline(), [](Pipeline& pipeline) { return pipeline.changeState(GST_STATE_PAUSED); },
        [this, then = std::move(then)](Deck::Outcome)
        {
            flushTo(m_position, m_speed,
                    [this, then]
                    {
                        m_unheard = false;
                        applySound();
                        then();
                    });
        });
}

/// Seeks without a word to the client. @param position nothing: to where it is
void Player::flushTo(std::optional<std::int64_t> position, int speed, Then then)
{
    m_endArrived = false;
    m_deck->operate(
        Deck::Kind::seek, deadline(),
        [position, last = m_position, rate = rateOf(speed)](Pipeline& pipeline) {
            return pipeline.seek(rate, position ? *position : pipeline.position().value_or(last), om::OM_SEEK_ACCURATE);
        },
        [then = std::move(then)](Deck::Outcome) { then(); });
}

void Player::completeTracks(MediaInfo& info) const
{
    om::om_container_info_t& container = info.container;
    container.audio_selected = std::min(m_audioTrack, container.audio_count - 1);
    m_subtitles.complete(container, embeddedTexts(info));
    completeMutes(container);
}

void Player::completeMutes(om::om_container_info_t& container) const
{
    container.video_muted = m_picture.muted() ? 1 : 0;
    container.audio_muted = m_sound.muted() ? 1 : 0;
    container.text_muted = m_subtitles.visible() ? 0 : 1;
}

om::om_container_info_t Player::tracks() const
{
    om::om_container_info_t container = m_info->container;
    completeMutes(container);
    return container;
}

/// Reports which track is chosen, and the list when that has changed with it.
void Player::tellTracks(StreamPad::Kind kind)
{
    om::om_container_info_t const before = m_info->container;
    completeTracks(*m_info);
    om::om_container_info_t const& container = m_info->container;
    if (std::memcmp(&before, &container, sizeof before) != 0)
    {
        m_events.containerInfo(container);
    }
    bool const isAudio = kind == StreamPad::Kind::audio;
    om::om_track_detail_t track;
    std::memset(&track, 0, sizeof track);
    track.track_type = isAudio ? om::OM_STREAM_TYPE_AUDIO : om::OM_STREAM_TYPE_SUBTITLE;
    track.track_no = isAudio ? container.audio_selected : container.text_selected;
    track.stream.id = -1;
    if (track.track_no >= 0)
    {
        track.stream = (isAudio ? container.audios_detail : container.subtitle_detail)[track.track_no];
    }
    m_events.trackChanged(track);
}

void Player::onSubtitlesLoaded()
{
    if (m_info)
    {
        tellTracks(StreamPad::Kind::text);
    }
}

void Player::onSubtitleRefusal(Fault const& fault, char const* command)
{
    m_events.refusal(fault.code, command, fault.text);
}

void Player::onSubtitleWarning(Fault const& fault)
{
    warn(fault.code, fault.text);
}

} // namespace tz::orvane::service
