// SPDX-License-Identifier: Apache-2.0
// How a player sounds, whatever medium it has open.
#include "sound.h"

#include "pipeline.h"
#include "tempo.h"

#include "orvane/om_enums.h"

namespace tz::orvane::service
{

namespace
{

constexpr int kMostBalance = 100;

/// What waits is kept by the pipeline: no more than it can hold.
constexpr int kMostDelay = 2'000;

/// Beyond it nobody could follow, and backwards it is noise.
bool isHeardAt(int speed)
{
    constexpr double kFastest = kFastestHeard * om::OM_PLAY_SPEED_NORMAL;
    return speed > 0 && speed <= kFastest;
}

bool isWithin(int value, int least, int most)
{
    return value >= least && value <= most;
}

} // namespace

bool Sound::setAttribute(int attribute, int value)
{
    bool fits = false;
    switch (attribute)
    {
    case om::OM_AUDIO_ATTRIBUTE_BALANCE:
        fits = isWithin(value, -kMostBalance, kMostBalance);
        m_sides.balance = fits ? value : m_sides.balance;
        break;
    case om::OM_AUDIO_ATTRIBUTE_CHANNEL_MODE:
        fits = isWithin(value, om::OM_CHANNEL_MODE_STEREO, om::OM_CHANNEL_MODE_MONO);
        m_sides.mode = fits ? static_cast<om::om_channel_mode_e>(value) : m_sides.mode;
        break;
    case om::OM_AUDIO_ATTRIBUTE_DELAY:
        fits = isWithin(value, -kMostDelay, kMostDelay);
        m_delay = fits ? std::chrono::milliseconds(value) : m_delay;
        break;
    default:
        break;
    }
    return fits;
}

void Sound::apply(Pipeline& pipeline, int speed) const
{
    Loudness loudness = m_loudness;
    loudness.muted = loudness.muted || !isHeardAt(speed);
    pipeline.audio().setLoudness(loudness);
    pipeline.audio().setSides(m_sides);
    pipeline.setAudioDelay(m_delay);
}

} // namespace tz::orvane::service
