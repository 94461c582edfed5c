// SPDX-License-Identifier: Apache-2.0
// One source of a pipeline that an application fills: flow control, restarts after a seek, the hard bound.
#pragma once

#include "gst_ptr.h"

#include "orvane/platform/om_event_loop.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

namespace tz::orvane::service
{

/// What the application has to be told.
struct FeedNews
{
    enum class Kind
    {
        need,
        enough
    };
    Kind kind;
    std::int64_t from; ///< with need: where to push from (bytes, or nanoseconds), -1 to go on
};

/// Bytes that one source keeps at most, what each piece costs beside its data included; the application was told to
/// wait long before.
inline constexpr std::size_t kFeedBytes = 64u << 20;

/// What a buffer costs beside its data: tiny pieces must not pass the bound.
inline constexpr std::size_t kFeedBufferCost = 512;

/// Feeds one appsrc. All members but attach belong to the loop's thread.
///
/// After a seek the pipeline wants other data than those that are on their way. They are dropped until the application
/// says that it has followed (restart). Nothing is pushed from inside GStreamer's callbacks: appsrc empties its queue
/// after its seek callback has returned.
class Feed : public std::enable_shared_from_this<Feed>
{
public:
    enum class Format
    {
        bytes, ///< positions are byte offsets
        time   ///< positions are nanoseconds
    };

    enum class Taken
    {
        yes,
        dropped, ///< the application has not followed a seek yet
        ended,   ///< the end was announced already
        full     ///< the hard bound; with bytes, what follows is dropped until a restart
    };

    /// @param size bytes of the whole, -1 when not known: such data cannot be sought
    Feed(platform::EventLoop& loop, Format format, std::int64_t size, std::function<void(FeedNews)> news);
    ~Feed();

    /// Sets up an appsrc and serves it from now on. Any thread, once or again.
    void attach(GstElement* source);

    /// @param make called when there is room for that many bytes
    Taken push(std::size_t bytes, std::function<BufferPtr()> const& make);

    /// The application follows. @param from bytes; what the news said @return whether that was asked for
    bool restart(std::int64_t from);

    /// The application follows with the next push, wherever that is.
    bool restart();

    /// All was pushed. @return false when data of another place are awaited, so that this cannot be the end
    bool end();

    /// @return whether data are dropped until restart
    bool awaitsRestart() const { return m_state == State::awaiting || m_overflowed; }

    /// @return the byte that is expected next
    std::int64_t offset() const { return m_offset; }

    /// @return bytes that wait, what each piece costs beside its data included; 0 while nothing is taken
    std::size_t queued() const;

    bool seekable() const { return m_format == Format::time || m_size >= 0; }

private:
    struct Link;

    enum class State
    {
        starting, ///< the pipeline has not asked yet
        flowing,
        seeking, ///< it has sought and not asked again
        awaiting
    };

    void onNeed();
    void onEnough();
    void onSeek(std::int64_t target);
    void flush();
    void deliver(BufferPtr buffer);
    void deliverEnd();

    std::shared_ptr<Link> m_link;
    Format m_format;
    std::int64_t m_size;
    std::function<void(FeedNews)> m_news;
    State m_state = State::starting;
    bool m_overflowed = false; ///< while starting: what follows is dropped until a restart
    bool m_toldNeed = false;
    bool m_ended = false;
    std::int64_t m_target = 0;
    std::int64_t m_offset = 0;
    std::size_t m_pendingBytes = 0;
    std::deque<BufferPtr> m_pending;
};

} // namespace tz::orvane::service
