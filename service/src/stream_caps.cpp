// SPDX-License-Identifier: Apache-2.0
// Finds in a running pipeline what a stream and a container were before they were decoded.
#include "stream_caps.h"

#include <string_view>

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

ObjectPtr<GstPad> onlySink(GstElement* element)
{
    GST_OBJECT_LOCK(element);
    bool const single = element->numsinkpads == 1;
    GstPad* const pad = single ? GST_PAD(gst_object_ref(element->sinkpads->data)) : nullptr;
    GST_OBJECT_UNLOCK(element);
    return ObjectPtr<GstPad>(pad);
}

/// @return the input of the element upstream; null at a demuxer or where streams come together
ObjectPtr<GstPad> upstreamSink(GstPad* sink)
{
    ObjectPtr<GstPad> const source = feedingPad(sink);
    ObjectPtr<GstElement> const element(source == nullptr ? nullptr : gst_pad_get_parent_element(source.get()));
    if (element == nullptr || isOfClass(element.get(), "Demux"))
    {
        return nullptr;
    }
    return onlySink(element.get());
}

} // namespace

CapsPtr compressedCaps(GstPad* decoded)
{
    ObjectPtr<GstPad> pad(static_cast<GstPad*>(gst_object_ref(decoded)));
    for (int step = 0; step < kLongestWalk; ++step)
    {
        ObjectPtr<GstPad> next = upstreamSink(pad.get());
        if (next == nullptr)
        {
            break;
        }
        ObjectPtr<GstElement> const element(gst_pad_get_parent_element(next.get()));
        if (element != nullptr && isOfClass(element.get(), "Decoder"))
        {
            return CapsPtr(gst_pad_get_current_caps(next.get()));
        }
        pad = std::move(next);
    }
    return CapsPtr(gst_pad_get_current_caps(decoded));
}

CapsPtr containerCaps(GstElement* pipeline)
{
    IteratorPtr const elements(gst_bin_iterate_all_by_element_factory_name(GST_BIN(pipeline), "typefind"));
    CapsPtr found;
    GValue item = G_VALUE_INIT;
    bool more = true;
    while (more)
    {
        switch (gst_iterator_next(elements.get(), &item))
        {
        case GST_ITERATOR_OK:
        {
            // The one deepest in a chain of wrappers (a tag before the stream, a playlist) saw the container itself.
            GstCaps* caps = nullptr;
            g_object_get(g_value_get_object(&item), "caps", &caps, nullptr);
            found.reset(caps == nullptr ? found.release() : caps);
            g_value_reset(&item);
            break;
        }
        case GST_ITERATOR_RESYNC:
            found.reset();
            gst_iterator_resync(elements.get());
            break;
        default:
            more = false;
            break;
        }
    }
    g_value_unset(&item);
    return found;
}

} // namespace tz::orvane::service
