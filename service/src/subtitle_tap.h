// SPDX-License-Identifier: Apache-2.0
// Takes subtitles out of a pipeline while it plays.
#pragma once

#include "cue_list.h"
#include "gst_ptr.h"

#include "orvane/platform/om_event_loop.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tz::orvane::service
{

/// A cue and the id of the stream that it came in.
struct TappedCue
{
    std::string stream;
    Cue cue;
};

/// Takes texts in front of their time. Streaming threads put in, the loop takes out.
class SubtitleTap : public std::enable_shared_from_this<SubtitleTap>
{
public:
    /// @param came called on the loop when there is something to take
    SubtitleTap(platform::EventLoop& loop, std::function<void()> came)
        : m_loop(loop)
        , m_came(std::move(came))
    {
    }

    /// Loop thread.
    std::vector<TappedCue> take();

    /// Nobody is called any more. Loop thread.
    void close() { m_came = nullptr; }

    /// Takes the texts of all tracks of a playbin that will be opened, also of those that are not let through.
    void attach(GstElement* playbin);

    /// Takes what passes a pad, if it is text. The pad keeps this alive.
    void watch(GstPad* pad);

private:
    void put(GstPad* pad, GstBuffer* buffer);

    platform::EventLoop& m_loop;
    std::function<void()> m_came;
    std::mutex m_mutex;
    std::vector<TappedCue> m_cues;
};

} // namespace tz::orvane::service
