// SPDX-License-Identifier: Apache-2.0
// Where a picture comes to lie on the screen, and which part of it is seen.
#include "picture_layout.h"

#include <algorithm>
#include <cmath>

namespace tz::orvane::service
{

namespace
{

/// One axis of a placement.
struct Span
{
    int before = 0; ///< pixels of the picture that are cut off
    int behind = 0;
    int begin = 0; ///< on the screen
    int length = 0;
};

struct Axis
{
    int pixels;    ///< of the picture
    double extent; ///< of the picture on the screen
    double center; ///< of the picture, that lies in the middle of the area
    double shift;
    int areaBegin;
    int areaLength;
    int screenLength;
};

Span place(Axis const& axis)
{
    double const middle = axis.areaBegin + axis.areaLength / 2.0;
    double const center = clampCenter(axis.center, axis.extent, axis.areaLength);
    double const pictureBegin = middle - center * axis.extent + axis.shift;
    double const begin = std::max({pictureBegin, static_cast<double>(axis.areaBegin), 0.0});
    double const end = std::min({pictureBegin + axis.extent, static_cast<double>(axis.areaBegin) + axis.areaLength,
                                 static_cast<double>(axis.screenLength)});
    int const firstPixel = static_cast<int>(std::lround(begin));
    int const length = static_cast<int>(std::lround(end)) - firstPixel;
    if (length <= 0)
    {
        return {};
    }
    double const scale = axis.pixels / axis.extent;
    auto const cut = [&](double seen)
    { return std::clamp(static_cast<int>(std::lround(seen * scale)), 0, axis.pixels - 1); };
    int const before = cut(begin - pictureBegin);
    int const behind = std::min(cut(pictureBegin + axis.extent - end), axis.pixels - 1 - before);
    return {before, behind, firstPixel, length};
}

} // namespace

bool Area::operator==(Area const& other) const
{
    return x == other.x && y == other.y && width == other.width && height == other.height;
}

bool Placement::operator==(Placement const& other) const
{
    return left == other.left && right == other.right && top == other.top && bottom == other.bottom &&
           target == other.target && visible == other.visible;
}

ScreenExtent magnifiedSize(PictureSize const& picture, Fitting const& fitting)
{
    double const areaWidth = fitting.area.width;
    double const areaHeight = fitting.area.height;
    double width = areaWidth;
    double height = areaHeight;
    if (fitting.mode != om::OM_ZOOM_MODE_STRETCH)
    {
        double const pictureWidth = picture.width * picture.pixelAspect;
        double const across = areaWidth / pictureWidth;
        double const down = areaHeight / picture.height;
        double const scale = fitting.mode == om::OM_ZOOM_MODE_CROP ? std::max(across, down) : std::min(across, down);
        width = pictureWidth * scale;
        height = picture.height * scale;
    }
    return {width * fitting.magnification, height * fitting.magnification};
}

double clampCenter(double center, double extent, double length)
{
    double const margin = std::min(0.5, length / 2 / extent);
    return std::clamp(center, margin, 1 - margin);
}

Placement placePicture(PictureSize const& picture, Fitting const& fitting, Area const& screen)
{
    if (picture.width <= 0 || picture.height <= 0 || picture.pixelAspect <= 0 || fitting.area.width <= 0 ||
        fitting.area.height <= 0 || fitting.magnification <= 0)
    {
        return {};
    }
    ScreenExtent const extent = magnifiedSize(picture, fitting);
    Span const across = place({picture.width, extent.width, fitting.centerX, fitting.shift * fitting.area.width,
                               fitting.area.x, fitting.area.width, screen.width});
    Span const down = place(
        {picture.height, extent.height, fitting.centerY, 0.0, fitting.area.y, fitting.area.height, screen.height});
    bool const visible = across.length > 0 && down.length > 0;
    return {
        across.before, across.behind, down.before, down.behind, {across.begin, down.begin, across.length, down.length},
        visible};
}

} // namespace tz::orvane::service
