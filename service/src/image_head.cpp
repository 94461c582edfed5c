// SPDX-License-Identifier: Apache-2.0
// The first bytes of a picture, taken on their way into its decoder: the same wherever the picture comes from.
#include "image_head.h"

#include <algorithm>
#include <cstring>

namespace tz::orvane::service
{

namespace
{

/// What a camera wrote comes before the picture itself, behind little else.
constexpr std::size_t kMost = 256 * 1024;

bool decodesPictures(GstElement* element)
{
    char const* const klass =
        gst_element_class_get_metadata(GST_ELEMENT_GET_CLASS(element), GST_ELEMENT_METADATA_KLASS);
    return klass != nullptr && std::strstr(klass, "Decoder/Image") != nullptr;
}

} // namespace

std::shared_ptr<ImageHead> ImageHead::watch(GstElement* playbin)
{
    auto head = std::make_shared<ImageHead>();
    g_signal_connect_data(playbin, "element-setup", G_CALLBACK(onElement), new Owner(head), &ImageHead::releaseClosure,
                          static_cast<GConnectFlags>(0));
    return head;
}

std::string ImageHead::bytes() const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return m_bytes;
}

void ImageHead::onElement(GstElement*, GstElement* element, gpointer owner)
{
    watchElement(*static_cast<Owner*>(owner), element);
}

void ImageHead::watchElement(Owner const& head, GstElement* element)
{
    ObjectPtr<GstPad> const sink(decodesPictures(element) ? gst_element_get_static_pad(element, "sink") : nullptr);
    if (sink != nullptr)
    {
        gst_pad_add_probe(sink.get(), GST_PAD_PROBE_TYPE_BUFFER, &ImageHead::onBuffer, new Owner(head),
                          &ImageHead::release);
    }
}

GstPadProbeReturn ImageHead::onBuffer(GstPad*, GstPadProbeInfo* info, gpointer owner)
{
    ImageHead& head = **static_cast<Owner*>(owner);
    return head.take(gst_pad_probe_info_get_buffer(info)) ? GST_PAD_PROBE_OK : GST_PAD_PROBE_REMOVE;
}

bool ImageHead::take(GstBuffer* buffer)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    std::size_t const old = m_bytes.size();
    m_bytes.resize(std::min<std::size_t>(old + gst_buffer_get_size(buffer), kMost));
    if (m_bytes.size() > old)
    {
        gst_buffer_extract(buffer, 0, &m_bytes[old], m_bytes.size() - old);
    }
    return m_bytes.size() < kMost;
}

void ImageHead::release(gpointer owner)
{
    delete static_cast<Owner*>(owner);
}

void ImageHead::releaseClosure(gpointer owner, GClosure*)
{
    release(owner);
}

} // namespace tz::orvane::service
