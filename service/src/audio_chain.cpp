// SPDX-License-Identifier: Apache-2.0
// The end of every sound: what is done to it on its way to the output.
#include "audio_chain.h"

#include "tempo.h"

#include <gst/audio/audio.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string>

namespace tz::orvane::service
{

namespace
{

constexpr char kTempoName[] = "tempo";
constexpr char kWidthName[] = "width";
constexpr char kVolumeName[] = "loudness";
constexpr char kLevelName[] = "level";
constexpr char kOutputName[] = "output";
constexpr char kFakeAudioSink[] = "fakeaudiosink";
constexpr char kAudioSink[] = "autoaudiosink";

constexpr char kAnyWidth[] = "audio/x-raw";
constexpr char kTwoSides[] =
    "audio/x-raw,format=" GST_AUDIO_NE(F32) ",layout=interleaved,channels=2,channel-mask=(bitmask)0x3";

constexpr int kMostBalance = 100;

char const* outputElement(AudioOutput output)
{
    return output == AudioOutput::fake ? kFakeAudioSink : kAudioSink;
}

/// What each side gets of the left and of the right.
struct Mix
{
    float leftOfLeft = 1;
    float leftOfRight = 0;
    float rightOfLeft = 0;
    float rightOfRight = 1;
};

Mix mixFor(SoundSides const& sides)
{
    Mix mix;
    switch (sides.mode)
    {
    case om::OM_CHANNEL_MODE_LEFT:
        mix = {1, 0, 1, 0};
        break;
    case om::OM_CHANNEL_MODE_RIGHT:
        mix = {0, 1, 0, 1};
        break;
    case om::OM_CHANNEL_MODE_MONO:
        mix = {0.5F, 0.5F, 0.5F, 0.5F};
        break;
    default:
        break;
    }
    float const faded = 1 - static_cast<float>(std::abs(sides.balance)) / kMostBalance;
    float const left = sides.balance > 0 ? faded : 1;
    float const right = sides.balance < 0 ? faded : 1;
    return {mix.leftOfLeft * left, mix.leftOfRight * left, mix.rightOfLeft * right, mix.rightOfRight * right};
}

bool isNeutral(SoundSides const& sides)
{
    return sides.balance == 0 && sides.mode == om::OM_CHANNEL_MODE_STEREO;
}

/// @return whether the sound has the format that is mixed here: a change of caps takes its time
bool hasTwoSides(GstPad* pad)
{
    CapsPtr const caps(gst_pad_get_current_caps(pad));
    GstAudioInfo info;
    return caps != nullptr && gst_audio_info_from_caps(&info, caps.get()) != FALSE &&
           GST_AUDIO_INFO_FORMAT(&info) == GST_AUDIO_FORMAT_F32 && GST_AUDIO_INFO_CHANNELS(&info) == 2 &&
           GST_AUDIO_INFO_LAYOUT(&info) == GST_AUDIO_LAYOUT_INTERLEAVED;
}

void mixSamples(GstBuffer* buffer, Mix const& mix)
{
    GstMapInfo map;
    if (gst_buffer_map(buffer, &map, GST_MAP_READWRITE) == FALSE)
    {
        return;
    }
    auto* const samples = reinterpret_cast<float*>(map.data);
    std::size_t const count = map.size / sizeof(float);
    for (std::size_t at = 0; at + 1 < count; at += 2)
    {
        float const left = samples[at];
        float const right = samples[at + 1];
        samples[at] = mix.leftOfLeft * left + mix.leftOfRight * right;
        samples[at + 1] = mix.rightOfLeft * left + mix.rightOfRight * right;
    }
    gst_buffer_unmap(buffer, &map);
}

} // namespace

/// Mixes on a streaming thread, which may outlive the chain's owner.
struct AudioChain::Mixer
{
    std::mutex mutex;
    SoundSides sides;

    SoundSides get()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return sides;
    }

    void set(SoundSides const& wanted)
    {
        std::lock_guard<std::mutex> lock(mutex);
        sides = wanted;
    }

    static GstPadProbeReturn mix(GstPad* pad, GstPadProbeInfo* info, gpointer data)
    {
        SoundSides const sides = (*static_cast<std::shared_ptr<Mixer>*>(data))->get();
        if (!isNeutral(sides) && hasTwoSides(pad))
        {
            GstBuffer* const buffer = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
            GST_PAD_PROBE_INFO_DATA(info) = buffer;
            mixSamples(buffer, mixFor(sides));
        }
        return GST_PAD_PROBE_OK;
    }
};

AudioChain::AudioChain(GstElement* chain)
    : m_mixer(std::make_shared<Mixer>())
    , m_width(gst_bin_get_by_name(GST_BIN(chain), kWidthName))
    , m_volume(gst_bin_get_by_name(GST_BIN(chain), kVolumeName))
    , m_output(gst_bin_get_by_name(GST_BIN(chain), kOutputName))
{
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(m_width.get(), "src"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, Mixer::mix, new std::shared_ptr<Mixer>(m_mixer),
                      [](gpointer data) { delete static_cast<std::shared_ptr<Mixer>*>(data); });
}

AudioChain::~AudioChain() = default;

void AudioChain::setLoudness(Loudness const& loudness)
{
    // Hearing is not linear: half the number is to sound half as loud.
    double const linear = gst_stream_volume_convert_volume(GST_STREAM_VOLUME_FORMAT_CUBIC,
                                                           GST_STREAM_VOLUME_FORMAT_LINEAR, loudness.percent / 100.0);
    g_object_set(m_volume.get(), "volume", linear, "mute", loudness.muted ? TRUE : FALSE, nullptr);
}

void AudioChain::setSides(SoundSides const& sides)
{
    bool const wasNeutral = isNeutral(m_mixer->get());
    m_mixer->set(sides);
    if (wasNeutral == isNeutral(sides))
    {
        return; // the same caps once more would be negotiated once more
    }
    CapsPtr const caps(gst_caps_from_string(isNeutral(sides) ? kAnyWidth : kTwoSides));
    g_object_set(m_width.get(), "caps", caps.get(), nullptr);
}

void AudioChain::setDelay(std::chrono::nanoseconds delay)
{
    g_object_set(m_output.get(), "ts-offset", gint64{delay.count()}, nullptr);
}

GstElement* makeAudioChain(AudioOutput output)
{
    std::string const chain = std::string("audioconvert ! scaletempo name=") + kTempoName +
                              " ! audioconvert ! audioresample ! capsfilter name=" + kWidthName + " caps=" + kAnyWidth +
                              " ! volume name=" + kVolumeName + " ! level name=" + kLevelName +
                              " interval=100000000 ! " + outputElement(output) + " name=" + kOutputName;
    GstElement* const bin = gst_parse_bin_from_description(chain.c_str(), TRUE, nullptr);
    ObjectPtr<GstElement> const tempo(gst_bin_get_by_name(GST_BIN(bin), kTempoName));
    guardTempo(tempo.get());
    return bin;
}

char const* missingAudioElement(AudioOutput output)
{
    for (char const* const name :
         {"audioconvert", "scaletempo", "audioresample", "capsfilter", "volume", "level", outputElement(output)})
    {
        ObjectPtr<GstElementFactory> const factory(gst_element_factory_find(name));
        if (factory == nullptr)
        {
            return name;
        }
    }
    return nullptr;
}

ObjectPtr<GstPad> soundPad(GstElement* chain)
{
    ObjectPtr<GstElement> const level(gst_bin_get_by_name(GST_BIN(chain), kLevelName));
    return ObjectPtr<GstPad>(gst_element_get_static_pad(level.get(), "src"));
}

} // namespace tz::orvane::service
