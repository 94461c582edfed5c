// SPDX-License-Identifier: Apache-2.0
// Hands events over from the receive thread to the main thread.
#include "omc_play/event_queue.h"

#include <sys/eventfd.h>
#include <utility>

namespace tz::orvane::tools
{

EventQueue::EventQueue()
    : m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

void EventQueue::push(PlayerEvent event)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_events.push_back(std::move(event));
    ::eventfd_write(m_wake.get(), 1);
}

std::vector<PlayerEvent> EventQueue::take()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    eventfd_t count = 0;
    ::eventfd_read(m_wake.get(), &count);
    return std::exchange(m_events, {});
}

} // namespace tz::orvane::tools
