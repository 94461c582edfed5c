// SPDX-License-Identifier: Apache-2.0
// Where a picture comes to lie on the screen, and which part of it is seen.
#pragma once

#include "orvane/om_enums.h"

namespace tz::orvane::service
{

/// Pixels of the screen.
struct Area
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(Area const& other) const;
};

/// An upright picture. Its pixels need not be square.
struct PictureSize
{
    int width = 0;
    int height = 0;
    double pixelAspect = 1.0; ///< width of a pixel by its height
};

/// How a picture is fitted into its area.
struct Fitting
{
    Area area;
    om::om_zoom_mode_e mode = om::OM_ZOOM_MODE_FIT;
    double magnification = 1.0;

    // The point of the picture that lies in the middle of the area, as far as the picture covers the area then.
    double centerX = 0.5; ///< 0: left edge, 1: right edge
    double centerY = 0.5;

    double shift = 0.0; ///< to the right, in widths of the area
};

/// The pixels of the picture that are cut off, and the part of the screen that the others fill.
struct Placement
{
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
    Area target;
    bool visible = false; ///< false: nothing of it is on the screen, and nothing else here counts

    bool operator==(Placement const& other) const;
};

/// A size on the screen, in pixels.
struct ScreenExtent
{
    double width;
    double height;
};

/// @return the size of the whole picture on the screen, whether it is seen or not
ScreenExtent magnifiedSize(PictureSize const& picture, Fitting const& fitting);

/// @return the nearest center for which no part of the area stays empty that the picture could cover
/// @param center of the picture along one axis @param extent of the picture @param length of the area
double clampCenter(double center, double extent, double length);

/// Nothing of the picture is seen outside of its area and of the screen.
Placement placePicture(PictureSize const& picture, Fitting const& fitting, Area const& screen);

} // namespace tz::orvane::service
