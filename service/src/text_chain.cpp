// SPDX-License-Identifier: Apache-2.0
// Draws the text of one input of the screen.
#include "text_chain.h"

namespace tz::orvane::service
{

void SharedText::set(std::string const& text, TextLook const& look, bool newFont)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_state = {text, look, m_state.fonts + (newFont ? 1 : 0), m_state.number + 1};
}

std::optional<SharedText::State> SharedText::newerThan(unsigned int number) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_state.number == number ? std::nullopt : std::optional<State>(m_state);
}

bool TextChain::join(GstElement* pipeline, GstPad* source, GstPad* sink)
{
    m_pipeline = pipeline;
    m_source = source;
    m_sink = sink;
    // Of the kind that may change what follows.
    gst_pad_add_probe(source, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BLOCK | GST_PAD_PROBE_TYPE_BUFFER),
                      onPicture, this, nullptr);
    return link();
}

bool TextChain::link()
{
    GstElement* const overlay = gst_element_factory_make("textoverlay", nullptr);
    m_overlay.reset(static_cast<GstElement*>(gst_object_ref_sink(overlay)));
    gst_bin_add(GST_BIN(m_pipeline), overlay);
    ObjectPtr<GstPad> const sink(gst_element_get_static_pad(overlay, "video_sink"));
    ObjectPtr<GstPad> const source(gst_element_get_static_pad(overlay, "src"));
    return gst_pad_link(source.get(), m_sink) == GST_PAD_LINK_OK &&
           gst_element_sync_state_with_parent(overlay) != FALSE &&
           gst_pad_link(m_source, sink.get()) == GST_PAD_LINK_OK;
}

void TextChain::unlink()
{
    gst_element_set_state(m_overlay.get(), GST_STATE_NULL);
    gst_bin_remove(GST_BIN(m_pipeline), m_overlay.get());
}

GstPadProbeReturn TextChain::onPicture(GstPad*, GstPadProbeInfo*, gpointer self)
{
    static_cast<TextChain*>(self)->update();
    return GST_PAD_PROBE_PASS;
}

void TextChain::update()
{
    auto const state = m_shared->newerThan(m_number);
    if (!state)
    {
        return;
    }
    if (state->fonts != m_fonts)
    {
        unlink(); // what has drawn text does not learn of new fonts
        link();
    }
    m_number = state->number;
    m_fonts = state->fonts;
    drawText(m_overlay.get(), state->text, state->look);
}

} // namespace tz::orvane::service
