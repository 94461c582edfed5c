// SPDX-License-Identifier: Apache-2.0
// How a player sounds, whatever medium it has open.
#pragma once

#include "audio_chain.h"

#include <chrono>

namespace tz::orvane::service
{

class Pipeline;

/// Settings of the sound that outlive media. A copy may be applied on another thread.
class Sound
{
public:
    void setVolume(int percent) { m_loudness.percent = percent; }
    void setMute(bool muted) { m_loudness.muted = muted; }
    bool muted() const { return m_loudness.muted; }

    /// @param attribute,value see om_audio_attribute_e @return whether there are such
    bool setAttribute(int attribute, int value);

    /// Makes a pipeline sound so. Fast and backwards it is silent. @param speed sixteenths of the normal one
    void apply(Pipeline& pipeline, int speed) const;

private:
    Loudness m_loudness;
    SoundSides m_sides;
    std::chrono::milliseconds m_delay{0};
};

} // namespace tz::orvane::service
