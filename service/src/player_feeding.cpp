// SPDX-License-Identifier: Apache-2.0
// One player of a client: the data that its application pushes, and the pictures that it pulls.
#include "player.h"

#include "drm_agents.h"

#include <cerrno>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr std::int64_t kNanosecondsPerMicrosecond = 1000;

constexpr GstClockTime toClockTime(std::int64_t microseconds)
{
    bool const fits = microseconds >= 0 && microseconds < INT64_MAX / kNanosecondsPerMicrosecond;
    return fits ? static_cast<GstClockTime>(microseconds * kNanosecondsPerMicrosecond) : GST_CLOCK_TIME_NONE;
}

BufferPtr makeUnit(om::om_es_unit_t const& unit, void const* data, std::size_t size)
{
    BufferPtr buffer(gst_buffer_new_memdup(data, size));
    GST_BUFFER_PTS(buffer.get()) = toClockTime(unit.pts);
    GST_BUFFER_DTS(buffer.get()) = toClockTime(unit.dts);
    GST_BUFFER_DURATION(buffer.get()) = toClockTime(unit.duration);
    if ((unit.flags & om::OM_ES_DISCONTINUITY) != 0)
    {
        GST_BUFFER_FLAG_SET(buffer.get(), GST_BUFFER_FLAG_DISCONT);
    }
    if (unit.stream_type == om::OM_STREAM_TYPE_VIDEO && (unit.flags & om::OM_ES_KEY_FRAME) == 0)
    {
        GST_BUFFER_FLAG_SET(buffer.get(), GST_BUFFER_FLAG_DELTA_UNIT);
    }
    return buffer;
}

} // namespace

std::shared_ptr<Feed> Player::makeFeed(om::om_stream_type_e stream, Feed::Format format)
{
    return std::make_shared<Feed>(m_host.loop, format, format == Feed::Format::bytes ? m_medium.size : -1,
                                  [this, stream](FeedNews const& news) { onFeedNews(stream, news); });
}

void Player::makeFeeds()
{
    if (m_medium.kind == Medium::Kind::container)
    {
        m_videoFeed = makeFeed(om::OM_STREAM_TYPE_UNKNOWN, Feed::Format::bytes);
        return;
    }
    if (m_medium.video)
    {
        m_videoFeed = makeFeed(om::OM_STREAM_TYPE_VIDEO, Feed::Format::time);
        m_videoGate.emplace(DrmSense(true, m_medium.video->record.codec, m_medium.video->codecData));
    }
    if (m_medium.audio)
    {
        m_audioFeed = makeFeed(om::OM_STREAM_TYPE_AUDIO, Feed::Format::time);
        m_audioGate.emplace(DrmSense(false, m_medium.audio->record.codec, m_medium.audio->codecData));
    }
}

void Player::onFeedNews(om::om_stream_type_e stream, FeedNews const& news)
{
    bool const isContainer = stream == om::OM_STREAM_TYPE_UNKNOWN;
    std::string const name = isContainer ? std::string() : std::to_string(static_cast<int>(stream));
    if (news.kind == FeedNews::Kind::enough)
    {
        m_events.event(om::OM_EVENT_ENOUGH_DATA, {{om::OM_KEY_STREAM, name}});
    }
    else if (isContainer)
    {
        m_events.event(om::OM_EVENT_NEED_DATA, {{om::OM_KEY_OFFSET, std::to_string(news.from)}});
    }
    else
    {
        auto const position = news.from < 0 ? news.from : news.from / static_cast<std::int64_t>(GST_MSECOND);
        m_events.event(om::OM_EVENT_NEED_DATA,
                       {{om::OM_KEY_STREAM, name}, {om::OM_KEY_POSITION, std::to_string(position)}});
    }
}

Feed* Player::feedOf(std::int32_t stream) const
{
    if (m_medium.kind != Medium::Kind::streams)
    {
        return nullptr;
    }
    return stream == om::OM_STREAM_TYPE_VIDEO   ? m_videoFeed.get()
           : stream == om::OM_STREAM_TYPE_AUDIO ? m_audioFeed.get()
                                                : nullptr;
}

