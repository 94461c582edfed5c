// SPDX-License-Identifier: Apache-2.0
// Takes subtitles out of a pipeline while it plays.
#pragma once

#include "cue_list.h"
#include "gst_ptr.h"

#include "orvane/platform/om_event_loop.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace tz::orvane::service
{

/// What has come since it was looked for the last time.
struct TapNews
{
    std::set<std::string> streams; ///< that have more texts
    int overflowed = 0;            ///< tracks that are full now
    bool tracksLeftOut = false;    ///< there are too many now
};

/// Takes texts in front of their time and keeps them, by tracks. Streaming threads put in, the loop looks.
class SubtitleTap : public std::enable_shared_from_this<SubtitleTap>
{
public:
    /// Streams of a medium that come and go must not pile up.
    static constexpr std::size_t kMostTracks = 32;

    /// What the lists of all tracks weigh together.
    static constexpr std::size_t kMostWeight = 32U << 20U;

    /// @param came called on the loop when there is news
    SubtitleTap(platform::EventLoop& loop, std::function<void()> came)
        : m_loop(loop)
        , m_came(std::move(came))
    {
    }

    TapNews news();

    /// @param stream the id of it; one of which nothing has come has no texts
    CueList::Moment at(std::string const& stream, std::int64_t position) const;

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
    mutable std::mutex m_mutex;
    std::map<std::string, CueList> m_tracks; ///< by ids of their streams
    std::size_t m_weight = 0;
    bool m_tracksLeftOut = false;
    TapNews m_news;
    bool m_announced = false; ///< whoever looks knows that there is something
};

} // namespace tz::orvane::service
