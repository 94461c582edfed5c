// SPDX-License-Identifier: Apache-2.0
// Measures what a pipeline delivers: pictures, sound level, sound format.
#pragma once

#include "gst_ptr.h"

#include <chrono>
#include <cstdint>
#include <memory>

namespace tz::orvane::service
{

/// What was measured. Levels are effective values in decibels of full scale.
struct Readings
{
    std::uint64_t framesDecoded = 0;
    std::uint64_t framesDropped = 0;
    double level = 0;
    double levelLeft = 0;
    double levelRight = 0;
    int rate = 0;     ///< Hz, 0 without sound
    int channels = 0; ///< 0 without sound
};

/// The meters of one pipeline, for as long as its medium is open. Loop thread.
class Gauges
{
public:
    /// The level of silence.
    static constexpr double kSilence = -700.0;

    /// @param audioChain see makeAudioChain @param videoOutlet see makeVideoOutlet
    Gauges(GstElement* audioChain, GstElement* videoOutlet);
    Gauges(Gauges const&) = delete;
    Gauges& operator=(Gauges const&) = delete;
    ~Gauges();

    /// Takes a message of the pipeline's bus, whatever it is.
    void note(GstMessage* message);

    /// @param running whether anything is heard at all
    Readings read(bool running) const;

private:
    struct Frames;

    void noteLevel(GstStructure const* measured);

    std::shared_ptr<Frames> m_frames;
    ObjectPtr<GstElement> m_audioChain;
    ObjectPtr<GstPad> m_sound; ///< behind the volume
    std::uint64_t m_dropped = 0;
    double m_level = kSilence;
    double m_levelLeft = kSilence;
    double m_levelRight = kSilence;
    std::chrono::steady_clock::time_point m_heard{};
};

} // namespace tz::orvane::service
