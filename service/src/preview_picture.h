// SPDX-License-Identifier: Apache-2.0
// Small pictures: scaled, turned upright, put side by side and compressed.
#pragma once

#include "orientation.h"

#include <gst/gst.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tz::orvane::service
{

/// Rows of three bytes a pixel, without gaps.
struct Raster
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
};

struct Extent
{
    int width;
    int height;
};

/// @param picture with square pixels @return the largest extent of that shape in the box, no larger than the picture
Extent fitInto(Extent box, Extent picture);

/// @return the frame with square pixels, upright, in the box; empty when it cannot be converted
Raster thumbnailOf(GstSample* sample, Orientation const& upright, Extent box);

Raster turned(Raster const& raster, Orientation const& upright);

/// @return of a sheet of so many frames, with the gaps
Extent sheetExtent(int frames, int columns, Extent frame);

/// @param rasters all of one extent @return them in rows on a black sheet, with a small gap between them
Raster sheetOf(std::vector<Raster> const& rasters, int columns);

/// @return a whole file, empty when it cannot be made
std::string compressed(Raster const& raster, bool png);

} // namespace tz::orvane::service
