// SPDX-License-Identifier: Apache-2.0
// The first bytes of a picture, taken on their way into its decoder: the same wherever the picture comes from.
#pragma once

#include "gst_ptr.h"

#include <memory>
#include <mutex>
#include <string>

namespace tz::orvane::service
{

/// Any thread.
class ImageHead
{
public:
    /// Begins to watch for decoders of pictures. @param playbin keeps what it needs alive
    static std::shared_ptr<ImageHead> watch(GstElement* playbin);

    /// Watches an element of another pipeline, when it is a decoder of pictures.
    static void watchElement(std::shared_ptr<ImageHead> const& head, GstElement* element);

    std::string bytes() const;

private:
    using Owner = std::shared_ptr<ImageHead>;

    static void onElement(GstElement* playbin, GstElement* element, gpointer owner);
    static GstPadProbeReturn onBuffer(GstPad* pad, GstPadProbeInfo* info, gpointer owner);
    static void release(gpointer owner);
    static void releaseClosure(gpointer owner, GClosure* closure);

    /// @return whether it wants more
    bool take(GstBuffer* buffer);

    mutable std::mutex m_mutex;
    std::string m_bytes;
};

} // namespace tz::orvane::service
