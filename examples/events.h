// SPDX-License-Identifier: Apache-2.0
// Events of a player for a thread that waits for them.
#pragma once

#include <orvane/omc.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <string>

namespace example
{

namespace om = tz::orvane::om;
namespace omc = tz::orvane::omc;

struct Event
{
    unsigned int code = 0; ///< om_event_e
    int stream = 0;        ///< om_stream_type_e, for events of a stream
    std::string failure;   ///< what went wrong, if something did
};

/// Listens to a player and its connection, on the library's thread.
class Events final : public omc::OmcIMediaPlayerListener, public omc::OmcIConnectionListener
{
public:
    /// Waits. Throws std::runtime_error when the player or the service reports a failure.
    Event next()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_came.wait(lock, [this] { return !m_events.empty(); });
        Event event = m_events.front();
        m_events.pop_front();
        return event.failure.empty() ? event : throw std::runtime_error(event.failure);
    }

private:
    void onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int code, om::OmPropertyGroup const& props) override
    {
        std::string const stream = props.get(om::OM_KEY_STREAM);
        add({code, stream.empty() ? 0 : std::stoi(stream), {}});
    }

    void onError(om::OmIMediaPlayer*, unsigned int, unsigned int code, om::OmPropertyGroup const& props) override
    {
        add({0, 0, "error " + std::to_string(code) + ": " + props.get(om::OM_KEY_TEXT)});
    }

    void onConnectionChanged(om::OmIConnection*, int) override { add({0, 0, "the media service is gone"}); }
    void onEvent(om::OmIConnection*, int, om::OmPropertyGroup&) override {}

    void add(Event event)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(std::move(event));
        m_came.notify_one();
    }

    std::mutex m_mutex;
    std::condition_variable m_came;
    std::deque<Event> m_events;
};

} // namespace example
