// SPDX-License-Identifier: Apache-2.0
// What the user changes about sound, picture and tracks while a medium plays.
#include "omc_play/adjustments.h"

#include "orvane/om_service.h"
#include "presentation/labels.h"
#include "presentation/medium.h"
#include "presentation/text.h"

#include <algorithm>
#include <iterator>

namespace tz::orvane::tools
{

namespace
{

constexpr int kVolumeStep = 5;

struct ZoomMode
{
    om::om_zoom_mode_e mode;
    char const* text;
};

constexpr ZoomMode kZoomModes[] = {
    {om::OM_ZOOM_MODE_FIT, "whole picture"},
    {om::OM_ZOOM_MODE_CROP, "filled"},
    {om::OM_ZOOM_MODE_STRETCH, "stretched"},
};

constexpr om::om_zoom_ratio_e kZoomRatios[] = {om::OM_ZOOM_RATIO_100, om::OM_ZOOM_RATIO_150, om::OM_ZOOM_RATIO_200,
                                               om::OM_ZOOM_RATIO_300, om::OM_ZOOM_RATIO_400};

/// "audio 2/3, deu"
std::string trackNote(char const* kind, unsigned int number, std::size_t count, std::string const& name)
{
    std::string const place = std::to_string(number + 1) + "/" + std::to_string(count);
    return std::string(kind) + " " + place + (name.empty() ? "" : ", " + printable(name));
}

} // namespace

int Adjustments::begin(om::om_container_info_t const& container)
{
    m_container = container;
    int const muted = m_player.setAudioMute(m_options.muted ? 1 : 0);
    return muted < 0 ? muted : m_player.setVolume(m_options.volume);
}

std::optional<int> Adjustments::press(Key key)
{
    switch (key)
    {
    case Key::louder:
        return changeVolume(kVolumeStep);
    case Key::softer:
        return changeVolume(-kVolumeStep);
    case Key::mute:
        return toggleMute();
    case Key::audioTrack:
        return nextAudioTrack();
    case Key::subtitle:
        return nextSubtitle();
    case Key::rotate:
        return rotate();
    case Key::zoomMode:
        return nextZoomMode();
    case Key::zoomIn:
        return changeZoomRatio(1);
    case Key::zoomOut:
        return changeZoomRatio(-1);
    default:
        return std::nullopt;
    }
}

void Adjustments::forget()
{
    m_note.clear();
    m_audioTrack.reset();
    m_subtitle.reset();
}

int Adjustments::changeVolume(int difference)
{
    m_options.volume = std::clamp(m_options.volume + difference, 0, 100);
    return m_player.setVolume(m_options.volume);
}

int Adjustments::toggleMute()
{
    m_options.muted = !m_options.muted;
    return m_player.setAudioMute(m_options.muted ? 1 : 0);
}

int Adjustments::nextAudioTrack()
{
    auto const tracks = tracksOf(m_container.audios_detail, m_container.audio_count);
    if (tracks.size() < 2)
    {
        m_note = "no other sound";
        return 0;
    }
    if (unsigned int current = 0; !m_audioTrack && m_player.getAudioTrackNo(current) >= 0)
    {
        m_audioTrack = current;
    }
    bool const known = m_audioTrack && *m_audioTrack < tracks.size();
    auto const next = known ? (*m_audioTrack + 1) % static_cast<unsigned int>(tracks.size()) : 0;
    m_audioTrack = next;
    m_note = trackNote("audio", next, tracks.size(), fieldText(tracks[next].audio.lang));
    return m_player.setAudioTrackNo(next);
}

/// Behind the last one comes none.
int Adjustments::nextSubtitle()
{
    auto const tracks = tracksOf(m_container.subtitle_detail, m_container.text_count);
    if (tracks.empty())
    {
        m_note = "no subtitles";
        return 0;
    }
    if (unsigned int current = 0; !m_subtitle && m_player.getSubtitleTrackNo(current) >= 0)
    {
        m_subtitle = current;
    }
    bool const shown = m_subtitle && *m_subtitle < tracks.size();
    unsigned int const next = shown ? *m_subtitle + 1 : 0;
    m_subtitle = next == tracks.size() ? om::OM_TRACK_NONE : next;
    if (next == tracks.size())
    {
        m_note = "subtitles off";
        return m_player.setSubtitleTrackNo(om::OM_TRACK_NONE);
    }
    std::string const language = fieldText(tracks[next].subtitle.lang);
    m_note = trackNote("subtitles", next, tracks.size(),
                       language.empty() ? fieldText(tracks[next].subtitle.title) : language);
    return m_player.setSubtitleTrackNo(next);
}

int Adjustments::rotate()
{
    m_angle = (m_angle + om::OM_DISPLAY_ROTATE_90) % 360;
    m_note = "rotated " + std::to_string(m_angle);
    return m_player.rotate(static_cast<om::om_display_rotate_e>(m_angle));
}

int Adjustments::nextZoomMode()
{
    m_zoomMode = (m_zoomMode + 1) % std::size(kZoomModes);
    m_note = kZoomModes[m_zoomMode].text;
    return m_player.setZoom(kZoomModes[m_zoomMode].mode, kZoomRatios[m_zoomRatio]);
}

int Adjustments::changeZoomRatio(int direction)
{
    auto const last = static_cast<long>(std::size(kZoomRatios)) - 1;
    m_zoomRatio = static_cast<std::size_t>(std::clamp(static_cast<long>(m_zoomRatio) + direction, 0L, last));
    m_note = "zoom " + std::to_string(kZoomRatios[m_zoomRatio]) + "%";
    return m_player.setZoom(kZoomModes[m_zoomMode].mode, kZoomRatios[m_zoomRatio]);
}

} // namespace tz::orvane::tools
