// SPDX-License-Identifier: Apache-2.0
// Where and how a player's picture appears.
#pragma once

#include "media_info.h"
#include "screen.h"

#include "orvane/om_records.h"
#include "orvane/om_service.h"

#include <chrono>

namespace tz::orvane::service
{

/// The settings of a player's picture, which outlive its media, and the picture that follows them. Loop thread.
class Picture
{
public:
    explicit Picture(Settings const& settings);

    /// @return whether there is such an angle
    bool rotate(int degrees);
    int rotation() const { return m_rotation; }

    /// @param rect all zero: the whole screen; its zoom is 0, or a ratio as for setZoom @return whether that makes
    /// sense
    bool setRect(om::om_display_rect_t const& rect);
    om::om_display_rect_t rect() const;

    /// @param ratio percent @return whether there is such a mode and ratio
    bool setZoom(int mode, int ratio);
    om::om_zoom_mode_e mode() const { return m_mode; }
    int ratio() const { return m_ratio; }

    /// @return whether there is such an animation
    bool setAnimation(int animation);

    void mute(bool muted);
    bool muted() const { return m_muted; }

    /// Moves what is seen of the picture at hand, as far as there is more of it. Without one nothing happens.
    void move(int right, int down);

    /// The input shows a medium from now on; one that it shows already may have changed.
    void show(ScreenInput& input, MediaInfo const& info, std::chrono::milliseconds animationDuration);

    /// There is no medium any more.
    void leave();

private:
    Fitting fitting() const;
    void apply();
    void center();

    Settings const& m_settings;
    int m_rotation = 0;
    om::om_display_rect_t m_rect{};
    om::om_zoom_mode_e m_mode = om::OM_ZOOM_MODE_FIT;
    int m_ratio = om::OM_ZOOM_RATIO_100;
    om::om_image_animation_e m_animation = om::OM_IMAGE_ANIMATION_NONE;
    bool m_muted = false;

    // Of the medium at hand.
    ScreenInput* m_input = nullptr;
    bool m_hasPicture = false;
    PictureSize m_size;
    PictureLook m_look;
    double m_centerX = 0.5;
    double m_centerY = 0.5;
};

} // namespace tz::orvane::service
