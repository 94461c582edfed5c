// SPDX-License-Identifier: Apache-2.0
// What is known of a stream before any of it has arrived.
#include "stream_path.h"

#include "support/wait.h"

#include <gst/gst.h>
#include <gtest/gtest.h>

namespace tz::orvane::service
{
namespace
{

/// Whatever is put in stays behind a gate: in ! queue | multiqueue ! sink.
class StreamPathTest : public testing::Test
{
protected:
    StreamPathTest()
    {
        gst_init(nullptr, nullptr);
        m_pipeline.reset(static_cast<GstElement*>(gst_object_ref_sink(gst_pipeline_new(nullptr))));
        GstElement* const queue = add("queue");
        GstElement* const many = add("multiqueue");
        GstElement* const sink = add("fakesink");
        EXPECT_TRUE(gst_element_link_pads(queue, "src", many, "sink_0"));
        EXPECT_TRUE(gst_element_link_pads(many, "src_0", sink, "sink"));
        m_in.reset(gst_element_get_static_pad(queue, "sink"));
        m_gate.reset(gst_element_get_static_pad(queue, "src"));
        m_end.reset(gst_element_get_static_pad(sink, "sink"));
        closeGate();
        gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
    }

    ~StreamPathTest() override { gst_element_set_state(m_pipeline.get(), GST_STATE_NULL); }

    void put(GstEvent* event) { EXPECT_TRUE(gst_pad_send_event(m_in.get(), event)); }

    void putBeginning()
    {
        put(gst_event_new_stream_start("the stream"));
        put(gst_event_new_caps(CapsPtr(gst_caps_new_empty_simple("text/x-raw")).get()));
        GstTagList* const tags = gst_tag_list_new(GST_TAG_LANGUAGE_CODE, "de", nullptr);
        gst_tag_list_set_scope(tags, GST_TAG_SCOPE_STREAM);
        put(gst_event_new_tag(tags));
    }

    void closeGate()
    {
        m_closed = gst_pad_add_probe(
            m_gate.get(), GST_PAD_PROBE_TYPE_BLOCK_DOWNSTREAM,
            [](GstPad*, GstPadProbeInfo*, gpointer) { return GST_PAD_PROBE_OK; }, nullptr, nullptr);
    }

    void openGate() { gst_pad_remove_probe(m_gate.get(), m_closed); }

    StreamPath path() const { return StreamPath(m_end.get()); }

    ObjectPtr<GstPad> m_end;

private:
    GstElement* add(char const* factory)
    {
        GstElement* const element = gst_element_factory_make(factory, nullptr);
        gst_bin_add(GST_BIN(m_pipeline.get()), element);
        return element;
    }

    ObjectPtr<GstElement> m_pipeline;
    ObjectPtr<GstPad> m_in;
    ObjectPtr<GstPad> m_gate;
    gulong m_closed = 0;
};

TEST_F(StreamPathTest, whatHasNotArrivedIsKnownAllTheSame)
{
    putBeginning();
    EXPECT_EQ(path().id(), "the stream");
    CapsPtr const caps = path().caps();
    ASSERT_TRUE(caps);
    EXPECT_STREQ(gst_structure_get_name(gst_caps_get_structure(caps.get(), 0)), "text/x-raw");
    CapsPtr const compressed = path().compressedCaps();
    ASSERT_TRUE(compressed);
    EXPECT_TRUE(gst_caps_is_equal(compressed.get(), caps.get())) << "nothing decodes it";
    TagListPtr const tags = path().tags(GST_TAG_SCOPE_STREAM);
    ASSERT_TRUE(tags);
    EXPECT_EQ(gst_tag_list_get_tag_size(tags.get(), GST_TAG_LANGUAGE_CODE), 1U);
    EXPECT_FALSE(path().tags(GST_TAG_SCOPE_GLOBAL));
    EXPECT_EQ(TextPtr(gst_pad_get_stream_id(m_end.get())), nullptr) << "the gate is open";
}

TEST_F(StreamPathTest, whatHasArrivedCounts)
{
    putBeginning();
    openGate();
    ASSERT_TRUE(test::eventually([this] { return TextPtr(gst_pad_get_stream_id(m_end.get())) != nullptr; }));
    closeGate();
    put(gst_event_new_stream_start("another stream"));
    EXPECT_EQ(path().id(), "the stream");
}

TEST_F(StreamPathTest, chaptersAreKnownBeforeTheyArrive)
{
    putBeginning();
    GstToc* const chapters = gst_toc_new(GST_TOC_SCOPE_GLOBAL);
    put(gst_event_new_toc(chapters, FALSE));
    gst_toc_unref(chapters);
    EXPECT_TRUE(path().event(GST_EVENT_TOC));
}

TEST_F(StreamPathTest, aStreamWithoutADemuxerIsBare)
{
    EXPECT_TRUE(path().isBare());
}

TEST(StreamPathOfAFile, isWrappedByAContainerAndNotByTags)
{
    gst_init(nullptr, nullptr);
    struct Case
    {
        char const* element;
        bool bare;
    };
    for (Case const& each : {Case{"matroskademux", false}, Case{"id3demux", true}})
    {
        ObjectPtr<GstElement> const demuxer(
            static_cast<GstElement*>(gst_object_ref_sink(gst_element_factory_make(each.element, nullptr))));
        GstPad* const source = gst_pad_new("given", GST_PAD_SRC);
        gst_element_add_pad(demuxer.get(), source);
        ObjectPtr<GstPad> const sink(static_cast<GstPad*>(gst_object_ref_sink(gst_pad_new("taken", GST_PAD_SINK))));
        ASSERT_EQ(gst_pad_link(source, sink.get()), GST_PAD_LINK_OK);
        EXPECT_EQ(StreamPath(sink.get()).isBare(), each.bare) << each.element;
        gst_pad_unlink(source, sink.get());
    }
}

TEST_F(StreamPathTest, ofNothingNothingIsKnown)
{
    EXPECT_EQ(path().id(), "");
    EXPECT_FALSE(path().caps());
    EXPECT_FALSE(path().compressedCaps());
    EXPECT_FALSE(path().tags(GST_TAG_SCOPE_STREAM));
}

} // namespace
} // namespace tz::orvane::service
