// SPDX-License-Identifier: Apache-2.0
// One medium from opening to its end.
#include "omc_play/playback.h"

#include "omc_play/properties.h"
#include "orvane/om_property_group.h"
#include "orvane/om_service.h"
#include "presentation/labels.h"
#include "presentation/media_uri.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tz::orvane::tools
{

namespace
{

// The service gives up on its own before: this is for one that does not answer at all.
constexpr std::chrono::seconds kGrace{20};
constexpr std::chrono::seconds kPhotoTime{5};
constexpr long long kSkip = 10000; ///< milliseconds
constexpr long long kStep = 1000;  ///< milliseconds
constexpr om::om_play_speed_e kSpeeds[] = {
    om::OM_PLAY_SPEED_BACKWARD_8X, om::OM_PLAY_SPEED_BACKWARD_4X, om::OM_PLAY_SPEED_BACKWARD_2X,
    om::OM_PLAY_SPEED_BACKWARD_1X, om::OM_PLAY_SPEED_HALF,        om::OM_PLAY_SPEED_NORMAL,
    om::OM_PLAY_SPEED_2X,          om::OM_PLAY_SPEED_4X,          om::OM_PLAY_SPEED_8X};

/// A service that counts wrong must not keep the tool asking for ever.
constexpr long long kMostChapters = 1000;

std::vector<Chapter> chaptersOf(om::OmIMediaPlayer& player)
{
    std::vector<Chapter> chapters;
    long long count = 1;
    for (long long index = 0; index < std::min(count, kMostChapters); ++index)
    {
        om::OmPropertyGroup group;
        group.add(om::OM_KEY_INDEX, std::to_string(index).c_str());
        if (player.doExtendCommand(om::OM_COMMAND_CHAPTER, group) < 0)
        {
            break;
        }
        count = numberOf(group, om::OM_KEY_COUNT, 0);
        chapters.push_back({numberOf(group, om::OM_KEY_START, 0), numberOf(group, om::OM_KEY_END, -1),
                            group.get(om::OM_KEY_TITLE), group.get(om::OM_KEY_LANG)});
    }
    return chapters;
}

} // namespace

Playback::Playback(Surroundings const& surroundings, std::string uri, unsigned int medium)
    : m_surroundings(surroundings)
    , m_uri(std::move(uri))
    , m_medium(medium)
    , m_listener(surroundings.queue, medium)
    , m_player(surroundings.connection.createPlayer(nullptr))
{
    m_surroundings.view.opening(m_uri);
    if (m_player == nullptr)
    {
        fail("the media service gives no player");
        return;
    }
    m_player->addListener(&m_listener);
    m_adjustments.emplace(*m_player, m_surroundings.options);
    m_deadline = Clock::now() + std::chrono::seconds(surroundings.options.timeout) + kGrace;
    om::OmPropertyGroup properties;
    properties.add(om::OM_PREPARE_KEY_TIMEOUT, std::to_string(surroundings.options.timeout * 1000));
    send(m_player->prepare(m_uri, properties, om::OM_PREPARE_DEFAULT));
}

Playback::~Playback()
{
    if (m_player != nullptr)
    {
        m_surroundings.connection.destroyPlayer(m_player);
    }
}

void Playback::handle(PlayerEvent const& event)
{
    bool const concernsUs = event.medium == m_medium || std::holds_alternative<ServiceGone>(event.content);
    if (concernsUs && !m_outcome)
    {
        std::visit([this](auto const& content) { on(content); }, event.content);
        show();
    }
}

void Playback::on(StateChanged const& event)
{
    m_state = event.state;
    m_flags = event.flags;
    bool const hasPicture = m_state == om::OM_STATE_PAUSED || m_state == om::OM_STATE_PLAYING;
    m_started = m_started || m_state == om::OM_STATE_PLAYING;
    if (!m_opened && hasPicture && (m_flags & om::OM_ACT_OPENING) == 0)
    {
        // A live source tells what it carries only once it plays.
        bool const waitsForPlaying = (m_flags & om::OM_ACT_LIVE) != 0 && m_state == om::OM_STATE_PAUSED;
        waitsForPlaying ? send(m_player->start(0)) : begin();
    }
    else if (m_opened && m_state == om::OM_STATE_NULL)
    {
        fail("the media service closed it");
    }
}

void Playback::begin()
{
    m_opened = true;
    m_deadline.reset();
    Medium medium;
    medium.uri = m_uri;
    if (m_player->getMediaInfo(medium.info) < 0 || m_player->getContainerInfo(medium.container) < 0)
    {
        fail("the media service does not tell what it is");
        return;
    }
    m_duration = medium.info.duration;
    m_isPhoto = medium.info.media_type == om::OM_MEDIA_TYPE_PHOTO;
    if (m_surroundings.options.info)
    {
        medium.chapters = chaptersOf(*m_player);
        om::om_exif_info_t exif{};
        medium.exif = m_player->getExifInfo(exif) < 0 ? std::nullopt : std::optional<om::om_exif_info_t>(exif);
    }
    m_surroundings.view.opened(medium);
    if (m_surroundings.options.info)
    {
        finish(Outcome::played);
        return;
    }
    m_started = m_started || m_isPhoto;
    if (m_isPhoto && !m_surroundings.hasUser)
    {
        m_deadline = Clock::now() + kPhotoTime;
    }
    m_position = m_surroundings.options.start;
    send(m_adjustments->begin(medium.container));
    if (m_state != om::OM_STATE_PLAYING)
    {
        send(m_player->start(m_position));
    }
}

void Playback::on(PlayTime const& event)
{
    // While the player is on its way to another place, that place is shown.
    if (!m_seekWanted)
    {
        m_position = event.position;
    }
}

void Playback::on(DurationKnown const& event)
{
    m_duration = event.duration;
}

void Playback::on(SeekDone const& event)
{
    std::optional<long long> const sent = std::exchange(m_seekSent, std::nullopt);
    if (m_seekWanted && m_seekWanted != sent)
    {
        seekTo(*m_seekWanted);
        return;
    }
    m_seekWanted.reset();
    m_position = event.position >= 0 ? event.position : m_position;
}

void Playback::on(SpeedChanged const& event)
{
    m_speed = event.speed;
}

void Playback::on(Buffering const& event)
{
    m_bufferPercent = event.percent;
}

void Playback::on(Ended const&)
{
    if (!m_isPhoto)
    {
        finish(Outcome::played);
    }
}

void Playback::on(Fault const& event)
{
    std::string const text = errorLabel(event.code) + (event.text.empty() ? "" : " (" + event.text + ")");
    // What is refused before anything plays will not play at all.
    if (event.effect == Fault::end || (event.effect == Fault::refusal && !m_started))
    {
        fail(text);
        return;
    }
    m_surroundings.view.problem(displayName(m_uri) + ": " + text);
    if (event.effect == Fault::refusal)
    {
        m_seekSent.reset();
        m_seekWanted.reset();
        m_adjustments->forget();
        om::om_play_speed_e speed = om::OM_PLAY_SPEED_NORMAL;
        if (m_player->getSpeed(speed) >= 0)
        {
            m_speed = speed;
        }
        m_player->getCurPosition(m_position);
    }
}

void Playback::on(ServiceGone const&)
{
    finish(Outcome::serviceGone);
}

void Playback::press(Key key)
{
    if (m_outcome)
    {
        return;
    }
    switch (key)
    {
    case Key::quit:
        finish(Outcome::quit);
        return;
    case Key::next:
        finish(Outcome::skipped);
        return;
    default:
        break;
    }
    if (!m_opened)
    {
        return;
    }
    switch (key)
    {
    case Key::togglePause:
        togglePause();
        break;
    case Key::back:
        seekBy(-kSkip);
        break;
    case Key::forward:
        seekBy(kSkip);
        break;
    case Key::stepBack:
        seekBy(-kStep);
        break;
    case Key::stepForward:
        seekBy(kStep);
        break;
    case Key::home:
        seekTo(0);
        break;
    case Key::faster:
        changeSpeed(1);
        break;
    case Key::slower:
        changeSpeed(-1);
        break;
    default:
        send(m_adjustments->press(key).value_or(0));
        break;
    }
    show();
}

bool Playback::wantsToPlay() const
{
    return m_state == om::OM_STATE_PLAYING || (m_flags & om::OM_ACT_BUFFERING) != 0;
}

void Playback::togglePause()
{
    send(wantsToPlay() ? m_player->pause() : m_player->resume());
}

void Playback::seekBy(long long distance)
{
    seekTo(m_seekWanted.value_or(m_position) + distance);
}

void Playback::seekTo(long long position)
{
    long long const last = m_duration > 0 ? m_duration : position;
    m_seekWanted = std::max(std::min(position, last), 0LL);
    m_position = *m_seekWanted;
    // One at a time: a key that is held down must not pile seeks up in the service.
    if (!m_seekSent)
    {
        m_seekSent = m_seekWanted;
        send(m_player->seek(*m_seekSent, om::OM_SEEK_DEFAULT));
    }
}

void Playback::changeSpeed(int direction)
{
    auto const* const begin = std::begin(kSpeeds);
    auto const* const current = std::find(begin, std::end(kSpeeds), m_speed);
    auto const index = std::clamp<long long>(current - begin + direction, 0, std::end(kSpeeds) - begin - 1);
    m_speed = kSpeeds[index];
    send(m_player->speed(kSpeeds[index], 0));
}

void Playback::suspend()
{
    if (!m_outcome && wantsToPlay())
    {
        m_wakeResumes = true;
        send(m_player->pause());
    }
}

void Playback::wake()
{
    if (std::exchange(m_wakeResumes, false) && !m_outcome)
    {
        send(m_player->resume());
    }
}

void Playback::expire()
{
    if (m_opened)
    {
        finish(Outcome::played);
    }
    else
    {
        fail("the media service does not open it");
    }
}

/// A command that cannot be sent means that nobody is there any more.
void Playback::send(int result)
{
    if (result < 0)
    {
        finish(Outcome::serviceGone);
    }
}

void Playback::finish(Outcome outcome)
{
    if (!m_outcome)
    {
        m_outcome = outcome;
        show();
        m_surroundings.view.finished();
    }
}

void Playback::fail(std::string const& reason)
{
    m_surroundings.view.problem(displayName(m_uri) + ": " + reason);
    finish(Outcome::failed);
}

std::string Playback::stateText() const
{
    if (m_outcome)
    {
        return *m_outcome == Outcome::played ? "finished" : "stopped";
    }
    if (m_isPhoto)
    {
        return "showing";
    }
    if ((m_flags & om::OM_ACT_BUFFERING) != 0)
    {
        return "buffering " + std::to_string(m_bufferPercent) + "%";
    }
    if (!m_started)
    {
        return "starting";
    }
    return m_state == om::OM_STATE_PLAYING ? "playing" : m_state == om::OM_STATE_PAUSED ? "paused" : "stopped";
}

void Playback::show()
{
    // Before it is open there is nothing to show but its name.
    if (m_opened)
    {
        Options const& options = m_surroundings.options;
        m_surroundings.view.progress(
            {stateText(), m_position, m_duration, m_speed, options.volume, options.muted, m_adjustments->note()});
    }
}

} // namespace tz::orvane::tools
