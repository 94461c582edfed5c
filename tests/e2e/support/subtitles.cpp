// SPDX-License-Identifier: Apache-2.0
// Texts on the picture, as a test sees them.
#include "support/subtitles.h"

#include <algorithm>

namespace tz::orvane::test
{

Text textOf(Picture const& picture)
{
    constexpr int kEdge = 6; // where quadrants meet, and at the band that the bar runs in
    Text text;
    text.left = picture.width();
    text.top = picture.height();
    int const middleX = picture.width() / 2;
    int const middleY = picture.height() / 2;
    for (int y = 0; y < picture.height(); ++y)
    {
        for (int x = 0; x < picture.width(); ++x)
        {
            if (std::abs(x - middleX) < kEdge || std::abs(y - middleY) < 2 * kEdge)
            {
                continue;
            }
            Color const plain = y < middleY ? (x < middleX ? kRed : kGreen) : (x < middleX ? kBlue : kWhite);
            if (!(picture.at(x, y) == plain))
            {
                ++text.pixels;
                text.left = std::min(text.left, x);
                text.right = std::max(text.right, x);
                text.top = std::min(text.top, y);
                text.bottom = std::max(text.bottom, y);
            }
        }
    }
    return text;
}

int countOf(Picture const& picture, Color const& color)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y)
    {
        for (int x = 0; x < picture.width(); ++x)
        {
            count += picture.at(x, y) == color ? 1 : 0;
        }
    }
    return count;
}

int differenceOf(Picture const& one, Picture const& other)
{
    int count = 0;
    for (int y = 0; y < one.height(); ++y)
    {
        for (int x = 0; x < one.width(); ++x)
        {
            count += one.at(x, y) == other.at(x, y) ? 0 : 1;
        }
    }
    return count;
}

} // namespace tz::orvane::test
