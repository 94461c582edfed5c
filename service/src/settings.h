// SPDX-License-Identifier: Apache-2.0
// What the command line decides.
#pragma once

#include <chrono>

namespace tz::orvane::service
{

enum class VideoOutput
{
    none, ///< composed all the same, for screenshots
    x11
};

enum class AudioOutput
{
    fake, ///< plays in time and makes no sound
    device
};

struct Settings
{
    VideoOutput video = VideoOutput::none;
    AudioOutput audio = AudioOutput::fake;
    int screenWidth = 1280;
    int screenHeight = 720;
    std::chrono::seconds idleExit{0}; ///< 0: never
};

} // namespace tz::orvane::service
