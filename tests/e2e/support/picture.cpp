// SPDX-License-Identifier: Apache-2.0
// What is seen on the screen, pixel by pixel.
#include "support/picture.h"

#include "support/answers.h"
#include "support/tool_process.h"

#include <cstdio>
#include <cstdlib>
#include <ostream>

namespace tz::orvane::test
{

namespace
{

constexpr int kTolerance = 48;
constexpr int kColors = 3;

/// A PPM file is its size as text, and then the pixels.
constexpr char kHeader[] = "P6 %d %d 255%n";

} // namespace

bool operator==(Color const& left, Color const& right)
{
    return std::abs(left.red - right.red) <= kTolerance && std::abs(left.green - right.green) <= kTolerance &&
           std::abs(left.blue - right.blue) <= kTolerance;
}

std::ostream& operator<<(std::ostream& stream, Color const& color)
{
    return stream << "(" << color.red << ", " << color.green << ", " << color.blue << ")";
}

Picture::Picture(std::string const& file)
{
    TempDir const folder;
    std::string const decoded = folder.path() + "/decoded.ppm";
    ToolProcess decoder({"/usr/bin/env", "ffmpeg", "-loglevel", "error", "-nostdin", "-i", file, "-pix_fmt", "rgb24",
                         "-frames:v", "1", decoded});
    if (decoder.wait() != 0)
    {
        ADD_FAILURE() << decoder.err();
        return;
    }
    std::string const content = fileContent(decoded);
    int begin = 0;
    if (std::sscanf(content.c_str(), kHeader, &m_width, &m_height, &begin) == 2 && begin > 0)
    {
        m_pixels.assign(content.begin() + begin + 1, content.end());
    }
    if (m_pixels.size() !=
        std::size_t{kColors} * static_cast<unsigned int>(m_width) * static_cast<unsigned int>(m_height))
    {
        ADD_FAILURE() << file << " is no picture";
        *this = Picture();
    }
}

Color Picture::at(int x, int y) const
{
    if (x < 0 || y < 0 || x >= m_width || y >= m_height)
    {
        return {128, 128, 128};
    }
    std::uint8_t const* const pixel = m_pixels.data() + static_cast<std::ptrdiff_t>(kColors) * (y * m_width + x);
    return {pixel[0], pixel[1], pixel[2]};
}

void expectCorners(Picture const& picture, om::om_display_rect_t const& part, Corners const& corners)
{
    int const left = part.px + part.width / 4;
    int const right = part.px + part.width * 3 / 4;
    int const top = part.py + part.height / 4;
    int const bottom = part.py + part.height * 3 / 4;
    EXPECT_EQ(picture.at(left, top), corners[0]);
    EXPECT_EQ(picture.at(right, top), corners[1]);
    EXPECT_EQ(picture.at(left, bottom), corners[2]);
    EXPECT_EQ(picture.at(right, bottom), corners[3]);
}

Shot takeScreenshot(Viewer& viewer)
{
    Answers answers = askPatiently(viewer, om::OM_COMMAND_SCREENSHOT);
    auto const number = [&](char const* key) { return std::strtoll(answers[key].c_str(), nullptr, 10); };
    return {answers[om::OM_KEY_PATH], static_cast<int>(number(om::OM_KEY_WIDTH)),
            static_cast<int>(number(om::OM_KEY_HEIGHT)), number(om::OM_KEY_POSITION)};
}

Picture screenshot(Viewer& viewer)
{
    std::string const path = takeScreenshot(viewer).path;
    return path.empty() ? Picture() : Picture(path);
}

} // namespace tz::orvane::test
