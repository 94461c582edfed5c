// SPDX-License-Identifier: Apache-2.0
// One source of a pipeline that an application fills: flow control, restarts after a seek, the hard bound.
#include "feed.h"

#include <gst/app/gstappsrc.h>

#include <mutex>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr guint64 kEnoughBytes = 2u << 20;
constexpr guint64 kEnoughTime = GST_SECOND;
constexpr guint kNeedPercent = 50;

} // namespace

/// What the streaming threads and the loop share.
struct Feed::Link
{
    explicit Link(platform::EventLoop& owningLoop)
        : loop(owningLoop)
    {
    }

    platform::EventLoop& loop;
    std::weak_ptr<Feed> feed;
    std::mutex mutex;
    ObjectPtr<GstAppSrc> source;
    int seeks = 0; ///< of which the loop does not know yet: data of the old place must not reach the source any more

    template <class Call> void post(Call call)
    {
        loop.post(
            [target = feed, call]
            {
                if (auto const alive = target.lock())
                {
                    call(*alive);
                }
            });
    }

    /// Hands the source to the call, unless what the loop knows of it is outdated.
    template <class Call> void withSource(Call call)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (source != nullptr && seeks == 0)
        {
            call(source.get());
        }
    }

    static Link& of(gpointer data) { return **static_cast<std::shared_ptr<Link>*>(data); }

    static void needData(GstAppSrc*, guint, gpointer data)
    {
        of(data).post([](Feed& target) { target.onNeed(); });
    }

    static void enoughData(GstAppSrc*, gpointer data)
    {
        of(data).post([](Feed& target) { target.onEnough(); });
    }

    static gboolean seekData(GstAppSrc*, guint64 target, gpointer data)
    {
        Link& link = of(data);
        {
            std::lock_guard<std::mutex> lock(link.mutex);
            ++link.seeks;
        }
        link.post([target](Feed& seeking) { seeking.onSeek(static_cast<std::int64_t>(target)); });
        return TRUE;
    }
};

Feed::Feed(platform::EventLoop& loop, Format format, std::int64_t size, std::function<void(FeedNews)> news)
    : m_link(std::make_shared<Link>(loop))
    , m_format(format)
    , m_size(size)
    , m_news(std::move(news))
{
}

Feed::~Feed()
{
    std::lock_guard<std::mutex> lock(m_link->mutex);
    m_link->source.reset(); // its callbacks hold the link
}

void Feed::attach(GstElement* source)
{
    auto* const appSource = GST_APP_SRC(source);
    bool const timed = m_format == Format::time;
    g_object_set(source, "stream-type", seekable() ? GST_APP_STREAM_TYPE_SEEKABLE : GST_APP_STREAM_TYPE_STREAM,
                 "format", timed ? GST_FORMAT_TIME : GST_FORMAT_BYTES, "max-bytes", timed ? guint64{0} : kEnoughBytes,
                 "max-time", timed ? kEnoughTime : guint64{0}, "min-percent", kNeedPercent, "emit-signals", FALSE,
                 nullptr);
    if (!timed)
    {
        gst_app_src_set_size(appSource, m_size);
    }
    {
        std::lock_guard<std::mutex> lock(m_link->mutex);
        m_link->feed = weak_from_this();
        m_link->source.reset(static_cast<GstAppSrc*>(gst_object_ref(appSource)));
    }
    GstAppSrcCallbacks callbacks{};
    callbacks.need_data = Link::needData;
    callbacks.enough_data = Link::enoughData;
    callbacks.seek_data = Link::seekData;
    gst_app_src_set_callbacks(appSource, &callbacks, new std::shared_ptr<Link>(m_link),
                              [](gpointer data) { delete static_cast<std::shared_ptr<Link>*>(data); });
}

Feed::Taken Feed::push(std::size_t bytes, std::function<BufferPtr()> const& make)
{
    if (m_state == State::seeking || awaitsRestart())
    {
        return Taken::dropped;
    }
    if (m_ended)
    {
        return Taken::ended;
    }
    if (queued() + bytes > kFeedBytes)
    {
        if (m_format == Format::bytes && m_state == State::starting)
        {
            m_overflowed = true;
        }
        else if (m_format == Format::bytes)
        {
            m_state = State::awaiting;
            m_target = m_offset;
        }
        return Taken::full;
    }
    m_offset += static_cast<std::int64_t>(bytes);
    if (m_state == State::starting)
    {
        m_pendingBytes += bytes;
        m_pending.push_back(make());
    }
    else
    {
        deliver(make());
    }
    if (m_size >= 0 && m_offset >= m_size)
    {
        end();
    }
    return Taken::yes;
}

bool Feed::restart(std::int64_t from)
{
    return (m_state == State::awaiting ? from == m_target : from == m_offset) && restart();
}

bool Feed::restart()
{
    if (m_state == State::seeking)
    {
        return false;
    }
    m_overflowed = false;
    if (m_state == State::awaiting)
    {
        m_state = State::flowing;
        m_offset = m_format == Format::bytes ? m_target : m_offset;
    }
    return true;
}

bool Feed::end()
{
    if (m_state == State::seeking || awaitsRestart())
    {
        return false;
    }
    m_ended = true;
    if (m_state == State::flowing)
    {
        deliverEnd();
    }
    return true;
}

void Feed::onNeed()
{
    if (m_state == State::starting)
    {
        m_state = m_overflowed ? State::awaiting : State::flowing;
        m_target = m_offset;
        m_overflowed = false;
        flush();
    }
    else if (m_state == State::seeking)
    {
        m_state = State::awaiting;
        m_toldNeed = false;
    }
    if (!m_toldNeed && !m_ended)
    {
        m_toldNeed = true;
        m_news({FeedNews::Kind::need, m_state == State::awaiting ? m_target : -1});
    }
}

void Feed::onEnough()
{
    if (m_toldNeed)
    {
        m_toldNeed = false;
        m_news({FeedNews::Kind::enough, -1});
    }
}

void Feed::onSeek(std::int64_t target)
{
    {
        std::lock_guard<std::mutex> lock(m_link->mutex);
        --m_link->seeks;
    }
    if (m_state == State::starting && target == 0)
    {
        return; // every source begins with a seek to its beginning
    }
    m_state = State::seeking;
    m_target = target;
    m_ended = false;
    m_overflowed = false;
    m_pending.clear();
    m_pendingBytes = 0;
}

void Feed::flush()
{
    for (BufferPtr& buffer : std::exchange(m_pending, {}))
    {
        deliver(std::move(buffer));
    }
    m_pendingBytes = 0;
    if (m_ended)
    {
        deliverEnd();
    }
}

void Feed::deliver(BufferPtr buffer)
{
    m_link->withSource([&](GstAppSrc* source) { gst_app_src_push_buffer(source, buffer.release()); });
}

void Feed::deliverEnd()
{
    m_link->withSource([](GstAppSrc* source) { gst_app_src_end_of_stream(source); });
}

std::size_t Feed::queued() const
{
    if (m_state == State::seeking || awaitsRestart())
    {
        return 0;
    }
    if (m_state == State::starting)
    {
        return m_pendingBytes + m_pending.size() * kFeedBufferCost;
    }
    std::lock_guard<std::mutex> lock(m_link->mutex);
    GstAppSrc* const source = m_link->source.get();
    return gst_app_src_get_current_level_bytes(source) +
           gst_app_src_get_current_level_buffers(source) * kFeedBufferCost;
}

} // namespace tz::orvane::service
