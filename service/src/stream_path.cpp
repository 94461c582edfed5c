// SPDX-License-Identifier: Apache-2.0
// Finds in a running pipeline what is known of a stream.
#include "stream_path.h"

#include "stream_tags.h"

#include <string_view>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// Enough for every chain that is built here; a bound all the same.
constexpr int kLongestWalk = 64;

bool isOfClass(GstElement* element, char const* name)
{
    char const* const klass =
        gst_element_class_get_metadata(GST_ELEMENT_GET_CLASS(element), GST_ELEMENT_METADATA_KLASS);
    return klass != nullptr && std::string_view(klass).find(name) != std::string_view::npos;
}

/// Looks through the pads of bins, which only stand for others: inwards from a bin's source, outwards from its sink.
ObjectPtr<GstPad> feedingPad(GstPad* sink)
{
    ObjectPtr<GstPad> pad(gst_pad_get_peer(sink));
    for (int step = 0; pad != nullptr && step < kLongestWalk; ++step)
    {
        if (GST_IS_GHOST_PAD(pad.get()))
        {
            pad.reset(gst_ghost_pad_get_target(GST_GHOST_PAD(pad.get())));
        }
        else if (GST_IS_PROXY_PAD(pad.get()))
        {
            ObjectPtr<GstProxyPad> const outer(gst_proxy_pad_get_internal(GST_PROXY_PAD(pad.get())));
            pad.reset(outer == nullptr ? nullptr : gst_pad_get_peer(GST_PAD(outer.get())));
        }
        else
        {
            break;
        }
    }
    return pad;
}

/// @return the input of an element that goes to an output of it; null where streams come together
ObjectPtr<GstPad> onlyInput(GstPad* source)
{
    IteratorPtr const inputs(gst_pad_iterate_internal_links(source));
    ObjectPtr<GstPad> only;
    GValue item = G_VALUE_INIT;
    if (inputs != nullptr && gst_iterator_next(inputs.get(), &item) == GST_ITERATOR_OK)
    {
        only.reset(static_cast<GstPad*>(g_value_dup_object(&item)));
        g_value_reset(&item);
        if (gst_iterator_next(inputs.get(), &item) != GST_ITERATOR_DONE)
        {
            only.reset();
        }
    }
    if (G_IS_VALUE(&item))
    {
        g_value_unset(&item);
    }
    return only;
}

bool isDecoderInput(GstPad* pad)
{
    ObjectPtr<GstElement> const element(gst_pad_get_parent_element(pad));
    return GST_PAD_IS_SINK(pad) && element != nullptr && isOfClass(element.get(), "Decoder");
}

} // namespace

StreamPath::StreamPath(GstPad* decoded)
{
    m_pads.emplace_back(static_cast<GstPad*>(gst_object_ref(decoded)));
    for (int step = 0; step < kLongestWalk; ++step)
    {
        ObjectPtr<GstPad> source = feedingPad(m_pads.back().get());
        ObjectPtr<GstElement> const element(source == nullptr ? nullptr : gst_pad_get_parent_element(source.get()));
        if (element == nullptr)
        {
            break;
        }
        ObjectPtr<GstPad> input = isOfClass(element.get(), "Demux") ? nullptr : onlyInput(source.get());
        m_pads.push_back(std::move(source));
        if (input == nullptr)
        {
            break;
        }
        m_pads.push_back(std::move(input));
    }
}

std::string StreamPath::id() const
{
    TextPtr const id = nearest([](GstPad* pad) { return TextPtr(gst_pad_get_stream_id(pad)); });
    return id == nullptr ? std::string() : id.get();
}

CapsPtr StreamPath::caps() const
{
    for (auto const& pad : m_pads)
    {
        CapsPtr caps(isDecoderInput(pad.get()) ? nullptr : gst_pad_get_current_caps(pad.get()));
        if (caps != nullptr || isDecoderInput(pad.get()))
        {
            return caps;
        }
    }
    return nullptr;
}

CapsPtr StreamPath::compressedCaps() const
{
    for (auto const& pad : m_pads)
    {
        if (isDecoderInput(pad.get()))
        {
            return CapsPtr(gst_pad_get_current_caps(pad.get()));
        }
    }
    return caps();
}

EventPtr StreamPath::event(GstEventType type) const
{
    return nearest([type](GstPad* pad) { return EventPtr(gst_pad_get_sticky_event(pad, type, 0)); });
}

bool StreamPath::isBare() const
{
    ObjectPtr<GstElement> const first(gst_pad_get_parent_element(m_pads.back().get()));
    return first == nullptr || !isOfClass(first.get(), "Demux") || isOfClass(first.get(), "Metadata");
}

TagListPtr StreamPath::tags(GstTagScope scope) const
{
    return nearest([scope](GstPad* pad) { return tagsOfScope(pad, scope); });
}

} // namespace tz::orvane::service
