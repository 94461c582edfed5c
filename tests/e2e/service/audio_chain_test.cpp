// SPDX-License-Identifier: Apache-2.0
// The pitch of sound at other speeds, measured behind the chain.
#include "audio_chain.h"

#include <gst/audio/audio.h>
#include <gtest/gtest.h>

#include <atomic>

namespace tz::orvane::service
{
namespace
{

constexpr char kFile[] = ORVANE_E2E_MEDIA "/a.flac"; ///< 440 Hz
constexpr double kHertz = 440;

/// Counts how often one channel of what is heard rises through zero, and how long that took.
struct Ear
{
    std::atomic<int> rises{0};
    std::atomic<std::uint64_t> samples{0};
    int rate = 0;
    double last = 0;

    double hertz() const { return rises / (static_cast<double>(samples) / rate); }

    static GstPadProbeReturn listen(GstPad* pad, GstPadProbeInfo* info, gpointer data)
    {
        Ear& ear = *static_cast<Ear*>(data);
        CapsPtr const caps(gst_pad_get_current_caps(pad));
        GstAudioInfo format;
        GstMapInfo map;
        if (caps == nullptr || gst_audio_info_from_caps(&format, caps.get()) == FALSE ||
            gst_buffer_map(GST_PAD_PROBE_INFO_BUFFER(info), &map, GST_MAP_READ) == FALSE)
        {
            return GST_PAD_PROBE_OK;
        }
        ear.rate = GST_AUDIO_INFO_RATE(&format);
        auto const step = static_cast<std::size_t>(GST_AUDIO_INFO_BPF(&format));
        for (std::size_t at = 0; at + step <= map.size; at += step)
        {
            double value = 0;
            switch (GST_AUDIO_INFO_FORMAT(&format))
            {
            case GST_AUDIO_FORMAT_S16:
                value = *reinterpret_cast<gint16 const*>(map.data + at);
                break;
            case GST_AUDIO_FORMAT_F32:
                value = *reinterpret_cast<float const*>(map.data + at);
                break;
            default:
                ADD_FAILURE() << gst_audio_format_to_string(GST_AUDIO_INFO_FORMAT(&format));
                break;
            }
            ear.rises += ear.last < 0 && value >= 0 ? 1 : 0;
            ear.last = value;
            ++ear.samples;
        }
        gst_buffer_unmap(GST_PAD_PROBE_INFO_BUFFER(info), &map);
        return GST_PAD_PROBE_OK;
    }
};

bool waitFor(GstElement* pipeline, GstMessageType type)
{
    ObjectPtr<GstBus> const bus(gst_element_get_bus(pipeline));
    auto const types = static_cast<GstMessageType>(type | GST_MESSAGE_ERROR);
    MessagePtr const message(gst_bus_timed_pop_filtered(bus.get(), 20 * GST_SECOND, types));
    return message != nullptr && GST_MESSAGE_TYPE(message.get()) == type;
}

class AudioChainTest : public testing::TestWithParam<double>
{
};

TEST_P(AudioChainTest, thePitchIsKept)
{
    gst_init(nullptr, nullptr);
    GstElement* const chain = makeAudioChain(AudioOutput::fake);
    ObjectPtr<GstElement> const pipeline(static_cast<GstElement*>(gst_object_ref_sink(
        gst_parse_launch((std::string("filesrc location=") + kFile + " ! decodebin name=decoder").c_str(), nullptr))));
    gst_bin_add(GST_BIN(pipeline.get()), chain);
    ObjectPtr<GstElement> const decoder(gst_bin_get_by_name(GST_BIN(pipeline.get()), "decoder"));
    g_signal_connect(decoder.get(), "pad-added",
                     G_CALLBACK(+[](GstElement*, GstPad* pad, gpointer to)
                                {
                                    ObjectPtr<GstPad> const sink(
                                        gst_element_get_static_pad(static_cast<GstElement*>(to), "sink"));
                                    gst_pad_link(pad, sink.get());
                                }),
                     chain);
    ASSERT_NE(gst_element_set_state(pipeline.get(), GST_STATE_PAUSED), GST_STATE_CHANGE_FAILURE);
    ASSERT_TRUE(waitFor(pipeline.get(), GST_MESSAGE_ASYNC_DONE));
    ASSERT_TRUE(gst_element_seek(pipeline.get(), GetParam(), GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, GST_SEEK_TYPE_SET, 0,
                                 GST_SEEK_TYPE_NONE, 0));
    ASSERT_TRUE(waitFor(pipeline.get(), GST_MESSAGE_ASYNC_DONE));
    Ear ear;
    ObjectPtr<GstPad> const pad = soundPad(chain);
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, Ear::listen, &ear, nullptr);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    EXPECT_TRUE(waitFor(pipeline.get(), GST_MESSAGE_EOS));
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    EXPECT_NEAR(ear.hertz(), kHertz, kHertz * 0.03);
    EXPECT_NEAR(static_cast<double>(ear.samples) / ear.rate, 3.0 / GetParam(), 0.5 / GetParam());
}

INSTANTIATE_TEST_SUITE_P(Speeds, AudioChainTest, testing::Values(0.5, 1.0, 1.5, 2.0));

} // namespace
} // namespace tz::orvane::service
