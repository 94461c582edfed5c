// SPDX-License-Identifier: Apache-2.0
// Brings decoded pictures to clients, no faster than they take them.
#pragma once

#include "frame_converter.h"
#include "frame_options.h"
#include "frame_tap.h"
#include "player_events.h"
#include "worker.h"

#include "orvane/platform/om_event_loop.h"

#include <deque>
#include <functional>
#include <memory>

namespace tz::orvane::service
{

class FrameStream;

/// Serves the frame streams of all players in turn, and converts for them on a thread of its own. Loop thread.
///
/// Nobody tells when a client has received an event: while a stream waits for that, the courier looks again and again.
class FrameCourier
{
public:
    explicit FrameCourier(platform::EventLoop& loop);
    FrameCourier(FrameCourier const&) = delete;
    FrameCourier& operator=(FrameCourier const&) = delete;
    ~FrameCourier();

    /// @return 0, or a negative errno value
    int start();

    /// A stream has something to do; it gets its turn as often as it takes.
    void call(std::weak_ptr<FrameStream> const& stream);

    platform::EventLoop& loop() { return m_loop; }

    /// Does something on the converting thread.
    void convert(std::function<void()> work) { m_worker.run(std::move(work)); }

private:
    void serve();

    platform::EventLoop& m_loop;
    platform::EventLoop::TimerId m_timer = 0;
    std::deque<std::weak_ptr<FrameStream>> m_waiting;
    Worker m_worker;
};

/// The pictures of one medium on their way to its client. Loop thread.
///
/// A picture leaves only when the client has received all that was sent to it before. One that comes too early stays
/// in the tap and makes place for a newer one. On demand it stays there until it is wanted.
class FrameStream : public std::enable_shared_from_this<FrameStream>
{
public:
    static std::shared_ptr<FrameStream> make(FrameCourier& courier, PlayerEvents const& events,
                                             FrameOptions const& options);
    FrameStream(FrameStream const&) = delete;
    FrameStream& operator=(FrameStream const&) = delete;

    std::shared_ptr<FrameTap> const& tap() const { return m_tap; }

    bool onDemand() const { return m_options.onDemand; }

    /// On demand: one more picture is wanted. @return false when too many are wanted already
    bool pull();

    /// Gives the memory of the last picture back; without this the next one takes it.
    void freeMemory();

    /// Does what can be done now. @return whether it waits for its client
    bool advance();

private:
    /// What the converting thread works with; it belongs to one thread at a time.
    struct Bench
    {
        FrameConverter converter;
        ConvertedFrame frame;
    };

    FrameStream(FrameCourier& courier, PlayerEvents const& events, FrameOptions const& options);

    void convert(SamplePtr picture);
    void onConverted(FrameConverter::Result result);
    void onFault(FrameConverter::Result result);
    void send();

    FrameCourier& m_courier;
    PlayerEvents m_events;
    FrameOptions m_options;
    std::shared_ptr<FrameTap> m_tap;
    std::shared_ptr<Bench> m_bench;
    bool m_converting = false;
    bool m_converted = false;
    bool m_faultReported = false;
    unsigned int m_pulls = 0; ///< on demand: pictures that are still wanted
    std::uint64_t m_sequence = 0;
};

} // namespace tz::orvane::service
