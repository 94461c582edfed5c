// SPDX-License-Identifier: Apache-2.0
// Hands events over from the receive thread to the main thread.
#pragma once

#include "omc_play/player_event.h"
#include "platform/src/unique_fd.h"

#include <mutex>
#include <vector>

namespace tz::orvane::tools
{

class EventQueue
{
public:
    EventQueue();

    /// Any thread.
    void push(PlayerEvent event);

    /// @return what was pushed since the last call, in order
    std::vector<PlayerEvent> take();

    /// Readable while there is something to take.
    int descriptor() const { return m_wake.get(); }

private:
    platform::UniqueFd m_wake;
    std::mutex m_mutex;
    std::vector<PlayerEvent> m_events;
};

} // namespace tz::orvane::tools
