// SPDX-License-Identifier: Apache-2.0
// Where and how a player's picture appears.
#include "picture.h"

#include <cstdlib>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// Of a rectangle's sides, and of its distance from the screen's corner.
constexpr int kFarthest = 16'384;

bool isSensible(om::om_display_rect_t const& rect)
{
    auto const isSide = [](int length) { return length > 0 && length <= kFarthest; };
    auto const isPlace = [](int place) { return place >= -kFarthest && place <= kFarthest; };
    return isSide(rect.width) && isSide(rect.height) && isPlace(rect.px) && isPlace(rect.py);
}

bool isWholeScreen(om::om_display_rect_t const& rect)
{
    return rect.px == 0 && rect.py == 0 && rect.width == 0 && rect.height == 0;
}

bool isRatio(int ratio)
{
    return ratio >= om::OM_ZOOM_RATIO_100 && ratio <= om::OM_ZOOM_RATIO_400;
}

/// As it lies on the screen.
PictureSize turned(PictureSize const& size, int degrees)
{
    bool const lies = degrees % 180 != 0;
    return lies ? PictureSize{size.height, size.width, 1 / size.pixelAspect} : size;
}

} // namespace

Picture::Picture(Settings const& settings)
    : m_settings(settings)
{
}

bool Picture::rotate(int degrees)
{
    if (degrees != om::OM_DISPLAY_ROTATE_0 && degrees != om::OM_DISPLAY_ROTATE_90 &&
        degrees != om::OM_DISPLAY_ROTATE_180 && degrees != om::OM_DISPLAY_ROTATE_270)
    {
        return false;
    }
    m_rotation = degrees;
    center();
    apply();
    return true;
}

bool Picture::setRect(om::om_display_rect_t const& rect)
{
    if (!(isWholeScreen(rect) || isSensible(rect)) || !(rect.zoom == 0 || isRatio(rect.zoom)))
    {
        return false;
    }
    m_rect = rect;
    m_ratio = rect.zoom == 0 ? m_ratio : rect.zoom;
    apply();
    return true;
}

om::om_display_rect_t Picture::rect() const
{
    Area const area = fitting().area;
    return {area.x, area.y, area.width, area.height, m_ratio};
}

bool Picture::setZoom(int mode, int ratio)
{
    bool const isMode =
        mode == om::OM_ZOOM_MODE_FIT || mode == om::OM_ZOOM_MODE_STRETCH || mode == om::OM_ZOOM_MODE_CROP;
    if (!isMode || !isRatio(ratio))
    {
        return false;
    }
    m_mode = static_cast<om::om_zoom_mode_e>(mode);
    m_ratio = ratio;
    apply();
    return true;
}

bool Picture::setAnimation(int animation)
{
    if (animation < om::OM_IMAGE_ANIMATION_NONE || animation > om::OM_IMAGE_ANIMATION_ZOOM_IN)
    {
        return false;
    }
    m_animation = static_cast<om::om_image_animation_e>(animation);
    return true;
}

void Picture::mute(bool muted)
{
    m_muted = muted;
    apply();
}

void Picture::move(int right, int down)
{
    PictureSize const size = turned(m_size, m_look.orientation.degrees() + m_rotation);
    if (m_input == nullptr || size.width <= 0 || size.height <= 0)
    {
        return;
    }
    Fitting const now = fitting();
    ScreenExtent const extent = magnifiedSize(size, now);
    m_centerX = clampCenter(now.centerX, extent.width, now.area.width) - right / extent.width;
    m_centerY = clampCenter(now.centerY, extent.height, now.area.height) - down / extent.height;
    m_centerX = clampCenter(m_centerX, extent.width, now.area.width);
    m_centerY = clampCenter(m_centerY, extent.height, now.area.height);
    apply();
}

void Picture::show(ScreenInput& input, MediaInfo const& info, std::chrono::milliseconds animationDuration)
{
    om::om_media_info_t const& media = info.media;
    bool const isNew = std::exchange(m_input, &input) != &input;
    bool const isPhoto = media.media_type == om::OM_MEDIA_TYPE_PHOTO;
    m_hasPicture = info.container.video_count > 0;
    m_size = {media.resolution.width, media.resolution.height,
              media.par.num > 0 && media.par.den > 0 ? static_cast<double>(media.par.num) / media.par.den : 1.0};
    m_look.orientation = info.orientation;
    if (isNew)
    {
        center();
        ++m_look.appearance;
        m_look.animation = isPhoto ? m_animation : om::OM_IMAGE_ANIMATION_NONE;
        m_look.animationDuration = animationDuration;
    }
    apply();
}

void Picture::leave()
{
    if (m_input != nullptr)
    {
        m_input->hide();
        m_input = nullptr;
    }
}

Fitting Picture::fitting() const
{
    Area const screen{0, 0, m_settings.screenWidth, m_settings.screenHeight};
    Fitting fitting;
    fitting.area = isWholeScreen(m_rect) ? screen : Area{m_rect.px, m_rect.py, m_rect.width, m_rect.height};
    fitting.mode = m_mode;
    fitting.magnification = static_cast<double>(m_ratio) / om::OM_ZOOM_RATIO_100;
    fitting.centerX = m_centerX;
    fitting.centerY = m_centerY;
    return fitting;
}

void Picture::center()
{
    m_centerX = 0.5;
    m_centerY = 0.5;
}

void Picture::apply()
{
    if (m_input != nullptr)
    {
        PictureLook look = m_look;
        look.visible = m_hasPicture && !m_muted;
        look.orientation = m_look.orientation.turned(m_rotation);
        look.fitting = fitting();
        m_input->show(look);
    }
}

} // namespace tz::orvane::service
