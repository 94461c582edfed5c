// SPDX-License-Identifier: Apache-2.0
// Takes subtitles out of a pipeline while it plays.
#pragma once

#include "cue_list.h"
#include "gst_ptr.h"

#include "orvane/platform/om_event_loop.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace tz::orvane::service
{

/// What came of several tracks.
struct TappedTexts
{
    std::map<std::string, CueList> tracks; ///< by ids of their streams
    bool tracksLeftOut = false;            ///< there were too many
};

/// Takes texts in front of their time. Streaming threads put in, the loop takes out.
class SubtitleTap : public std::enable_shared_from_this<SubtitleTap>
{
public:
    /// Streams of a medium that come and go must not pile up.
    static constexpr std::size_t kMostTracks = 32;

    /// @param came called on the loop when there is something to take
    SubtitleTap(platform::EventLoop& loop, std::function<void()> came)
        : m_loop(loop)
        , m_came(std::move(came))
    {
    }

    /// Loop thread.
    TappedTexts take();

    /// Nobody is called any more. Loop thread.
    void close() { m_came = nullptr; }

    /// Takes the texts of all tracks of a playbin that will be opened, also of those that are not let through.
    void attach(GstElement* playbin);

    /// Takes what passes a pad, if it is text. The pad keeps this alive.
    void watch(GstPad* pad);

private:
    void put(GstPad* pad, GstBuffer* buffer);
    void keep(std::string const& stream, Cue cue);

    platform::EventLoop& m_loop;
    std::function<void()> m_came;
    std::mutex m_mutex;
    TappedTexts m_texts;
    bool m_announced = false; ///< whoever takes knows that there is something
};

} // namespace tz::orvane::service
