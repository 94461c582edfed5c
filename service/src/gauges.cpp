// SPDX-License-Identifier: Apache-2.0
// Measures what a pipeline delivers: pictures, sound level, sound format.
#include "gauges.h"

#include "audio_chain.h"

#include <gst/audio/audio.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <vector>

namespace tz::orvane::service
{

namespace
{

/// A level comes ten times a second; when none has come for so long, the sound has run dry.
constexpr std::chrono::seconds kLevelHolds{1};

double toPower(double decibels)
{
    return std::pow(10.0, decibels / 10.0);
}

/// @return the effective values of the channels
std::vector<double> levelsOf(GstStructure const* measured)
{
    GValue const* const value = gst_structure_get_value(measured, "rms");
    std::vector<double> levels;
    if (value != nullptr && G_VALUE_HOLDS(value, g_type_from_name("GValueArray")))
    {
        auto const* const array = static_cast<GValueArray const*>(g_value_get_boxed(value));
        for (guint index = 0; index < array->n_values; ++index)
        {
            levels.push_back(std::max(g_value_get_double(array->values + index), Gauges::kSilence));
        }
    }
    return levels;
}

} // namespace

/// Counted on a streaming thread, which may outlive the gauges.
struct Gauges::Frames
{
    std::atomic<std::uint64_t> decoded{0};
};

Gauges::Gauges(GstElement* audioChain, GstElement* videoOutlet)
    : m_frames(std::make_shared<Frames>())
    , m_audioChain(static_cast<GstElement*>(gst_object_ref_sink(audioChain)))
    , m_sound(soundPad(audioChain))
{
    ObjectPtr<GstPad> const pictures(gst_element_get_static_pad(videoOutlet, "sink"));
    gst_pad_add_probe(
        pictures.get(), GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad*, GstPadProbeInfo*, gpointer data)
        {
            ++(*static_cast<std::shared_ptr<Frames>*>(data))->decoded;
            return GST_PAD_PROBE_OK;
        },
        new std::shared_ptr<Frames>(m_frames),
        [](gpointer data) { delete static_cast<std::shared_ptr<Frames>*>(data); });
}

Gauges::~Gauges() = default;

void Gauges::note(GstMessage* message)
{
    if (gst_message_has_name(message, "level") != FALSE)
    {
        noteLevel(gst_message_get_structure(message));
    }
    else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_QOS)
    {
        // One for each picture that a decoder left out or that came too late to be shown.
        bool const isSound =
            gst_object_has_as_ancestor(GST_MESSAGE_SRC(message), GST_OBJECT(m_audioChain.get())) != FALSE;
        GstFormat format = GST_FORMAT_UNDEFINED;
        gst_message_parse_qos_stats(message, &format, nullptr, nullptr);
        m_dropped += !isSound && format == GST_FORMAT_BUFFERS ? 1 : 0;
    }
}

void Gauges::noteLevel(GstStructure const* measured)
{
    std::vector<double> const levels = levelsOf(measured);
    if (levels.empty())
    {
        return;
    }
    double power = 0;
    for (double const level : levels)
    {
        power += toPower(level) / static_cast<double>(levels.size());
    }
    m_level = power > 0 ? std::max(10.0 * std::log10(power), kSilence) : kSilence;
    m_levelLeft = levels.front();
    m_levelRight = levels.size() > 1 ? levels[1] : levels.front();
    m_heard = std::chrono::steady_clock::now();
}

Readings Gauges::read(bool running) const
{
    Readings readings;
    readings.framesDecoded = m_frames->decoded;
    readings.framesDropped = m_dropped;
    bool const heard = running && std::chrono::steady_clock::now() - m_heard < kLevelHolds;
    readings.level = heard ? m_level : kSilence;
    readings.levelLeft = heard ? m_levelLeft : kSilence;
    readings.levelRight = heard ? m_levelRight : kSilence;
    CapsPtr const caps(gst_pad_get_current_caps(m_sound.get()));
    GstAudioInfo format;
    if (caps != nullptr && gst_audio_info_from_caps(&format, caps.get()) != FALSE)
    {
        readings.rate = GST_AUDIO_INFO_RATE(&format);
        readings.channels = GST_AUDIO_INFO_CHANNELS(&format);
    }
    return readings;
}

} // namespace tz::orvane::service
