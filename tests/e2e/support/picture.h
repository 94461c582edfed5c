// SPDX-License-Identifier: Apache-2.0
// What is seen on the screen, pixel by pixel.
#pragma once

#include "support/viewer.h"

#include <array>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace tz::orvane::test
{

/// Each part from 0 to 255.
struct Color
{
    int red;
    int green;
    int blue;
};

// The colours of the media that make_media makes.
inline constexpr Color kRed{255, 0, 0};
inline constexpr Color kGreen{0, 128, 0};
inline constexpr Color kBlue{0, 0, 255};
inline constexpr Color kWhite{255, 255, 255};
inline constexpr Color kYellow{255, 255, 0};
inline constexpr Color kBlack{0, 0, 0};

/// Compares as the eye does: what was compressed and converted is not exact.
bool operator==(Color const& left, Color const& right);
std::ostream& operator<<(std::ostream& stream, Color const& color);

/// A decoded picture; one that could not be decoded has no size.
class Picture
{
public:
    Picture() = default;
    explicit Picture(std::string const& file);

    int width() const { return m_width; }
    int height() const { return m_height; }

    /// Outside of the picture it is grey.
    Color at(int x, int y) const;

private:
    int m_width = 0;
    int m_height = 0;
    std::vector<std::uint8_t> m_pixels;
};

/// Top left, top right, bottom left, bottom right.
using Corners = std::array<Color, 4>;

// How the media that make_media makes look on a screen of their own size, 320 by 180 pixels.
inline constexpr Corners kUpright{kRed, kGreen, kBlue, kWhite};
inline constexpr om::om_display_rect_t kScreen{0, 0, 320, 180, 0};
inline constexpr om::om_display_rect_t kOnItsSide{110, 0, 101, 180,
                                                  0}; ///< where one lies that was turned by 90 degrees

/// Looks into the four quarters of a part of the screen.
void expectCorners(Picture const& picture, om::om_display_rect_t const& part, Corners const& corners);

/// An answer to the extended command `screenshot`.
struct Shot
{
    std::string path; ///< empty when it was refused
    int width = 0;
    int height = 0;
    long long position = 0;
};

/// Asks again when the answer takes too long, and fails the test when none comes at all.
Shot takeScreenshot(Viewer& viewer);

/// The screen as the service shows it now, likewise.
Picture screenshot(Viewer& viewer);

} // namespace tz::orvane::test
