// SPDX-License-Identifier: Apache-2.0
// The end of every sound: what is done to it on its way to the output.
#pragma once

#include "gst_ptr.h"
#include "settings.h"

#include "orvane/om_service.h"

#include <chrono>
#include <memory>

namespace tz::orvane::service
{

/// How loud a player is.
struct Loudness
{
    int percent = 100;
    bool muted = false;
};

/// How the two sides of the sound are heard.
struct SoundSides
{
    int balance = 0; ///< -100: left only, 100: right only
    om::om_channel_mode_e mode = om::OM_CHANNEL_MODE_STEREO;
};

/// Makes the chain: sound at other speeds keeps its pitch, sides, volume, level, and the output that the settings name.
/// @return a bin with a floating reference
GstElement* makeAudioChain(AudioOutput output);

/// @return an element that a chain needs and that is not installed; null when all are there
char const* missingAudioElement(AudioOutput output);

/// @return the pad of a chain that passes what is heard
ObjectPtr<GstPad> soundPad(GstElement* chain);

/// The controls of one chain. One thread; the changes are heard at once.
class AudioChain
{
public:
    /// @param chain see makeAudioChain
    explicit AudioChain(GstElement* chain);
    AudioChain(AudioChain const&) = delete;
    AudioChain& operator=(AudioChain const&) = delete;
    ~AudioChain();

    void setLoudness(Loudness const& loudness);

    /// While a side is changed, sound of any channels is mixed to two.
    void setSides(SoundSides const& sides);

    /// Holds the sound back; not for a chain in a playbin, which sets its output's delay itself.
    void setDelay(std::chrono::nanoseconds delay);

private:
    struct Mixer;

    std::shared_ptr<Mixer> m_mixer;
    ObjectPtr<GstElement> m_width;
    ObjectPtr<GstElement> m_volume;
    ObjectPtr<GstElement> m_output;
};

} // namespace tz::orvane::service
