// SPDX-License-Identifier: Apache-2.0
// Brings decoded pictures to clients, no faster than they take them.
#include "frame_courier.h"

#include <algorithm>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// A fraction of the time that a picture lasts.
constexpr std::chrono::milliseconds kLookAgain{8};

constexpr unsigned int kMostPulls = 64;

} // namespace

FrameCourier::FrameCourier(platform::EventLoop& loop)
    : m_loop(loop)
{
}

FrameCourier::~FrameCourier()
{
    m_loop.cancelTimer(m_timer);
}

int FrameCourier::start()
{
    return m_worker.start("frames");
}

void FrameCourier::call(std::weak_ptr<FrameStream> const& stream)
{
    auto const same = [&](std::weak_ptr<FrameStream> const& other)
    { return !stream.owner_before(other) && !other.owner_before(stream); };
    if (std::none_of(m_waiting.begin(), m_waiting.end(), same))
    {
        m_waiting.push_back(stream);
    }
    serve();
}

/// Who has waited longest is the first to find room.
void FrameCourier::serve()
{
    auto const isDone = [](std::weak_ptr<FrameStream> const& waiting)
    {
        auto const stream = waiting.lock();
        return stream == nullptr || !stream->advance();
    };
    m_waiting.erase(std::remove_if(m_waiting.begin(), m_waiting.end(), isDone), m_waiting.end());
    if (!m_waiting.empty() && m_timer == 0)
    {
        m_timer = m_loop.addTimer(kLookAgain,
                                  [this]
                                  {
                                      m_timer = 0;
                                      serve();
                                  });
    }
}

std::shared_ptr<FrameStream> FrameStream::make(FrameCourier& courier, PlayerEvents const& events,
                                               FrameOptions const& options)
{
    std::shared_ptr<FrameStream> stream(new FrameStream(courier, events, options));
    auto const arrived = [loop = &courier.loop(), self = std::weak_ptr<FrameStream>(stream)]
    {
        loop->post(
            [self]
            {
                if (auto const alive = self.lock())
                {
                    alive->m_courier.call(self);
                }
            });
    };
    stream->m_tap = std::make_shared<FrameTap>(options.interval, arrived);
    return stream;
}

FrameStream::FrameStream(FrameCourier& courier, PlayerEvents const& events, FrameOptions const& options)
    : m_courier(courier)
    , m_events(events)
    , m_options(options)
    , m_bench(std::make_shared<Bench>())
{
}

bool FrameStream::pull()
{
    if (m_pulls == kMostPulls)
    {
        return false;
    }
    ++m_pulls;
    m_courier.call(weak_from_this());
    return true;
}

void FrameStream::freeMemory()
{
    if (!m_converting && !m_converted)
    {
        m_bench->frame.memory.release();
    }
}

bool FrameStream::advance()
{
    bool const wanted = m_converted || m_pulls > 0 || !m_options.onDemand;
    if (m_converting || !wanted)
    {
        return false; // what changes that calls the courier
    }
    if (!m_events.unread())
    {
        if (m_converted)
        {
            send();
        }
        else if (SamplePtr sample = m_tap->take())
        {
            convert(std::move(sample));
            return false;
        }
    }
    return m_converted || !m_tap->empty();
}

void FrameStream::convert(SamplePtr picture)
{
    m_converting = true;
    m_pulls -= m_options.onDemand ? 1 : 0;
    m_courier.convert(
        [loop = &m_courier.loop(), self = weak_from_this(), bench = m_bench, options = m_options,
         sample = std::shared_ptr<GstSample>(std::move(picture))]
        {
            auto const result = bench->converter.convert(sample.get(), options, bench->frame);
            loop->post(
                [self, result]
                {
                    if (auto const stream = self.lock())
                    {
                        stream->onConverted(result);
                    }
                });
        });
}

void FrameStream::onConverted(FrameConverter::Result result)
{
    m_converting = false;
    m_converted = result == FrameConverter::Result::done;
    if (!m_converted)
    {
        onFault(result);
    }
    m_courier.call(weak_from_this());
}

/// Each pull is answered; of pictures that nobody asks for one by one, one fault is enough.
void FrameStream::onFault(FrameConverter::Result result)
{
    if (m_options.onDemand || !std::exchange(m_faultReported, true))
    {
        bool const tooLarge = result == FrameConverter::Result::tooLarge;
        om::om_error_e const code = tooLarge ? om::OM_ERROR_LIMIT : om::OM_ERROR_NOT_SUPPORTED;
        m_events.event(om::OM_EVENT_WARNING,
                       {{om::OM_KEY_CODE, std::to_string(static_cast<unsigned int>(code))},
                        {om::OM_KEY_TEXT, tooLarge ? "pictures are too large to be handed over"
                                                   : "pictures of this kind cannot be handed over"}});
    }
}

void FrameStream::send()
{
    m_converted = false;
    ConvertedFrame& frame = m_bench->frame;
    m_events.frame(frame.memory,
                   {{om::OM_FRAME_KEY_FORMAT, frameFormatName(m_options.format)},
                    {om::OM_FRAME_KEY_WIDTH, std::to_string(frame.width)},
                    {om::OM_FRAME_KEY_HEIGHT, std::to_string(frame.height)},
                    {om::OM_FRAME_KEY_STRIDE, std::to_string(frame.stride)},
                    {om::OM_FRAME_KEY_PAR, frame.par},
                    {om::OM_FRAME_KEY_COLORIMETRY, frame.colorimetry},
                    {om::OM_FRAME_KEY_PTS, std::to_string(frame.pts)},
                    {om::OM_FRAME_KEY_SEQUENCE, std::to_string(++m_sequence)},
                    {om::OM_FRAME_KEY_DROPPED, std::to_string(m_options.onDemand ? 0 : m_tap->dropped())}});
}

} // namespace tz::orvane::service