/// One error for a burst: what follows the first piece that was lost is lost as well.
void Player::answerPush(Feed::Taken taken, char const* command, Properties more)
{
    bool const refused = taken == Feed::Taken::full || taken == Feed::Taken::ended;
    if (refused && !m_overflowReported)
    {
        bool const full = taken == Feed::Taken::full;
        m_events.refusal(full ? om::OM_ERROR_LIMIT : om::OM_ERROR_BAD_STATE, command,
                         full ? "too much data waits" : "the end was announced", more);
    }
    m_overflowReported = refused;
}

void Player::push(void const* data, std::size_t size)
{
    if (m_medium.kind != Medium::Kind::container || m_videoFeed == nullptr)
    {
        m_events.refusal(om::OM_ERROR_BAD_STATE, "pushData", "no container is open that is pushed");
        return;
    }
    auto const offset = std::to_string(m_videoFeed->offset());
    auto const taken = m_videoFeed->push(size, [&] { return BufferPtr(gst_buffer_new_memdup(data, size)); });
    answerPush(taken, "pushData", {{om::OM_KEY_OFFSET, offset}});
}

void Player::push(om::om_es_unit_t const& unit, std::optional<DrmCryptoInfo> crypto, void const* data, std::size_t size)
{
    auto const stream = static_cast<om::om_stream_type_e>(unit.stream_type);
    Feed* const feed = feedOf(unit.stream_type);
    if (feed == nullptr)
    {
        m_events.refusal(om::OM_ERROR_BAD_STATE, "pushEsData", "no such stream is open");
        return;
    }
    bool const ends = (unit.flags & om::OM_ES_END_OF_STREAM) != 0;
    if (size == 0 && !ends)
    {
        m_events.refusal(om::OM_ERROR_BAD_ARGUMENT, "pushEsData", "an access unit without bytes");
        return;
    }
    if (crypto && (!fits(*crypto, size) || m_host.agents->find(crypto->agent) == nullptr))
    {
        m_events.refusal(om::OM_ERROR_BAD_ARGUMENT, "pushEsData", "no such agent, or the subsamples do not fit");
        return;
    }
    DrmGate& gate = *gateOf(stream);
    if ((unit.flags & om::OM_ES_DISCONTINUITY) != 0)
    {
        if (feed->awaitsRestart())
        {
            gate.clear(); // what waits there is of another place
        }
        feed->restart();
    }
    if (feed->awaitsRestart())
    {
        return;
    }
    if (size == 0)
    {
        crypto.reset();
    }
    if (!gate.push({size > 0 ? makeUnit(unit, data, size) : nullptr, std::move(crypto), ends}, feed->queued()))
    {
        answerPush(Feed::Taken::full, "pushEsData", {{om::OM_KEY_STREAM, std::to_string(unit.stream_type)}});
        return;
    }
    passUnits(stream);
}

int Player::pushFrom(std::int64_t offset)
{
    if (m_medium.kind != Medium::Kind::container || m_videoFeed == nullptr)
    {
        return -ENODATA;
    }
    return m_videoFeed->restart(offset) ? 0 : -EINVAL;
}

int Player::endOfData()
{
    if (m_medium.kind != Medium::Kind::container || m_videoFeed == nullptr)
    {
        return -ENODATA;
    }
    return m_videoFeed->end() ? 0 : -EINVAL;
}

int Player::pullFrame()
{
    if (m_frames == nullptr || !m_frames->onDemand())
    {
        m_events.refusal(om::OM_ERROR_BAD_STATE, "pullData", "nothing is open that hands over pictures on demand");
        return -ENODATA;
    }
    if (!m_frames->pull())
    {
        m_events.refusal(om::OM_ERROR_LIMIT, "pullData", "too many pictures are wanted already");
        return -EBUSY;
    }
    return 0;
}

void Player::freeFrame()
{
    if (m_frames != nullptr)
    {
        m_frames->freeMemory();
    }
}

} // namespace tz::orvane::service
