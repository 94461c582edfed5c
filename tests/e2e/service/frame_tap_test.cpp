// SPDX-License-Identifier: Apache-2.0
// Where the pictures of a pipeline can be had.
#include "frame_tap.h"

#include "support/wait.h"

#include <gtest/gtest.h>

namespace tz::orvane::service
{
namespace
{

TEST(FrameTap, holdsAPictureUntilItIsTakenOrFlushed)
{
    gst_init(nullptr, nullptr);
    auto const tap = std::make_shared<FrameTap>(std::chrono::milliseconds(0), [] {});
    ObjectPtr<GstElement> const pipeline(gst_pipeline_new(nullptr));
    GstElement* const source = gst_element_factory_make("videotestsrc", nullptr);
    GstElement* const sink = FrameTap::makeSink(tap);
    gst_bin_add_many(GST_BIN(pipeline.get()), source, sink, nullptr);
    ASSERT_TRUE(gst_element_link(source, sink));
    EXPECT_TRUE(tap->empty());
    gst_element_set_state(pipeline.get(), GST_STATE_PAUSED);
    ASSERT_TRUE(test::eventually([&] { return !tap->empty(); }));

    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(source, "src"));
    gst_pad_push_event(pad.get(), gst_event_new_flush_start());
    gst_pad_push_event(pad.get(), gst_event_new_flush_stop(TRUE));
    EXPECT_TRUE(tap->empty());
    EXPECT_EQ(tap->take(), nullptr);

    gst_element_seek_simple(pipeline.get(), GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, GST_SECOND);
    ASSERT_TRUE(test::eventually([&] { return !tap->empty(); }));
    SamplePtr const sample = tap->take();
    EXPECT_EQ(GST_BUFFER_PTS(gst_sample_get_buffer(sample.get())), GST_SECOND);
    EXPECT_EQ(tap->dropped(), 0u);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

} // namespace
} // namespace tz::orvane::service
