// SPDX-License-Identifier: Apache-2.0
// What the user changes about sound, picture and tracks while a medium plays.
#pragma once

#include "omc_play/options.h"
#include "orvane/om_imediaplayer.h"
#include "presentation/key_decoder.h"

#include <optional>
#include <string>

namespace tz::orvane::tools
{

/// Loudness is the user's and goes on with the next medium; all else belongs to the medium that plays. Main thread.
class Adjustments
{
public:
    Adjustments(om::OmIMediaPlayer& player, Options& options)
        : m_player(player)
        , m_options(options)
    {
    }

    /// Applies what earlier media left. @return negative when it could not be sent
    int begin(om::om_container_info_t const& container);

    /// @return nothing when the key is for others, else negative when the command could not be sent
    std::optional<int> press(Key key);

    /// @return what was changed last, in words: "rotated 90"
    std::string const& note() const { return m_note; }

    /// The service has refused something: what was noted and wanted is not so.
    void forget();

private:
    int changeVolume(int difference);
    int toggleMute();
    int nextAudioTrack();
    int nextSubtitle();
    int rotate();
    int nextZoomMode();
    int changeZoomRatio(int direction);

    om::OmIMediaPlayer& m_player;
    Options& m_options;
    om::om_container_info_t m_container{};
    int m_angle = om::OM_DISPLAY_ROTATE_0;
    /// Asked for, and perhaps not yet so: the next press goes on from there.
    std::optional<unsigned int> m_audioTrack;
    std::optional<unsigned int> m_subtitle;
    std::size_t m_zoomMode = 0;
    std::size_t m_zoomRatio = 0;
    std::string m_note;
};

} // namespace tz::orvane::tools
