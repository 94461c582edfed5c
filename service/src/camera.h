// SPDX-License-Identifier: Apache-2.0
// Catches a composed picture that is new enough.
#pragma once

#include "gst_ptr.h"

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tz::orvane::service
{

/// Sits in one screen pipeline, whose threads it is called on; asked from any thread.
class Camera
{
public:
    using Taken = std::function<void(std::shared_ptr<GstSample> const& sample)>;

    Camera() = default;
    Camera(Camera const&) = delete;
    Camera& operator=(Camera const&) = delete;

    /// @param mixer a compositor; the offset of a buffer that it gets is a running time after which it was fetched
    /// @param exit an element behind it, where composed pictures pass on the same thread; both must not outlive the
    /// camera
    void attach(GstElement* mixer, GstElement* exit);

    /// Calls back, on the pipeline's thread, with the first picture of which every part was fetched after now.
    void take(Taken taken);

private:
    struct Request
    {
        GstClockTime since;
        Taken taken;
    };

    static void onSelected(GstElement* mixer, GstSegment* segment, guint64 pts, guint64 dts, guint64 duration,
                           GstStructure* info, gpointer self);
    static GstPadProbeReturn onPicture(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    std::mutex m_mutex;
    GstElement* m_mixer = nullptr;
    GstClockTime m_freshness = 0; ///< running time of the oldest part of the picture that is being composed
    std::vector<Request> m_requests;
};

} // namespace tz::orvane::service
